/**
 * An event between the threads of one process.
 */
#pragma once

#include <pthread.h>

#include <atomic>
#include <cstdint>

/**
 * A flag to wait for. One waiter takes one signal: the flag is cleared by the thread that it lets
 * through, and signals that nobody waited for count once.
 */
class CEvent {
public:
    CEvent() noexcept;
    ~CEvent();

    CEvent(const CEvent&) = delete;
    CEvent& operator=(const CEvent&) = delete;

    void Signal() noexcept;
    void Reset() noexcept { signalled = false; }
    void Wait() noexcept;

    /**
     * As Wait, waking up at a time in milliseconds since 1970.
     *
     * Kept: the time does not end the wait. Once it has come, the thread runs in a loop until the
     * signal; a length of time, which lies in 1970, does so at once.
     */
    void WaitUntil(uint64_t time) noexcept;

private:
    // Atomic, since Reset takes no lock.
    std::atomic<bool> signalled{false};
    pthread_mutex_t mutex;
    pthread_cond_t condition;
};
