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

namespace {

/** A home with one file "f". */
class CFileHome : public CSettingsHome {
public:
    explicit CFileHome(const std::string& text) { Write("f", text); }

    CUTF8String FilePath() const { return Path("f").c_str(); }
    std::string Text() const { return ToStd(ReadCommand(("cat " + Path("f")).c_str())); }
};

}  // namespace

TEST(Config, AnswersByKeys) {
    FOR_EACH_STANZA(row, ReadStanzas("system/config_queries.txt")) {
        const CFileHome home(row.Text("file_text"));
        const CConfig config(home.FilePath());
        if (row.Has("keys_text")) {
            const auto keys = CUTF8String(row.Text("keys_text").c_str()).Split(" ");
            const auto sentinel = static_cast<int32_t>(row.Int("sentinel_int"));
            EXPECT_EQ(ToStd(config.GetStringFirstOf(keys)), row.Text("string_text"));
            EXPECT_EQ(config.GetIntFirstOf(keys, 42, sentinel), row.Int("number_int"));
        } else {
            const std::string bytes = row.Text("key_text");
            const CUTF8String key(bytes.data(), static_cast<ptrdiff_t>(bytes.size()));
            EXPECT_EQ(config.GetInt(key, 42), row.Int("number_int"));
        }
    }
}

TEST(Config, AnswersByIndexWithinBounds) {
    const CFileHome home("S {\n}\nA = 1\nT {\n}\nB\n");
    const CConfig config(home.FilePath());
    CUTF8String name("as before"), value;
    for (const int32_t outside : {-1, 2, INT32_MIN, INT32_MAX}) {
        EXPECT_FALSE(config.GetEntry(outside, name, value) || config.GetSectionName(outside, name));
    }
    EXPECT_EQ(name, "as before");
    EXPECT_TRUE(config.GetEntry(1, name, value) && name == "B" && value == "");
    EXPECT_TRUE(config.GetSectionName(1, name) && name == "T");
}

TEST(Config, WritesTheWholeFileOnEveryChange) {
    const std::string text = "A = 1\nA = 2\nS {\nI {\n}\n}\n{\nlost\n";
    const CFileHome home(text);
    CConfig root(home.FilePath());
    CConfig* const inner = root.GetSection("S")->GetSection("I");
    EXPECT_FALSE(root.SetString("", "x") || root.Remove("B"));
    EXPECT_EQ(home.Text(), text);
    EXPECT_TRUE(root.SetString("A", "3"));
    EXPECT_EQ(home.Text(), "S {\n\tI {\n\t}\n}\nA = 3\nA = 2\n");
    EXPECT_TRUE(root.Remove("A") && inner->SetInt("N", INT32_MIN));
    EXPECT_EQ(home.Text(), "S {\n\tI {\n\t\tN = -2147483648\n\t}\n}\nA = 2\n");
    EXPECT_EQ(inner->GetInt("N", 4), 4) << "a sign is no digit";
    EXPECT_TRUE(inner->Remove("N") && root.SetInt("A", 0));
    EXPECT_EQ(root.GetSection("New")->GetEntryCount(), 0);
    EXPECT_TRUE(inner->Save());
    EXPECT_EQ(home.Text(), "S {\n\tI {\n\t}\n}\nNew {\n}\nA = 0\n");
}

TEST(Config, SaysWhenAFileWasNotWritten) {
    const CFileHome home("");
    CConfig full(home.Path("full").c_str());
    std::filesystem::create_symlink("/dev/full", home.Path("full"));
    EXPECT_FALSE(full.SetString("A", "1"));
    EXPECT_FALSE(CConfig(home.Path("none/f").c_str()).SetString("A", "1"));
    EXPECT_FALSE(CConfig(home.Path("").c_str()).SetString("A", "1"));
    const std::string text(10000, 'x');
    EXPECT_TRUE(CConfig(home.FilePath()).SetString("A", text.c_str()));
    EXPECT_EQ(ToStd(CConfig(home.FilePath()).GetString("A")), text);
}

TEST(ConfigFiles, KeepWhatWasFirstFound) {
    const CFileHome home("A = 1\n");
    setenv("QORVS_CONFFILE", home.Path("f").c_str(), 1);
    CUTF8String value;
    EXPECT_FALSE(ReadKeptValue(70, "S", "K", value));
    EXPECT_TRUE(GetSystemConfig(70)->Save());
    EXPECT_EQ(home.Text(), "S {\n}\nA = 1\n") << "a missing section is added";
    home.Write("f", "A = 2\n");
    EXPECT_EQ(std::unique_ptr<CConfig>(ReloadSystemConfig(70))->GetInt("A", 0), 2);
    EXPECT_EQ(GetSystemConfig(70)->GetInt("A", 0), 1);
    EXPECT_EQ(GetSystemConfig(71)->GetInt("A", 0), 2) << "each scope has its own";
    unsetenv("QORVS_CONFFILE");
}
