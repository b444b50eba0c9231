#include "system/host.h"

#include "system/child_program.h"
#include "system/file_chooser.h"
#include "system/product.h"

#include <gtest/gtest.h>

#include <signal.h>
#include <sys/time.h>

#include <stdexcept>
#include <string>

TEST(Host, CommandsArriveWhole) {
    const std::string line(10000, 'x');
    const std::pair<std::string, std::string> rows[] = {
        {"true", ""},
        {"printf 'a\\nb\\n\\n'", "a\nb\n\n"},
        {"printf out; exit 3", "out"},
        {"printf '%0127d\\303\\251'", std::string(127, '0') + "\xC3\xA9"},
        {"no-such-command 2>/dev/null", ""},
        {"printf " + line, line},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.first);
        EXPECT_EQ(ReadCommand(row.first.c_str()).GetText(), row.second);
        if (row.second.empty()) {
            EXPECT_THROW(ReadCommandTrimmed(row.first.c_str()), std::out_of_range);
        } else {
            EXPECT_EQ(ReadCommandTrimmed(row.first.c_str()),
                      row.second.substr(0, row.second.size() - 1));
        }
    }
}

TEST(Host, SignalsOfTheHostDoNotCutOutput) {
    struct sigaction action {};
    struct sigaction before {};
    action.sa_handler = [](int) {};
    sigaction(SIGALRM, &action, &before);
    const auto childBefore = signal(SIGCHLD, SIG_IGN);
    const itimerval often{{0, 500}, {0, 500}};
    setitimer(ITIMER_REAL, &often, nullptr);
    const CUTF8String output = ReadCommand("seq 1 100000");
    const itimerval never{};
    setitimer(ITIMER_REAL, &never, nullptr);
    signal(SIGCHLD, childBefore);
    sigaction(SIGALRM, &before, nullptr);
    EXPECT_EQ(output.GetLength(), 588895u);
}

TEST(Host, ReportsCommandsThatCannotStart) {
    const CTempHome home;
    home.EnableLog();
    EXPECT_EQ(RunScenario(home, {"commands"}),
              "popen() failed!\n5 zenity not installed on this linux\n''");
    const std::vector<std::string> lines = home.ReadLog();
    ASSERT_EQ(lines.size(), 4u);
    EXPECT_EQ(lines[1].find("'WARNING Exception raised' in (ReadCommand), line "), 0u);
    EXPECT_EQ(lines[2].find("'WARNING CCkException raised' in (SelectFilesOrFolder), line "), 0u);
    EXPECT_EQ(lines[3], "Error linux command : %s %n");
}

TEST(Host, FindsTheExecutable) {
    EXPECT_EQ(GetMachineArchitecture() + "\n", ReadCommand("uname -m").GetText());
    const std::string path = std::filesystem::read_symlink("/proc/self/exe");
    EXPECT_EQ(GetExecutablePath().GetText(), path);
    const size_t name = path.rfind('/') + 1;
    EXPECT_EQ(GetExecutableName().GetText(), path.substr(name));
    EXPECT_EQ(GetDataFilePath("a/b").GetText(), path.substr(0, name) + "a/b");

    const CTempHome home;
    for (const size_t length : {255, 256, 257, 600}) {
        std::string copy = home.GetPath();
        while (copy.size() + 101 < length) {
            copy += std::string(100, 'd') + "/";
        }
        std::filesystem::create_directories(copy);
        copy.append(length - copy.size(), 'p');
        std::filesystem::copy_file(QORVS_TEST_BIN_DIR "/platform_child", copy);
        EXPECT_EQ(RunProgram({copy, "path"}, {}), copy);
    }
}

TEST(FileChooser, ReadsTheDialog) {
    const CTempHome home;
    const std::string dialog =
        home.Write("zenity",
                   "#!/bin/sh\ntest \"$1\" = --version || printf '%s' \"$*\" > \"$ASKED\"\n"
                   "printf \"$CHOSEN\"\n");
    std::filesystem::permissions(dialog, std::filesystem::perms::owner_all);
    const std::string path = getenv("PATH");
    setenv("PATH", (home.GetPath() + ":" + path).c_str(), 1);
    setenv("ASKED", home.GetPath("asked").c_str(), 1);
    struct CRow {
        const char* chosen;
        std::vector<std::string> files;
        const char* folder;
    };
    const CRow rows[] = {
        {"", {}, ""},
        {"/a\\n", {"/a"}, "/a"},
        {"/a|/b\\n", {"/a", "/b"}, "/a|/b"},
        {"/\\n\\nx|/\\303\\251||\\n", {"/x", "/\xC3\xA9", "", ""}, "/x|/\xC3\xA9||"},
    };
    for (const CRow& row : rows) {
        SCOPED_TRACE(row.chosen);
        setenv("CHOSEN", row.chosen, 1);
        std::vector<std::string> files;
        const CStringList selected = SelectFiles();
        for (const CUTF8String& file : selected) {
            files.emplace_back(file.GetText());
        }
        EXPECT_EQ(files, row.files);
        EXPECT_EQ(home.Read("asked"), "--file-selection --multiple");
        EXPECT_STREQ(SelectFolder().GetText(), row.folder);
        EXPECT_EQ(home.Read("asked"), "--file-selection --directory");
    }
    setenv("PATH", path.c_str(), 1);
}
