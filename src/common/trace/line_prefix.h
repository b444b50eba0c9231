/**
 * What stands in front of every line of the log.
 */
#pragma once

#include "trace/line_writer.h"
#include "trace/trace_thread.h"

#include <cstddef>
#include <cstring>

/**
 * "MM-DD_hh:mm:ss:uuuuuu TTTTTTTTmm " and four blanks for each level of indent.
 *
 * Made once for a line or a structure, under the log's lock.
 */
class CLinePrefix {
public:
    explicit CLinePrefix(const CTraceThread& thread) noexcept;

    size_t GetLength() const noexcept { return sizeof(stamp) + blanks; }

    /** Writes GetLength() bytes and returns the end. */
    char* Put(char* at) const noexcept {
        std::memcpy(at, stamp, sizeof(stamp));
        std::memset(at + sizeof(stamp), ' ', blanks);
        return at + GetLength();
    }

    void AppendTo(CLineWriter& writer) const noexcept {
        if (char* const room = writer.Extend(GetLength())) {
            Put(room);
        }
    }

    /**
     * As AppendTo, but as it comes out where the prefix is the beginning of a format: the mark "%",
     * written twice, reads as one escaped percent sign.
     */
    void AppendExpandedTo(CLineWriter& writer) const noexcept;

private:
    char stamp[33];
    bool escapes;
    size_t blanks;
};
