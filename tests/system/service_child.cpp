/**
 * A service that does as told, and its launcher: service_child serve <does> [argument]..., or
 * launch <does> <path>. Prints all that the service and its processes go through and report.
 *
 * What to do stands behind where it is done: "initialize terminate run look".
 */
#include "system/cache_server.h"
#include "system/service.h"

#include <dlfcn.h>
#include <errno.h>
#include <fcntl.h>
#include <signal.h>
#include <sys/prctl.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <map>
#include <sstream>
#include <stdexcept>
#include <string>

// Out of the reach of the launcher, which closes all below 256.
constexpr int kReports = 300;

// What Initialize opens, for Run.
static int opened = -1;

static bool forkFails = false;

// The labels keep these apart from the C library's headers, which may define the same name inline.
#define WRITE_REPORTS(label, name, ...)                                          \
    void name(int priority, __VA_ARGS__ const char* format, ...) __asm__(label); \
    void name(int priority, __VA_ARGS__ const char* format, ...) {               \
        va_list args;                                                            \
        va_start(args, format);                                                  \
        dprintf(kReports, "%d ", priority);                                      \
        vdprintf(kReports, format, args);                                        \
        dprintf(kReports, "\n");                                                 \
        va_end(args);                                                            \
    }

extern "C" {
WRITE_REPORTS("syslog", WriteSyslog)
WRITE_REPORTS("__syslog_chk", WriteCheckedSyslog, int /*flag*/, )

pid_t fork() noexcept {
    auto* const real = reinterpret_cast<pid_t (*)()>(dlsym(RTLD_NEXT, "fork"));
    return forkFails ? (errno = EAGAIN, -1) : real();
}
}

namespace {

void PrintOpen(int limit) {
    dprintf(kReports, "open:");
    for (int descriptor = 0; descriptor < limit; ++descriptor) {
        if (fcntl(descriptor, F_GETFD) >= 0) {
            dprintf(kReports, " %d", descriptor);
        }
    }
}

/** What a service can see of the place that it runs in. */
void Look() {
    PrintOpen(3);
    int number = 0;
    std::ifstream(GetPidFilePath()) >> number;
    struct stat file {};
    stat(GetPidFilePath(), &file);
    dprintf(kReports, ", in %s, session %s, umask %o, PID file %s %o, %s what it opened\n",
            std::filesystem::current_path() == "/" ? "/" : "its place",
            getsid(0) == getpid() ? "own" : "kept", umask(0), number == getpid() ? "ours" : "none",
            file.st_mode & 0777, fcntl(opened, F_GETFD) >= 0 ? "has" : "lacks");
}

void Interrupt() {
    for (int i = 0; i < 200; ++i) {
        kill(getppid(), SIGALRM);
    }
}

void Terminate() {
    raise(SIGTERM);
    dprintf(kReports, "terminated\n");
}

void StartAnother() { [[maybe_unused]] const int status = system("/proc/$PPID/exe serve ''"); }

const std::map<std::string, void (*)()> kActions = {
    {"look", &Look},
    {"interrupt", &Interrupt},
    {"another", &StartAnother},
    {"open", [] { dup2(kReports, STDOUT_FILENO); }},
    {"fail", [] { throw CException("100%s %n"); }},
    {"standard", [] { throw std::runtime_error("standard words"); }},
    {"number", [] { throw 7UL; }},
    {"terminate", &Terminate},
    {"file", [] { CPidFile(GetPidFilePath()).Write(); }},
    {"say", [] { printf("said once, at the end of the first process\n"); }},
    {"ignore", [] { signal(SIGCHLD, SIG_IGN); }},
    {"alone", [] { forkFails = true; }},
};

void Do(const std::string& place) {
    dprintf(kReports, "%s\n", place.c_str());
    std::istringstream words(getenv("DOES"));
    std::string word, at;
    while (words >> word) {
        const auto action = kActions.find(word);
        if (action == kActions.end()) {
            at = word;
        } else if (at == place) {
            action->second();
        }
    }
}

class CToldService final : public CService {
public:
    CUTF8String GetName() override { return "told"; }
    CUTF8String GetDisplayName() override { return "Told service"; }
    void Initialize() override {
        opened = open("/", O_RDONLY);
        Do("initialize");
    }
    void Run() override { Do("run"); }
    void Stop() override { dprintf(kReports, "stop\n"); }
};

std::string GetDirectory() { return std::string(getenv("HOME")) + "/"; }

int Serve(int argc, char** argv) {
    umask(022);
    dup2(STDOUT_FILENO, STDERR_FILENO);
    CToldService service;
    const int result = RunService(service, argc, argv, GetDirectory().c_str());
    raise(SIGTERM);
    dprintf(kReports, "returned %d\n", result);
    return result;
}

/** Waits for a child and then for all that it has left behind, which become ours. */
void PrintEnds(pid_t child) {
    std::string ends;
    for (int status = 0; waitpid(child, &status, 0) > 0; child = -1) {
        ends += " " + std::to_string(WEXITSTATUS(status));
    }
    const bool isLeft = std::filesystem::exists(GetDirectory() + "told.pid");
    dprintf(kReports, "ended with%s%s\n", ends.c_str(), isLeft ? ", PID file left" : "");
}

/** The host's handler interrupts calls. */
void Launch(const char* path) {
    struct sigaction interrupt {};
    interrupt.sa_handler = [](int) {};
    sigaction(SIGALRM, &interrupt, nullptr);
    atexit([] { dprintf(kReports, "the host ends\n"); });
    Do("host");
    std::string outcome = "started";
    try {
        StartCacheServer("Told service", path);
    } catch (const EService& failure) {
        outcome = std::to_string(failure.GetErrorCode()) + " " +
                  RenderMessage(failure.GetMessage()).GetText();
    }
    PrintEnds(-1);
    dprintf(kReports, "%s\n%s\n", outcome.c_str(),
            IsManagerRunning() ? "manager runs" : "no manager");
}

}  // namespace

int main(int argc, char** argv) {
    if (argv[0] == std::string("qorcachesrv")) {
        dprintf(kReports, "launched with %d arguments, ", argc - 1);
        PrintOpen(256);
        dprintf(kReports, "\n");
        return Serve(argc, argv);
    }
    dup2(STDOUT_FILENO, kReports);
    prctl(PR_SET_CHILD_SUBREAPER, 1);
    setenv("DOES", argv[2], 1);
    if (argv[1] == std::string("launch")) {
        Launch(argv[3]);
    } else if (const pid_t first = fork(); first == 0) {
        return Serve(argc - 2, argv + 2);
    } else {
        PrintEnds(first);
    }
    return GetCurrentUserId() == getuid() ? EXIT_SUCCESS : EXIT_FAILURE;
}
