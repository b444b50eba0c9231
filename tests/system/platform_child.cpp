/**
 * Scenarios that need a process of their own: platform_child <scenario> [arguments].
 */
#include "system/catalog.h"
#include "system/config_files.h"
#include "system/critical_section.h"
#include "system/event_log.h"
#include "system/file_chooser.h"
#include "system/host.h"
#include "system/mutex.h"
#include "system/settings.h"
#include "system/thread.h"
#include "system/thread_error.h"
#include <qorvs/trace.h>

#include <dlfcn.h>
#include <errno.h>
#include <pthread.h>
#include <sys/ipc.h>
#include <sys/sem.h>
#include <unistd.h>

#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <map>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

// The call of the C library that fails in this process, with EMFILE in errno.
static std::string failingCall;

#define MAY_FAIL(Result, name, failure, parameters, arguments)                              \
    Result name parameters {                                                                \
        auto* const real = reinterpret_cast<Result(*) parameters>(dlsym(RTLD_NEXT, #name)); \
        return failingCall != #name ? real arguments : (errno = EMFILE, failure);           \
    }

// The labels keep these apart from the C library's headers, which may define the same names inline.
#define PRINT_REPORTS(label, name, ...)                                          \
    void name(int priority, __VA_ARGS__ const char* format, ...) __asm__(label); \
    void name(int priority, __VA_ARGS__ const char* format, ...) {               \
        printf("%d ", priority);                                                 \
        va_list args;                                                            \
        va_start(args, format);                                                  \
        vprintf(format, args);                                                   \
        va_end(args);                                                            \
    }

extern "C" {

MAY_FAIL(FILE*, popen, static_cast<FILE*>(nullptr), (const char* command, const char* mode),
         (command, mode))
MAY_FAIL(int, pthread_create, EAGAIN,
         (pthread_t * thread, const pthread_attr_t* kind, void* (*routine)(void*), void* argument),
         (thread, kind, routine, argument))
MAY_FAIL(int, pthread_mutexattr_init, ENOMEM, (pthread_mutexattr_t * attributes), (attributes))
MAY_FAIL(int, pthread_mutexattr_settype, EINVAL, (pthread_mutexattr_t * attributes, int kind),
         (attributes, kind))

PRINT_REPORTS("syslog", PrintSyslog)
PRINT_REPORTS("__syslog_chk", PrintCheckedSyslog, int /*flag*/, )
void openlog(const char* ident, int option, int facility) {
    printf("open %s %d %d\n", ident, option, facility);
}
void closelog() { puts("closed"); }
}

namespace {

using CArguments = std::vector<std::string>;

/** Prints the words of what an action throws, and the code if there is one. */
template <class Action>
void Try(const char* call, Action action) {
    failingCall = call;
    try {
        action();
    } catch (const CException& error) {
        printf("%s %lu\n", RenderMessage(error.GetMessage()).GetText(), error.GetErrorCode());
    } catch (const std::out_of_range&) {
        puts("out of range");
    } catch (const std::exception& error) {
        puts(error.what());
    }
}

/** The address of the authority is looked for until it is found, and then kept. */
void PrintSettings(const CArguments&) {
    const bool policy = IsPolicyEnforceTslQc();
    printf("%d%d %d%d %d %u %d %d%d%d %s %d %d %s ", GetLoginPersistentCSP(),
           IsLoginPersistentCSP(), GetLoginPersistent(), IsLoginPersistent(), GetLoginTimeout(),
           GetLoginTimeoutMs(), IsLoginTimeoutSet(), IsSerialNumberAsGuid(),
           IsPinSessionCacheEnabled(), policy, GetVerificationPolicyName(policy),
           IsTslConfigMissing(), IsTraceEnabled(), GetTraceDirectory().GetText());
    printf("%s", GetTsaUrl() != nullptr ? GetTsaUrl() : "null");
    for (const char* const url : {"http://a/\xC3\xA9\xC4\x80", "http://b/"}) {
        GetSystemConfig(2)->GetSection("SecuritySuite")->SetString("TSAURL", url);
        printf(" %s", GetTsaUrl());
    }
    puts("");
}

void PrintPaths(const CArguments& values) {
    for (const auto& [name, at] : {std::pair("HOME", 0), std::pair("QORVS_CONFFILE", 1)}) {
        values[at] == "none" ? unsetenv(name) : setenv(name, values[at].c_str(), 1);
    }
    for (const int which : {0, 1, 2, 3}) {
        const std::unique_ptr<CConfig> config(GetConfig(which >= 2, true, 2, which % 2 != 0));
        printf("%s|", config->GetPath().GetText());
    }
}

void PrintChoice(const CArguments&) {
    const CStringList files = SelectFiles();
    for (const CUTF8String& file : files) {
        printf("%s,", file.GetText());
    }
    printf("%s", SelectFolder().GetText());
}

void RunCommand(const CArguments& command) {
    printf("%s|", ReadCommand(command[0].c_str()).GetText());
    Try("", [&command] { printf("%s", ReadCommandTrimmed(command[0].c_str()).c_str()); });
}

class CIdleThread : public CThread {
    int32_t Run() override { return 0; }
};

void FailCalls(const CArguments&) {
    Try("popen", [] { printf("'%s'\n", GetMachineArchitecture().GetText()); });
    Try("popen", [] { ReadCommand("true"); });
    Try("popen", [] { SelectFolder(); });
    printf("'%s'\n", ReadCommandTrimmed("%s %n").c_str());
    CIdleThread thread;
    Try("pthread_create", [&thread] { thread.Start(); });
    printf("%d\n", thread.Wait());
    Try("pthread_mutexattr_init", [] { const CCriticalSection section; });
    Try("pthread_mutexattr_settype", [] { const CCriticalSection section; });
}

void Report(const CArguments& parts) {
    const auto orNone = [](const char* name) { return name != nullptr ? name : "none"; };
    CEventMessage message(static_cast<uint32_t>(std::stoul(parts[0], nullptr, 16)),
                          static_cast<int16_t>(std::stoi(parts[1])));
    for (size_t i = 2; i < parts.size(); ++i) {
        message.args << CUTF8String(parts[i].c_str());
    }
    GetEventLog().Report(message);
    printf("\n%s %s\n", orNone(GetSeverityName(message.id >> 30)),
           orNone(GetFacilityName(message.id >> 16 & 0xFFF)));
}

void UseBadSemaphores(const CArguments& paths) {
    const char* const path = paths[0].c_str();
    CMutex missing(1, "/nonexistent/server");
    missing.Lock();
    missing.Unlock();
    printf("%d%d%d ", IsCacheServerLocked(), missing.IsLocked(), missing.TryLock());

    CMutex held(2, path);
    held.Unlock(99);
    held.Lock();
    printf("%d", held.IsLocked());
    held.Unlock(5);
    printf("%d ", held.IsLocked());
    semctl(semget(ftok(path, 2), 1, 0), 0, IPC_RMID);
    held.Lock();
    held.TryLock();
    held.Unlock();
    printf("%d ", held.IsLocked());

    const int unstamped = semget(ftok(path, 3), 1, IPC_CREAT | 0600);
    printf("%d\n", CMutex(3, path).IsLocked());
    semctl(unstamped, 0, IPC_RMID);
}

void HoldSemaphore(const CArguments& paths) {
    CMutex(0x48, paths[0].c_str()).Lock();
    puts("held");
    fflush(stdout);
    pause();
}

}  // namespace

int main(int argc, char** argv) {
    const std::map<std::string, void (*)(const CArguments&)> scenarios = {
        {"settings", &PrintSettings},
        {"paths", &PrintPaths},
        {"choose", &PrintChoice},
        {"run", &RunCommand},
        {"fail", &FailCalls},
        {"report", &Report},
        {"semaphores", &UseBadSemaphores},
        {"hold", &HoldSemaphore},
    };
    scenarios.at(argv[1])({argv + 2, argv + argc});
}
