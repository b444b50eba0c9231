#include "trace/log_state.h"

#include "system/settings.h"
#include "system/thread.h"
#include "trace/line_mirror.h"

#include <errno.h>
#include <pthread.h>

#include <cstdlib>
#include <new>

CLogState* CLogState::instance = nullptr;
std::atomic<unsigned> CLogState::flags{0};

namespace {

/**
 * Silences the thread while it opens the log, since reading settings and running commands trace,
 * and keeps it from being cancelled there: it holds the log's lock.
 */
class COpeningScope {
public:
    COpeningScope() noexcept {
        traceThread.opening = true;
        pthread_setcancelstate(PTHREAD_CANCEL_DISABLE, &cancelState);
    }
    ~COpeningScope() {
        pthread_setcancelstate(cancelState, nullptr);
        traceThread.opening = false;
    }
    COpeningScope(const COpeningScope&) = delete;
    COpeningScope& operator=(const COpeningScope&) = delete;

private:
    int cancelState = 0;
};

}  // namespace

void CLogState::Create() {
    alignas(CLogState) static unsigned char storage[sizeof(CLogState)];
    instance = new (storage) CLogState;
    pthread_atfork([] { instance->lock.PrepareFork(); }, [] { instance->lock.ResumeInParent(); },
                   [] { instance->ResumeInChild(); });
}

void CLogState::ToggleTracking() noexcept { flags.fetch_xor(kTracking); }

void CLogState::SetTracking(bool wanted) noexcept {
    if (wanted) {
        flags.fetch_or(kTracking);
    } else {
        flags.fetch_and(~kTracking);
    }
}

/** Opens the log when nobody has asked for it yet; false otherwise. */
bool CLogState::Begin() noexcept {
    if ((flags.load() & kBuilt) != 0) {
        return false;
    }
    flags.fetch_or(kTracking);
    // Ahead of opening, so that an exit meanwhile waits for the file and closes it.
    std::atexit([] { instance->Close(); });
    Open();
    flags.fetch_or(kBuilt);
    return true;
}

/** Opens the log on the first call and whenever it is wanted and not open; true when it is both. */
bool CLogState::Fetch() noexcept {
    if (!Begin() && (flags.load() & (kOpened | kTracking)) == kTracking) {
        Open();
    }
    return (flags.load() & (kOpened | kTracking)) == (kOpened | kTracking);
}

void CLogState::Open() noexcept {
    const COpeningScope opening;
    try {
        const bool wanted = IsTraceEnabled();
        SetTracking(wanted);
        if (!directoryRead) {
            directory = GetTraceDirectory();
            directoryRead = true;
        }
        if (wanted && directory.GetLength() > 0 && file.Open(directory, writer)) {
            flags.fetch_or(kOpened);
        }
    } catch (...) {
        // The host asked for a line, not for an exception. The next output tries again.
        writer.Discard();
    }
}

/** At the end of the process: later output, of static objects still to be destroyed, is silent. */
void CLogState::Close() noexcept {
    const COpeningScope closing;
    if (!lock.TryLock()) {
        return;
    }
    const unsigned before = flags.fetch_and(~(kOpened | kTracking));
    if ((before & kOpened) != 0) {
        // Not the state's writer: the exit may come from a handler that interrupted a line.
        CLineWriter lines;
        file.Close(lines);
        SettleMirror();
    }
    lock.Unlock();
}

void CLogState::ResumeInChild() noexcept {
    ForgetMirrorInChild();
    if (lock.ResumeInChild()) {
        new (&writer) CLineWriter;
    }
}

void COutputGuard::RestoreErrno() const noexcept { errno = savedErrno; }

void COutputGuard::Begin() noexcept {
    if (traceThread.suppressed || traceThread.opening) {
        return;
    }
    savedErrno = errno;
    CLogState& state = CLogState::Get();
    state.lock.Lock();
    locked = true;
    active = state.Fetch();
    if (!active) {
        return;
    }
    const auto thread = static_cast<uint32_t>(GetCurrentThreadId());
    if (state.lastWriter != thread) {
        state.lastWriter = thread;
        state.writer.Append('\n');
    }
}

void COutputGuard::End() noexcept {
    CLogState& state = CLogState::Get();
    if (active) {
        state.writer.Flush(state.file.GetDescriptor());
    }
    state.lock.Unlock();
    errno = savedErrno;
}
