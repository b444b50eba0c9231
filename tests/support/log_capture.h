/**
 * Log files as tests compare them: line by line, without what changes from run to run.
 */
#pragma once

#include "support/settings_home.h"

#include <sys/types.h>

#include <cstdint>
#include <string>
#include <vector>

/** A line of the log behind its header. */
struct CLogLine {
    std::string stamp;  // up to the thread; empty for lines without a prefix
    uint64_t thread;
    std::string text;  // from the mark on, or the whole line
};

/** A whole log file. */
struct CCapturedLog {
    explicit CCapturedLog(const std::string& path);

    std::vector<std::string> header;  // up to its blank line
    std::vector<CLogLine> lines;      // a cut last line has "(no line feed)" at its end
};

/**
 * A home with a directory "log" and settings that turn the log on, and what a process left there.
 */
class CLogHome : public CSettingsHome {
public:
    CLogHome();

    /** Runs a program to its end, which must be in order; gives its output. */
    std::string Run(const std::string& program, const std::vector<std::string>& arguments);

    /** Runs the commands of trace_child. */
    std::string RunScript(const std::vector<std::string>& commands) {
        return Run("trace_child", commands);
    }

    pid_t GetProcessId() const { return process; }

    /** The paths of all log files. */
    std::vector<std::string> Files() const;

    /** The one log file; a failure of the test when there is another number of them. */
    CCapturedLog Log() const;

    /**
     * The log between the blank line behind the header and the closing lines, both of which must be
     * there. Stamps are left out and threads are numbered: "1.. Entering main."
     */
    std::vector<std::string> Body() const;

    /** The same, with line feeds between the lines. */
    std::string BodyText() const;

private:
    pid_t process = 0;
};

/** The lines with their threads numbered from 1 in the order in which they appear. */
std::vector<std::string> NumberThreads(const std::vector<CLogLine>& lines);
