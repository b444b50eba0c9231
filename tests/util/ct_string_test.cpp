#include "util/ct_string.h"

#include "support/stanza_file.h"
#include "support/string_print.h"
#include "util/string_list.h"

#include <gtest/gtest.h>

#include <locale.h>

#include <algorithm>
#include <cstdlib>
#include <functional>
#include <new>
#include <random>
#include <sstream>
#include <string>
#include <string_view>
#include <utility>

namespace {

using CUTF16String = CTString<CUTF16Encoding, false>;
using CUTF32String = CTString<CUTF32Encoding, false>;

constexpr size_t kNowhere = std::u32string::npos;

// A string is a pointer to its record: the only way to see capacity and count.
template <class String>
const typename String::Buffer* RecordOf(const String& text) {
    return *reinterpret_cast<const typename String::Buffer* const*>(&text);
}

CUTF8String Raw(const std::string& bytes) {
    return {bytes.data(), static_cast<ptrdiff_t>(bytes.size())};
}

template <class String>
std::u32string CodePoints(const String& text) {
    std::u32string read;
    auto at = text.Begin();
    for (char32_t codePoint; (codePoint = text.Next(at)) != kEndOfText;) {
        read += codePoint;
    }
    return read;
}

template <class String>
String Encoded(const std::u32string& codePoints) {
    const std::wstring wide(codePoints.begin(), codePoints.end());
    return String(CUTF32String(wide.data(), static_cast<ptrdiff_t>(wide.size())));
}

int Sign(int value) { return (value > 0) - (value < 0); }

// Hexadecimal numbers between blanks.
template <class Unit>
std::basic_string<Unit> Units(const CStanza& row, const char* key) {
    std::basic_string<Unit> units;
    std::istringstream numbers(row.Text(key));
    for (uint32_t number; numbers >> std::hex >> number;) {
        units += static_cast<Unit>(number);
    }
    return units;
}

template <class String, class Unit = typename String::Unit>
void ExpectRead(const CStanza& row, const char* key) {
    const auto units = Units<Unit>(row, "units_text");
    const String text(units.data(), static_cast<ptrdiff_t>(units.size()));
    EXPECT_EQ(CodePoints(text), Units<char32_t>(row, key)) << row.Name();
}

template <class String, class Unit = typename String::Unit>
void ExpectWritten(const CStanza& row, const char* key) {
    const char32_t codePoint = Units<char32_t>(row, "code_text")[0];
    EXPECT_EQ(ToStd(String::FromCodePoint(codePoint)), Units<Unit>(row, key)) << row.Name();
}

// What is letter and capital follows the locale; "C" knows ASCII only.
template <class String>
class StringTest : public testing::Test {
protected:
    ~StringTest() override { uselocale(hostLocale), freelocale(utf8); }

    const locale_t utf8 = newlocale(LC_CTYPE_MASK, "C.UTF-8", nullptr);
    const locale_t hostLocale = uselocale(utf8);
};

using StringTypes = testing::Types<CISOString, CTString<CISOEncoding, true>, CUTF8String,
                                   CTString<CUTF8Encoding, true>, CUTF16String, CUTF32String>;
TYPED_TEST_SUITE(StringTest, StringTypes);

}  // namespace

// A change of a string and the same one of the code points that it should hold.
#define STEP(change, changeModel) [&] { (change), (changeModel); }

TYPED_TEST(StringTest, DoesWhatCodePointsDo) {
    using CIterator = typename TypeParam::CIterator;
    TypeParam text;
    std::u32string model;
    size_t first = 0, last = 0;
    char32_t unit = 0;
    const auto at = [&](size_t index) {
        const auto head = Encoded<TypeParam>(model.substr(0, index));
        return index == kNowhere ? CIterator() : CIterator(text, head.GetLength());
    };
    const auto place = [&](size_t index) { return static_cast<ptrdiff_t>(at(index).GetIndex()); };
    const std::function<void()> steps[] = {
        STEP(text += unit, model += unit),
        STEP(text = text + text.Mid(at(first), at(last)),
             model += model.substr(first, last - first)),
        STEP(text.Insert(at(first), unit), model.insert(first, 1, unit)),
        STEP(text.Insert(at(first), text), model.insert(first, std::u32string(model))),
        STEP(text.Erase(at(first)), model.erase(first)),
        STEP(text.Erase(place(first), place(last)), model.erase(first, last - first)),
        STEP(text.TrimLeft(unit), model.erase(0, model.find_first_not_of(unit))),
        STEP(text.TrimRight(unit), model.erase(model.find_last_not_of(unit) + 1)),
        STEP(text.Truncate(at(first).GetIndex()).Truncate(SIZE_MAX), model.erase(first)),
        STEP(text.PadLeft(text.GetLength() + 3, U'-').PadLeft(3, U'!'), model = U"---" + model),
        STEP(text.PadRight(text.GetLength() + 2, U'+').PadRight(2, U'!'), model += U"++"),
        STEP(text = text.Right(at(first)), model.erase(0, first)),
        STEP(text = text.Left(at(last)), model.erase(last)),
        STEP(text.AppendRaw(text.GetBuffer(), text.GetLength()), model += model),
        STEP(text = text.ToLower(), std::replace(model.begin(), model.end(), U'B', U'b')),
    };
    // One of each length; "?" where there is none.
    const std::u32string alphabet = CodePoints(TypeParam("aabB, \u00E9\u20AC\U0001F600"));
    std::mt19937 random(1);
    for (int round = 0; round < 3000; ++round) {
        unit = alphabet[random() % alphabet.size()];
        first = model.size() > 400 ? 0 : random() % (model.size() + 1);
        last = first + random() % (model.size() - first + 1);
        const TypeParam before(text);
        const std::u32string modelBefore = model;
        const size_t step = model.size() > 400 ? 4 : random() % std::size(steps);
        SCOPED_TRACE(step);
        steps[step]();
        ASSERT_EQ(CodePoints(text), model);
        ASSERT_EQ(text.GetCharCount(), model.size());
        ASSERT_TRUE(text.IsEmpty() == model.empty() && text.GetText()[text.GetLength()] == 0);
        ASSERT_EQ(CodePoints(before), modelBefore) << "a copy changed";
        const auto* const record = RecordOf(before);
        ASSERT_TRUE(record == nullptr || record->count == (record == RecordOf(text) ? 2 : 1));
        const size_t from = random() % (model.size() + 1);
        const std::u32string wanted = model.substr(random() % (model.size() + 1), random() % 4);
        auto start = from == 0 ? CIterator() : at(from);
        ASSERT_EQ(text.Find(Encoded<TypeParam>(wanted), start),
                  at(wanted.empty() ? kNowhere : model.find(wanted, from)));
        ASSERT_EQ(start, at(from)) << "only a start without owner is moved";
        ASSERT_EQ(text.Find(unit), at(model.find(unit)));
        ASSERT_EQ(text.FindLast(unit), at(model.rfind(unit)));
        const std::u32string other = model.substr(0, from) + wanted;
        ASSERT_EQ(text.Compare(Encoded<TypeParam>(other)), Sign(model.compare(other)));
    }
}

TYPED_TEST(StringTest, GrowsByTheRule) {
    TypeParam text;
    for (const uint64_t capacity : {2, 4, 4, 7, 7, 7, 12, 12}) {
        text.Append(U'x');
        EXPECT_EQ(RecordOf(text)->capacity, capacity);
    }
    EXPECT_EQ(RecordOf(TypeParam(text).Append(U'z'))->capacity, 15u) << "a copy starts at its size";
    TypeParam copy(text);
    copy.GetWritableBuffer()[0] = 'y';
    EXPECT_EQ(copy, "yxxxxxxx");
    EXPECT_EQ(RecordOf(text)->count, 1);
    for (const volatile size_t length : {SIZE_MAX, SIZE_MAX - 1, SIZE_MAX / 2 + 1}) {
        EXPECT_THROW(TypeParam::FromZeroUnits(length), std::bad_alloc);
        EXPECT_THROW(text.AppendRaw(text.GetBuffer(), length), std::bad_alloc);
    }
}

TYPED_TEST(StringTest, NullAndNoUnitsAreBothEmpty) {
    const TypeParam null;
    const TypeParam none = TypeParam::FromZeroUnits(0);
    const char* const noText = nullptr;
    EXPECT_TRUE(null.Compare(noText) == 0 && none.Compare(noText) == 1 && null.Compare("") == 0);
    EXPECT_TRUE(null.CompareNoCase(noText) == 0 && none.CompareNoCase(noText) == 1);
    EXPECT_TRUE(null.CompareNoCase("") == -1 && null.CompareNoCase(L"") == -1);
    for (const TypeParam& text : {null, none}) {
        EXPECT_TRUE(text.Split(text).GetCount() == 1 && text == null && text == none);
        EXPECT_TRUE(text.Find(none).IsNull() && text.StartsWith(none) && text.EndsWith(null));
        EXPECT_EQ(TypeParam(text).PadLeft(2, U'x').Erase(-5, 99).GetBuffer(), nullptr);
        EXPECT_EQ(TypeParam(text).Trim(U' ').GetBuffer(), nullptr);
    }
    EXPECT_EQ(TypeParam(noText).Append("").GetWritableBuffer(), nullptr);
}

TYPED_TEST(StringTest, TakesPartsByIndex) {
    const TypeParam text("abc");
    FOR_EACH_STANZA(row, ReadStanzas("util/parts.txt")) {
        EXPECT_EQ(text.Right(row.Int("index_int")), row.Text("right_text").c_str());
        EXPECT_EQ(text.Mid(row.Int("index_int"), row.Int("length_int")),
                  row.Text("mid_text").c_str());
    }
    const TypeParam same("abc");
    auto foreign = same.Begin();
    EXPECT_TRUE(text.Find(same, foreign).IsNull() && text.Next(foreign) == kEndOfText);
    EXPECT_TRUE(text.StartsWith("ab") && text.EndsWith("bc") && !text.EndsWith("ab"));
}

TYPED_TEST(StringTest, SplitsIntoAllPieces) {
    FOR_EACH_STANZA(row, ReadStanzas("util/split.txt")) {
        TypeParam joined;
        const TypeParam text(row.Text("text_text").c_str());
        const auto pieces = text.Split(row.Text("separator_text").c_str());
        for (const TypeParam& piece : pieces) {
            joined += piece + TypeParam("|");
        }
        EXPECT_EQ(joined, row.Text("pieces_text").c_str());
        EXPECT_EQ(pieces.GetCapacity(), static_cast<size_t>(row.Int("capacity_int")));
    }
}

TYPED_TEST(StringTest, WritesValues) {
    EXPECT_EQ(TypeParam::FromUInt(0) + TypeParam::FromBool(false), "0false");
    EXPECT_EQ(TypeParam::FromBool(true) + TypeParam::FromUInt(~0ull), "true18446744073709551615");
    for (const char* const number : {"0", "-0", "42", "0.1", "0.30000000000000004", "1e+05", "-2.5",
                                     "1.7976931348623157e+308", "5e-324"}) {
        EXPECT_EQ(TypeParam::FromDouble(std::strtod(number, nullptr)), number);
    }
}

TYPED_TEST(StringTest, ComparesWithTextsOfAllForms) {
    FOR_EACH_STANZA(row, ReadStanzas("util/compare.txt")) {
        const TypeParam text(row.Text("text_text").c_str());
        const CUTF8String other(row.Text("other_text").c_str());
        const auto expectSigns = [&](const auto& form) {
            EXPECT_EQ(Sign(text.Compare(form)), row.Int("order_int"));
            EXPECT_EQ(Sign(text.CompareNoCase(form)), row.Int("no_case_int"));
        };
        expectSigns(other.GetText());
        expectSigns(TypeParam(other));
        expectSigns(CUTF16String(other).GetText());
    }
    const TypeParam capitals("A\u00C9Z\u0178");
    EXPECT_EQ(TypeParam("a\u00E9z\u00FF").ToUpper(), capitals) << "the last is not in Latin-1";
}

TEST(String, ReadsAndWritesUnits) {
    for (const CStanza& row : ReadStanzas("util/utf8_read.txt")) {
        ExpectRead<CUTF8String>(row, "expected_text");
    }
    for (const CStanza& row : ReadStanzas("util/wide_read.txt")) {
        ExpectRead<CUTF16String>(row, "utf16_text");
        ExpectRead<CUTF32String>(row, "utf32_text");
    }
    for (const CStanza& row : ReadStanzas("util/write.txt")) {
        ExpectWritten<CISOString>(row, "iso_text");
        ExpectWritten<CUTF8String>(row, "utf8_text");
        ExpectWritten<CUTF16String>(row, "utf16_text");
    }
}

TEST(String, CStringsAreDecodedAndPointersWithLengthAreNot) {
    FOR_EACH_STANZA(row, ReadStanzas("util/c_strings.txt")) {
        const std::string text = row.Text("text_text");
        EXPECT_EQ(ToStd(CUTF8String(text.c_str())), row.Text("utf8_text"));
        EXPECT_EQ(ToStd(CISOString(text.c_str())), row.Text("iso_text"));
        EXPECT_EQ(ToStd(CUTF8String(text.c_str(), -1)), text);
    }
    const wchar_t endedByOnes[] = {L'a', 0xD83D, 0xDE00, static_cast<wchar_t>(kEndOfText)};
    EXPECT_EQ(CUTF8String(endedByOnes), "a\U0001F600");
    EXPECT_EQ(ToStd(CUTF8String("<").Append(CUTF16String(endedByOnes + 2, 1))), "<?");
}

TEST(String, ArgumentsMayLieInTheStringItself) {
    for (const size_t size : {3, 40, 5000}) {
        const std::string tail(size, 'x');
        CUTF8String text = Raw("ab" + tail);
        EXPECT_EQ(ToStd(text.Append(text.GetBuffer() + 1)), "ab" + tail + "b" + tail);
        EXPECT_EQ(ToStd(text = text.GetBuffer() + 2 + size), "b" + tail);
        EXPECT_EQ(ToStd(text.Insert(text.End(), text.GetBuffer())), "b" + tail + "b" + tail);
        const std::string model = ToStd(text) + ToStd(text) + '\0';
        EXPECT_EQ(ToStd(text.AppendRaw(text.GetBuffer(), text.GetLength() + 1)), model);
    }
}

// Bytes that decode badly, or to what other bytes decode to, meet the fast paths over bytes.
TEST(String, FastPathsAnswerAsCodePointsDo) {
    constexpr std::string_view kBytes = "aaaaaaaab/\xC3\xA9\xC0\xAF\xE2\xF0\x80\xC1\xA1";
    std::mt19937 random(7);
    const auto make = [&](unsigned size) {
        std::string bytes(random() % size, 'a');
        std::generate(bytes.begin(), bytes.end(), [&] { return kBytes[random() % kBytes.size()]; });
        return Raw(bytes);
    };
    for (int round = 0; round < 20000; ++round) {
        const CUTF8String text = make(40);
        CUTF8String other = make(4);
        const std::u32string codePoints = CodePoints(text);
        const std::u32string wanted = CodePoints(other);
        const auto found = text.Find(other);
        ASSERT_EQ(found.IsNull() ? kNowhere : text.Left(found).GetCharCount(),
                  wanted.empty() ? kNowhere : codePoints.find(wanted));
        ASSERT_EQ(text.Find(U'/').IsNull(), codePoints.find(U'/') == kNowhere);
        other = text.Left(CUTF8String::CIterator(text, random() % (text.GetLength() + 1))) + other;
        ASSERT_EQ(text.Compare(other), Sign(codePoints.compare(CodePoints(other))));
    }
}

TEST(String, ComparesCodePointsAndNotUnits) {
    EXPECT_LT(CUTF16String(L"\uFFFF"), CUTF16String("\U0001F600"));
    EXPECT_GT(Raw(std::string("a\0", 2)), "a");
}
