/**
 * The file of the log: its name, its header and its closing lines.
 */
#pragma once

#include "trace/line_writer.h"
#include "util/ct_string.h"

#include <time.h>

/**
 * One log file, open or not. Not locked: whoever uses it holds the log's lock. The destructor does
 * not close: the log ends with its closing lines or with the process.
 */
class CLogFile {
public:
    /**
     * Opens `<directory>/qorvs_<date>[_<executable>]_<pid>.log` for appending and writes the
     * header.
     *
     * The directory is not made. A file that was open before is closed, without closing lines, once
     * the new one is there. False when the file cannot be opened; then nothing has changed.
     */
    bool Open(const CUTF8String& directory, CLineWriter& writer);

    /** Writes the closing lines and closes the file. */
    void Close(CLineWriter& writer) noexcept;

    /** The descriptor, -1 while no file is open. */
    int GetDescriptor() const noexcept { return descriptor; }

private:
    CUTF8String BuildPath(const CUTF8String& directory, const tm& start);

    int descriptor = -1;
    // Asked for once: a log that cannot be opened is tried again at every call.
    CUTF8String executable;
    bool executableKnown = false;
};
