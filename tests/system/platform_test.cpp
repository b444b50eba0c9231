#include "support/log_capture.h"
#include "support/stanza_file.h"
#include "support/string_print.h"
#include "system/host.h"
#include "util/string_list.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <regex>
#include <string>
#include <vector>

// A case is a command of platform_child, its parts parted by "|", with "~" for a home of its own in
// which its file lies; what the command prints and, up to the numbers of lines, traces.
static void RunScenarios(const char* file) {
    FOR_EACH_STANZA(row, ReadStanzas(file)) {
        CLogHome home;
        const auto placed = [&](const char* key) {
            return std::regex_replace(row.Text(key), std::regex("~"), home.Path(""));
        };
        if (!row.Has("log_text")) {
            home.Write("qorvs.conf", "");
        }
        if (row.Has("file_text")) {
            home.Write(row.Text("file_text"), row.Text("content_text"));
        }
        std::vector<std::string> command;
        const auto parts = CUTF8String(placed("command_text").c_str()).Split("|");
        for (const CUTF8String& part : parts) {
            command.push_back(ToStd(part));
        }
        EXPECT_EQ(home.Run("platform_child", command), placed("printed_text"));
        if (row.Has("log_text")) {
            const std::regex changing("(^|\n)1\\.\\. |(, line) [^\n]*");
            EXPECT_EQ(std::regex_replace(home.BodyText(), changing, "$1$2"), row.Text("log_text"));
        }
    }
}

TEST(Settings, AreReadFromTheirFiles) { RunScenarios("system/settings.txt"); }

TEST(EventLog, ReportsUnderThePriorityOfTheSeverity) { RunScenarios("system/event_log.txt"); }

TEST(Platform, RunsCommandsAndSaysWhatFails) { RunScenarios("system/platform.txt"); }

TEST(Platform, FindsTheExecutable) {
    EXPECT_EQ(GetExecutablePath(), QORVS_TEST_BIN_DIR "/system_tests");
    EXPECT_EQ(GetExecutableName(), "system_tests");
    EXPECT_EQ(GetDataFilePath("a/b"), QORVS_TEST_BIN_DIR "/a/b");
    const CSettingsHome home;
    for (const size_t length : {1, 255, 256, 257, 511, 512, 4000}) {
        const std::string target(length, 'p'), link = home.Path(std::to_string(length));
        std::filesystem::create_symlink(target, link);
        EXPECT_EQ(ToStd(ReadLink(link.c_str())), target);
    }
    EXPECT_EQ(ReadLink(home.Path("none").c_str()), "");
}
