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

#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <initializer_list>
#include <map>
#include <string>
#include <thread>

namespace {

using Verb = void (*)(const char* argument);

std::atomic<int> turn{0};

// Formats come from the test: here they are neither literals nor checked.
void (*const traceFormat)(const char* format, ...) = TraceString;

void TraceAll(const char* text) {
    TraceEnter(text);
    traceFormat(text);
    TraceLeave(text);
}

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
    fork() == 0 ? traceFormat(text), _exit(0) : void(wait(nullptr));
}

void LimitFiles(const char* bytes) {
    signal(SIGXFSZ, SIG_IGN);
    const rlimit limit{strtoul(bytes, nullptr, 10), RLIM_INFINITY};
    setrlimit(RLIMIT_FSIZE, &limit);
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
    {"fresh", [](const char* text) { std::thread(TraceAll, text).join(); }},
    {"fresh-leave", [](const char* name) { std::thread(TraceLeave, name).join(); }},
    {"fork", TraceInChild},
    {"limit", LimitFiles},
    {"shell", [](const char* command) { system(command) == 0 ? void() : abort(); }},
};

/** Performs the commands of one thread, each when it is its turn. */
void PerformOwn(char thread, char** commands) {
    for (int i = 0; commands[i] != nullptr; ++i) {
        const std::string command = commands[i] + (commands[i][0] == '@' ? 3 : 0);
        if ((commands[i][0] == '@' ? commands[i][1] : '0') == thread) {
            while (turn != i) {
                std::this_thread::yield();
            }
            const size_t blank = command.find(' ');
            const Verb verb = kVerbs.at(command.substr(0, blank));
            verb(blank != std::string::npos ? command.c_str() + blank + 1 : nullptr);
            ++turn;
        }
    }
}

// Ahead of all static objects of the library: nothing may come of it.
__attribute__((constructor(101))) void TraceTooEarly() {
    TraceAll("too early");
    TraceNullStructures(nullptr);
    UpdateLogsTrackingState("1");
}

}  // namespace

int main(int /*count*/, char** arguments) {
    std::thread first(PerformOwn, '1', arguments + 1);
    std::thread second(PerformOwn, '2', arguments + 1);
    PerformOwn('0', arguments + 1);
    first.join();
    second.join();
    return 0;
}
