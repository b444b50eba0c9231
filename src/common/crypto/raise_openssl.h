/**
 * The throw statements of the code that calls OpenSSL. Like those of raise.h, they belong into the
 * body of the operation whose name the trace shall show.
 */
#pragma once

#include "crypto/openssl_error.h"
#include "util/raise.h"

/** Reports a failed call by its name and throws OPENSSL_FUNCTION_FAILED. */
#define RAISE_OPENSSL(call)               \
    do {                                  \
        ReportOpenSSLError(call);         \
        RAISE(OPENSSL_FUNCTION_FAILED()); \
    } while (false)

/** Traces a text about the arguments and throws CException with the code 6. */
#define RAISE_INVALID(...)                             \
    do {                                               \
        TraceString(__VA_ARGS__);                      \
        RAISE_CEXCEPTION(CException(kFunctionFailed)); \
    } while (false)

/** The same with the text that most operations have. */
#define RAISE_INVALID_PARAMETERS() RAISE_INVALID("OpenSSLWrap::%s: invalid parameters.", __func__)
