#include "system/cache_server.h"

#include "system/event_log.h"
#include "system/service.h"
#include "util/raise.h"

#include <errno.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>

namespace {

/**
 * The child's way into the program. It may be the child of a process with threads: up to the call
 * nothing allocates or locks, the log's descriptor is closed so nothing traces, and the exit
 * handlers, which are the host's too, do not run.
 */
[[noreturn]] void Become(const char* path, const CUTF8String& call, CEventLog& log) noexcept {
    constexpr int kDescriptors = 256;
    for (int descriptor = 0; descriptor < kDescriptors; ++descriptor) {
        close(descriptor);
    }
    execl(path, "qorcachesrv", static_cast<char*>(nullptr));
    const int error = errno;
    log.Report(MakeErrnoMessage(call, error, kServiceCategory));
    _exit(EXIT_FAILURE);
}

/** 0, or the errno value of what failed. Signals of the host leave no child behind. */
int AwaitEnd(pid_t child, int& status) noexcept {
    while (waitpid(child, &status, 0) < 0) {
        if (errno != EINTR) {
            return errno;
        }
    }
    return 0;
}

CUTF8String GetStatusText(int status) {
    char digits[16];
    snprintf(digits, sizeof(digits), "%08X", static_cast<unsigned>(status));
    return digits;
}

// Both steps are called Start: the log names it where they throw.

void Start(const char* path) {
    const CUTF8String call = CUTF8String("execl(") + path + ")";
    CSysLog& log = GetEventLog();
    const pid_t child = fork();
    if (child < 0) {
        const int error = errno;
        RAISE(EService(MakeErrnoMessage("fork", error, kServiceCategory)));
    }
    if (child == 0) {
        Become(path, call, log);
    }
    int status = 0;
    const int error = AwaitEnd(child, status);
    if (error != 0) {
        RAISE(EService(MakeErrnoMessage("waitpid", error, kServiceCategory)));
    }
    // All but the bit that says that a core was written.
    constexpr int kExitAndSignal = 0xFF7F;
    if ((status & kExitAndSignal) != 0) {
        RAISE(EService(
            CEventMessage(0xC1030013, kServiceCategory, CUTF8FmtArgs() << GetStatusText(status))));
    }
}

void Start(const CUTF8String& serviceName, const char* path) {
    try {
        Start(path);
    } catch (const CException& failure) {
        const CEventMessage message(0xC1030003, kServiceCategory,
                                    CUTF8FmtArgs()
                                        << serviceName << RenderMessage(failure.GetMessage()));
        GetEventLog().Report(message);
        RAISE(EService(message));
    }
}

}  // namespace

void StartCacheServer(const CUTF8String& serviceName, const char* path) {
    Start(serviceName, path);
}

bool IsManagerRunning() {
    return system("ps aux | grep -w QRManager | grep -v grep > /dev/null 2>&1") == 0;
}

uint32_t GetCurrentUserId() noexcept { return getuid(); }
