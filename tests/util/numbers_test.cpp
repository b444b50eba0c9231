#include "util/numbers.h"

#include <gtest/gtest.h>

#include <stdexcept>
#include <string>

template <class Call>
static std::string Outcome(Call call) {
    try {
        return std::to_string(call());
    } catch (const std::runtime_error& error) {
        return error.what();
    }
}

static const char* const kEmpty = "empty string don't contains integer!";
static const char* const kInvalid = "invalid character in integer!";
static const char* const kTooBig = "too big integer!";

static const struct {
    std::string text;
    const char* asUInt;
    const char* asULong;
} kRows[] = {
    {"0", "0", "0"},
    {"007", "7", "7"},
    {"4294967295", "4294967295", "4294967295"},
    {"4294967296", kTooBig, "4294967296"},
    {"4294967300", kTooBig, "4294967300"},
    {"00000000000000000000004294967295", "4294967295", "4294967295"},
    {"18446744073709551615", kTooBig, "18446744073709551615"},
    {"18446744073709551616", kTooBig, kTooBig},
    {"18446744073709551620", kTooBig, kTooBig},
    {"99999999999999999999x", kTooBig, kTooBig},
    {"", kEmpty, kEmpty},
    {"+1", kInvalid, kInvalid},
    {"-1", kInvalid, kInvalid},
    {" 1", kInvalid, kInvalid},
    {"1 ", kInvalid, kInvalid},
    {"1.0", kInvalid, kInvalid},
    {"\u0661", kInvalid, kInvalid},
    {std::string("1\0", 2), kInvalid, kInvalid},
};

template <class String>
static void CheckRows() {
    for (const auto& row : kRows) {
        SCOPED_TRACE(row.text);
        const CUTF8String text(row.text.data(), static_cast<ptrdiff_t>(row.text.size()));
        const String converted(text);
        EXPECT_EQ(Outcome([&] { return ToUInt(converted); }), row.asUInt);
        EXPECT_EQ(Outcome([&] { return ToULong(converted); }), row.asULong);
    }
}

TEST(Numbers, AreReadInEveryEncoding) {
    CheckRows<CTString<CISOEncoding, false>>();
    CheckRows<CTString<CUTF8Encoding, true>>();
    CheckRows<CTString<CUTF16Encoding, false>>();
    CheckRows<CTString<CUTF32Encoding, true>>();
}

TEST(Numbers, EmptyBuffersAndCutOffSequencesAreNoNumbers) {
    EXPECT_EQ(Outcome([] { return ToUInt(CUTF8String::FromZeroUnits(0)); }), kEmpty);
    EXPECT_EQ(Outcome([] { return ToULong(CUTF8String("\xC3", 1)); }), kEmpty);
}
