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

/** Lets threads write so many lines each. */
static void BeginStorm(int threads, int lines) {
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
        usleep(20000);
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

int main(int, char** arguments) {
    setvbuf(stdout, nullptr, _IONBF, 0);
    const char* const home = getenv("HOME");
    if (home == nullptr || chdir(home) != 0) {
        return 1;
    }
    while (const char* const command = *++arguments) {
        const std::string name = command;
        if (name == "start") {
            Start(*++arguments);
        } else if (name == "start-and-stop") {
            StartAndStop(*++arguments);
        } else if (name == "endpoint") {
            endpoint = *++arguments;
        } else if (name == "stop") {
            StopRemoteLogsRecord();
        } else if (name == "state") {
            printf("%d\n", AreRemoteLogsRecording());
        } else if (name == "storm") {
            const int threads = atoi(*++arguments);
            BeginStorm(threads, atoi(*++arguments));
        } else if (name == "join") {
            EndStorm();
        } else if (name == "await") {
            Await(*++arguments);
        } else if (name == "keep") {
            std::ofstream("recorded") << Fetch();
        } else if (name == "off") {
            setenv("QORVS_CONFFILE", "/nonexistent", 1);
        } else if (name == "enter") {
            TraceEnter("f");
        } else if (name == "leave") {
            TraceLeave("f");
        } else if (name == "template") {
            CK_BBOOL yes = CK_TRUE;
            const CK_ATTRIBUTE token{CKA_TOKEN, &yes, sizeof(yes)};
            TraceTemplate(&token, 1, 0);
        } else if (name == "await-state") {
            for (const bool wanted = **++arguments == '1'; AreRemoteLogsRecording() != wanted;) {
                usleep(1000);
            }
        } else if (name == "fork") {
            Fork();
        } else {
            TraceString0(command);
        }
    }
}
