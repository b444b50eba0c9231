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
#include <future>
#include <map>
#include <string>
#include <thread>
#include <vector>

namespace {

std::atomic<bool> stopped{false};
std::atomic<int> started{0};
std::atomic<int> tracing{0};

/** Lines of one thread, until it is stopped; every hundredth is a structure, whose three parts hold
 * the same numbers. */
void TraceNumbered(int thread, int count) {
    char text[64];
    CK_ATTRIBUTE parts[3] = {};
    for (int i = 0; i < count && !stopped; ++i) {
        if (i % 100 != 99) {
            TraceString("thread %d line %d%s", thread, i, "");
            continue;
        }
        const auto length =
            static_cast<CK_ULONG>(snprintf(text, sizeof(text), "thread %d line %d", thread, i));
        for (CK_ATTRIBUTE& part : parts) {
            part = {CKA_LABEL, text, length};
        }
        TraceTemplate(parts, 3, 0);
    }
}

/** 64 threads, or as many as asked for, that all open the log together. */
void Storm(char** arguments) {
    const int threadCount = atoi(arguments[0]);
    const int lineCount = atoi(arguments[1]);
    std::promise<void> start;
    const std::shared_future<void> begin = start.get_future().share();
    std::vector<std::thread> threads;
    for (int i = 0; i < threadCount; ++i) {
        threads.emplace_back([=] {
            begin.wait();
            TraceNumbered(i, lineCount);
        });
    }
    start.set_value();
    // An even number of times, while all trace: what is lost is lost whole.
    for (int i = atoi(arguments[2]); i > 0; --i) {
        UpdateLogsTrackingState(nullptr);
        UpdateLogsTrackingState("1");
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
}

/** Threads that trace until they are stopped or the process ends. */
std::vector<std::thread> StartTracing(int count) {
    std::vector<std::thread> threads;
    for (int i = 0; i < count; ++i) {
        threads.emplace_back([i] {
            ++started;
            TraceNumbered(i, 1);
            ++tracing;
            TraceNumbered(i, INT_MAX);
        });
    }
    return threads;
}

void WaitUntilTracing(int count) {
    while (started < 1 || tracing < count) {
        std::this_thread::yield();
    }
}

void Exit(char** /*unused*/) {
    for (std::thread& thread : StartTracing(8)) {
        thread.detach();
    }
    WaitUntilTracing(8);
}

/** Forks so many times, when so many threads have traced; with 0, while they open the log. */
void Forks(char** arguments) {
    std::vector<std::thread> threads = StartTracing(8);
    WaitUntilTracing(atoi(arguments[1]));
    for (int i = atoi(arguments[0]); i > 0; --i) {
        const pid_t child = fork();
        if (child == 0) {
            alarm(20);
            TraceString("forked %d", i);
            _exit(0);
        }
        int status = 1;
        if (waitpid(child, &status, 0) != child || status != 0) {
            _exit(1);
        }
    }
    stopped = true;
    for (std::thread& thread : threads) {
        thread.join();
    }
}

/** Says after each call that it has returned. */
void Count(char** /*unused*/) {
    for (unsigned line = 1;; ++line) {
        TraceString("line %u", line);
        dprintf(STDOUT_FILENO, "%u\n", line);
    }
}

void* TraceCancelled(void* /*unused*/) {
    pthread_cancel(pthread_self());
    TraceString("cancelled while it opens the log");
    pthread_testcancel();
    return nullptr;
}

void* TraceUntilCancelled(void* begun) {
    for (;;) {
        TraceEnter("cancelled");
        TraceString("%s", "at any time");
        TraceLeave("cancelled");
        *static_cast<std::atomic<bool>*>(begun) = true;
        pthread_testcancel();
    }
}

void JoinCancelled(pthread_t thread) {
    void* result = nullptr;
    if (pthread_join(thread, &result) != 0 || result != PTHREAD_CANCELED) {
        _exit(1);
    }
}

void Cancel(char** /*unused*/) {
    pthread_t thread;
    pthread_create(&thread, nullptr, TraceCancelled, nullptr);
    JoinCancelled(thread);
    for (int i = 0; i < 100; ++i) {
        std::atomic<bool> begun{false};
        pthread_create(&thread, nullptr, TraceUntilCancelled, &begun);
        while (!begun) {
            std::this_thread::yield();
        }
        pthread_cancel(thread);
        JoinCancelled(thread);
    }
    TraceString("still here");
}

/** Loads the library as a module of its own, beside the code that this program is linked to. */
void Module(char** arguments) {
    void* const module = dlopen(arguments[1], RTLD_NOW | RTLD_LOCAL);
    if (module == nullptr) {
        puts(dlerror());
        _exit(1);
    }
    const auto enter = reinterpret_cast<void (*)(const char*)>(dlsym(module, "TraceEnter"));
    const auto leave = reinterpret_cast<void (*)(const char*)>(dlsym(module, "TraceLeave"));
    const auto string = reinterpret_cast<void (*)(const char*, ...)>(dlsym(module, "TraceString"));
    enter("module");
    string("%s", "loaded");
    std::thread(leave, "another thread").join();
    leave("module");
    if (strcmp(arguments[0], "close") == 0) {
        dlclose(module);
    }
    // Nothing that the module has registered may be called any more.
    const pid_t child = fork();
    if (child == 0) {
        _exit(0);
    }
    waitpid(child, nullptr, 0);
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
