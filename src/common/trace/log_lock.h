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
 * Taken before the locks of remote recording, never after. In the child of a fork, a lock that
 * belongs to a thread which the child does not have is made anew.
 */
class CLogLock {
public:
    void Lock() noexcept;
    void Unlock() noexcept;

    /** Gives up after about a second; for the end of the process, which must not hang. */
    bool TryLock() noexcept;

    /**
     * To be called in the child of a fork. True when another thread, which the child does not have,
     * held the lock: then what it guards may be half changed.
     */
    bool ResetInChild() noexcept;

private:
    void Own() noexcept;

    CCriticalSection section;
    std::atomic<uint32_t> owner{0};
    uint32_t depth = 0;
};
