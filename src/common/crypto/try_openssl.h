/**
 * The early returns of the operations of the code style.
 */
#pragma once

#include "crypto/openssl_error.h"
#include <qorvs/trace.h>

/** Calls a function of OpenSSL; when it fails, reports it and returns its result. */
#define TRY_OPENSSL(function, ...)                                             \
    do {                                                                       \
        if (const int triedResult = function(__VA_ARGS__); triedResult <= 0) { \
            ReportOpenSSLError(#function);                                     \
            return triedResult;                                                \
        }                                                                      \
    } while (false)

/** The same for a function that makes an object: it goes into `handle`, 0 is returned for null. */
#define TRY_OPENSSL_NEW(handle, function, ...) \
    do {                                       \
        (handle) = Own(function(__VA_ARGS__)); \
        if (!(handle)) {                       \
            ReportOpenSSLError(#function);     \
            return 0;                          \
        }                                      \
    } while (false)

/** Traces that the operation was given arguments without sense, and returns 0. */
#define RETURN_INVALID_PARAMETERS()                                    \
    do {                                                               \
        TraceString("OpenSSLWrap::%s: invalid parameters.", __func__); \
        return 0;                                                      \
    } while (false)
