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
        if (!row.Has("log_text")) {
            home.Write("qorvs.conf", "");
        }
        if (row.Has("file_text")) {
            home.Write(row.Text("file_text"), row.Text("content_text"));
        }
        const std::vector<std::string> none;
        const std::string in = home.Path("");
        const std::regex mark("~");
        std::vector<std::string> command;
        const auto parts = CUTF8String(row.Text("command_text").c_str()).Split("|");
        for (const CUTF8String& part : parts) {
            command.push_back(std::regex_replace(ToStd(part), mark, in));
        }
        EXPECT_EQ(home.Run("platform_child", command),
                  std::regex_replace(row.Text("printed_text"), mark, in));
        std::string log;
        for (const std::string& line : row.Has("log_text") ? home.Body() : none) {
            log += std::regex_replace(line, std::regex("^1\\.\\. |(, line) .*"), "$1") + "\n";
        }
        EXPECT_EQ(log, row.Has("log_text") ? row.Text("log_text") : "");
    }
}

TEST(Settings, AreReadFromTheirFiles) { RunScenarios("system/settings.txt"); }

TEST(EventLog, ReportsUnderThePriorityOfTheSeverity) { RunScenarios("system/event_log.txt"); }

TEST(Platform, RunsCommandsAndSaysWhatFails) { RunScenarios("system/platform.txt"); }

TEST(Platform, FindsTheExecutable) {
    EXPECT_EQ(GetMachineArchitecture() + "\n", ReadCommand("uname -m").GetText());
    const CSettingsHome home;
    const std::string in = home.Path("");
    for (const size_t length : {255, 256, 257}) {
        const std::string name(length - in.size(), 'p');
        std::filesystem::copy_file(QORVS_TEST_BIN_DIR "/platform_child", in + name);
        EXPECT_EQ(ToStd(ReadCommand((in + name + " executable").c_str())),
                  in + name + " " + name + " " + in + "a/b");
    }
}
