/**
 * A lock between the threads of one process.
 */
#pragma once

#include <errno.h>
#include <pthread.h>

/**
 * A recursive mutex: the thread that holds it may take it again, and gives it back as often.
 *
 * Lock and Unlock report nothing.
 */
class CCriticalSection {
public:
    /** Throws EThreadError, with the name of the call, when the mutex cannot be made. */
    CCriticalSection();
    ~CCriticalSection() { pthread_mutex_destroy(&mutex); }

    CCriticalSection(const CCriticalSection&) = delete;
    CCriticalSection& operator=(const CCriticalSection&) = delete;

    void Lock() noexcept { pthread_mutex_lock(&mutex); }
    void Unlock() noexcept { pthread_mutex_unlock(&mutex); }

    /** Takes the lock when no other thread has it; true when it was taken. */
    bool TryLock() noexcept { return pthread_mutex_trylock(&mutex) == 0; }

    /** Waits for the lock, at most about so long; true when it was taken. */
    bool TryLockFor(unsigned seconds) noexcept;

    /**
     * Whether another thread holds the lock.
     *
     * Kept: false for the thread that holds it, which may always enter.
     */
    bool IsLocked() noexcept;

private:
    pthread_mutex_t mutex;
};

/** Holds a critical section for a scope. */
class CCriticalSectionGuard {
public:
    explicit CCriticalSectionGuard(CCriticalSection& guarded) noexcept : section(guarded) {
        section.Lock();
    }
    ~CCriticalSectionGuard() { section.Unlock(); }

    CCriticalSectionGuard(const CCriticalSectionGuard&) = delete;
    CCriticalSectionGuard& operator=(const CCriticalSectionGuard&) = delete;

private:
    CCriticalSection& section;
};
