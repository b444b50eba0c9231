#include "util/ct_string.h"

#include "support/string_print.h"
#include "util/string_list.h"

#include <gtest/gtest.h>

#include <locale.h>

#include <algorithm>
#include <cstdlib>
#include <functional>
#include <initializer_list>
#include <limits>
#include <memory>
#include <new>
#include <random>
#include <string>
#include <type_traits>
#include <vector>

namespace {

using CUTF16String = CTString<CUTF16Encoding, false>;
using CUTF32String = CTString<CUTF32Encoding, false>;

// A string is a pointer to its record: the only way to see capacity and count.
template <class Encoding, bool Secure>
const CTStringBuffer<typename Encoding::Unit, Secure>& RecordOf(
    const CTString<Encoding, Secure>& text) {
    return **reinterpret_cast<const CTStringBuffer<typename Encoding::Unit, Secure>* const*>(&text);
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
    String text;
    for (const char32_t codePoint : codePoints) {
        text.Append(codePoint);
    }
    return text;
}

template <class String>
size_t UnitsOf(const std::u32string& codePoints) {
    return Encoded<String>(codePoints).GetLength();
}

int Sign(int value) { return (value > 0) - (value < 0); }

template <class Left, class Right>
int NaiveCompare(const Left& left, const Right& right) {
    return Sign(CodePoints(left).compare(CodePoints(right)));
}

size_t IndexOf(const CUTF8String::CIterator& at) { return at.IsNull() ? SIZE_MAX : at.GetIndex(); }

template <class String>
class StringTest : public testing::Test {};

using StringTypes = testing::Types<CTString<CISOEncoding, false>, CTString<CISOEncoding, true>,
                                   CTString<CUTF8Encoding, false>, CTString<CUTF8Encoding, true>,
                                   CTString<CUTF16Encoding, false>, CTString<CUTF16Encoding, true>,
                                   CTString<CUTF32Encoding, false>, CTString<CUTF32Encoding, true>>;
TYPED_TEST_SUITE(StringTest, StringTypes);

// What every one of the four encodings can hold, and for the others one of each length more.
template <class String>
std::u32string Alphabet() {
    return UnitsOf<String>(U"\u20AC") == 1 && std::is_same_v<typename String::Unit, char>
               ? U"aabB, \u00E9\u00FF"
               : U"aabB, \u00E9\u20AC\U0001F600";
}

// A string and the code points that it should hold, changed side by side.
template <class String>
struct CPair {
    String text;
    std::u32string model;

    typename String::CIterator At(size_t index) const {
        return {text, UnitsOf<String>(model.substr(0, index))};
    }
};

template <class String>
void ChangeBoth(CPair<String>& pair, std::mt19937& random) {
    auto& [text, model] = pair;
    const std::u32string alphabet = Alphabet<String>();
    const char32_t codePoint = alphabet[random() % alphabet.size()];
    const size_t first = random() % (model.size() + 1);
    const size_t last = first + random() % (model.size() - first + 1);
    const std::u32string part = model.substr(first, last - first);
    switch (random() % 13) {
        case 0:
            text += codePoint;
            model += codePoint;
            break;
        case 1:
            text = text + text.Mid(pair.At(first), pair.At(last));
            model += part;
            break;
        case 2:
            text.Insert(pair.At(first), codePoint);
            model.insert(first, 1, codePoint);
            break;
        case 3:
            text.Insert(pair.At(first), text);
            model.insert(first, std::u32string(model));
            break;
        case 4:
            text.Erase(pair.At(first));
            model.erase(first);
            break;
        case 5:
            text.Erase(static_cast<ptrdiff_t>(pair.At(first).GetIndex()),
                       static_cast<ptrdiff_t>(pair.At(last).GetIndex()));
            model.erase(first, last - first);
            break;
        case 6:
            text.TrimLeft(codePoint);
            model.erase(0, model.find_first_not_of(codePoint));
            break;
        case 7:
            text.TrimRight(codePoint);
            model.erase(model.find_last_not_of(codePoint) + 1);
            break;
        case 8:
            text.PadLeft(text.GetLength() + 3, U'-').PadRight(text.GetLength() + 2, U'+');
            model = U"---" + model + U"++";
            break;
        case 9:
            text.Truncate(pair.At(first).GetIndex());
            model.erase(first);
            break;
        case 10:
            text = last == model.size() ? text.Right(pair.At(first)) : text.Left(pair.At(last));
            model = last == model.size() ? model.substr(first) : model.substr(0, last);
            break;
        case 11:
            text.AppendRaw(text.GetBuffer(), text.GetLength());
            model += std::u32string(model);
            break;
        default:
            text = text.ToLower();
            std::replace(model.begin(), model.end(), U'B', U'b');
    }
    if (model.size() > 400) {
        text.Truncate(0);
        model.clear();
    }
}

template <class String>
void ExpectSameAnswers(const CPair<String>& pair, std::mt19937& random) {
    const auto& [text, model] = pair;
    ASSERT_EQ(CodePoints(text), model);
    ASSERT_EQ(text.IsEmpty(), model.empty());
    ASSERT_EQ(text.GetCharCount(), model.size());
    ASSERT_EQ(text.GetText()[text.GetLength()], 0);
    const size_t from = random() % (model.size() + 1);
    const std::u32string wanted = model.substr(random() % (model.size() + 1), random() % 4);
    const auto at = [&](size_t index) {
        return index == std::u32string::npos ? typename String::CIterator() : pair.At(index);
    };
    auto start = pair.At(from);
    ASSERT_EQ(text.Find(Encoded<String>(wanted), start),
              at(wanted.empty() ? std::u32string::npos : model.find(wanted, from)));
    const char32_t codePoint = wanted.empty() ? U'?' : wanted[0];
    ASSERT_EQ(text.Find(codePoint), at(model.find(codePoint)));
    ASSERT_EQ(text.FindLast(codePoint), at(model.rfind(codePoint)));
    std::u32string other = model;
    other.resize(from);
    other += wanted;
    ASSERT_EQ(Sign(text.Compare(Encoded<String>(other))), Sign(model.compare(other)));
}

}  // namespace

TYPED_TEST(StringTest, DoesWhatCodePointsDo) {
    std::mt19937 random(1);
    CPair<TypeParam> pair;
    for (int round = 0; round < 3000 && !testing::Test::HasFatalFailure(); ++round) {
        const CPair<TypeParam> before = pair;
        ChangeBoth(pair, random);
        ExpectSameAnswers(pair, random);
        ASSERT_EQ(CodePoints(before.text), before.model) << "a copy changed";
    }
}

TYPED_TEST(StringTest, SeparatesOnTheFirstWrite) {
    const std::function<void(TypeParam&)> writes[] = {
        [](auto& text) { text.Append(U'x'); },
        [](auto& text) { text.Append("0123456789abcdefghijklmnopqrstuvwxyz"); },
        [](auto& text) { text.Append(L"wide"); },
        [](auto& text) { text.Append(text); },
        [](auto& text) { text.Insert(text.Begin(), "x"); },
        [](auto& text) { text.Insert(text.Begin(), text); },
        [](auto& text) { text.Trim(U' '); },
        [](auto& text) { text.Truncate(1); },
        [](auto& text) { text.Truncate(0); },
        [](auto& text) { text.Erase(1, 2); },
        [](auto& text) { text.PadLeft(9, U'.'); },
        [](auto& text) { text.GetWritableBuffer()[0] = 'X'; },
    };
    for (const auto& write : writes) {
        SCOPED_TRACE(&write - writes);
        const TypeParam first(" abc ");
        TypeParam second(first);
        ASSERT_EQ(second.GetBuffer(), first.GetBuffer());
        ASSERT_EQ(RecordOf(first).count, 2);
        write(second);
        EXPECT_EQ(first, " abc ");
        EXPECT_NE(second, first);
        EXPECT_EQ(RecordOf(first).count, 1);
    }
}

TYPED_TEST(StringTest, GrowsByTheRule) {
    TypeParam text;
    std::vector<uint64_t> capacities;
    for (int i = 0; i < 8; ++i) {
        text.Append(U'x');
        capacities.push_back(RecordOf(text).capacity);
    }
    EXPECT_EQ(capacities, (std::vector<uint64_t>{2, 4, 4, 7, 7, 7, 12, 12}));
    TypeParam copy(text);
    copy.Append(U'y');
    EXPECT_EQ(RecordOf(copy).capacity, 9u / 2 + 1 + 10) << "a copy starts at its size";
    for (const volatile size_t length : {SIZE_MAX, SIZE_MAX - 1, SIZE_MAX / 2 + 1}) {
        EXPECT_THROW(TypeParam::FromZeroUnits(length), std::bad_alloc);
        EXPECT_THROW(text.AppendRaw(text.GetBuffer(), length), std::bad_alloc);
    }
    EXPECT_EQ(text, "xxxxxxxx");
}

TYPED_TEST(StringTest, NullAndNoUnitsAreBothEmpty) {
    const TypeParam null;
    const TypeParam none = TypeParam::FromZeroUnits(0);
    EXPECT_TRUE(null.IsEmpty());
    EXPECT_FALSE(none.IsEmpty());
    static const struct {
        const char* text;
        int ofNull;
        int ofNone;
        int ofNullNoCase;
        int ofNoneNoCase;
    } kRows[] = {
        {nullptr, 0, 1, 0, 1},
        {"", 0, 0, -1, 0},
        {"a", -1, -1, -1, -1},
    };
    for (const auto& row : kRows) {
        SCOPED_TRACE(row.text != nullptr ? row.text : "null");
        const wchar_t* const wide = row.text == nullptr ? nullptr : *row.text == 0 ? L"" : L"a";
        EXPECT_EQ(null.Compare(row.text), row.ofNull);
        EXPECT_EQ(none.Compare(row.text), row.ofNone);
        EXPECT_EQ(null.CompareNoCase(row.text), row.ofNullNoCase);
        EXPECT_EQ(none.CompareNoCase(row.text), row.ofNoneNoCase);
        EXPECT_EQ(null.Compare(wide), row.ofNullNoCase);
        EXPECT_EQ(none.CompareNoCase(wide), row.ofNoneNoCase);
    }
    for (const TypeParam& text : {null, none}) {
        EXPECT_EQ(text.GetLength(), 0u);
        EXPECT_EQ(text, null);
        EXPECT_EQ(text, none);
        EXPECT_TRUE(text.Find(none).IsNull());
        EXPECT_TRUE(text.StartsWith(none) && text.EndsWith(null));
        EXPECT_EQ(text.Split(TypeParam(",")).GetCount(), 1u);
        EXPECT_EQ(TypeParam(text).PadLeft(2, U'x').Erase(-5, 99).GetBuffer(), nullptr);
    }
    EXPECT_EQ(TypeParam().GetWritableBuffer(), nullptr);
    EXPECT_EQ(TypeParam(static_cast<const char*>(nullptr)).Append("").GetBuffer(), nullptr);
}

TYPED_TEST(StringTest, TakesPartsByIndex) {
    const TypeParam text("abc");
    static const struct {
        ptrdiff_t index;
        const char* right;
        const char* midOfTwo;
    } kRows[] = {
        {0, "abc", "ab"}, {1, "bc", "bc"}, {2, "c", "c"},
        {3, "", ""},      {9, "", ""},     {-1, "c", ""},
        {-3, "abc", ""},  {-5, "abc", ""}, {std::numeric_limits<ptrdiff_t>::min(), "abc", ""},
    };
    for (const auto& row : kRows) {
        SCOPED_TRACE(row.index);
        EXPECT_EQ(text.Right(row.index), row.right);
        EXPECT_EQ(text.Mid(row.index, 2), row.midOfTwo);
    }
    EXPECT_EQ(text.Mid(1, std::numeric_limits<ptrdiff_t>::max()), "bc");
    EXPECT_EQ(text.Mid(1, -1), "");
    const TypeParam same("abc");
    EXPECT_EQ(text.Left(same.End()), "") << "the iterator is another string's";
    EXPECT_EQ(TypeParam(text).Insert(same.Begin(), "x"), "abc");
    EXPECT_TRUE(text.StartsWith(TypeParam("ab")) && !text.StartsWith(TypeParam("abcd")));
    EXPECT_TRUE(text.EndsWith(TypeParam("bc")) && !text.EndsWith(TypeParam("ab")));
}

TYPED_TEST(StringTest, SplitsIntoAllPieces) {
    static const struct {
        const char* text;
        const char* separator;
        std::vector<const char*> pieces;
    } kRows[] = {
        {"a,b", ",", {"a", "b"}},
        {"a", ",", {"a"}},
        {"a", "", {"a"}},
        {",a,,b,", ",", {"", "a", "", "b", ""}},
        {"a::b:c", "::", {"a", "b:c"}},
        {"aaa", "aa", {"", "a"}},
        {"\u00E9=\u00E9", "=", {"\u00E9", "\u00E9"}},
        {"1\u00E9"
         "2",
         "\u00E9",
         {"1", "2"}},
    };
    for (const auto& row : kRows) {
        SCOPED_TRACE(row.text);
        const auto pieces = TypeParam(row.text).Split(TypeParam(row.separator));
        ASSERT_EQ(pieces.GetCount(), row.pieces.size());
        const auto copy = pieces;
        for (size_t i = 0; i < pieces.GetCount(); ++i) {
            EXPECT_EQ(copy[i], row.pieces[i]);
        }
    }
    CTStringList<TypeParam> list;
    std::vector<size_t> capacities;
    for (int i = 0; i < 4; ++i) {
        list.Append(i == 0 ? TypeParam("x") : list[0]);
        capacities.push_back(list.GetCapacity());
    }
    EXPECT_EQ(capacities, (std::vector<size_t>{1, 3, 3, 6}));
}

TEST(String, CStringsAreDecodedAndPointersWithLengthAreNot) {
    static const struct {
        const char* name;
        const char* text;
        std::string utf8;
        std::string iso;
    } kRows[] = {
        {"malformed", "\xC3\x28", "?", "?"},
        {"cut off", "\xC3", "", ""},
        {"cut off, two of three",
         "a\xE9"
         "b",
         "a", "a"},
        {"Latin-1", "\xC3\xA9", "\xC3\xA9", "\xE9"},
        {"beyond Latin-1", "\xF0\x9F\x98\x80!", "\xF0\x9F\x98\x80!", "?!"},
        {"overlong", "\xC0\xAF\xC0\x80.", std::string("/\0.", 3), std::string("/\0.", 3)},
        {"a bare E9", "\xE9", "", ""},
    };
    for (const auto& row : kRows) {
        SCOPED_TRACE(row.name);
        EXPECT_EQ(ToStd(CUTF8String(row.text)), row.utf8);
        EXPECT_EQ(ToStd(CISOString(row.text)), row.iso);
        EXPECT_EQ(ToStd(CUTF8String(row.text, -1)), row.text);
        EXPECT_EQ(ToStd(CISOString(row.text, -1)), row.text);
    }
    const wchar_t endedByOnes[] = {L'a', 0xD83D, 0xDE00, static_cast<wchar_t>(kEndOfText)};
    EXPECT_EQ(CUTF8String(endedByOnes), "a\U0001F600");
    EXPECT_EQ(CUTF8String("a\U0001F600").Compare(endedByOnes), 0);
}

TEST(String, ConvertsThroughCodePoints) {
    EXPECT_EQ(ToStd(CUTF8String(CISOString("\xE9", 1))), "\xC3\xA9");
    EXPECT_EQ(ToStd(CISOString("x").Append(U'\U0001F600').Append(U'\u00E9')), "x?\xE9");
    const wchar_t lowAlone[] = {0xDE00};
    const CUTF16String broken(lowAlone, 1);
    EXPECT_EQ(CodePoints(broken), std::u32string(1, kMalformed));
    EXPECT_EQ(ToStd(CUTF8String("<").Append(broken)), "<?");
    EXPECT_EQ(CUTF16String("\U0001F600").GetLength(), 2u);
    EXPECT_EQ(CUTF16String("\U0001F600").GetCharCount(), 1u);
    CUTF32String wide;
    wide = CUTF16String("\U0001F600");
    EXPECT_EQ(wide.GetLength(), 1u);
}

TEST(String, ArgumentsMayLieInTheStringItself) {
    const std::string digits = "0123456789abcdef";
    for (const int size : {3, 16, 40, 5000}) {
        SCOPED_TRACE(size);
        const std::string model = (digits + std::string(static_cast<size_t>(size), 'x')).substr(3);
        CUTF8String text(model.c_str());
        EXPECT_EQ(ToStd(text.Append(text.GetBuffer() + 1)), model + model.substr(1));
        EXPECT_EQ(ToStd(text = text.GetBuffer() + model.size()), model.substr(1));
        EXPECT_EQ(ToStd(text.Insert(text.End(), text.GetBuffer())),
                  model.substr(1) + model.substr(1));
        text = Raw("\xC3\xA9" + model);
        EXPECT_EQ(ToStd(text.Append(text.GetBuffer())), "\xC3\xA9" + model + "\xC3\xA9" + model);
    }
}

// Bytes that decode badly, or to what other bytes decode to, meet the fast paths over bytes.
TEST(String, FastPathsAnswerAsCodePointsDo) {
    static const char* const kParts[] = {
        "a",        "b",    "/",        "\xC3",     "\xA9",
        "\xC0\xAF", "\xE2", "\xF0\x80", "\xC1\xA1", "aaaaaaaaaaaaaaaabbbbbbbbb"};
    std::mt19937 random(7);
    const auto make = [&random](unsigned parts) {
        std::string bytes;
        for (unsigned i = random() % parts; i > 0; --i) {
            bytes += kParts[random() % std::size(kParts)];
        }
        return Raw(bytes);
    };
    for (int round = 0; round < 20000; ++round) {
        const CUTF8String text = make(8);
        CUTF8String other = make(3);
        const std::u32string codePoints = CodePoints(text);
        const std::u32string wanted = CodePoints(other);
        SCOPED_TRACE(testing::PrintToString(text) + " and " + testing::PrintToString(other));
        const auto found = text.Find(other);
        const size_t index = wanted.empty() ? std::u32string::npos : codePoints.find(wanted);
        ASSERT_EQ(found.IsNull(), index == std::u32string::npos);
        if (!found.IsNull()) {
            ASSERT_EQ(text.Left(found).GetCharCount(), index);
        }
        ASSERT_EQ(text.Find(U'/').IsNull(), codePoints.find(U'/') == std::u32string::npos);
        ASSERT_EQ(text.FindLast(U'a').IsNull(), codePoints.find(U'a') == std::u32string::npos);
        other = text.Left(CUTF8String::CIterator(text, random() % (text.GetLength() + 1))) + other;
        ASSERT_EQ(text.Compare(other), NaiveCompare(text, other));
        ASSERT_EQ(CUTF8String(text).TrimRight(U'c'), text);
        ASSERT_EQ(CUTF8String(text).TrimRight(U'c').GetLength(), text.GetLength());
    }
}

TEST(String, ComparesTheEndAsLessThanAnything) {
    EXPECT_LT(CUTF8String("ab"), "abc");
    EXPECT_LT(CUTF8String("ab"), CUTF8String("abc"));
    EXPECT_LT(CUTF16String(L"\uFFFF"), CUTF16String("\U0001F600")) << "code points, not units";
    EXPECT_GT(Raw(std::string("a\0", 2)), "a");
    EXPECT_EQ(CUTF8String("ABC").CompareNoCase("abd"), -1);
    EXPECT_EQ(CUTF8String("aBc").CompareNoCase(CUTF8String("AbC")), 0);
    EXPECT_EQ(CUTF8String("aBc").CompareNoCase(L"AbC"), 0);
}

TEST(String, FindMovesAStartWithoutOwner) {
    const CUTF8String text("xay a");
    CUTF8String::CIterator start;
    EXPECT_EQ(IndexOf(text.Find(CUTF8String("a"), start)), 1u);
    EXPECT_EQ(start, text.Begin());
    start = CUTF8String::CIterator(text, 2);
    EXPECT_EQ(IndexOf(text.Find(CUTF8String("a"), start)), 4u);
    EXPECT_EQ(start.GetIndex(), 2u);
    CUTF8String::CIterator foreign = CUTF8String(text).Begin();
    EXPECT_TRUE(text.Find(CUTF8String("a"), foreign).IsNull());
    EXPECT_EQ(text.Next(foreign), kEndOfText);
}

TEST(String, CaseFollowsTheCallersLocale) {
    EXPECT_EQ(CUTF8String("a\u00E9z").ToUpper(), "A\u00E9Z");
    const locale_t utf8 = newlocale(LC_CTYPE_MASK, "C.UTF-8", nullptr);
    ASSERT_NE(utf8, nullptr);
    const locale_t before = uselocale(utf8);
    EXPECT_EQ(CUTF8String("a\u00E9z").ToUpper(), "A\u00C9Z");
    EXPECT_EQ(CUTF8String("\u00C9").CompareNoCase("\u00E9"), 0);
    EXPECT_EQ(CISOString("\u00FF").ToUpper(), "?") << "its capital is not in Latin-1";
    uselocale(before);
    freelocale(utf8);
}

TEST(String, WritesNumbers) {
    EXPECT_EQ(CUTF8String::FromUInt(0), "0");
    EXPECT_EQ(CUTF16String::FromUInt(UINT64_MAX), "18446744073709551615");
    EXPECT_EQ(CUTF8String::FromBool(true) + CUTF8String::FromBool(false), "truefalse");
    for (const double value : {0.0, -0.5, 0.1, 1e300, 5e-324, 123456789.25}) {
        EXPECT_EQ(std::strtod(CUTF8String::FromDouble(value).GetText(), nullptr), value);
    }
}
