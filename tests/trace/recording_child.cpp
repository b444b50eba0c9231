/**
 * Records its log: recording_child <command> ... Prints what the commands say; "keep" writes
 * what the endpoint has into the home's file "recorded". Other words are lines for the log.
 */
#include "system/http_requests.h"
#include "system/https.h"
#include "trace/trace_thread.h"
#include "util/exception.h"
#include <qorvs/remote_log.h>
#include <qorvs/trace.h>
#include <qorvs/trace_structures.h>

#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <map>
#include <string>
#include <thread>
#include <vector>

static std::string endpoint;

static void Start(const std::string& url) {
    endpoint = url;
    try {
        StartRemoteLogsRecord(url.c_str());
    } catch (const CException& exception) {
        printf("%s\n", RenderMessage(exception.GetMessage()).GetText());
    }
}

static std::vector<std::thread> storm;

/** Lets so many threads write so many lines each: "4x1000". */
static void BeginStorm(const std::string& size) {
    int threads = 0, lines = 0;
    sscanf(size.c_str(), "%dx%d", &threads, &lines);
    for (int thread = 0; thread < threads; ++thread) {
        storm.emplace_back([thread, lines] {
            for (int line = 0; line < lines; ++line) {
                TraceString("line %d of %d", line, thread);
            }
        });
    }
}

static void EndStorm() {
    for (std::thread& thread : storm) {
        thread.join();
    }
    storm.clear();
}

/** Starts on another thread and stops until that has come to an end. */
static void StartAndStop(const std::string& url) {
    std::atomic<bool> ended{false};
    std::thread starting([&] {
        try {
            StartRemoteLogsRecord(url.c_str());
        } catch (const CException&) {
            printf("interrupted\n");
        }
        ended = true;
    });
    while (!ended) {
        StopRemoteLogsRecord();
    }
    starting.join();
}

/** All that the endpoint has. */
static std::string Fetch() {
    traceThread.suppressed = true;
    const auto response = GetUrl(CHttpsConnectionFactory(), endpoint.c_str(), false, false);
    traceThread.suppressed = false;
    const CByteZone& body = response->GetBody();
    return {body.begin(), body.end()};
}

static void Await(const std::string& text) {
    while (Fetch().find(text) == std::string::npos) {
    }
}

static void AwaitState(const std::string& wanted) {
    while (AreRemoteLogsRecording() != (wanted == "1")) {
        std::this_thread::yield();
    }
}

static void Fork() {
    if (fork() == 0) {
        TraceString0("in the child");
        printf("%d\n", AreRemoteLogsRecording());
        _exit(0);
    }
    wait(nullptr);
}

static void TraceToken() {
    CK_BBOOL yes = CK_TRUE;
    const CK_ATTRIBUTE token{CKA_TOKEN, &yes, sizeof(yes)};
    TraceTemplate(&token, 1, 0);
}

static const std::map<std::string, void (*)()> kWords{
    {"stop", StopRemoteLogsRecord},
    {"state", [] { printf("%d\n", AreRemoteLogsRecording()); }},
    {"join", EndStorm},
    {"keep", [] { std::ofstream("recorded") << Fetch(); }},
    {"off", [] { setenv("QORVS_CONFFILE", "/nonexistent", 1); }},
    {"enter", [] { TraceEnter("f"); }},
    {"leave", [] { TraceLeave("f"); }},
    {"template", TraceToken},
    {"fork", Fork},
};
static const std::map<std::string, void (*)(const std::string& argument)> kWordsWithArgument{
    {"start", Start},
    {"start-and-stop", StartAndStop},
    {"endpoint", [](const std::string& url) { endpoint = url; }},
    {"storm", BeginStorm},
    {"await", Await},
    {"await-state", AwaitState},
};

int main(int, char** arguments) {
    setvbuf(stdout, nullptr, _IONBF, 0);
    const char* const home = getenv("HOME");
    if (home == nullptr || chdir(home) != 0) {
        return 1;
    }
    while (const char* const word = *++arguments) {
        if (kWords.count(word) > 0) {
            kWords.at(word)();
        } else if (kWordsWithArgument.count(word) > 0) {
            kWordsWithArgument.at(word)(*++arguments);
        } else {
            TraceString0(word);
        }
    }
}
