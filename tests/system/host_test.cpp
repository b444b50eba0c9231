#include "system/host.h"

#include "support/settings_home.h"
#include "support/string_print.h"

#include <gtest/gtest.h>

#include <signal.h>
#include <sys/time.h>

#include <filesystem>
#include <string>

TEST(Host, SignalsOfTheHostDoNotCutOutput) {
    struct sigaction action {};
    action.sa_handler = [](int) {};
    sigaction(SIGALRM, &action, nullptr);
    signal(SIGCHLD, SIG_IGN);
    itimerval often{{0, 500}, {0, 500}};
    setitimer(ITIMER_REAL, &often, nullptr);
    EXPECT_EQ(ReadCommand("seq 1 100000").GetLength(), 588895U);
    often = {};
    setitimer(ITIMER_REAL, &often, nullptr);
    signal(SIGCHLD, SIG_DFL);
    signal(SIGALRM, SIG_DFL);
}

TEST(Host, FindsTheExecutable) {
    EXPECT_EQ(GetMachineArchitecture() + "\n", ReadCommand("uname -m").GetText());
    const std::filesystem::path path = std::filesystem::read_symlink("/proc/self/exe");
    EXPECT_EQ(ToStd(GetExecutablePath()), path);
    EXPECT_EQ(ToStd(GetExecutableName()), path.filename());
    EXPECT_EQ(ToStd(GetDataFilePath("a/b")), path.parent_path() / "a/b");

    const CSettingsHome home;
    for (const size_t length : {255, 256, 257}) {
        const std::string copy = home.Path(std::string(length - home.Path("").size(), 'p'));
        std::filesystem::copy_file(QORVS_TEST_BIN_DIR "/platform_child", copy);
        EXPECT_EQ(ToStd(ReadCommand((copy + " path").c_str())), copy);
    }
}
