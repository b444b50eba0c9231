/**
 * The door to the trace log.
 *
 * Every process that loads the library may write one log file. Whether it does, and where, is
 * decided by the settings (docs/log_format.md); a caller never learns whether a line was written.
 * All operations may be called from any thread at any time, also before the library has finished
 * loading and while the process ends: then they do nothing. They throw nothing, report nothing and
 * leave errno alone. Texts are zero-terminated UTF-8, read during the call and not kept; a null
 * text is written as "(null)".
 */
#pragma once

#include <qorvs/export.h>

QORVS_BEGIN_C

/** Writes "Entering <name>." and indents the following lines of this thread by four blanks. */
QORVS_API void TraceEnter(const char* name) QORVS_NOEXCEPT;

/** Takes the indent of TraceEnter back and writes "Leaving <name>.". */
QORVS_API void TraceLeave(const char* name) QORVS_NOEXCEPT;

/**
 * Writes a line from a printf format and its arguments.
 *
 * Line breaks at the end of the format are dropped; each line break inside it starts a new line of
 * the log. Line breaks inside arguments are written as they are.
 */
QORVS_API void TraceString(const char* format, ...) QORVS_NOEXCEPT
    __attribute__((format(printf, 1, 2)));

/** Writes a line of text that is not a format: "%" has no meaning in it. */
QORVS_API void TraceString0(const char* text) QORVS_NOEXCEPT;

/**
 * Turns the output of this process on or off while it runs.
 *
 * Null turns it over; otherwise the byte at `state` decides: zero is off, anything else, the digit
 * "0" included, is on. Tracing that the settings deny cannot be turned on.
 */
QORVS_API void UpdateLogsTrackingState(const char* state) QORVS_NOEXCEPT;

QORVS_END_C

#ifdef __cplusplus

/** Writes "'<label>' in (<function>), line <line>": the line that goes ahead of every exception. */
QORVS_API void TraceLine(const char* label, unsigned long line, const char* function) noexcept;

/** Writes "WARNING Exception raised light", for programs that have neither function nor line. */
QORVS_API void TraceLineLight() noexcept;

#endif
