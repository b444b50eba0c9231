/**
 * Scenarios that need a process of their own: platform_child <scenario> [argument].
 */
#include "system/config_files.h"
#include "system/critical_section.h"
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

#include <cstdio>
#include <cstring>
#include <functional>
#include <map>
#include <memory>
#include <stdexcept>
#include <string>

// The call of the C library that fails in this process, and the errno value that it leaves.
static const char* failingCall = "";
constexpr int kLeftError = EMFILE;

static int destroyedAttributes = 0;

template <class Function, class Result, class... Arguments>
static Result CallReal(Function*, const char* name, Result failure, Arguments... arguments) {
    if (strcmp(name, failingCall) == 0) {
        errno = kLeftError;
        return failure;
    }
    return reinterpret_cast<Result (*)(Arguments...)>(dlsym(RTLD_NEXT, name))(arguments...);
}

#define FAIL_OR_CALL(name, failure, ...) CallReal(&(name), #name, failure, __VA_ARGS__)

extern "C" {

FILE* popen(const char* command, const char* mode) {
    return FAIL_OR_CALL(popen, static_cast<FILE*>(nullptr), command, mode);
}
int pthread_create(pthread_t* thread, const pthread_attr_t* attributes, void* (*routine)(void*),
                   void* argument) noexcept {
    return FAIL_OR_CALL(pthread_create, EAGAIN, thread, attributes, routine, argument);
}
int pthread_mutexattr_init(pthread_mutexattr_t* attributes) noexcept {
    return FAIL_OR_CALL(pthread_mutexattr_init, ENOMEM, attributes);
}
int pthread_mutexattr_settype(pthread_mutexattr_t* attributes, int kind) noexcept {
    return FAIL_OR_CALL(pthread_mutexattr_settype, EINVAL, attributes, kind);
}
int pthread_mutexattr_destroy(pthread_mutexattr_t* attributes) noexcept {
    ++destroyedAttributes;
    return FAIL_OR_CALL(pthread_mutexattr_destroy, EINVAL, attributes);
}
}

namespace {

void PrintSettings(const char*) {
    const auto text = [](const char* value) { return value != nullptr ? value : "null"; };
    printf("%d%d %d%d ", GetLoginPersistentCSP(), IsLoginPersistentCSP(), GetLoginPersistent(),
           IsLoginPersistent());
    printf("%d %u %d ", GetLoginTimeout(), GetLoginTimeoutMs(), IsLoginTimeoutSet());
    printf("%d%d%d%d ", IsSerialNumberAsGuid(), IsPinSessionCacheEnabled(), IsPolicyEnforceTslQc(),
           IsTslConfigMissing());
    printf("%d %s %s\n", IsTraceEnabled(), text(GetTsaUrl()), GetTraceDirectory().GetText());
}

/** Kept settings do not follow the file; the address of the authority is looked for until found. */
void PrintKeptSettings(const char* path) {
    const auto write = [path](const char* text) {
        const std::unique_ptr<FILE, int (*)(FILE*)> file(fopen(path, "w"), &fclose);
        fputs(text, file.get());
    };
    write("X = 1\n");
    printf("%d %s ", GetLoginTimeout(), GetTsaUrl() == nullptr ? "null" : "set");
    write("SecuritySuite {\nLoginTimeout = 7\n}\n");
    const std::unique_ptr<CConfig> fresh(ReloadSystemConfig(2));
    printf("%d %d ", GetLoginTimeout(),
           fresh->GetSection("SecuritySuite")->GetInt("LoginTimeout", 0));
    CConfig* const kept = GetSystemConfig(2);
    printf("%d %d ", kept == GetSystemConfig(2), kept == GetSystemConfig(3));
    kept->GetSection("SecuritySuite")->SetString("TSAURL", "http://a/\xC3\xA9\xC4\x80");
    printf("%s ", GetTsaUrl());
    kept->GetSection("SecuritySuite")->SetString("TSAURL", "http://b/");
    printf("%s\n", GetTsaUrl());
}

/** A missing section is there once a setting has been asked for. */
void SaveAfterReading(const char*) {
    GetLoginTimeout();
    printf("%d\n", GetSystemConfig(2)->Save());
}

template <class Action>
void PrintThreadError(const char* call, Action action) {
    failingCall = call;
    try {
        action();
        puts("nothing thrown");
    } catch (const EThreadError& error) {
        failingCall = "";
        printf("%s %lu\n", RenderMessage(error.GetMessage()).GetText(), error.GetErrorCode());
    }
    failingCall = "";
}

class CIdleThread : public CThread {
public:
    int32_t Run() override { return 0; }
};

void FailThreadCalls(const char*) {
    CIdleThread thread;
    PrintThreadError("pthread_create", [&thread] { thread.Start(); });
    printf("%d\n", thread.Wait());
    PrintThreadError("pthread_mutexattr_init", [] { const CCriticalSection section; });
    const int before = destroyedAttributes;
    PrintThreadError("pthread_mutexattr_settype", [] { const CCriticalSection section; });
    printf("%d\n", destroyedAttributes - before);
}

void FailCommands(const char*) {
    TraceString0("the log is open");
    failingCall = "popen";
    try {
        ReadCommand("true");
    } catch (const std::runtime_error& error) {
        printf("%s\n", error.what());
    }
    try {
        SelectFolder();
    } catch (const CCkException& error) {
        printf("%lu %s\n", error.GetErrorCode(), RenderMessage(error.GetMessage()).GetText());
    }
    printf("'%s'", ReadCommandTrimmed("%s %n").c_str());
}

void UseBadSemaphores(const char* path) {
    CMutex missing(1, "/nonexistent/server");
    missing.Lock();
    missing.Unlock();
    printf("%d%d ", missing.IsLocked(), missing.TryLock());

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
    CMutex late(3, path);
    printf("%d\n", late.IsLocked());
    semctl(unstamped, 0, IPC_RMID);
}

}  // namespace

int main(int argc, char** argv) {
    const std::map<std::string, void (*)(const char*)> scenarios = {
        {"settings", &PrintSettings},
        {"kept", &PrintKeptSettings},
        {"save", &SaveAfterReading},
        {"threads", &FailThreadCalls},
        {"commands", &FailCommands},
        {"semaphores", &UseBadSemaphores},
        {"path", [](const char*) { fputs(GetExecutablePath().GetText(), stdout); }},
    };
    scenarios.at(argv[1])(argc > 2 ? argv[2] : "");
    return 0;
}
