/**
 * How failures of OpenSSL are told.
 */
#pragma once

#include "util/exception.h"

/** A call of OpenSSL failed. Carries no text: the trace log has it. */
class OPENSSL_FUNCTION_FAILED : public CException {
public:
    using CException::CException;
};

/** An argument has no sense: a null object, a number that does not fit. Its code is 6. */
class ARGUMENT_INVALID : public CException {
public:
    using CException::CException;
};

/**
 * Drains the thread's OpenSSL error queue into the trace: "OpenSSL::<callName> failed: " and what
 * the queue holds. `callName` is the function's own name. Nothing is thrown.
 */
void ReportOpenSSLError(const char* callName) noexcept;
