/**
 * A home directory of its own, and programs that run in it: what the library keeps for the life of
 * a process is tested in a process of its own.
 */
#pragma once

#include <stdlib.h>
#include <sys/wait.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <utility>
#include <vector>

/** A temporary directory that goes away with the object. */
class CTempHome {
public:
    CTempHome() {
        char name[] = "/tmp/qorvs_system_XXXXXX";
        directory = mkdtemp(name);
    }
    ~CTempHome() { std::filesystem::remove_all(directory); }
    CTempHome(const CTempHome&) = delete;
    CTempHome& operator=(const CTempHome&) = delete;

    std::string GetPath(const std::string& name = "") const { return directory + "/" + name; }

    std::string Write(const std::string& name, const std::string& text) const {
        std::ofstream(GetPath(name), std::ios::binary) << text;
        return GetPath(name);
    }
    std::string Read(const std::string& name) const {
        std::ifstream file(GetPath(name), std::ios::binary);
        return {std::istreambuf_iterator<char>(file), {}};
    }

    /** Turns the log on for programs that have this as their home. */
    void EnableLog() const {
        Write(".qorvs.global.conf",
              "SecuritySuite {\nEnableTrace = 1\nTrace = " + directory + "\n}\n");
    }

    /** The texts of the log's lines after the header, without their prefix. */
    std::vector<std::string> ReadLog() const {
        std::vector<std::string> lines;
        for (const auto& file : std::filesystem::directory_iterator(directory)) {
            std::ifstream log(file.path());
            for (std::string line; file.path().extension() == ".log" && getline(log, line);) {
                const size_t text = line.find(".. ");
                if (text != std::string::npos) {
                    lines.push_back(line.substr(text + 3));
                }
            }
        }
        return lines;
    }

private:
    std::string directory;
};

using CVariables = std::vector<std::pair<std::string, std::string>>;

/** Runs a program and gives what it prints; its exit status is appended unless it is 0. */
inline std::string RunProgram(std::vector<std::string> command, const CVariables& variables) {
    int ends[2];
    if (pipe(ends) != 0) {
        return "no pipe";
    }
    const pid_t child = fork();
    if (child == 0) {
        dup2(ends[1], STDOUT_FILENO);
        close(ends[0]);
        close(ends[1]);
        unsetenv("QORVS_CONFFILE");
        for (const auto& variable : variables) {
            setenv(variable.first.c_str(), variable.second.c_str(), 1);
        }
        std::vector<char*> arguments;
        for (std::string& argument : command) {
            arguments.push_back(&argument[0]);
        }
        arguments.push_back(nullptr);
        execv(arguments[0], arguments.data());
        _exit(127);
    }
    close(ends[1]);
    std::string output;
    char piece[1024];
    for (ssize_t count; (count = read(ends[0], piece, sizeof(piece))) > 0;) {
        output.append(piece, static_cast<size_t>(count));
    }
    close(ends[0]);
    int status = 0;
    waitpid(child, &status, 0);
    return status == 0 ? output : output + "status " + std::to_string(status);
}

/** Runs a scenario of platform_child in a home. */
inline std::string RunScenario(const CTempHome& home, std::vector<std::string> arguments,
                               CVariables variables = {}) {
    arguments.insert(arguments.begin(), QORVS_TEST_BIN_DIR "/platform_child");
    variables.emplace_back("HOME", home.GetPath());
    return RunProgram(arguments, variables);
}
