/**
 * The file that says that a service runs, and as which process.
 */
#pragma once

/** Where the PID files of services lie. */
constexpr char kPidFileDirectory[] = "/var/run/";

/** A PID file by its path, which the caller keeps. Nothing here throws. */
class CPidFile {
public:
    explicit CPidFile(const char* file) noexcept : path(file) {}

    const char* GetPath() const noexcept { return path; }

    /** Whether there is such a file. Its content and the process that it names do not matter. */
    bool Exists() const noexcept;

    /** Writes the number of this process; does nothing where the file cannot be opened. */
    void Write() const noexcept;

    void Remove() const noexcept;

private:
    const char* path;
};
