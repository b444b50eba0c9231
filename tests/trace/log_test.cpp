#include "support/child_process.h"
#include "support/log_capture.h"
#include "support/stanza_file.h"
#include "system/build_info.h"

#include <gmock/gmock.h>
#include <openssl/opensslv.h>

#include <sys/utsname.h>
#include <time.h>

#include <filesystem>
#include <regex>

namespace {

namespace fs = std::filesystem;
using CTexts = std::vector<std::string>;
using CCommands = std::sregex_token_iterator;

std::string FormatNow() {
    const time_t now = time(nullptr);
    char text[64];
    strftime(text, sizeof(text), "%Y-%m-%d_%H-%M-%S", localtime(&now));
    return text;
}

}  // namespace

TEST(Log, ScriptsLeaveTheirLines) {
    const std::regex separator(" ; ");
    FOR_EACH_STANZA(stanza, ReadStanzas("trace/log.txt")) {
        CLogHome home;
        const auto textOr = [&stanza](const char* key, const char* otherwise) {
            return stanza.Has(key) ? stanza.Text(key) : otherwise;
        };
        const std::string script = stanza.Text("script_text");
        const CTexts commands{CCommands(script.begin(), script.end(), separator, -1), CCommands()};
        EXPECT_EQ(home.Run(textOr("program_text", "trace_child"), commands),
                  textOr("output_text", ""));
        if (stanza.Has("files_int")) {
            EXPECT_EQ(home.Files().size(), static_cast<size_t>(stanza.Int("files_int")));
        } else {
            EXPECT_EQ(home.BodyText(), stanza.Text("body_text"));
        }
        if (stanza.Has("version_text")) {
            EXPECT_EQ(home.Log().header.at(8), stanza.Text("version_text"));
        }
    }
}

TEST(Log, NameHeaderAndPrefixAreExact) {
    CLogHome home;
    const std::string before = FormatNow();
    home.Write("bin/lsb_release",
               "#!/bin/sh\nprintf 'No LSB modules\\nDescription:\\tDebian Test 12\\n'\n");
    home.RunScript({"string a"});
    const std::string after = FormatNow();
    const std::string process = std::to_string(home.GetProcessId());
    const std::string name = home.Files().at(0);
    const std::string start = name.substr(home.Path("log/qorvs_").size(), before.size());
    EXPECT_EQ(name, home.Path("log/qorvs_") + start + "_trace_child_" + process + ".log");
    EXPECT_TRUE(before <= start && start <= after) << start;
    std::string time = start.substr(11);
    time[2] = time[5] = ':';
    utsname machine;
    uname(&machine);
    const CCapturedLog log = home.Log();
    EXPECT_THAT(
        log.header,
        testing::ElementsAre(
            "##################################################",
            "# Starting log on " + start.substr(0, 10) + " at " + time, "# Process ID: " + process,
            std::string("# Arch: ") + machine.machine,
            "# Executable path: " + fs::canonical(QORVS_TEST_BIN_DIR "/trace_child").string(),
            "# Middleware path: /usr/lib/QorvsRuntime", "# Middleware version: 6.23.50.5",
            "# OpenSSL version: " OPENSSL_VERSION_TEXT, "# OS version: linux: Debian Test 12",
            std::string("# Commit hash: ") + GetCommitHash(),
            std::string("# Build date: ") + GetBuildDate(), ""));
    std::string stamp = start.substr(0, 5) + log.lines.at(1).stamp.substr(0, 14);
    stamp[13] = stamp[16] = '-';
    EXPECT_TRUE(start <= stamp && stamp <= after) << stamp;
    EXPECT_EQ(log.lines[1].thread, static_cast<uint64_t>(home.GetProcessId()));
    EXPECT_EQ(log.lines[1].text, ".. a");
}

TEST(Log, LongLinesAreWholeAndAFullDiskIsIgnored) {
    const std::string text(100000, 'x');
    CLogHome home;
    home.RunScript({"string " + text});
    EXPECT_EQ(home.BodyText(), "1.. " + text);
    CLogHome full;
    EXPECT_EQ(full.RunScript({"string a", "limit 65536", "text " + text, "string b", "errno"}),
              "1 1 1 1 1\n");
    EXPECT_EQ(fs::file_size(full.Files().at(0)), 65536U);
}

TEST(Log, LinesOfReturnedCallsSurviveAKill) {
    CLogHome home;
    CChildProcess child("trace_threads_child", {"count"}, home.Environment());
    size_t last = 0;
    for (std::string line; child.ReadLine(line);) {
        last = std::stoul(line);
        last == 500 ? child.Kill() : void();
    }
    EXPECT_EQ(child.Wait(), -9);
    const CTexts lines = NumberThreads(home.Log().lines);
    EXPECT_GT(lines.size(), std::max<size_t>(last, 500));
    for (size_t i = 1; i < lines.size(); ++i) {
        EXPECT_EQ(lines[i], "1.. line " + std::to_string(i));
    }
}

/** Also while they open the log. */
TEST(Log, ForkAmongTracingThreadsDoesNotHang) {
    for (const char* tracing : {"8", "0", "0"}) {
        CLogHome home;
        home.Run("trace_threads_child", {"forks", "50", tracing});
        size_t fromChildren = 0;
        for (const std::string& file : home.Files()) {
            for (const CLogLine& line : CCapturedLog(file).lines) {
                fromChildren += line.text.find(" forked ") != std::string::npos ? 1 : 0;
                EXPECT_TRUE(!line.stamp.empty() || line.text.find_first_not_of('#') != 0)
                    << line.text;
            }
        }
        EXPECT_EQ(fromChildren, 50U);
    }
}

TEST(Log, CallsCostOneWriteAndNoHeap) {
    CLogHome home;
    const std::string output = home.Run("trace_costs_child", {});
    if (output == "no counters\n") {
        GTEST_SKIP() << "the kernel does not count, or a sanitizer has a heap of its own";
    }
    EXPECT_EQ(output, "counted\n");
}
