#include "system/config.h"

#include "system/child_program.h"
#include "system/config_files.h"
#include "system/settings.h"

#include <gtest/gtest.h>

#include <functional>
#include <string>

TEST(Config, ReadsNumbersOfDigitsOnly) {
    const CTempHome home;
    struct CRow {
        const char* value;
        int32_t read;
    };
    const CRow rows[] = {
        {"7", 7},           {" 7 ", 7},          {"0007", 7},      {"2147483647", INT32_MAX},
        {"-1", 42},         {"+1", 42},          {"7x", 42},       {"2147483648", 42},
        {"4294967295", 42}, {"4294967296", 42},  {"0x10", 42},     {"1 2", 42},
        {"\xC1\x81", 42},   {"99999999999", 42}, {"\xD9\xA1", 42},
    };
    for (const CRow& row : rows) {
        SCOPED_TRACE(row.value);
        const std::string line = std::string("K = ") + row.value + "\n";
        const CConfig config(home.Write("f", line + "K = 1\nEmpty\n").c_str());
        EXPECT_EQ(config.GetInt("K", 42), row.read) << "the first entry counts, good or bad";
        EXPECT_EQ(config.GetInt("Empty", 42), 42);
        EXPECT_EQ(config.GetInt("k", 42), 42);
    }
}

TEST(Config, FindsKeysByTheirCharacters) {
    const CTempHome home;
    const CConfig config(
        home.Write("f", "Login = 1\nLoginX = 2\nLogan = 3\n\xC3\xA9 = 4\n? = 5\n").c_str());
    const std::pair<CUTF8String, int32_t> rows[] = {
        {"Login", 1},
        {"LoginX", 2},
        {"Logan", 3},
        {"Logi", -1},
        {"", -1},
        {"\xC3\xA9", 4},
        {"?", 5},
        // Bytes that no UTF-8 writer makes are found by what they stand for.
        {CUTF8String("Log\xC1\xA9n", 6), 1},
        {CUTF8String("\xFF", 1), -1},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(config.GetInt(row.first, -1), row.second) << row.first.GetText();
    }
}

TEST(Config, TakesTheFirstOfSeveralKeys) {
    const CTempHome home;
    const CConfig config(home.Write("f", "A = _\nB\nC = 3\nD = -1\nE = _\n").c_str());
    const auto keys = [](const char* names) { return CUTF8String(names).Split(" "); };
    EXPECT_STREQ(config.GetStringFirstOf(keys("A B C E")).GetText(), "3");
    EXPECT_STREQ(config.GetStringFirstOf(keys("B A")).GetText(), "_");
    EXPECT_STREQ(config.GetStringFirstOf(keys("A B")).GetText(), "");
    EXPECT_EQ(config.GetIntFirstOf(keys("X D C"), 8, 9), 3);
    EXPECT_EQ(config.GetIntFirstOf(keys("X C"), 8, 3), 8);
}

TEST(Config, AnswersByIndexWithinBounds) {
    const CTempHome home;
    const CConfig config(home.Write("f", "S {\n}\nA = 1\nT {\n}\nB\n").c_str());
    CUTF8String name("as before");
    CUTF8String value;
    for (const int32_t outside : {-1, 2, INT32_MIN, INT32_MAX}) {
        EXPECT_FALSE(config.GetEntry(outside, name, value));
        EXPECT_FALSE(config.GetSectionName(outside, name));
    }
    EXPECT_STREQ(name.GetText(), "as before");
    EXPECT_TRUE(config.GetEntry(1, name, value) && name == "B" && value == "");
    EXPECT_TRUE(config.GetSectionName(1, name) && name == "T");
}

TEST(Config, WritesTheWholeFileOnEveryChange) {
    const CTempHome home;
    const std::string path = home.Write("f", "A = 1\nA = 2\nS {\nI {\n}\n}\n{\nlost\n");
    CConfig root(path.c_str());
    CConfig* const inner = root.GetSection("S")->GetSection("I");
    struct CRow {
        std::function<bool()> change;
        bool result;
        const char* file;
    };
    const CRow rows[] = {
        {[&] { return root.SetString("", "x"); }, false, "A = 1\nA = 2\nS {\nI {\n}\n}\n{\nlost\n"},
        {[&] { return root.Remove("B"); }, false, "A = 1\nA = 2\nS {\nI {\n}\n}\n{\nlost\n"},
        {[&] { return root.SetString("A", "3"); }, true, "S {\n\tI {\n\t}\n}\nA = 3\nA = 2\n"},
        {[&] { return root.Remove("A"); }, true, "S {\n\tI {\n\t}\n}\nA = 2\n"},
        {[&] { return inner->SetInt("N", -5); }, true, "S {\n\tI {\n\t\tN = -5\n\t}\n}\nA = 2\n"},
        {[&] { return inner->SetInt("N", INT32_MIN) && inner->GetInt("N", 4) == 4; }, true,
         "S {\n\tI {\n\t\tN = -2147483648\n\t}\n}\nA = 2\n"},
        {[&] { return inner->Remove("N") && root.SetInt("A", 0); }, true,
         "S {\n\tI {\n\t}\n}\nA = 0\n"},
        {[&] { return root.GetSection("New")->GetEntryCount() == 0 && inner->Save(); }, true,
         "S {\n\tI {\n\t}\n}\nNew {\n}\nA = 0\n"},
    };
    for (const CRow& row : rows) {
        EXPECT_EQ(row.change(), row.result);
        EXPECT_EQ(home.Read("f"), row.file);
    }
}

TEST(Config, SaysWhenAFileWasNotWritten) {
    const CTempHome home;
    EXPECT_FALSE(CConfig(home.GetPath("none/f").c_str()).SetString("A", "1"));
    EXPECT_FALSE(CConfig(home.GetPath().c_str()).SetString("A", "1"));
    CConfig full(home.GetPath("full").c_str());
    std::filesystem::create_symlink("/dev/full", home.GetPath("full"));
    EXPECT_FALSE(full.SetString("A", "1"));
    CConfig made(home.GetPath("made").c_str());
    const std::string text(10000, 'x');
    EXPECT_TRUE(made.SetString("A", text.c_str()));
    EXPECT_EQ(CConfig(made.GetPath()).GetString("A").GetText(), text);
}

TEST(ConfigFiles, ChoosesTheFile) {
    const CTempHome home;
    home.Write("qorvs.conf.d", "");
    const std::string in = home.GetPath();
    struct CRow {
        const char* home;
        const char* named;
        bool global;
        const char* system;
        const char* user;
        const char* persistentSystem;
        const char* persistentUser;
    };
    const CRow rows[] = {
        {nullptr, nullptr, false, "/etc/qorvs.conf", "", "/etc/qorvs-persistent.conf", ""},
        {"", nullptr, false, "/etc/qorvs.conf", "/.qorvs.conf", "/etc/qorvs-persistent.conf",
         "/.qorvs-persistent.conf"},
        {"~", nullptr, false, "/etc/qorvs.conf", "~/.qorvs.conf", "/etc/qorvs-persistent.conf",
         "~/.qorvs-persistent.conf"},
        {"~", nullptr, true, "~/.qorvs.global.conf", "~/.qorvs.conf", "~/.qorvs.global.conf",
         "~/.qorvs-persistent.conf"},
        {"~", "/x/y.conf", true, "/x/y.conf", "~/.qorvs.conf", "/x/y.conf",
         "~/.qorvs-persistent.conf"},
        {nullptr, "/qorvs.conf/qorvs.conf", false, "/qorvs.conf/qorvs.conf", "",
         "/qorvs-persistent.conf/qorvs-persistent.conf", ""},
        {nullptr, "", false, "", "", "", ""},
    };
    const auto expand = [&in](std::string path) {
        return path.rfind("~/", 0) == 0 ? in + path.substr(1) : path;
    };
    for (const CRow& row : rows) {
        SCOPED_TRACE(std::string(row.system) + " " + row.user);
        row.home != nullptr ? setenv("HOME", *row.home == '~' ? in.c_str() : row.home, 1)
                            : unsetenv("HOME");
        row.named != nullptr ? setenv("QORVS_CONFFILE", row.named, 1) : unsetenv("QORVS_CONFFILE");
        row.global ? void(home.Write(".qorvs.global.conf", ""))
                   : void(unlink(home.GetPath(".qorvs.global.conf").c_str()));
        const char* const expected[2][2] = {{row.system, row.persistentSystem},
                                            {row.user, row.persistentUser}};
        for (const int which : {0, 1, 2, 3}) {
            const std::unique_ptr<CConfig> config(
                GetConfig(which / 2 != 0, true, 2, which % 2 != 0));
            EXPECT_EQ(config->GetPath().GetText(), expand(expected[which / 2][which % 2]));
        }
    }
    unsetenv("QORVS_CONFFILE");
}

TEST(Settings, ReadTheirKeys) {
    struct CRow {
        const char* name;
        const char* suite;
        const char* printed;
    };
    const CRow rows[] = {
        {"defaults", "", "00 00 30 30000 0 0001 0 null \n"},
        {"all",
         "LoginPersistentCSP = 2\nLoginPersistent = 1\nLoginTimeout = 5\n"
         "SerialNumberAsGuid = 3\nEnablePinSessionCache = 9\nTSAURL = http://tsa/\n"
         "CertificateVerificationPolicy = 1\nTSLURL = u\nTSLCertificate = c\n"
         "Trace = /none\n",
         "21 11 5 5000 1 1100 0 http://tsa/ /none\n"},
        {"even numbers", "LoginTimeout = 30\nSerialNumberAsGuid = 2\nTSLURL = u\n",
         "00 00 30 30000 0 0001 0 null \n"},
        {"wraps", "LoginTimeout = 4294968\n", "00 00 4294968 704 0 0001 0 null \n"},
        {"bad numbers", "LoginTimeout = x\nLoginPersistent =\nTSLCertificate = c\n",
         "00 00 30 30000 0 0001 0 null \n"},
    };
    for (const CRow& row : rows) {
        SCOPED_TRACE(row.name);
        const CTempHome home;
        home.Write(".qorvs.global.conf", std::string("SecuritySuite {\n") + row.suite + "}\n");
        EXPECT_EQ(RunScenario(home, {"settings"}), row.printed);
    }
}

TEST(Settings, PolicyIsTheUsersOwn) {
    const CTempHome home;
    home.Write(".qorvs.conf", "SecuritySuite {\nCertificateVerificationPolicy = 1\n}\n");
    EXPECT_EQ(RunScenario(home, {"settings"}), "00 00 30 30000 0 0011 0 null \n");
    EXPECT_STREQ(GetVerificationPolicyName(1), "ENFORCE_TSLQC");
    EXPECT_STREQ(GetVerificationPolicyName(2), "ANY");
}

TEST(Settings, TraceIsEnabledByAnyOfFourFiles) {
    const char* const files[] = {"named-qorvs.conf", ".qorvs.conf", "named-qorvs-persistent.conf",
                                 ".qorvs-persistent.conf"};
    for (const char* const file : files) {
        for (const char* const value : {"1", "2", "0", "on"}) {
            SCOPED_TRACE(std::string(file) + " " + value);
            const CTempHome home;
            home.Write(file, std::string("SecuritySuite {\nEnableTrace = ") + value + "\n}\n");
            const std::string named = home.GetPath("named-qorvs.conf");
            const std::string printed =
                RunScenario(home, {"settings"}, {{"QORVS_CONFFILE", named}});
            const bool enabled = *value == '1' || *value == '2';
            EXPECT_EQ(printed,
                      std::string("00 00 30 30000 0 0001 ") + (enabled ? "1" : "0") + " null \n");
        }
    }
}

TEST(Settings, StayAsTheyWereFirstFound) {
    const CTempHome home;
    const std::string path = home.GetPath("c");
    EXPECT_EQ(RunScenario(home, {"kept", path}, {{"QORVS_CONFFILE", path}}),
              "30 null 30 7 1 0 http://a/\xE9? http://a/\xE9?\n");
}

TEST(Settings, ReadingAddsTheSection) {
    const CTempHome home;
    const std::string path = home.Write("c", "A = 1\n");
    EXPECT_EQ(RunScenario(home, {"save"}, {{"QORVS_CONFFILE", path}}), "1\n");
    EXPECT_EQ(home.Read("c"), "SecuritySuite {\n}\nA = 1\n");
}
