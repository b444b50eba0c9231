/**
 * The text of TraceString: a printf format, line by line behind the prefix.
 */
#pragma once

#include "trace/line_prefix.h"
#include "trace/line_writer.h"

#include <cstdarg>

/**
 * Appends a message and a line feed.
 *
 * Malformed UTF-8 in the format becomes "?". Line breaks at its end are dropped; each one inside it
 * (CR, LF, CR LF or LF CR) starts a line with a prefix of its own. Arguments come out as they are.
 */
void AppendMessage(CLineWriter& writer, const CLinePrefix& prefix, const char* format,
                   va_list arguments) noexcept __attribute__((format(printf, 3, 0)));
