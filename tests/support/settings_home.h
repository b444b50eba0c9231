/**
 * A home directory of its own for a process that reads settings.
 */
#pragma once

#include <string>
#include <vector>

/** A temporary directory with settings files; it goes away with the object. */
class CSettingsHome {
public:
    CSettingsHome();
    ~CSettingsHome();
    CSettingsHome(const CSettingsHome&) = delete;
    CSettingsHome& operator=(const CSettingsHome&) = delete;

    std::string Path(const std::string& name) const { return directory + "/" + name; }

    /** Writes a file, also an executable one: "qorvs.conf" is the system's, ".qorvs.conf" the
     * user's. */
    void Write(const std::string& name, const std::string& content) const;

    /** Writes entries into the section SecuritySuite of a file. */
    void WriteSuite(const std::string& name, const std::string& entries) const {
        Write(name, "SecuritySuite {\n" + entries + "\n}\n");
    }

    /** What makes a process live here; programs in "bin" stand ahead of the machine's. */
    std::vector<std::string> Environment() const;

private:
    std::string directory;
};
