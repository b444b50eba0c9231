#include "support/child_process.h"
#include "support/log_capture.h"
#include "system/build_info.h"

#include <gmock/gmock.h>
#include <openssl/opensslv.h>

#include <sys/utsname.h>
#include <time.h>

#include <cinttypes>
#include <cstdio>
#include <filesystem>
#include <random>

namespace {

using ::testing::ElementsAre;
using ::testing::ElementsAreArray;
using ::testing::IsEmpty;

using CTexts = std::vector<std::string>;

struct CScriptRow {
    const char* name;
    CTexts commands;
    CTexts body;
};

/** Each row is a process of its own. */
void ExpectBodies(const std::vector<CScriptRow>& rows) {
    for (const CScriptRow& row : rows) {
        SCOPED_TRACE(row.name);
        CLogHome home;
        home.RunScript(row.commands);
        EXPECT_THAT(home.Body(), ElementsAreArray(row.body));
    }
}

std::string FormatNow(const char* format) {
    const time_t now = time(nullptr);
    char text[64];
    strftime(text, sizeof(text), format, localtime(&now));
    return text;
}

/** A stand-in for the tool that knows the distribution. */
void FakeDistribution(const CLogHome& home, const std::string& output) {
    home.Write("bin/lsb_release", "#!/bin/sh\nprintf '" + output + "'\n");
}

}  // namespace

TEST(Log, NameHeaderAndPrefixAreExact) {
    CLogHome home;
    FakeDistribution(home, "No LSB modules\\nDescription:\\tDebian Test 12\\n");
    const std::string before = FormatNow("%Y-%m-%d_%H-%M-%S");
    home.RunScript({"string a"});
    const std::string after = FormatNow("%Y-%m-%d_%H-%M-%S");
    const std::string process = std::to_string(home.GetProcessId());
    const std::string name = home.Files().at(0);
    const std::string start = name.substr(home.Path("log/qorvs_").size(), before.size());
    EXPECT_EQ(name, home.Path("log/qorvs_") + start + "_trace_child_" + process + ".log");
    EXPECT_LE(before, start);
    EXPECT_LE(start, after);
    std::string time = start.substr(11);
    time[2] = time[5] = ':';
    const std::string program = std::filesystem::canonical(QORVS_TEST_BIN_DIR "/trace_child");
    utsname machine{};
    uname(&machine);
    const CCapturedLog log = home.Log();
    EXPECT_THAT(
        log.header,
        ElementsAre("##################################################",
                    "# Starting log on " + start.substr(0, 10) + " at " + time,
                    "# Process ID: " + process, std::string("# Arch: ") + machine.machine,
                    "# Executable path: " + program, "# Middleware path: /usr/lib/QorvsRuntime",
                    "# Middleware version: 6.23.50.5", "# OpenSSL version: " OPENSSL_VERSION_TEXT,
                    "# OS version: linux: Debian Test 12",
                    std::string("# Commit hash: ") + GetCommitHash(),
                    std::string("# Build date: ") + GetBuildDate(), ""));
    const CLogLine line = log.lines.at(1);
    std::string stamp = line.stamp.substr(0, 14);
    stamp[8] = stamp[11] = '-';
    EXPECT_LE(start, start.substr(0, 5) + stamp);
    EXPECT_LE(start.substr(0, 5) + stamp, after);
    EXPECT_EQ(line.thread, static_cast<uint64_t>(home.GetProcessId()));
    EXPECT_EQ(line.text, ".. a");
}

TEST(Log, DistributionThatIsNotKnownIsAWorkstation) {
    for (const char* output : {"", "Description:\\tlsb_release: not found\\n"}) {
        CLogHome home;
        FakeDistribution(home, output);
        home.RunScript({"string a"});
        EXPECT_EQ(home.Log().header.at(8), "# OS version: linux.workstation") << output;
    }
}

TEST(Log, LinesOfCallsAreExact) {
    ExpectBodies({
        {"nested calls",
         {"enter a", "enter b", "string c", "leave b", "leave a", "enter d"},
         {"1.. Entering a.", "1..     Entering b.", "1..         c", "1..     Leaving b.",
          "1.. Leaving a.", "", "1.. Entering d."}},
        {"leave without enter",
         {"leave a", "leave a", "string b"},
         {"1.. Leaving a.", "", "1.. Leaving a.", "", "1.. b"}},
        {"null pointers",
         {"enter", "string", "text", "nulls", "line", "leave"},
         {"1.. Entering (null).", "1..     (null)", "1..     (null)",
          "1..     '(null)' in (ToUInt), line 1483", "1.. Leaving (null).", ""}},
        {"names are no formats",
         {"enter %s%n", "leave a\nb"},
         {"1.. Entering %s%n.", "1.. Leaving a", "b.", ""}},
        {"throw sites",
         {"line WARNING Exception raised", "light"},
         {"1.. 'WARNING Exception raised' in (ToUInt), line 1483",
          "1.. WARNING Exception raised light"}},
        {"a blank line wherever another thread goes on",
         {"enter a", "@1 enter b", "@1 string c", "@2 string d", "@1 leave b", "leave a"},
         {"1.. Entering a.", "", "2|| Entering b.", "2||     c", "", "3@@ d", "", "2|| Leaving b.",
          "", "", "1.. Leaving a.", ""}},
        {"a forked child goes on in the same file",
         {"enter a", "fork b", "string c", "leave a"},
         {"1.. Entering a.", "1..     b", "1..     c", "1.. Leaving a.", ""}},
        {"tracking off leaves the indent alone; the digit 0 is on",
         {"enter a", "track ", "enter b", "leave b", "leave b", "track 0", "string c", "track",
          "string d", "track", "leave a"},
         {"1.. Entering a.", "1..     c", "1.. Leaving a.", ""}},
        {"a thread that only leaves takes a mark while tracking is off",
         {"string a", "track ", "fresh-leave b", "track 1", "@1 string c"},
         {"1.. a", "", "2@@ c"}},
    });
}

TEST(Log, FormatsAreSplitAndArgumentsAreNot) {
    static const struct {
        const char* name;
        std::string command;
        CTexts body;
    } kRows[] = {
        {"line feeds", "string a\nb\n", {"1..     a", "1..     b"}},
        {"carriage returns", "string a\rb\r", {"1..     a", "1..     b"}},
        {"CR LF is one", "string a\r\nb\r\n\r\n", {"1..     a", "1..     b"}},
        {"LF CR is one", "string a\n\rb", {"1..     a", "1..     b"}},
        {"LF LF are two", "string a\n\nb", {"1..     a", "1..     ", "1..     b"}},
        {"CR CR LF are two", "string a\r\r\nb", {"1..     a", "1..     ", "1..     b"}},
        {"LF CR LF are two", "string a\n\r\nb", {"1..     a", "1..     ", "1..     b"}},
        {"at the begin", "string \na", {"1..     ", "1..     a"}},
        {"nothing", "string ", {"1..     "}},
        {"only breaks", "string \r\n\n", {"1..     "}},
        {"escaped percent signs", "string 50%%\n%%d", {"1..     50%", "1..     %d"}},
        {"UTF-8",
         "string Gr\xC3\xBC\xC3\x9F\xE2\x82\xAC",
         {"1..     Gr\xC3\xBC\xC3\x9F\xE2\x82\xAC"}},
        {"malformed UTF-8", "string a\xFF\n%%\xFE", {"1..     a?", "1..     %?"}},
        {"cut UTF-8", "string a\xE2\x82", {"1..     a"}},
        {"long", "string " + std::string(100000, 'x'), {"1..     " + std::string(100000, 'x')}},
        {"text with a percent sign", "text 100%", {"1..     100%"}},
        {"text with conversions", "text %s%n%d", {"1..     %s%n%d"}},
        {"text with breaks", "text a\r\nb\n", {"1..     a\r", "b", ""}},
        {"text of bytes", "text \xFF", {"1..     \xFF"}},
    };
    for (const auto& row : kRows) {
        SCOPED_TRACE(row.name);
        CLogHome home;
        home.RunScript({"enter f", row.command});
        CTexts body = home.Body();
        body.erase(body.begin());
        EXPECT_THAT(body, ElementsAreArray(row.body));
    }
}

TEST(Log, MarksAreFifteenSymbolsAndThenLettersInACycle) {
    const std::string marks =
        ".|@_~#/\\^-&*=%:ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyzABC";
    CLogHome home;
    home.RunScript(CTexts(marks.size(), "fresh a"));
    CTexts expected;
    for (size_t i = 0; i < marks.size(); ++i) {
        const std::string thread = std::to_string(i + 1);
        const std::string mark(2, marks[i]);
        // Kept: where the prefix is part of a format, two percent signs read as one.
        const std::string messageMark = marks[i] == '%' ? "%" : mark;
        expected.insert(expected.end(),
                        {i > 0 ? "" : "-", thread + mark + " Entering a.",
                         thread + messageMark + "     a", thread + mark + " Leaving a.", ""});
    }
    expected.erase(expected.begin());
    EXPECT_THAT(home.Body(), ElementsAreArray(expected));
}

TEST(Log, EveryLineOfTheThreadWithThePercentMarkHasOne) {
    CLogHome home;
    CTexts commands(13, "fresh-leave a");
    commands.push_back("@1 string 1%%\n%%2");
    home.RunScript(commands);
    CTexts body = home.Body();
    body.erase(body.begin(), body.end() - 2);
    EXPECT_THAT(body, ElementsAre("14% 1%", "14% %2"));
}

TEST(Log, ErrnoReachesFormatsAndIsLeftAlone) {
    CLogHome home;
    EXPECT_EQ(home.RunScript({"errno", "errno"}), "1 1 1 1 1\n1 1 1 1 1\n");
    EXPECT_THAT(home.Body(), ::testing::Contains("1.. Input/output error").Times(2));
}

TEST(Log, AnyOfFourFilesTurnsItOn) {
    static const struct {
        const char* name;
        CTexts entries;  // system, user, persistent system, persistent user
        size_t files;
    } kRows[] = {
        {"off in all",
         {"EnableTrace = 0", "EnableTrace = 0", "EnableTrace = 0", "EnableTrace = 0"},
         0},
        {"in none", {"", "", "", ""}, 0},
        {"system", {"EnableTrace = 2", "", "", ""}, 1},
        {"user", {"EnableTrace = 0", "EnableTrace = 1", "", ""}, 1},
        {"persistent system", {"", "", "EnableTrace = 1", ""}, 1},
        {"persistent user", {"", "", "", "EnableTrace = 1"}, 1},
        {"no number", {"EnableTrace = x", "", "", ""}, 0},
        {"no number ahead of a number", {"EnableTrace = x", "EnableTrace = 1", "", ""}, 1},
    };
    for (const auto& row : kRows) {
        SCOPED_TRACE(row.name);
        CLogHome home;
        home.WriteSuite("qorvs.conf", row.entries[0] + "\nTrace = " + home.Path("log"));
        home.WriteSuite(".qorvs.conf", row.entries[1]);
        home.WriteSuite("qorvs-persistent.conf", row.entries[2]);
        home.WriteSuite(".qorvs-persistent.conf", row.entries[3]);
        home.RunScript({"enter a", "string b", "track 1", "string c", "leave a"});
        EXPECT_EQ(home.Files().size(), row.files);
    }
}

TEST(Log, DirectoryIsReadOnce) {
    CLogHome home;
    home.WriteSuite("later.conf", "EnableTrace = 1\nTrace = " + home.Path("log"));
    home.WriteSuite("qorvs.conf", "EnableTrace = 1");
    home.RunScript({"string a", "shell cp $HOME/later.conf $HOME/qorvs.conf", "string b"});
    EXPECT_THAT(home.Files(), IsEmpty());
}

TEST(Log, FailedOpenIsTriedAgain) {
    const CTexts kMake{"shell rm -f $HOME/log; mkdir $HOME/log", "leave c"};
    const CTexts kOff{"shell mv $HOME/qorvs.conf $HOME/kept", "string b"};
    const CTexts kOn{"shell mv $HOME/kept $HOME/qorvs.conf"};
    for (const char* unfit : {"true", "ln -s /proc $HOME/log", "touch $HOME/log"}) {
        SCOPED_TRACE(unfit);
        CLogHome home;
        std::filesystem::remove(home.Path("log"));
        CTexts commands{std::string("shell ") + unfit, "enter a", "string a"};
        commands.insert(commands.end(), kMake.begin(), kMake.end());
        home.RunScript(commands);
        EXPECT_THAT(home.Body(), ElementsAre("1.. Leaving c.", ""));
    }
    CLogHome home;
    std::filesystem::remove(home.Path("log"));
    CTexts commands{"string a"};
    for (const CTexts& step : {kOff, kOn, kMake, CTexts{"track", "string d"}}) {
        commands.insert(commands.end(), step.begin(), step.end());
    }
    home.RunScript(commands);
    EXPECT_THAT(home.Body(), ElementsAre("1.. d")) << "the try after kOff has lowered tracking";
}

TEST(Log, SettingsThatAreNoneDoNoHarm) {
    std::minstd_rand random(1);
    std::string noise(65536, ' ');
    for (char& byte : noise) {
        byte = static_cast<char>(random());
    }
    std::string nested;
    for (int i = 0; i < 100000; ++i) {
        nested += "a {\n";
    }
    CLogHome home;
    const std::string suite =
        "SecuritySuite {\nEnableTrace = 1\nTrace = " + home.Path("log") + "\n";
    const struct {
        const char* name;
        std::string settings;
        size_t files;
    } rows[] = {
        {"noise", noise, 0},
        {"nested", nested, 0},
        {"suite and nested", suite + "}\n" + nested, 1},
        {"nested in suite", suite + nested + std::string(100001, '}'), 2},
        {"no number", "SecuritySuite {\nEnableTrace = 12x\nTrace = /tmp\n}", 2},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        home.Write("qorvs.conf", row.settings);
        home.RunScript({"string a", "track 1", "string b", "track 1", "leave c"});
        EXPECT_EQ(home.Files().size(), row.files);
    }
}

TEST(Log, FullDiskIsIgnored) {
    CLogHome home;
    EXPECT_EQ(home.RunScript({"string a", "limit 65536", "text " + std::string(100000, 'x'),
                              "string b", "errno"}),
              "1 1 1 1 1\n");
    EXPECT_EQ(std::filesystem::file_size(home.Files().at(0)), 65536U);
}

TEST(Log, LinesOfReturnedCallsSurviveAKill) {
    CLogHome home;
    CChildProcess child("trace_threads_child", {"count"}, home.Environment());
    std::string line;
    uint64_t last = 0;
    while (child.ReadLine(line)) {
        last = std::stoull(line);
        if (last == 500) {
            child.Kill();
        }
    }
    EXPECT_EQ(child.Wait(), -9);
    const CTexts lines = NumberThreads(home.Log().lines);
    ASSERT_GE(last, 500U);
    ASSERT_GT(lines.size(), last);
    for (size_t i = 1; i < lines.size(); ++i) {
        EXPECT_EQ(lines[i], "1.. line " + std::to_string(i));
    }
}

TEST(Log, CancelledThreadLeavesItUsable) {
    CLogHome home;
    home.Run("trace_threads_child", {"cancel"});
    const CTexts body = home.Body();
    EXPECT_EQ(body.front(), "1.. cancelled while it opens the log");
    EXPECT_THAT(body.back(), ::testing::HasSubstr(" still here"));
}

TEST(Log, ForkAmongTracingThreadsDoesNotHang) {
    CLogHome home;
    home.Run("trace_threads_child", {"forks", "200", "8"});
    size_t fromChildren = 0;
    for (const std::string& line : home.Body()) {
        fromChildren += line.find(" forked ") != std::string::npos ? 1 : 0;
        EXPECT_TRUE(line.empty() || line.find_first_of("0123456789") == 0) << line;
    }
    EXPECT_EQ(fromChildren, 200U);
}

TEST(Log, ForkWhileTheLogIsOpenedDoesNotHang) {
    for (int i = 0; i < 5; ++i) {
        CLogHome home;
        home.Run("trace_threads_child", {"forks", "20", "0"});
        EXPECT_GE(home.Files().size(), 1U);
    }
}

TEST(Log, LoadedModuleLogsAndCloses) {
    for (const char* end : {"keep", "close"}) {
        SCOPED_TRACE(end);
        CLogHome home;
        home.Run("trace_threads_child", {"module", end, QORVS_LIBRARY});
        EXPECT_THAT(home.Body(),
                    ElementsAre("1.. Entering module.", "1..     loaded", "",
                                "2|| Leaving another thread.", "", "", "1.. Leaving module.", ""));
    }
}

TEST(Log, HostMayTraceFromItsFirstToItsLastStep) {
    CLogHome home;
    EXPECT_EQ(home.Run("trace_host", {}), "no signal handler, same locale\n");
    EXPECT_THAT(home.Body(),
                ElementsAre("1.. Entering static initialiser.", "1..     main",
                            "1..     exit handler", "1.. Leaving static destructor.", ""));
}

TEST(Log, CallsCostOneWriteAndNoHeap) {
    if (kInstrumented) {
        GTEST_SKIP() << "a sanitizer has a heap of its own";
    }
    CLogHome home;
    const std::string output = home.Run("trace_costs_child", {});
    if (output == "no counters\n") {
        GTEST_SKIP() << "the kernel does not count system calls";
    }
    EXPECT_EQ(output,
              "Enter: 1 0\n"
              "Leave: 1 0\n"
              "Leave an outermost call: 1 0\n"
              "Enter after another thread: 1 0\n"
              "String: 1 0\n"
              "String0: 1 0\n"
              "Line: 1 0\n"
              "Template of twelve: 1 0\n"
              "Mechanism: 1 0\n"
              "TokenInfo: 1 0\n"
              "disabled Enter: 0 0\n"
              "disabled Leave: 0 0\n"
              "disabled String: 0 0\n"
              "disabled Template: 0 0\n");
}
