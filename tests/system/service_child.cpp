/**
 * A service that does as told, and its launcher: service_child launch <path>; else a service.
 *
 * SERVICE_DOES is what to do within Initialize or Run, "run look"; FAILING_CALL a call of the C
 * library that fails; SERVICE_DIR where the PID file lies and the file "reports", for all that the
 * service goes through and reports.
 */
#include "system/cache_server.h"
#include "system/service.h"

#include <dlfcn.h>
#include <errno.h>
#include <fcntl.h>
#include <signal.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <map>
#include <stdexcept>
#include <string>

// Out of the reach of the launcher, which closes all below 256.
constexpr int kReports = 300;

// What Initialize opens, for Run.
static int opened = -1;

static std::string Variable(const char* name) {
    const char* const value = getenv(name);
    return value != nullptr ? value : "";
}

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
    return Variable("FAILING_CALL") == "fork" ? (errno = EAGAIN, -1) : real();
}
}

namespace {

void PrintOpen(int limit) {
    for (int descriptor = 0; descriptor < limit; ++descriptor) {
        if (fcntl(descriptor, F_GETFD) >= 0) {
            dprintf(kReports, " %d", descriptor);
        }
    }
}

/** What a service can see of the place that it runs in. */
void Look() {
    dprintf(kReports, "open:");
    PrintOpen(3);
    char directory[2] = "";
    const bool isRoot = getcwd(directory, sizeof(directory)) != nullptr;
    const mode_t mask = umask(0);
    int number = 0;
    struct stat file {};
    if (FILE* const pidFile = fopen(GetPidFilePath(), "r")) {
        static_cast<void>(fscanf(pidFile, "%d", &number) == 1 && fstat(fileno(pidFile), &file));
        fclose(pidFile);
    }
    dprintf(kReports, ", in %s, session %s, umask %o, PID file %s %o, %s what it opened\n",
            isRoot ? "/" : "its place", getsid(0) == getpid() ? "own" : "kept", mask,
            number == getpid() ? "ours" : "none", file.st_mode & 0777,
            fcntl(opened, F_GETFD) >= 0 ? "has" : "lacks");
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

class CToldService final : public CService {
public:
    CUTF8String GetName() override { return "told"; }
    CUTF8String GetDisplayName() override { return "Told service"; }
    void Initialize() override {
        opened = open("/", O_RDONLY);
        if (Variable("SERVICE_DOES") == "run open files") {
            printf("said once, at the end of the first process\n");
        }
        Do("initialize");
    }
    void Run() override { Do("run"); }
    void Stop() override { dprintf(kReports, "stop\n"); }

private:
    static void Do(const std::string& place) {
        const std::map<std::string, void (*)()> actions = {
            {" fail", [] { throw CException("100%s %n"); }},
            {" fail by standard", [] { throw std::runtime_error("standard words"); }},
            {" fail by number", [] { throw 7UL; }},
            {" terminate", &Terminate},
            {" terminate and fail", [] { (Terminate(), throw CException("after the signal")); }},
            {" interrupt the launcher", &Interrupt},
            {" start another", [] { dprintf(kReports, "status %d\n", system("/proc/$PPID/exe")); }},
            {" write a PID file", [] { CPidFile(GetPidFilePath()).Write(); }},
            {" open files",
             [] {
                 while (fcntl(kReports, F_DUPFD, 0) < 2)
                     ;
             }},
            {" look", &Look},
        };
        dprintf(kReports, "%s\n", place.c_str());
        const std::string told = Variable("SERVICE_DOES");
        if (told.find(place) == 0) {
            actions.at(told.substr(place.size()))();
        }
    }
};

/** The host's handler interrupts calls. */
int Launch(const char* path) {
    struct sigaction interrupt {};
    interrupt.sa_handler = [](int) {};
    sigaction(SIGALRM, &interrupt, nullptr);
    if (Variable("SERVICE_DOES").empty()) {
        atexit([] { dprintf(kReports, "the host ends\n"); });
    }
    if (Variable("FAILING_CALL") == "waitpid") {
        signal(SIGCHLD, SIG_IGN);
    }
    try {
        StartCacheServer("Told service", path);
        puts("started");
    } catch (const EService& failure) {
        printf("%lu %s\n", failure.GetErrorCode(), RenderMessage(failure.GetMessage()).GetText());
    }
    const bool hasChild = waitpid(-1, nullptr, WNOHANG) != -1 || errno != ECHILD;
    printf("%s%s\n", hasChild ? "a child is left, " : "",
           IsManagerRunning() ? "manager runs" : "no manager");
    return GetCurrentUserId() == getuid() ? 0 : 1;
}

}  // namespace

int main(int argc, char** argv) {
    const std::string directory = Variable("SERVICE_DIR");
    const int file = open((directory + "reports").c_str(), O_WRONLY | O_APPEND | O_CREAT, 0600);
    dup2(file, kReports);
    close(file);
    if (argc > 2 && std::string(argv[1]) == "launch") {
        return Launch(argv[2]);
    }
    if (argv[0] == std::string("qorcachesrv")) {
        dprintf(kReports, "launched with %d arguments, open:", argc - 1);
        PrintOpen(256);
        dprintf(kReports, "\n");
    }
    umask(022);
    dup2(STDOUT_FILENO, STDERR_FILENO);
    CToldService service;
    const int result = RunService(service, argc, argv, directory.c_str());
    raise(SIGTERM);
    dprintf(kReports, "returned %d\n", result);
    return result;
}
