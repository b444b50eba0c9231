#include "system/sigpipe_guard.h"

#include <errno.h>
#include <pthread.h>
#include <signal.h>
#include <time.h>

namespace {

thread_local bool guarded = false;

sigset_t PipeSignal() noexcept {
    sigset_t set;
    sigemptyset(&set);
    sigaddset(&set, SIGPIPE);
    return set;
}

bool IsPipePending() noexcept {
    sigset_t pending;
    return sigpending(&pending) == 0 && sigismember(&pending, SIGPIPE) == 1;
}

}  // namespace

CSigPipeGuard::CSigPipeGuard() noexcept {
    if (guarded) {
        return;
    }
    guarded = outermost = true;
    const sigset_t pipe = PipeSignal();
    sigset_t before;
    sigemptyset(&before);
    pthread_sigmask(SIG_BLOCK, &pipe, &before);
    unblocks = sigismember(&before, SIGPIPE) == 0;
    // A signal that waits already is the host's and goes on waiting.
    consumes = unblocks || !IsPipePending();
}

CSigPipeGuard::~CSigPipeGuard() {
    if (!outermost) {
        return;
    }
    const int saved = errno;
    const sigset_t pipe = PipeSignal();
    const timespec now{};
    while (consumes && sigtimedwait(&pipe, nullptr, &now) == -1 && errno == EINTR) {
    }
    if (unblocks) {
        pthread_sigmask(SIG_UNBLOCK, &pipe, nullptr);
    }
    guarded = false;
    errno = saved;
}
