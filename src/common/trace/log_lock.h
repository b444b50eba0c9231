/**
 * The lock of the log.
 */
#pragma once

#include "system/critical_section.h"

#include <atomic>
#include <cstdint>

/**
 * A recursive lock that knows its owner.
 *
 * Taken before the locks of remote recording, never after. A fork takes it too, so that the child
 * finds what it guards whole, and no other thread inside the C library's own locks that opening the
 * log takes; it does not wait for ever.
 */
class CLogLock {
public:
    void Lock() noexcept;
    void Unlock() noexcept;

    /** Gives up after about a second: for ends and forks of the process, which must not hang. */
    bool TryLock() noexcept;

    // Around a fork. In the child the lock is made anew, and the result tells whether another
    // thread, which the child does not have, was inside: then what it guards may be half changed.
    void PrepareFork() noexcept;
    void ResumeInParent() noexcept;
    bool ResumeInChild() noexcept;

private:
    void Own() noexcept;

    CCriticalSection section;
    std::atomic<uint32_t> owner{0};
    uint32_t depth = 0;
};

/** Holds the log's lock for a scope. */
class CLogLockGuard {
public:
    explicit CLogLockGuard(CLogLock& guarded) noexcept : lock(guarded) { lock.Lock(); }
    ~CLogLockGuard() { lock.Unlock(); }

    CLogLockGuard(const CLogLockGuard&) = delete;
    CLogLockGuard& operator=(const CLogLockGuard&) = delete;

private:
    CLogLock& lock;
};
