#include "system/config_parser.h"

#include "support/stanza_file.h"

#include <gmock/gmock.h>

#include <locale.h>

#include <algorithm>
#include <random>
#include <string>
#include <string_view>

using namespace std::string_view_literals;

static std::string Reformat(const std::string& text) {
    CConfig root("");
    ParseConfig(root, text.data(), text.size());
    const CUTF8String written = ToText(root, 0);
    return {written.GetText(), written.GetLength()};
}

TEST(ConfigParser, KeepsWhatTheGrammarSays) {
    FOR_EACH_STANZA(row, ReadStanzas("system/config_grammar.txt")) {
        setlocale(LC_CTYPE, row.Has("locale_text") ? row.Text("locale_text").c_str() : "C");
        EXPECT_EQ(Reformat(row.Text("text_text")), row.Text("written_text"));
    }
    setlocale(LC_CTYPE, "C");
}

TEST(ConfigParser, DropsWhatLiesTooDeep) {
    for (const size_t depth : {kDeepestSection, kDeepestSection + 1, size_t{100000}}) {
        std::string text = "Before = 1\n";
        for (size_t i = 0; i < depth; ++i) {
            text += "a{b=1\n";
        }
        const std::string written = Reformat(text + std::string(depth, '}') + "After = 2\n");
        const auto kept = static_cast<ptrdiff_t>(std::min(depth, kDeepestSection));
        EXPECT_EQ(std::count(written.begin(), written.end(), '{'), kept);
        EXPECT_THAT(written, testing::EndsWith("}\nBefore = 1\nAfter = 2\n"));
    }
}

TEST(ConfigParser, ReadsBackWhatItWrote) {
    constexpr std::string_view kBytes = "ab={}\n \t={}\n\0\x80\xBD\xC0\xC1\xC3\xE2\xEF\xF0\xFF"sv;
    std::mt19937 random(1);
    for (int i = 0; i < 20000; ++i) {
        std::string text(random() % 64, '\0');
        for (char& byte : text) {
            byte = kBytes[random() % kBytes.size()];
        }
        const std::string written = Reformat(text);
        ASSERT_EQ(Reformat(written), written) << testing::PrintToString(text);
    }
}
