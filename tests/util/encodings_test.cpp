#include "util/encodings.h"

#include "support/stanza_file.h"

#include <gtest/gtest.h>

#include <sstream>
#include <string>
#include <vector>

namespace {

// Hexadecimal numbers between blanks.
template <class Unit>
std::basic_string<Unit> Units(const std::string& text) {
    std::basic_string<Unit> units;
    std::istringstream numbers(text);
    for (uint32_t number; numbers >> std::hex >> number;) {
        units += static_cast<Unit>(number);
    }
    return units;
}

// Storage of exactly the right size, so that the address sanitizer sees a step behind it.
template <class Encoding>
std::u32string ReadAll(const CStanza& row) {
    const auto text = Units<typename Encoding::Unit>(row.Text("units_text"));
    const std::vector units(text.begin(), text.end());
    std::u32string codePoints;
    size_t index = 0;
    for (char32_t read; (read = Encoding::Read(units.data(), text.size(), index)) != kEndOfText;) {
        codePoints += read;
    }
    EXPECT_EQ(Encoding::Read(units.data(), text.size(), index), kEndOfText);
    return codePoints;
}

template <class Encoding>
void ExpectWritten(const CStanza& row, const char* key) {
    typename Encoding::Unit units[kLongestSequence];
    const size_t length = Encoding::Write(Units<char32_t>(row.Text("code_text"))[0], units);
    EXPECT_EQ(std::basic_string(units, length), Units<typename Encoding::Unit>(row.Text(key)));
}

}  // namespace

TEST(Encodings, Utf8TakesSequencesWholeAndTestsThemThen) {
    FOR_EACH_STANZA(row, ReadStanzas("util/utf8_read.txt")) {
        EXPECT_EQ(ReadAll<CUTF8Encoding>(row), Units<char32_t>(row.Text("expected_text")));
    }
}

TEST(Encodings, WideReadersEndAtAllOnes) {
    FOR_EACH_STANZA(row, ReadStanzas("util/wide_read.txt")) {
        EXPECT_EQ(ReadAll<CUTF16Encoding>(row), Units<char32_t>(row.Text("utf16_text")));
        EXPECT_EQ(ReadAll<CUTF32Encoding>(row), Units<char32_t>(row.Text("utf32_text")));
    }
}

TEST(Encodings, WritersReplaceWhatHasNoPlace) {
    FOR_EACH_STANZA(row, ReadStanzas("util/write.txt")) {
        ExpectWritten<CISOEncoding>(row, "iso_text");
        ExpectWritten<CUTF8Encoding>(row, "utf8_text");
        ExpectWritten<CUTF16Encoding>(row, "utf16_text");
        ExpectWritten<CUTF32Encoding>(row, "code_text");
    }
}
