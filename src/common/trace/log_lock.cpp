#include "trace/log_lock.h"

#include "system/thread.h"
#include "trace/trace_thread.h"

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
    if (!section.TryLockFor(1)) {
        return false;
    }
    Own();
    return true;
}

void CLogLock::Unlock() noexcept {
    if (--depth == 0) {
        owner.store(0, std::memory_order_relaxed);
    }
    section.Unlock();
}

void CLogLock::PrepareFork() noexcept { traceThread.forking = TryLock(); }

void CLogLock::ResumeInParent() noexcept {
    if (traceThread.forking) {
        Unlock();
    }
}

bool CLogLock::ResumeInChild() noexcept {
    // The C library knows the owner by a number that the child's thread does not have.
    new (&section) CCriticalSection;
    if (!traceThread.forking) {
        const bool broken = owner.exchange(0, std::memory_order_relaxed) != 0;
        depth = 0;
        return broken;
    }
    for (uint32_t i = 0; i < depth; ++i) {
        section.Lock();
    }
    Unlock();
    return false;
}
