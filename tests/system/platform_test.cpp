#include "support/scenarios.h"
#include "support/settings_home.h"
#include "support/string_print.h"
#include "system/host.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <string>

TEST(Settings, AreReadFromTheirFiles) { RunScenarios("platform_child", "system/settings.txt"); }

TEST(EventLog, ReportsUnderThePriorityOfTheSeverity) {
    RunScenarios("platform_child", "system/event_log.txt");
}

TEST(Platform, RunsCommandsAndSaysWhatFails) {
    RunScenarios("platform_child", "system/platform.txt");
}

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
