/**
 * A stream of bytes that another thread can cancel.
 */
#pragma once

#include <cstddef>

/**
 * Blocking transfers of whole messages. One thread at a time reads or writes; Cancel and
 * ResetCancel may come from any other.
 *
 * Failures are EIOError and the classes made from it (io_errors.h).
 */
class CStream {
public:
    CStream() noexcept = default;
    CStream(const CStream&) = delete;
    CStream& operator=(const CStream&) = delete;

    // The order of the virtual operations is relied on by modules built against it.

    virtual ~CStream() = default;

    /** Ends the operation that is under way with EIOCancelled, and every later one too. */
    virtual void Cancel() = 0;

    /** Lets later operations run again. One that is under way is not told. */
    virtual void ResetCancel() = 0;

    /** Fills exactly `length` bytes, or throws; then what has arrived of them is lost. */
    virtual void Read(void* buffer, size_t length) = 0;

    /** Sends `length` bytes, or throws; then the peer may have got any part of them. */
    virtual void Write(const void* data, size_t length) = 0;
};
