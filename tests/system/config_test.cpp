#include "system/config.h"

#include "support/settings_home.h"
#include "support/stanza_file.h"
#include "support/string_print.h"
#include "system/config_files.h"
#include "system/host.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <memory>
#include <string>

static std::string TextOf(const CSettingsHome& home) {
    return ToStd(ReadCommand(("cat " + home.Path("f")).c_str()));
}

TEST(Config, AnswersByKeysAndIndices) {
    FOR_EACH_STANZA(row, ReadStanzas("system/config_queries.txt")) {
        const CSettingsHome home;
        home.Write("f", row.Text("file_text"));
        const CConfig config(home.Path("f").c_str());
        if (row.Has("keys_text")) {
            const auto keys = CUTF8String(row.Text("keys_text").c_str()).Split(" ");
            const auto sentinel = static_cast<int32_t>(row.Int("sentinel_int"));
            EXPECT_EQ(ToStd(config.GetStringFirstOf(keys)), row.Text("string_text"));
            EXPECT_EQ(config.GetIntFirstOf(keys, 42, sentinel), row.Int("number_int"));
        } else if (row.Has("index_int")) {
            const auto index = static_cast<int32_t>(row.Int("index_int"));
            CUTF8String key("key"), value("value"), name("name");
            const bool found = config.GetEntry(index, key, value);
            EXPECT_EQ(config.GetSectionName(index, name), found);
            EXPECT_EQ(ToStd(key + " " + value + " " + name), row.Text("string_text"));
        } else {
            const std::string bytes = row.Text("key_text");
            const CUTF8String key(bytes.data(), static_cast<ptrdiff_t>(bytes.size()));
            EXPECT_EQ(config.GetInt(key, 42), row.Int("number_int"));
        }
    }
}

TEST(Config, WritesTheWholeFileOnEveryChange) {
    const std::string text = "A = 1\nA = 2\nS {\nI {\n}\n}\n{\nlost\n";
    const CSettingsHome home;
    home.Write("f", text);
    CConfig root(home.Path("f").c_str());
    CConfig* const inner = root.GetSection("S")->GetSection("I");
    EXPECT_FALSE(root.SetString("", "x") || root.Remove("B"));
    EXPECT_EQ(TextOf(home), text);
    EXPECT_TRUE(root.SetString("A", "3"));
    EXPECT_EQ(TextOf(home), "S {\n\tI {\n\t}\n}\nA = 3\nA = 2\n");
    EXPECT_TRUE(root.Remove("A") && inner->SetInt("N", INT32_MIN));
    EXPECT_EQ(TextOf(home), "S {\n\tI {\n\t\tN = -2147483648\n\t}\n}\nA = 2\n");
    EXPECT_TRUE(inner->Remove("N") && root.SetInt("A", 0));
    EXPECT_EQ(root.GetSection("New")->GetEntryCount(), 0);
    EXPECT_TRUE(inner->Save());
    EXPECT_EQ(TextOf(home), "S {\n\tI {\n\t}\n}\nNew {\n}\nA = 0\n");
}

TEST(Config, SaysWhenAFileWasNotWritten) {
    const CSettingsHome home;
    CConfig full(home.Path("full").c_str());
    std::filesystem::create_symlink("/dev/full", home.Path("full"));
    EXPECT_FALSE(full.SetString("A", "1"));
    EXPECT_FALSE(CConfig(home.Path("none/f").c_str()).SetString("A", "1"));
}

TEST(ConfigFiles, KeepWhatWasFirstFound) {
    const CSettingsHome home;
    home.Write("f", "A = 1\n");
    setenv("QORVS_CONFFILE", home.Path("f").c_str(), 1);
    CUTF8String value;
    EXPECT_FALSE(ReadKeptValue(70, "S", "K", value));
    EXPECT_TRUE(GetSystemConfig(70)->Save());
    EXPECT_EQ(TextOf(home), "S {\n}\nA = 1\n") << "a missing section is added";
    home.Write("f", "A = 2\n");
    EXPECT_EQ(std::unique_ptr<CConfig>(ReloadSystemConfig(70))->GetInt("A", 0), 2);
    EXPECT_EQ(GetSystemConfig(70)->GetInt("A", 0), 1);
    EXPECT_EQ(GetSystemConfig(71)->GetInt("A", 0), 2) << "each scope has its own";
    unsetenv("QORVS_CONFFILE");
}
