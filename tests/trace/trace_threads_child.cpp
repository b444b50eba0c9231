/**
 * A process that traces under one kind of stress; the first argument says which.
 */
#include "qorvs/trace.h"
#include "qorvs/trace_structures.h"

#include <dlfcn.h>
#include <pthread.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <map>
#include <string>
#include <thread>

namespace {

std::atomic<int> started{0};
std::atomic<int> tracing{0};
std::atomic<int> finished{0};

void WaitFor(const std::atomic<int>& counter, int count) {
    while (counter < count) {
        std::this_thread::yield();
    }
}

/** Lines of one thread; every hundredth is a structure, whose three parts hold the same numbers. */
void TraceNumbered(int thread, int count) {
    for (int i = 0; i < count; ++i) {
        char text[64];
        const int length = snprintf(text, sizeof(text), "thread %d line %d", thread, i);
        CK_ATTRIBUTE part{CKA_LABEL, text, static_cast<CK_ULONG>(length)};
        CK_ATTRIBUTE parts[3] = {part, part, part};
        if (i % 100 == 99) {
            TraceTemplate(parts, 3, 0);
        } else {
            TraceString("%s", text);
        }
        tracing += i == 0 ? 1 : 0;
    }
}

/** Lets threads begin together that trace so many lines each, or until the process ends. */
void StartTracing(int threadCount, int lineCount) {
    for (int i = 0; i < threadCount; ++i) {
        std::thread([=] {
            ++started;
            WaitFor(started, threadCount);
            TraceNumbered(i, lineCount);
            ++finished;
        }).detach();
    }
    WaitFor(started, threadCount);
}

/** So many threads, that all open the log together, and lines of each. */
void Storm(char** arguments) {
    const int threadCount = atoi(arguments[0]);
    StartTracing(threadCount, atoi(arguments[1]));
    // An even number of times, while all trace: what is lost is lost whole.
    for (int i = atoi(arguments[2]); i > 0; --i) {
        UpdateLogsTrackingState(nullptr);
        UpdateLogsTrackingState("1");
    }
    WaitFor(finished, threadCount);
}

void Exit(char** /*unused*/) {
    StartTracing(8, INT_MAX);
    WaitFor(tracing, 8);
}

/** Forks so many times, when so many threads have traced; with 0, while they open the log. */
void Forks(char** arguments) {
    StartTracing(8, INT_MAX);
    WaitFor(tracing, atoi(arguments[1]));
    for (int i = atoi(arguments[0]); i > 0; --i) {
        const pid_t child = fork();
        if (child == 0) {
            alarm(20);
            TraceString("forked %d", i);
            _exit(0);
        }
        int status = 1;
        waitpid(child, &status, 0) == child&& status == 0 ? void() : _exit(1);
    }
}

/** Says after each call that it has returned. */
void Count(char** /*unused*/) {
    for (unsigned line = 1;; ++line) {
        TraceString("line %u", line);
        dprintf(STDOUT_FILENO, "%u\n", line);
    }
}

using CTrace = void (*)(const char*);

/** Runs into every point of cancellation that there is in the operation. */
void* TraceCancelled(void* operation) {
    pthread_cancel(pthread_self());
    (*static_cast<const CTrace*>(operation))("cancelled");
    pthread_testcancel();
    return nullptr;
}

void Cancel(char** /*unused*/) {
    for (CTrace operation : {TraceString0, TraceEnter, TraceString0, TraceLeave}) {
        pthread_t thread;
        void* result = nullptr;
        pthread_create(&thread, nullptr, TraceCancelled, &operation);
        pthread_join(thread, &result);
        result == PTHREAD_CANCELED ? void() : _exit(1);
    }
    TraceString("still here");
}

/** Loads the library as a module of its own, beside the code that this program is linked to. */
void Module(char** arguments) {
    void* const module = dlopen(QORVS_LIBRARY, RTLD_NOW | RTLD_LOCAL);
    module != nullptr ? void() : _exit(1);
    const auto enter = reinterpret_cast<CTrace>(dlsym(module, "TraceEnter"));
    const auto leave = reinterpret_cast<CTrace>(dlsym(module, "TraceLeave"));
    const auto text = reinterpret_cast<CTrace>(dlsym(module, "TraceString0"));
    enter("module");
    text("loaded");
    std::thread(leave, "another thread").join();
    leave("module");
    if (strcmp(arguments[0], "close") == 0) {
        dlclose(module);
    }
    // Nothing that the module has registered may be called any more.
    fork() == 0 ? _exit(0) : void(wait(nullptr));
}

const std::map<std::string, void (*)(char** arguments)> kScenarios{
    {"storm", Storm}, {"exit", Exit},     {"forks", Forks},
    {"count", Count}, {"cancel", Cancel}, {"module", Module},
};

}  // namespace

int main(int /*count*/, char** arguments) {
    kScenarios.at(arguments[1])(arguments + 2);
    return 0;
}
