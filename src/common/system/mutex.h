/**
 * A lock between processes.
 */
#pragma once

#include "system/product.h"

#include <cstdint>

/**
 * A System V semaphore that counts 1 when it is free and 0 when it is held. A process that ends
 * gives back what it holds; the semaphore itself stays in the system.
 *
 * Nothing is thrown: every failure is a line in the log, and a lock that could not be had does
 * nothing at all.
 */
class CMutex {
public:
    /**
     * Opens or makes the semaphore whose key comes from `id` and a file, which must exist: by
     * default the cache server, with which it is shared.
     *
     * A semaphore that another process has just made is waited for, for about 10 milliseconds; one
     * that is not ready then is traced with ETIME, and used all the same.
     */
    explicit CMutex(uint8_t id, const char* path = GetCacheServerPath());

    void Lock();

    /** Takes the lock when it is free. Kept: 0 either way. */
    int TryLock();

    /**
     * Gives the lock back; nothing happens when nobody holds it.
     *
     * `expectedError` is the errno value that the caller foresees, 0 for none: what comes out
     * differently is traced.
     */
    void Unlock(int expectedError = 0);

    /** Whether anybody holds the lock. */
    bool IsLocked() const;

private:
    int OpenOrCreate(int32_t key);
    int AwaitCreator() const;
    int Add(short count, short flags) const;

    int32_t semaphore = -1;
};

/** Whether the cache server holds its lock; false when it is not installed. */
bool IsCacheServerLocked();
