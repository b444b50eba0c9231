/**
 * The throw statements of the library: each writes its place into the trace log before the
 * exception is made, so that the line is there even when making the exception fails.
 *
 * Not for use inside a lambda, whose function name says nothing. A value that the trace could
 * change, errno above all, is saved before.
 */
#pragma once

#include <qorvs/trace.h>

#define RAISE_LABELLED(label, ...)              \
    do {                                        \
        TraceLine((label), __LINE__, __func__); \
        throw __VA_ARGS__;                      \
    } while (false)

/** Anything that has no label of its own. */
#define RAISE(...) RAISE_LABELLED("WARNING Exception raised", __VA_ARGS__)

/** A CException itself, where OpenSSL is called. */
#define RAISE_CEXCEPTION(...) RAISE_LABELLED("WARNING CException raised", __VA_ARGS__)

/** A CCkException. */
#define RAISE_CCK(...) RAISE_LABELLED("WARNING CCkException raised", __VA_ARGS__)

/** An icao::CICAOException. */
#define RAISE_ICAO(...) RAISE_LABELLED("WARNING CICAOException raised", __VA_ARGS__)

/** What the log shows where an exception passes through. */
#define TRACE_RETHROW() TraceLine("WARNING Exception raised (rethrow)", __LINE__, __func__)

/** For a `catch (...)` that has put its state right. */
#define RERAISE()        \
    do {                 \
        TRACE_RETHROW(); \
        throw;           \
    } while (false)
