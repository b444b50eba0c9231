#include "system/critical_section.h"

#include "system/thread_error.h"
#include "util/raise.h"

#include <time.h>

CCriticalSection::CCriticalSection() {
    pthread_mutexattr_t attributes;
    if (pthread_mutexattr_init(&attributes) != 0) {
        const int error = errno;
        RAISE(EThreadError("pthread_mutexattr_init", error));
    }
    const char* failed = nullptr;
    if (pthread_mutexattr_settype(&attributes, PTHREAD_MUTEX_RECURSIVE) != 0) {
        failed = "pthread_mutexattr_settype";
    } else if (pthread_mutex_init(&mutex, &attributes) != 0) {
        failed = "pthread_mutex_init";
    }
    const int error = errno;
    pthread_mutexattr_destroy(&attributes);
    if (failed != nullptr) {
        RAISE(EThreadError(failed, error));
    }
}

bool CCriticalSection::TryLockFor(unsigned seconds) noexcept {
    timespec deadline{};
    clock_gettime(CLOCK_REALTIME, &deadline);
    deadline.tv_sec += seconds;
    return pthread_mutex_timedlock(&mutex, &deadline) == 0;
}

bool CCriticalSection::IsLocked() noexcept {
    if (pthread_mutex_trylock(&mutex) == EBUSY) {
        return true;
    }
    pthread_mutex_unlock(&mutex);
    return false;
}
