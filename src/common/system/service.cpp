#include "system/service.h"

#include "system/event_log.h"
#include "util/handled_text.h"

#include <errno.h>
#include <fcntl.h>
#include <signal.h>
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace {

// What the launcher finds in the exit status of the first process.
constexpr int kStarted = 0;
constexpr int kFailed = 2;

std::atomic<CService*> runningService{nullptr};
static_assert(std::atomic<CService*>::is_always_lock_free, "a signal handler reads it");
const char* pidDirectory = kPidFileDirectory;

void StopService(int /*signal*/) {
    const int error = errno;
    CService* const service = runningService.load();
    if (service != nullptr) {
        service->Stop();
    }
    errno = error;
}

/** Keeps SIGTERM from the thread for a scope; what has come meanwhile is handled at its end. */
class CTerminationBlock {
public:
    CTerminationBlock() noexcept {
        sigset_t termination;
        sigemptyset(&termination);
        sigaddset(&termination, SIGTERM);
        pthread_sigmask(SIG_BLOCK, &termination, &saved);
    }
    ~CTerminationBlock() { pthread_sigmask(SIG_SETMASK, &saved, nullptr); }
    CTerminationBlock(const CTerminationBlock&) = delete;
    CTerminationBlock& operator=(const CTerminationBlock&) = delete;

private:
    sigset_t saved{};
};

CEventMessage MakeMessage(uint32_t id, CService& service) {
    CEventMessage message(id, kServiceCategory);
    message.args << service.GetDisplayName();
    return message;
}

void Report(uint32_t id, CService& service) { GetEventLog().Report(MakeMessage(id, service)); }

void Report(uint32_t id, CService& service, const CUTF8String& reason) {
    CEventMessage message = MakeMessage(id, service);
    message.args << reason;
    GetEventLog().Report(message);
}

[[noreturn]] void RefuseSecondStart(const CPidFile& pidFile) {
    const CEventMessage message = MakeTextMessage(
        CUTF8String("The service might be already running because the PID file \"") +
            pidFile.GetPath() + "\" already exists.",
        kServiceCategory);
    fprintf(stderr, "%s\n", RenderMessage(message).GetText());
    GetEventLog().Report(message);
    exit(kFailed);
}

[[noreturn]] void FailStart(CService& service, const CUTF8String& reason) {
    Report(0xC1030004, service, reason);
    exit(kFailed);
}

/**
 * The launcher starts us with no descriptor open. What Initialize opens must not get one of the
 * numbers that are closed on the way into the background.
 */
void OccupyStandardDescriptors() noexcept {
    int descriptor = -1;
    do {
        descriptor = open("/dev/null", O_RDWR);
    } while (descriptor >= 0 && descriptor <= STDERR_FILENO);
    if (descriptor >= 0) {
        close(descriptor);
    }
}

void Initialize(CService& service) {
    try {
        const CTerminationBlock block;
        signal(SIGTERM, &StopService);
        service.Initialize();
    } catch (...) {
        FailStart(service, GetHandledText());
    }
}

bool StaysInForeground(int argc, const char* const* argv) {
    return argc == 2 && strcmp(argv[1], "-f") == 0;
}

/** Returns in the background process only. */
void GoIntoBackground(CService& service, const CPidFile& pidFile) {
    // Output that both processes held would go out twice, here through a descriptor used anew.
    fflush(nullptr);
    const pid_t child = fork();
    if (child < 0) {
        const int error = errno;
        FailStart(service, RenderMessage(MakeErrnoMessage("fork", error, kServiceCategory)));
    }
    if (child > 0) {
        exit(kStarted);
    }
    // Ahead of the umask: who can write the file chooses the process that gets the signals.
    pidFile.Write();
    [[maybe_unused]] const int changed = chdir("/");
    umask(0);
    setsid();
    for (const int descriptor : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
        close(descriptor);
    }
}

void RunToEnd(CService& service, const CPidFile& pidFile) {
    try {
        Report(0x41030001, service);
        service.Run();
        Report(0x41030002, service);
    } catch (...) {
        Report(0xC1030005, service, GetHandledText());
        pidFile.Remove();
        exit(kFailed);
    }
}

}  // namespace

int RunService(CService& service, int argc, const char* const* argv, const char* pidFileDirectory) {
    pidDirectory = pidFileDirectory;
    runningService = &service;
    OccupyStandardDescriptors();
    const CPidFile pidFile(GetPidFilePath());
    if (pidFile.Exists()) {
        RefuseSecondStart(pidFile);
    }
    Initialize(service);
    if (!StaysInForeground(argc, argv)) {
        GoIntoBackground(service, pidFile);
    }
    RunToEnd(service, pidFile);
    // Kept: in the foreground too, where none was written.
    pidFile.Remove();
    // The handler stays; the service may go now.
    runningService = nullptr;
    return 0;
}

const char* GetPidFilePath() {
    static const auto* const path =
        new CUTF8String(CUTF8String(pidDirectory) + runningService.load()->GetName() + ".pid");
    return path->GetText();
}
