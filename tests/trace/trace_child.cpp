/**
 * A process that traces what its arguments say, one after the other: "<verb>[ <argument>]", with
 * "@1 " or "@2 " in front for another thread than the first. Without an argument the operation gets
 * a null pointer.
 */
#include "qorvs/trace.h"
#include "qorvs/trace_structures.h"

#include <errno.h>
#include <signal.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <condition_variable>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <initializer_list>
#include <map>
#include <mutex>
#include <string>
#include <thread>

namespace {

/** A thread that waits for things to do. */
class CWorker {
public:
    ~CWorker() {
        Do(nullptr);
        thread.join();
    }

    void Do(const std::function<void()>& job) {
        std::unique_lock<std::mutex> lock(mutex);
        pending = &job;
        changed.notify_all();
        changed.wait(lock, [this] { return pending == nullptr; });
    }

private:
    void Run() {
        bool goesOn = true;
        while (goesOn) {
            std::unique_lock<std::mutex> lock(mutex);
            changed.wait(lock, [this] { return pending != nullptr; });
            goesOn = static_cast<bool>(*pending);
            if (goesOn) {
                (*pending)();
            }
            pending = nullptr;
            changed.notify_all();
        }
    }

    std::mutex mutex;
    std::condition_variable changed;
    const std::function<void()>* pending = nullptr;
    std::thread thread{&CWorker::Run, this};
};

using Verb = void (*)(const char* argument);

// Formats come from the test: here they are neither literals nor checked.
void (*const traceFormat)(const char* format, ...) = TraceString;

void TraceAll(const char* text) {
    TraceEnter(text);
    traceFormat(text);
    TraceLeave(text);
}

void TraceOnNewThread(const char* text) { std::thread(TraceAll, text).join(); }

void LeaveOnNewThread(const char* name) { std::thread(TraceLeave, name).join(); }

void TraceNullStructures(const char* /*unused*/) {
    TraceTemplate(nullptr, 3, 0);
    TraceMechanism(nullptr);
    TraceMechanismInfo(nullptr);
    TraceTokenInfo(nullptr);
    TraceSessionInfo(nullptr);
}

/** Every operation must see and leave this errno. */
void TraceErrno(const char* /*unused*/) {
    for (const Verb operation :
         std::initializer_list<Verb>{TraceEnter, TraceString0, TraceLeave, TraceNullStructures}) {
        errno = ELOOP;
        operation("errno");
        printf("%d ", errno == ELOOP);
    }
    errno = EIO;
    TraceString("%m");
    printf("%d\n", errno == EIO);
}

void TraceInChild(const char* text) {
    const pid_t child = fork();
    if (child == 0) {
        traceFormat(text);
        _exit(0);
    }
    waitpid(child, nullptr, 0);
}

void LimitFiles(const char* bytes) {
    signal(SIGXFSZ, SIG_IGN);
    const rlimit limit{strtoul(bytes, nullptr, 10), RLIM_INFINITY};
    setrlimit(RLIMIT_FSIZE, &limit);
}

void RunShell(const char* command) {
    if (system(command) != 0) {
        exit(1);
    }
}

const std::map<std::string, Verb> kVerbs{
    {"enter", TraceEnter},
    {"leave", TraceLeave},
    {"string", [](const char* format) { traceFormat(format); }},
    {"text", TraceString0},
    {"line", [](const char* label) { TraceLine(label, 1483, "ToUInt"); }},
    {"light", [](const char*) { TraceLineLight(); }},
    {"track", UpdateLogsTrackingState},
    {"nulls", TraceNullStructures},
    {"errno", TraceErrno},
    {"fresh", TraceOnNewThread},
    {"fresh-leave", LeaveOnNewThread},
    {"fork", TraceInChild},
    {"limit", LimitFiles},
    {"shell", RunShell},
};

void Perform(const std::string& command) {
    const size_t blank = command.find(' ');
    const Verb verb = kVerbs.at(command.substr(0, blank));
    verb(blank != std::string::npos ? command.c_str() + blank + 1 : nullptr);
}

// Ahead of all static objects of the library: nothing may come of it.
__attribute__((constructor(101))) void TraceTooEarly() {
    TraceAll("too early");
    TraceNullStructures(nullptr);
    UpdateLogsTrackingState("1");
}

}  // namespace

int main(int count, char** arguments) {
    std::map<std::string, CWorker> workers;
    for (int i = 1; i < count; ++i) {
        const std::string command = arguments[i];
        if (command[0] == '@') {
            workers[command.substr(1, 1)].Do([&command] { Perform(command.substr(3)); });
        } else {
            Perform(command);
        }
    }
    return 0;
}
