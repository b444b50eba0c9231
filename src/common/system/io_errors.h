/**
 * What the local streams throw. All are in the catalog's category "IO subsystem" and have the code
 * CKR_FUNCTION_FAILED; thrown with RAISE.
 */
#pragma once

#include "util/exception.h"

#include <cstdint>

/** The category "IO subsystem". */
constexpr int16_t kIoCategory = 3;

/** A call of the system that failed: its name and the text of errno (kFailedCallMessage). */
class EIOError : public CException {
public:
    EIOError(const char* call, int error)
        : CException(MakeErrnoMessage(call, error, kIoCategory)) {}

protected:
    explicit EIOError(const CEventMessage& message) : CException(message) {}
    explicit EIOError(uint32_t id) : CException(CEventMessage(id, kIoCategory)) {}
};

/** The operation was cancelled. */
class EIOCancelled : public EIOError {
public:
    EIOCancelled() : EIOError(0xC1020001) {}
};

/** Nothing arrived within the stream's time. */
class EIOTimedOut : public EIOError {
public:
    EIOTimedOut() : EIOError(0xC1020002) {}
};

/** The peer has closed. The text is that of ESHUTDOWN, whatever errno says. */
class EIOSocketClosed : public EIOError {
public:
    EIOSocketClosed();
};

/** Somebody listens at the path already. */
class EIOSocketBusy : public EIOError {
public:
    EIOSocketBusy() : EIOError(0xC1020004) {}
};

/**
 * Nobody listens at the path.
 *
 * Kept: the message is that of the failed call, "connect", and not the catalog's own for a service
 * that does not run. Only the class tells the two apart.
 */
class EIOSocketNoListener : public EIOError {
public:
    explicit EIOSocketNoListener(int error) : EIOError("connect", error) {}
};
