#include "system/config_parser.h"

#include <gtest/gtest.h>

#include <locale.h>

#include <random>
#include <string>
#include <string_view>

using namespace std::string_view_literals;

namespace {

std::string Reformat(std::string_view text) {
    CConfig root("");
    ParseConfig(root, text.data(), text.size());
    const CUTF8String written = ToText(root, 0);
    return {written.GetText(), written.GetLength()};
}

struct CGrammarRow {
    const char* name;
    std::string_view text;
    std::string_view written;
};

const CGrammarRow kGrammarRows[] = {
    {"nothing", "", ""},
    {"only spaces", " \t\r\n\v\f\n", ""},
    {"duplicates stay", "A = 1\nA = 2\nS {\n}\nS {\n}\n", "S {\n}\nS {\n}\nA = 1\nA = 2\n"},
    {"sections come first", "A = 1\nS {\nB = 2\nI {\n}\nC\n}\n",
     "S {\n\tI {\n\t}\n\tB = 2\n\tC\n}\nA = 1\n"},
    {"an empty value takes the next line", "Key =\nOther = 5\n", "Key = Other = 5\n"},
    {"even when it is a brace", "S {\nKey = \n\n }\n}\nB\n", "S {\n\tKey = }\n}\nB\n"},
    {"braces mean nothing in a value", "Key = a } b { c\n", "Key = a } b { c\n"},
    {"more than one sign", "A == 1 = 2\n", "A = = 1 = 2\n"},
    {"spaces inside stay, around go", " a  b \t=  c  d \t\r\n x \r\n", "a  b = c  d\nx\n"},
    {"a note is an entry", "# note\n", "# note\n"},
    {"the name of a section is on its line", "S\n{\n}\nA\n", "S\n"},
    {"an unnamed block closes its parent", "S {\n { x = 1 }\n K = 2\n}\nT = 3\n",
     "S {\n}\nK = 2\n"},
    {"a brace too many ends the file", "A\n}\nB\n", "A\n"},
    {"a missing brace is none", "S {\nI {\nA", "S {\n\tI {\n\t}\n}\n"},
    {"a value without a key", "= x\nA = 1\n", "A = 1\n"},
    {"a name before a brace or the end", "S { x } A = 1\nB", "S {\n}\nA = 1\n"},
    {"the text ends with a value", "A = 1\nB = 2", "A = 1\nB = 2\n"},
    {"the text ends before a value", "A =", "A\n"},
    {"a zero is a character", "A\0B = \0\n"sv, "A\0B = \0\n"sv},
    {"letters", "cl\xC3\xA9 = \xF0\x9F\x98\x80\n", "cl\xC3\xA9 = \xF0\x9F\x98\x80\n"},
    {"a mark in front is part of the key",
     "\xEF\xBB\xBF"
     "A = 1\n",
     "\xEF\xBB\xBF"
     "A = 1\n"},
    {"malformed bytes", "\xFF\x80 = \xED\xA0\x80 x\n", "?? = ? x\n"},
    {"a sequence takes the line end with it", "A = \xC3\nB = 2\n", "A = ?B = 2\n"},
    {"a long form is what it stands for", "A\xC0\xBD\xC1\x82\nS\xC1\xBB\xC1\xBD",
     "S {\n}\nA = B\n"},
    {"a cut sequence is the end", "A = 1\nB = x \xE2\x82", "A = 1\nB = x\n"},
    {"also where a name begins", "A = 1\nB\n\xE2\x82", "A = 1\nB\n"},
    {"no space in the C locale", "A = \xE2\x80\x83x\xE2\x80\x83\n",
     "A = \xE2\x80\x83x\xE2\x80\x83\n"},
};

}  // namespace

TEST(ConfigParser, KeepsWhatTheGrammarSays) {
    for (const CGrammarRow& row : kGrammarRows) {
        SCOPED_TRACE(row.name);
        EXPECT_EQ(Reformat(row.text), row.written);
    }
}

TEST(ConfigParser, AsksTheLocaleForSpaces) {
    const locale_t wide = newlocale(LC_CTYPE_MASK, "C.UTF-8", nullptr);
    if (wide == nullptr) {
        GTEST_SKIP() << "no C.UTF-8 here";
    }
    const locale_t before = uselocale(wide);
    EXPECT_EQ(Reformat("\xE2\x80\x83"
                       "A\xE2\x80\x83=\xE2\x80\x83x y\xE2\x80\x83\n"),
              "A = x y\n");
    uselocale(before);
    freelocale(wide);
}

TEST(ConfigParser, DropsWhatLiesTooDeep) {
    for (const size_t depth : {kDeepestSection, kDeepestSection + 1, size_t{100000}}) {
        SCOPED_TRACE(depth);
        std::string text = "Before = 1\n";
        for (size_t i = 0; i < depth; ++i) {
            text += "a{b=1\n";
        }
        text += std::string(depth, '}') + "After = 2\n";
        CConfig root("");
        ParseConfig(root, text.data(), text.size());
        EXPECT_EQ(root.GetInt("Before", 0), 1);
        EXPECT_EQ(root.GetInt("After", 0), 2);
        size_t deepest = 0;
        for (const CConfig* at = &root; at->GetSections().GetCount() > 0; ++deepest) {
            ASSERT_EQ(at->GetSections().GetCount(), 1u);
            at = at->GetSections()[0].get();
            ASSERT_EQ(at->GetEntryCount(), 1);
        }
        EXPECT_EQ(deepest, std::min(depth, kDeepestSection));
    }
}

TEST(ConfigParser, ReadsBackWhatItWrote) {
    std::mt19937 random(1);
    for (int i = 0; i < 20000; ++i) {
        constexpr std::string_view kAlphabet =
            "ab={}\n \t={}\n\0\x80\xBD\xC0\xC1\xC3\xE2\xEF\xF0\xFF"sv;
        std::string text(random() % 64, '\0');
        for (char& byte : text) {
            byte = kAlphabet[random() % kAlphabet.size()];
        }
        const std::string written = Reformat(text);
        ASSERT_EQ(Reformat(written), written) << testing::PrintToString(text);
    }
}
