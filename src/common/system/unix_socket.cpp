#include "system/unix_socket.h"

#include "system/io_errors.h"
#include "util/raise.h"

#include <errno.h>
#include <poll.h>
#include <signal.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <time.h>
#include <unistd.h>

#include <cstring>
#include <mutex>
#include <vector>

namespace {

/** Blocks all signals of the thread for a scope. */
class CSignalBlock {
public:
    CSignalBlock() noexcept {
        sigset_t all;
        sigfillset(&all);
        pthread_sigmask(SIG_BLOCK, &all, &saved);
    }
    ~CSignalBlock() { pthread_sigmask(SIG_SETMASK, &saved, nullptr); }
    CSignalBlock(const CSignalBlock&) = delete;
    CSignalBlock& operator=(const CSignalBlock&) = delete;

    const sigset_t& GetSaved() const noexcept { return saved; }

private:
    sigset_t saved{};
};

/** Holds a mutex for a scope. Signals are blocked before: a handler may call Cancel. */
class CMutexGuard {
public:
    explicit CMutexGuard(pthread_mutex_t& guarded) noexcept : mutex(guarded) {
        pthread_mutex_lock(&mutex);
    }
    ~CMutexGuard() { pthread_mutex_unlock(&mutex); }
    CMutexGuard(const CMutexGuard&) = delete;
    CMutexGuard& operator=(const CMutexGuard&) = delete;

private:
    pthread_mutex_t& mutex;
};

void InterruptOnly(int /*signal*/) {}

void InstallHandlers() {
    static std::once_flag once;
    std::call_once(once, [] {
        struct sigaction interrupt {};
        interrupt.sa_handler = &InterruptOnly;  // without SA_RESTART
        sigaction(SIGALRM, &interrupt, nullptr);
        sigaction(SIGPIPE, &interrupt, nullptr);
    });
}

/** What a system call gave, with errno when that is negative. */
struct CCallResult {
    ssize_t value;
    int error;
};

CCallResult ResultOf(ssize_t value) noexcept { return {value, value < 0 ? errno : 0}; }

}  // namespace

/**
 * Marks the socket as busy with the calling thread for a scope, unless it is cancelled.
 *
 * Signals are blocked but in Await, so that none is lost between a look at the flag and the wait.
 */
class CUnixSocket::COperation {
public:
    explicit COperation(CUnixSocket& owner) noexcept : socket(owner), waiting(signals.GetSaved()) {
        sigdelset(&waiting, SIGALRM);
        const CMutexGuard guard(socket.mutex);
        entered = !socket.cancelled;
        if (entered) {
            socket.busy = true;
            socket.thread = pthread_self();
        }
    }
    ~COperation() {
        if (entered) {
            const CMutexGuard guard(socket.mutex);
            socket.busy = false;
        }
        // A thread that blocks SIGALRM must not carry it into its next operation.
        if (sigismember(&signals.GetSaved(), SIGALRM) == 1) {
            pthread_sigmask(SIG_SETMASK, &waiting, nullptr);
        }
    }
    COperation(const COperation&) = delete;
    COperation& operator=(const COperation&) = delete;

    bool HasEntered() const noexcept { return entered; }

    /** As select does: above 0 when ready, 0 after `limit`, negative with EINTR after a signal. */
    CCallResult Await(short events, const timespec* limit) const noexcept {
        pollfd waited{socket.fd, events, 0};
        const CCallResult result = ResultOf(ppoll(&waited, 1, limit, &waiting));
        const bool isInvalid = result.value > 0 && (waited.revents & POLLNVAL) != 0;
        return isInvalid ? CCallResult{-1, EBADF} : result;
    }

    /** A blocking read that the signal of Cancel ends for sure. */
    CCallResult Read(void* buffer, size_t length) const noexcept {
        for (;;) {
            const CCallResult result = ResultOf(recv(socket.fd, buffer, length, MSG_DONTWAIT));
            if (result.value >= 0 || result.error != EAGAIN) {
                return result;
            }
            const CCallResult ready = Await(POLLIN, nullptr);
            if (ready.value < 0) {
                return ready;
            }
        }
    }

    /** A blocking write likewise: it is partial only when a signal or a failure ends it. */
    CCallResult Write(const uint8_t* data, size_t length) const noexcept {
        size_t sent = 0;
        int error = 0;
        while (sent < length && error == 0) {
            const CCallResult result =
                ResultOf(send(socket.fd, data + sent, length - sent, MSG_DONTWAIT | MSG_NOSIGNAL));
            if (result.value >= 0) {
                sent += static_cast<size_t>(result.value);
            } else if (result.error == EAGAIN) {
                error = Await(POLLOUT, nullptr).error;
                // The signal does not end a wait that another reason has ended already.
                error = error == 0 && socket.IsCancelled() ? EINTR : error;
            } else {
                error = result.error;
            }
        }
        return sent > 0 ? CCallResult{static_cast<ssize_t>(sent), 0} : CCallResult{-1, error};
    }

private:
    CUnixSocket& socket;
    const CSignalBlock signals;
    sigset_t waiting;
    bool entered;
};

CUnixSocket::CUnixSocket(int32_t ownedFd, int32_t seconds, int32_t alongside)
    : timeout(seconds), fd(ownedFd), companion(alongside) {
    InstallHandlers();
}

CUnixSocket::~CUnixSocket() {
    pthread_mutex_destroy(&mutex);
    for (const int32_t owned : {fd, companion}) {
        if (owned >= 0) {
            close(owned);
        }
    }
}

void CUnixSocket::Cancel() {
    const CSignalBlock signals;
    const CMutexGuard guard(mutex);
    cancelled = true;
    // Under the lock: the thread cannot leave the operation, or end, before it has the signal.
    if (busy) {
        pthread_kill(thread, SIGALRM);
    }
}

void CUnixSocket::ResetCancel() {
    const CSignalBlock signals;
    const CMutexGuard guard(mutex);
    cancelled = false;
}

/** Only within an operation, where signals are blocked. */
bool CUnixSocket::IsCancelled() noexcept {
    const CMutexGuard guard(mutex);
    return cancelled;
}

CUnixSocket::COutcome CUnixSocket::Receive(uint8_t* buffer, size_t length) {
    const COperation operation(*this);
    if (!operation.HasEntered()) {
        return {EEnd::kCancelled};
    }
    const timespec limit{timeout, 0};
    for (size_t done = 0; done < length;) {
        const CCallResult ready = timeout > 0 ? operation.Await(POLLIN, &limit) : CCallResult{1, 0};
        // The flag comes before data, time and error alike.
        if (timeout > 0 && IsCancelled()) {
            return {EEnd::kCancelled};
        }
        if (ready.value < 0 && ready.error == EINTR) {
            continue;
        }
        if (ready.value <= 0) {
            return {ready.value == 0 ? EEnd::kTimedOut : EEnd::kFailed, "select", ready.error};
        }
        const CCallResult got = operation.Read(buffer + done, length - done);
        if (IsCancelled()) {
            return {EEnd::kCancelled};
        }
        if (got.value == 0) {
            return {EEnd::kClosed};
        }
        if (got.value < 0 && got.error != EINTR) {
            return {EEnd::kFailed, "read", got.error};
        }
        done += got.value > 0 ? static_cast<size_t>(got.value) : 0;
    }
    return {EEnd::kDone};
}

CUnixSocket::COutcome CUnixSocket::Send(const uint8_t* data, size_t length) {
    const COperation operation(*this);
    if (!operation.HasEntered()) {
        return {EEnd::kCancelled};
    }
    std::vector<uint8_t> padded;
    for (size_t done = 0; done < length;) {
        const CCallResult sent = operation.Write(data + done, length);
        if (IsCancelled()) {
            return {EEnd::kCancelled};
        }
        if (sent.value < 0 && sent.error != EINTR) {
            return {EEnd::kFailed, "write", sent.error};
        }
        done += sent.value > 0 ? static_cast<size_t>(sent.value) : 0;
        // Each call names the whole length; what lies behind the caller's data is not ours to send.
        if (done > 0 && done < length && padded.empty()) {
            padded.resize(2 * length);
            memcpy(padded.data(), data, length);
            data = padded.data();
        }
    }
    return {EEnd::kDone};
}

CUnixSocket::COutcome CUnixSocket::Take(int32_t& client) {
    const COperation operation(*this);
    if (!operation.HasEntered()) {
        return {EEnd::kCancelled};
    }
    for (;;) {
        const CCallResult ready = operation.Await(POLLIN, nullptr);
        if (IsCancelled()) {
            return {EEnd::kCancelled};
        }
        if (ready.value < 0 && ready.error != EINTR) {
            return {EEnd::kFailed, "select", ready.error};
        }
        if (ready.value <= 0) {
            continue;
        }
        sockaddr_un address{};
        socklen_t size = sizeof(address);
        client = accept4(fd, reinterpret_cast<sockaddr*>(&address), &size, SOCK_CLOEXEC);
        if (client >= 0) {
            return {EEnd::kDone};
        }
        // Another process may have taken the client that was there.
        if (errno != EINTR && errno != EAGAIN) {
            return {EEnd::kFailed, "accept", errno};
        }
    }
}

void CUnixSocket::Read(void* buffer, size_t length) {
    const COutcome outcome = Receive(static_cast<uint8_t*>(buffer), length);
    switch (outcome.end) {
        case EEnd::kDone:
            return;
        case EEnd::kCancelled:
            RAISE(EIOCancelled());
        case EEnd::kTimedOut:
            RAISE(EIOTimedOut());
        case EEnd::kClosed:
            RAISE(EIOSocketClosed());
        case EEnd::kFailed:
            RAISE(EIOError(outcome.call, outcome.error));
    }
}

void CUnixSocket::Write(const void* data, size_t length) {
    const COutcome outcome = Send(static_cast<const uint8_t*>(data), length);
    if (outcome.end == EEnd::kCancelled) {
        RAISE(EIOCancelled());
    }
    if (outcome.end == EEnd::kFailed) {
        RAISE(EIOError(outcome.call, outcome.error));
    }
}

std::unique_ptr<CLocalSocket> CUnixSocket::Accept() {
    auto connection = std::make_unique<CUnixSocket>(-1, 0);
    const COutcome outcome = Take(connection->fd);
    if (outcome.end == EEnd::kCancelled) {
        RAISE(EIOCancelled());
    }
    if (outcome.end == EEnd::kFailed) {
        RAISE(EIOError(outcome.call, outcome.error));
    }
    return connection;
}
