#include "support/child_process.h"
#include "support/log_capture.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <map>

namespace {

/** What is wrong with the lines of a storm, and which numbers each thread has written. */
class CStormCheck {
public:
    explicit CStormCheck(const std::vector<CLogLine>& lines) {
        for (const CLogLine& line : lines) {
            Take(line);
        }
    }

    /** The first things that are wrong; empty when all is well. */
    std::string faults;
    std::map<int, std::vector<int>> numbers;

private:
    void Fault(const char* what, const CLogLine& line) {
        if (faults.size() < 1000) {
            faults += std::string(what) + ": " + line.text + "\n";
        }
    }

    void Take(const CLogLine& line) {
        if (line.stamp.empty()) {
            if (!line.text.empty() || blank || part > 0) {
                Fault("broken", line);
            }
            blank = true;
            return;
        }
        if (blank != (line.thread != last)) {
            Fault("blank line", line);
        }
        blank = false;
        last = line.thread;
        TakeText(line);
    }

    /** The three parts of a structure have one stamp, and nothing between them. */
    void TakeText(const CLogLine& line) {
        int thread = -1;
        int number = -1;
        const size_t at = line.text.find("thread ");
        if (at != std::string::npos) {
            sscanf(line.text.c_str() + at, "thread %d line %d", &thread, &number);
        }
        const bool structured = number % 100 == 99;
        std::string text = "thread " + std::to_string(thread) + " line " + std::to_string(number);
        if (structured) {
            text = "\tCKA_LABEL\tLen=" + std::to_string(text.size()) + "\t\"" + text + "\"";
        }
        std::vector<int>& taken = numbers[thread];
        if (line.text.substr(std::min(line.text.find(' '), line.text.size())) != " " + text) {
            Fault("not whole", line);
        } else if (part == 0) {
            taken.push_back(number);
        } else if (taken.empty() || taken.back() != number || stamp != line.stamp) {
            Fault("split", line);
        }
        stamp = line.stamp;
        part = structured ? (part + 1) % 3 : 0;
    }

    bool blank = false;
    int part = 0;
    uint64_t last = 0;
    std::string stamp;
};

void WithoutClosingLines(std::vector<CLogLine>& lines) {
    ASSERT_GE(lines.size(), 3U);
    EXPECT_EQ(lines.end()[-2].text, "# Ending log");
    lines.resize(lines.size() - 3);
}

}  // namespace

TEST(LogConcurrency, NoLineIsBrokenLostOrMoved) {
    const int count = kInstrumented ? 300 : 10000;
    CLogHome home;
    home.Run("trace_threads_child", {"storm", "64", std::to_string(count), "0"});
    std::vector<CLogLine> lines = home.Log().lines;
    WithoutClosingLines(lines);
    const CStormCheck check(lines);
    EXPECT_EQ(check.faults, "");
    EXPECT_EQ(check.numbers.size(), 64U);
    for (const auto& [thread, numbers] : check.numbers) {
        ASSERT_EQ(numbers.size(), static_cast<size_t>(count)) << thread;
        for (int i = 0; i < count; ++i) {
            ASSERT_EQ(numbers[static_cast<size_t>(i)], i) << thread;
        }
    }
}

TEST(LogConcurrency, SwitchingTrackingLosesWholeLinesOnly) {
    CLogHome home;
    home.Run("trace_threads_child", {"storm", "8", "1000", "2000"});
    std::vector<CLogLine> lines = home.Log().lines;
    WithoutClosingLines(lines);
    EXPECT_EQ(CStormCheck(lines).faults, "");
}

TEST(LogConcurrency, NothingFollowsTheClosingLinesWhenTheProcessEndsAmongTracingThreads) {
    for (int i = 0; i < 5; ++i) {
        CLogHome home;
        home.Run("trace_threads_child", {"exit"});
        std::vector<CLogLine> lines = home.Log().lines;
        WithoutClosingLines(lines);
        EXPECT_EQ(CStormCheck(lines).faults, "");
    }
}
