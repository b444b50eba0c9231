#include "system/mutex.h"

#include <qorvs/trace.h>

#include <errno.h>
#include <sys/ipc.h>
#include <sys/sem.h>
#include <unistd.h>

namespace {

/** The fourth argument of semctl, which the caller has to declare. */
union CSemaphoreArgument {
    int value;
    semid_ds* status;
    unsigned short* values;
};

/** The semaphore's count, or -1; the failure is traced. */
int GetCount(int32_t semaphore) {
    const int count = semctl(semaphore, 0, GETVAL);
    if (count < 0) {
        // Kept: Unlock's own question is traced under this name as well.
        TraceString("WARNING CMutex::IsLocked() failed: (errno=%d)", errno);
    }
    return count;
}

}  // namespace

CMutex::CMutex(uint8_t id, const char* path) {
    const key_t key = ftok(path, id);
    // Without the file the key would be -1: a semaphore shared with every program that does not
    // look.
    const int error = key == -1 ? errno : OpenOrCreate(key);
    if (error != 0) {
        TraceString("WARNING Mutex creation failed: (errno=%d)", error);
    }
}

/** The errno value of what failed, or 0. */
int CMutex::OpenOrCreate(int32_t key) {
    semaphore = semget(key, 1, IPC_CREAT | IPC_EXCL | 0666);
    if (semaphore >= 0) {
        // Sets the count to 1 and stamps the semaphore as ready. No SEM_UNDO: the end of this
        // process must not take the count away again.
        return Add(1, 0);
    }
    if (errno != EEXIST) {
        return errno;
    }
    semaphore = semget(key, 1, 0);
    return semaphore >= 0 ? AwaitCreator() : errno;
}

/** Between a creator's two calls the semaphore is there, but was never operated on. */
int CMutex::AwaitCreator() const {
    constexpr int kTries = 10;
    constexpr useconds_t kPause = 1000;
    for (int i = 0; i < kTries; ++i) {
        semid_ds status{};
        CSemaphoreArgument argument{};
        argument.status = &status;
        if (semctl(semaphore, 0, IPC_STAT, argument) < 0) {
            return errno;
        }
        if (status.sem_otime != 0) {
            return 0;
        }
        usleep(kPause);
    }
    return ETIME;
}

/** The errno value when the semaphore refused, or 0. */
int CMutex::Add(short count, short flags) const {
    sembuf operation{0, count, flags};
    return semop(semaphore, &operation, 1) < 0 ? errno : 0;
}

void CMutex::Lock() {
    const int error = semaphore < 0 ? 0 : Add(-1, SEM_UNDO);
    if (error != 0) {
        TraceString("WARNING Mutex acquisition failed: (errno=%d)", error);
    }
}

int CMutex::TryLock() {
    if (semaphore >= 0) {
        Add(-1, SEM_UNDO | IPC_NOWAIT);
    }
    return 0;
}

void CMutex::Unlock(int expectedError) {
    if (semaphore < 0 || GetCount(semaphore) != 0) {
        return;
    }
    const int error = Add(1, SEM_UNDO);
    if (error != 0 && error != expectedError) {
        TraceString("WARNING: Mutex releasing failed: (errno=%d)", error);
    } else if (error == 0 && expectedError != 0) {
        TraceString("WARNING: Mutex releasing NOT failed: %d was expected", expectedError);
    }
}

bool CMutex::IsLocked() const { return semaphore >= 0 && GetCount(semaphore) == 0; }

bool IsCacheServerLocked() {
    constexpr uint8_t kCacheServer = 0x48;
    static const CMutex mutex(kCacheServer);
    return mutex.IsLocked();
}
