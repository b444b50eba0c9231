#include "support/child_process.h"
#include "support/log_capture.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <map>

namespace {

struct CThreadLines {
    int count = 0;
    int last = -1;
};

/** Expects that no line of a storm is broken, moved or split; gives the lines of each thread. */
std::map<int, CThreadLines> RunStorm(const std::vector<std::string>& arguments) {
    CLogHome home;
    home.Run("trace_threads_child", arguments);
    std::vector<CLogLine> lines = home.Log().lines;
    EXPECT_EQ(lines.at(lines.size() - 2).text, "# Ending log");
    lines.resize(lines.size() - 3);
    std::map<int, CThreadLines> threads;
    CLogLine last{};
    bool blank = false;
    int part = 0;  // the three parts of a structure have one stamp, and nothing between them
    for (const CLogLine& line : lines) {
        int thread = -1;
        int number = -1;
        const size_t at = std::min(line.text.find("thread "), line.text.size());
        sscanf(line.text.c_str() + at, "thread %d line %d", &thread, &number);
        const bool structured = number % 100 == 99;
        std::string text = "thread " + std::to_string(thread) + " line " + std::to_string(number);
        if (structured) {
            text = "\tCKA_LABEL\tLen=" + std::to_string(text.size()) + "\t\"" + text + "\"";
        }
        CThreadLines& own = threads[thread];
        const bool whole =
            line.text.substr(std::min(line.text.find(' '), line.text.size())) == " " + text;
        const bool next =
            part == 0 ? number > own.last : number == own.last && line.stamp == last.stamp;
        const bool fits = line.stamp.empty()
                              ? line.text.empty() && !blank && part == 0
                              : blank == (line.thread != last.thread) && whole && next;
        if (!fits) {
            ADD_FAILURE() << line.stamp << line.text;
            break;
        }
        blank = line.stamp.empty();
        if (!blank) {
            own.count += part == 0 ? 1 : 0;
            own.last = number;
            part = structured ? (part + 1) % 3 : 0;
            last = line;
        }
    }
    return threads;
}

}  // namespace

TEST(LogConcurrency, NoLineIsBrokenLostOrMoved) {
    const int count = kInstrumented ? 300 : 10000;
    auto threads = RunStorm({"storm", "64", std::to_string(count), "0"});
    for (int i = 0; i < 64; ++i) {
        EXPECT_TRUE(threads[i].count == count && threads[i].last == count - 1) << i;
    }
}

TEST(LogConcurrency, SwitchingItOffOrEndingTheProcessLosesWholeLinesOnly) {
    RunStorm({"storm", "8", "1000", "2000"});
    for (int i = 0; i < 5; ++i) {
        RunStorm({"exit"});
    }
}
