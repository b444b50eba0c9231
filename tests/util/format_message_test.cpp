#include "util/format_message.h"

#include "support/stanza_file.h"
#include "support/string_print.h"

#include <gtest/gtest.h>

#include <climits>
#include <cstdio>
#include <string>

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
    // Pieces are collected in a block of their own; every seam of it is met here.
    for (const size_t length : {1, 509, 510, 511, 512, 513, 1023, 1024, 1025, 5000}) {
        const std::string filler(length, 'x');
        EXPECT_EQ(Expand("%1" + filler + "%2\u00e4", args), "one" + filler + "-70001\u00e4");
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
    static const char* const kFields[] = {"",   "1",   "12",  "38",  "39",    ".0",
                                          ".5", ".36", ".38", ".60", "70.60", "2000"};
    static const char* const kModifiers[] = {"", "hh", "h", "l", "ll", "j", "z", "t"};
    static const int kValues[] = {0, 1, -1, 255, -70001, INT_MAX, INT_MIN};
    for (size_t i = 0; i < 10 * 12 * 8 * 6 * 7; ++i) {
        const auto spec = std::string(kFlags[i % 10]) + kFields[i / 10 % 12] +
                          kModifiers[i / 120 % 8] + "dioxXu"[i / 960 % 6];
        ASSERT_EQ(Write(kValues[i / 5760], spec), Printf(spec, kValues[i / 5760])) << spec;
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
    EXPECT_EQ(Expand("%1%2%3", second), "a1");
}
