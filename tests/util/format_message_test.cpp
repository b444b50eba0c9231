#include "util/format_message.h"

#include <gtest/gtest.h>

#include <climits>
#include <cstdio>
#include <string>
#include <utility>

static std::string ToStd(const CUTF8String& text) { return {text.GetText(), text.GetLength()}; }
static std::string ToStd(const CISOString& text) { return {text.GetText(), text.GetLength()}; }

static CUTF8FmtArgs ThreeArguments() {
    CUTF8FmtArgs args;
    args << "one" << -70001 << "dr\u00fcben";
    return args;
}

static std::string Expand(const std::string& text, const CUTF8FmtArgs& args) {
    return ToStd(
        FormatMessage(CUTF8String(text.data(), static_cast<ptrdiff_t>(text.size())), args));
}

TEST(FormatMessage, Placeholders) {
    static const struct {
        std::string text;
        std::string expected;
    } kRows[] = {
        {"", ""},
        {"100%%", "100%"},
        {"50%", "50"},
        {"%x", ""},
        {"a%0b%-c", "abc"},
        {"%1, %2, %3; %1", "one, -70001, dr\u00fcben; one"},
        {"%3%2%1", "dr\u00fcben-70001one"},
        {"%10", "one0"},
        {"[%4][%9]", "[][]"},
        {"%1!ignored!.", "one."},
        {"%2!08X!!", "FFFEEE8F!"},
        {"[%2!!][%2!s!]", "[][]"},
        {"%4!d!.", "."},
        {"a%1!04", "a"},
        {"Hello %1!", "Hello "},
        {"a%1!", "a"},
        {"%\u00fc-%", "-"},
        // 8-bit texts are read code point by code point
        {"\u20ac %1 \U0001F600 %%", "\u20ac one \U0001F600 %"},
        {"a\xFF%1", "a?one"},
        {"\xE9%1 lost", "? lost"},
        {"\xC3", ""},
        {"%1\xC3", "one"},
        {"\xC0\xA5\x31", "one"},
        {std::string("a\0%1", 4), std::string("a\0one", 5)},
    };
    const CUTF8FmtArgs args = ThreeArguments();
    for (const auto& row : kRows) {
        SCOPED_TRACE(row.text);
        EXPECT_EQ(Expand(row.text, args), row.expected);
    }
    EXPECT_EQ(Expand("<%1>", CUTF8FmtArgs()), "<>");
}

TEST(FormatMessage, OneByteTexts) {
    CISOFmtArgs args;
    args << CISOString("\xE9t\xE9", 3) << 18446744073709551615ul << INT_MIN;
    const CISOString text("\xFC %1 %2 %3 %2!lX! %2!X! %2!c!", -1);
    EXPECT_EQ(ToStd(FormatMessage(text, args)),
              "\xFC \xE9t\xE9 18446744073709551615 -2147483648 FFFFFFFFFFFFFFFF FFFFFFFF \xFF");
}

// Pieces are collected in a block of their own; every seam of it is met here.
TEST(FormatMessage, TextsOfAllLengths) {
    for (const size_t length : {1, 509, 510, 511, 512, 513, 1023, 1024, 1025, 5000}) {
        const std::string filler(length, 'x');
        CUTF8FmtArgs args;
        args << filler.c_str() << 7;
        EXPECT_EQ(Expand("%2%1" + filler + "%2\u00e4%1", args),
                  "7" + filler + filler + "7\u00e4" + filler);
    }
}

/** What printf writes when it gets the type that the length modifier names. */
static std::string Printf(const std::string& format, bool isWide, int value) {
    char text[40];
    if (isWide) {
        std::snprintf(text, 39, format.c_str(), static_cast<long long>(value));
    } else {
        std::snprintf(text, 39, format.c_str(), value);
    }
    return text;
}

TEST(IntegerSpecification, WritesWhatPrintfWrites) {
    for (const char* const flags : {"", "0", "-", "+", " ", "#", "#0", "-#", "+0", "00"}) {
        for (const char* const field : {"", "1", "12", "37", "38", "39", "60", ".0", ".5", "20.12",
                                        ".36", ".38", ".60", "70.60", "6.", "127", "129", "2000"}) {
            for (const char* const modifier : {"", "hh", "h", "l", "ll", "j", "z", "t"}) {
                for (const char conversion : std::string("dioxXu")) {
                    for (const int value : {0, 1, -1, 255, -70001, INT_MAX, INT_MIN}) {
                        const auto spec = std::string(flags) + field + modifier + conversion;
                        const CTIntFmtArg<CUTF8Encoding, int> argument(value);
                        ASSERT_EQ(ToStd(argument.GetText(spec.c_str())),
                                  Printf("%" + spec, *modifier != 0 && *modifier != 'h', value))
                            << spec << " of " << value;
                    }
                }
            }
        }
    }
}

// Kept: 38 characters come out at most. Texts of modules are cut there.
TEST(IntegerSpecification, EndsAfter38Characters) {
    const CTIntFmtArg<CUTF8Encoding, int> argument(5);
    EXPECT_EQ(ToStd(argument.GetText("050d")), std::string(38, '0'));
    EXPECT_EQ(ToStd(argument.GetText("-2147483648d")), "5" + std::string(37, ' '));
    EXPECT_EQ(ToStd(argument.GetText(".99999999999999999999d")), std::string(38, '0'));
}

TEST(IntegerSpecification, OfCharacters) {
    const auto write = [](int value, const char* spec) {
        return ToStd(CTIntFmtArg<CUTF8Encoding, int>(value).GetText(spec));
    };
    EXPECT_EQ(write('A', "c"), "A");
    EXPECT_EQ(write('A', "-3c"), "A  ");
    EXPECT_EQ(write(0xE9, "c"), "\u00e9");
    EXPECT_EQ(write(0, "3c"), "  ");
}

TEST(IntegerSpecification, NothingElseIsFormatted) {
    const CTIntFmtArg<CISOEncoding, unsigned long> argument(42);
    for (const char* const spec :
         {"",   "s",  "n",     "p",   "hn",   "f",       "Lf",     "d%d", "d ",
          " ",  "5",  "l",     "hhh", "lld ", "*d",      "1$d",    "lc",  "hhc",
          "qd", "Ld", "lld%n", ".",   "-",    "\u00e9d", "d\u20ac"}) {
        EXPECT_EQ(ToStd(argument.GetText(CISOString(spec))), "") << spec;
    }
}

TEST(FormatArguments, CopiesShareUntilOneIsExtended) {
    CUTF8FmtArgs first;
    first << "a" << 1;
    const CUTF8FmtArgs second = first;
    CUTF8FmtArgs third;
    third = second;
    first << "b";
    third << "c"
          << "d" << 5;
    EXPECT_EQ(Expand("%1%2%3%4", first), "a1b");
    EXPECT_EQ(Expand("%1%2%3%4", second), "a1");
    EXPECT_EQ(Expand("%1%2%3%4%5", third), "a1cd5");
    first = CUTF8FmtArgs();
    EXPECT_EQ(Expand("%1%2%3", second), "a1");
    third = std::move(third << 6 << 7 << 8 << 9);
    EXPECT_EQ(Expand("%9%8%7%6%5%1", third), "98765a");
}
