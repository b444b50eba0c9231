/**
 * Settings that turn the log on, for benchmarks.
 */
#pragma once

#include <stdlib.h>

#include <filesystem>
#include <fstream>
#include <string>

/** A home of its own for the process, in TMPDIR: settings, logs and the peers' files. */
class CTraceHome {
public:
    /** The log goes to a directory in the home, which is made; nullptr names one that is not. */
    explicit CTraceHome(const char* logDirectory) {
        path = (std::filesystem::temp_directory_path() / "qorvs_bench_XXXXXX").string();
        if (mkdtemp(path.data()) == nullptr) {
            abort();
        }
        if (logDirectory != nullptr) {
            std::filesystem::create_directory(File(logDirectory));
        }
        std::ofstream(Settings()) << "SecuritySuite {\nEnableTrace = 1\nTrace = "
                                  << File(logDirectory != nullptr ? logDirectory : "none")
                                  << "\n}\n";
        setenv("QORVS_CONFFILE", Settings().c_str(), 1);
        setenv("HOME", path.c_str(), 1);
    }
    ~CTraceHome() { std::filesystem::remove_all(path); }

    std::string Settings() const { return File("settings.conf"); }
    std::string File(const char* name) const { return path + "/" + name; }

private:
    std::string path;
};
