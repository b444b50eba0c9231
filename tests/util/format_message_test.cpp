#include "util/format_message.h"

#include "support/stanza_file.h"
#include "support/string_print.h"

#include <gtest/gtest.h>

#include <climits>
#include <cstdio>
#include <string>
#include <utility>

static std::string Expand(const std::string& text, const CUTF8FmtArgs& args) {
    const CUTF8String format(text.data(), static_cast<ptrdiff_t>(text.size()));
    return ToStd(FormatMessage(format, args));
}

static std::string Write(int value, const std::string& spec) {
    return ToStd(CTIntFmtArg<CUTF8Encoding, int>(value).GetText(spec.c_str()));
}

TEST(FormatMessage, Placeholders) {
    CUTF8FmtArgs args;
    args << "one" << -70001 << "dr\u00fcben";
    FOR_EACH_STANZA(row, ReadStanzas("util/format_message.txt")) {
        EXPECT_EQ(Expand(row.Text("text_text"), args), row.Text("expected_text"));
    }
    CISOFmtArgs isoArgs;
    isoArgs << CISOString("\xE9t\xE9", 3) << 18446744073709551615ul << INT_MIN;
    const CISOString text("\xFC %1 %2 %3 %2!lX! %2!X! %2!c!", -1);
    EXPECT_EQ(ToStd(FormatMessage(text, isoArgs)),
              "\xFC \xE9t\xE9 18446744073709551615 -2147483648 FFFFFFFFFFFFFFFF FFFFFFFF \xFF");
}

// Pieces are collected in a block of their own; every seam of it is met here.
TEST(FormatMessage, TextsOfAllLengths) {
    for (const size_t length : {1, 509, 510, 511, 512, 513, 1023, 1024, 1025, 5000}) {
        const std::string filler(length, 'x');
        CUTF8FmtArgs args;
        args << filler.c_str() << 7;
        EXPECT_EQ(Expand("%2%1" + filler + "%2\u00e4", args), "7" + filler + filler + "7\u00e4");
    }
}

/** What printf writes when it gets the type that the length modifier names. */
static std::string Printf(const std::string& spec, int value) {
    char text[40];
    const bool isWide = spec.find_first_of("ljzt") != std::string::npos;
    isWide ? std::snprintf(text, 39, ("%" + spec).c_str(), static_cast<long long>(value))
           : std::snprintf(text, 39, ("%" + spec).c_str(), value);
    return text;
}

TEST(IntegerConversion, WritesWhatPrintfWrites) {
    static const char* const kFlags[] = {"", "0", "-", "+", " ", "#", "#0", "-#", "+0", "00"};
    static const char* const kFields[] = {"",    "1",     "12", "37",    "38",  "39",
                                          "60",  ".0",    ".5", "20.12", ".36", ".38",
                                          ".60", "70.60", "6.", "127",   "129", "2000"};
    static const char* const kModifiers[] = {"", "hh", "h", "l", "ll", "j", "z", "t"};
    static const int kValues[] = {0, 1, -1, 255, -70001, INT_MAX, INT_MIN};
    for (size_t i = 0; i < 10 * 18 * 8 * 6 * 7; ++i) {
        const auto spec = std::string(kFlags[i % 10]) + kFields[i / 10 % 18] +
                          kModifiers[i / 180 % 8] + "dioxXu"[i / 1440 % 6];
        ASSERT_EQ(Write(kValues[i / 8640], spec), Printf(spec, kValues[i / 8640])) << spec;
    }
}

TEST(IntegerConversion, WritesCharactersAndNothingLong) {
    FOR_EACH_STANZA(row, ReadStanzas("util/integer_conversion.txt")) {
        EXPECT_EQ(Write(row.Int("value_int"), row.Text("spec_text")), row.Text("expected_text"));
    }
}

TEST(FormatArguments, CopiesShareUntilOneIsExtended) {
    CUTF8FmtArgs first;
    first << "a" << 1;
    const CUTF8FmtArgs second = first;
    CUTF8FmtArgs third(second);
    first << "b";
    third << "c" << 4 << 5;
    EXPECT_EQ(Expand("%1%2%3%4", first), "a1b");
    EXPECT_EQ(Expand("%1%2%3%4%5", third), "a1c45");
    first = CUTF8FmtArgs();
    EXPECT_EQ(Expand("%1%2%3", second), "a1");
    third = std::move(third << 6 << 7 << 8 << 9);
    EXPECT_EQ(Expand("%9%8%7%6%5%1", third), "98765a");
}
