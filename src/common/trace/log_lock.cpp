#include "trace/log_lock.h"

#include "system/thread.h"

#include <time.h>

#include <new>

void CLogLock::Own() noexcept {
    if (depth++ == 0) {
        owner.store(static_cast<uint32_t>(GetCurrentThreadId()), std::memory_order_relaxed);
    }
}

void CLogLock::Lock() noexcept {
    section.Lock();
    Own();
}

bool CLogLock::TryLock() noexcept {
    constexpr int kTries = 1000;
    constexpr timespec kPause{0, 1000 * 1000};
    for (int i = 0; i < kTries; ++i) {
        if (section.TryLock()) {
            Own();
            return true;
        }
        nanosleep(&kPause, nullptr);
    }
    return false;
}

void CLogLock::Unlock() noexcept {
    if (--depth == 0) {
        owner.store(0, std::memory_order_relaxed);
    }
    section.Unlock();
}

bool CLogLock::ResetInChild() noexcept {
    const uint32_t holder = owner.load(std::memory_order_relaxed);
    if (holder == static_cast<uint32_t>(GetCurrentThreadId())) {
        return false;
    }
    // Also without a holder: a thread may have stood between the mutex and its own mark.
    new (&section) CCriticalSection;
    owner.store(0, std::memory_order_relaxed);
    depth = 0;
    return holder != 0;
}
