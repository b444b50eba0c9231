#include "system/thread.h"

#include "system/thread_error.h"
#include "util/raise.h"

#include <errno.h>
#include <sys/syscall.h>
#include <unistd.h>

__thread uint64_t cachedThreadId __attribute__((tls_model("initial-exec")));

uint64_t FetchCurrentThreadId() noexcept {
    cachedThreadId = static_cast<uint64_t>(syscall(SYS_gettid));
    return cachedThreadId;
}

CThread::~CThread() {
    if (IsCurrent() && started) {
        pthread_detach(thread);
    }
}

bool CThread::IsCurrent() const noexcept {
    // A thread that was joined has given its handle back, and a new one may have it by now.
    return pthread_equal(thread, pthread_self()) != 0 && !joined;
}

void* CThread::Enter(void* self) {
    return reinterpret_cast<void*>(static_cast<intptr_t>(static_cast<CThread*>(self)->Run()));
}

void CThread::Start() {
    started = true;
    joined = false;
    // From a successful call on, the thread may have destroyed the object.
    if (pthread_create(&thread, nullptr, &CThread::Enter, this) != 0) {
        const int error = errno;
        started = false;
        RAISE(EThreadError("pthread_create", error));
    }
}

int32_t CThread::Wait(const std::function<void()>& beforeJoin) {
    if (!started) {
        return -1;
    }
    beforeJoin();
    void* result = nullptr;
    if (joined || IsCurrent() || pthread_join(thread, &result) != 0) {
        const int error = errno;
        RAISE(EThreadError("pthread_join", error));
    }
    joined = true;
    return static_cast<int32_t>(reinterpret_cast<intptr_t>(result));
}

int32_t CThread::Wait() {
    return Wait([] {});
}

void CThread::WaitAndDetachSelf() {
    // In this order: the flag is the thread's own to change while others ask.
    if (!IsCurrent() || !started) {
        return;
    }
    try {
        Wait();
    } catch (const EThreadError&) {
    }
    pthread_detach(thread);
    started = false;
}
