/**
 * The local socket on a descriptor.
 */
#pragma once

#include "system/local_socket.h"

#include <pthread.h>

#include <cstddef>
#include <cstdint>
#include <memory>

/**
 * Owns a descriptor and can be cancelled while a thread waits on it: Cancel sends that thread
 * SIGALRM, which ends the wait, and the thread finds the flag.
 *
 * The first socket of a process puts handlers that do nothing on SIGALRM and SIGPIPE, in place of
 * the host's; a host that changes SIGALRM afterwards takes Cancel its effect. While a thread is in
 * an operation it takes signals only where it waits, and SIGALRM there even if it blocks it
 * otherwise. Descriptors may have any number.
 */
class CUnixSocket : public CLocalSocket {
public:
    /**
     * Takes `fd`, connected or listening, and `alongside`, -1 for none; the destructor closes both.
     * `timeout` is in seconds, zero or less for none.
     */
    CUnixSocket(int32_t fd, int32_t timeout, int32_t alongside = -1);
    ~CUnixSocket() override;

    void Cancel() override;
    void ResetCancel() override;

    /**
     * Throws EIOCancelled, whatever has arrived; EIOTimedOut when nothing arrived for the socket's
     * time, counted anew after every part and every signal, after which the socket is usable;
     * EIOSocketClosed when the peer is gone; EIOError for "select" and "read". No bytes to read are
     * had without a look at the socket.
     */
    void Read(void* buffer, size_t length) override;

    /**
     * Throws EIOCancelled and EIOError for "write", EPIPE when the peer is gone. There is no limit
     * of time.
     *
     * Kept: what a signal interrupts goes on with as many bytes as at first: zeros follow the data
     * then, and the peer has to know where a message ends.
     */
    void Write(const void* data, size_t length) override;

    std::unique_ptr<CLocalSocket> Accept() override;

private:
    class COperation;

    enum class EEnd { kDone, kCancelled, kTimedOut, kClosed, kFailed };
    struct COutcome {
        EEnd end;
        const char* call = nullptr;  // what failed, with which errno value
        int error = 0;
    };

    COutcome Receive(uint8_t* buffer, size_t length);
    COutcome Send(const uint8_t* data, size_t length);
    COutcome Take(int32_t& client);
    bool IsCancelled() noexcept;

    int32_t timeout;
    pthread_t thread{};
    pthread_mutex_t mutex = PTHREAD_MUTEX_INITIALIZER;  // guards the thread and the two flags
    bool cancelled = false;
    bool busy = false;
    int32_t fd;
    int32_t companion;
};
