#include "util/encodings.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <memory>
#include <string>
#include <vector>

namespace {

// Storage of exactly the right size, so that the address sanitizer sees a step behind it.
template <class Encoding>
std::u32string ReadAll(const std::basic_string<typename Encoding::Unit>& text) {
    const auto units = std::make_unique<typename Encoding::Unit[]>(text.size());
    std::copy(text.begin(), text.end(), units.get());
    std::u32string codePoints;
    size_t index = 0;
    for (char32_t read; (read = Encoding::Read(units.get(), text.size(), index)) != kEndOfText;) {
        codePoints += read;
    }
    EXPECT_EQ(Encoding::Read(units.get(), text.size(), index), kEndOfText);
    return codePoints;
}

template <class Encoding>
std::basic_string<typename Encoding::Unit> Written(char32_t codePoint) {
    typename Encoding::Unit units[kLongestSequence];
    return {units, Encoding::Write(codePoint, units)};
}

constexpr char32_t kBad = kMalformed;

}  // namespace

TEST(Encodings, Utf8TakesSequencesWholeAndTestsThemThen) {
    static const struct {
        const char* name;
        std::string bytes;
        std::u32string codePoints;
    } kRows[] = {
        {"one to four bytes", "A\xC3\xA9\xE2\x82\xAC\xF0\x9F\x98\x80", U"A\u00E9\u20AC\U0001F600"},
        {"zero inside", std::string("a\0b", 3), std::u32string(U"a\0b", 3)},
        {"overlong slash", "\xC0\xAF\xE0\x80\xAF\xF0\x80\x80\xAF", U"///"},
        {"overlong zero", "\xC0\x80", std::u32string(1, U'\0')},
        {"surrogate", "\xED\xA0\x80", std::u32string(1, char32_t{0xD800})},
        {"above U+10FFFF", "\xF7\xBF\xBF\xBF", std::u32string(1, char32_t{0x1FFFFF})},
        {"stray continuation", "\x80\xBFz", {kBad, kBad, U'z'}},
        {"leads from F8 on", "\xF8\xFC\xFE\xFFz", {kBad, kBad, kBad, kBad, U'z'}},
        {"bad second byte is consumed", "\xC3(z", {kBad, U'z'}},
        {"bad byte in the middle", "\xE2(\xACz", {kBad, U'z'}},
        {"bad last byte of four", "\xF0\x9F\x98(z", {kBad, U'z'}},
        {"a lead swallows a lead", "\xC3\xC3\xA9", {kBad, kBad}},
        {"cut off after one", "ab\xC3", U"ab"},
        {"cut off, with what it would take",
         "\xE9"
         "a",
         U""},
        {"cut off after three", "x\xF0\x9F\x98", U"x"},
    };
    for (const auto& row : kRows) {
        SCOPED_TRACE(row.name);
        EXPECT_EQ(ReadAll<CUTF8Encoding>(row.bytes), row.codePoints);
    }
}

TEST(Encodings, WideReadersEndAtAllOnes) {
    const auto ones = static_cast<wchar_t>(kEndOfText);
    static const struct {
        const char* name;
        std::wstring units;
        std::u32string utf16;
        std::u32string utf32;
    } kRows[] = {
        {"plain", L"a\u20AC", U"a\u20AC", U"a\u20AC"},
        {"pair", {L'a', 0xD83D, 0xDE00, L'b'}, U"a\U0001F600b", {U'a', 0xD83D, 0xDE00, U'b'}},
        {"low alone", {0xDE00, L'b'}, {kBad, U'b'}, {0xDE00, U'b'}},
        {"high takes what follows", {0xD83D, L'a', L'b'}, {kBad, U'b'}, {0xD83D, U'a', U'b'}},
        {"high at the end", {L'a', 0xD83D}, U"a", {U'a', 0xD83D}},
        {"all ones", {L'a', ones, L'b'}, U"a", U"a"},
        {"all ones in a pair", {L'a', 0xD83D, ones}, U"a", {U'a', 0xD83D}},
        {"above U+10FFFF", {0x110000}, {0x110000}, {0x110000}},
    };
    for (const auto& row : kRows) {
        SCOPED_TRACE(row.name);
        EXPECT_EQ(ReadAll<CUTF16Encoding>(row.units), row.utf16);
        EXPECT_EQ(ReadAll<CUTF32Encoding>(row.units), row.utf32);
    }
    const wchar_t endedByOnes[] = {L'a', L'b', ones};
    EXPECT_EQ(WideLength(endedByOnes), 2u);
}

TEST(Encodings, WritersReplaceWhatHasNoPlace) {
    static const struct {
        char32_t codePoint;
        std::string iso;
        std::string utf8;
        std::wstring utf16;
    } kRows[] = {
        {0, std::string(1, '\0'), std::string(1, '\0'), std::wstring(1, L'\0')},
        {0x7F, "\x7F", "\x7F", L"\x7F"},
        {0x80, "\x80", "\xC2\x80", {0x80}},
        {0xFF, "\xFF", "\xC3\xBF", {0xFF}},
        {0x100, "?", "\xC4\x80", {0x100}},
        {0x7FF, "?", "\xDF\xBF", {0x7FF}},
        {0x800, "?", "\xE0\xA0\x80", {0x800}},
        {0xD7FF, "?", "\xED\x9F\xBF", {0xD7FF}},
        {0xD800, "?", "?", {0xD800}},
        {0xDFFF, "?", "?", {0xDFFF}},
        {0xFFFD, "?", "\xEF\xBF\xBD", {0xFFFD}},
        {kBad, "?", "?", {0xFFFE}},
        {0xFFFF, "?", "\xEF\xBF\xBF", {0xFFFF}},
        {0x10000, "?", "\xF0\x90\x80\x80", {0xD800, 0xDC00}},
        {0x10FFFF, "?", "\xF4\x8F\xBF\xBF", {0xDBFF, 0xDFFF}},
        {0x1FFFFF, "?", "\xF7\xBF\xBF\xBF", L"?"},
        {0x200000, "?", "?", L"?"},
        {kEndOfText, "?", "?", L"?"},
    };
    for (const auto& row : kRows) {
        SCOPED_TRACE(static_cast<uint32_t>(row.codePoint));
        EXPECT_EQ(Written<CISOEncoding>(row.codePoint), row.iso);
        EXPECT_EQ(Written<CUTF8Encoding>(row.codePoint), row.utf8);
        EXPECT_EQ(Written<CUTF16Encoding>(row.codePoint), row.utf16);
        EXPECT_EQ(Written<CUTF32Encoding>(row.codePoint),
                  std::wstring(1, static_cast<wchar_t>(row.codePoint)));
    }
}
