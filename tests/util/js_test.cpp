#include "support/log_capture.h"
#include "support/stanza_file.h"
#include "support/string_print.h"
#include "util/hex.h"
#include "util/js_parser.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <endian.h>
#include <unistd.h>

#include <fstream>
#include <iterator>
#include <sstream>
#include <string>
#include <vector>

using namespace std::string_literals;

/** Parses a text that nothing follows in memory; `left` becomes what was not read. */
static CJSValuePtr ParseAll(const std::string& text, std::string* left = nullptr) {
    const std::vector<char> exact(text.begin(), text.end());
    const char* cursor = exact.data();
    const char* const end = cursor + exact.size();
    CJSValuePtr root = Parse(cursor, end);
    left != nullptr ? left->assign(cursor, end) : text;
    return root;
}

static std::string HexOf(const void* bytes, size_t length) {
    return ToStd(ToHex(static_cast<const unsigned char*>(bytes), length).ToLower());
}

/** A value in the notation of the public cases: "O{61:A[I1,T]}". */
static std::string Dump(const CJSValue* value) {
    std::ostringstream out;
    if (const auto* entry = dynamic_cast<const CJSKeyedValue*>(value)) {
        const CISOString key = entry->GetKey();
        out << HexOf(key.GetText(), key.GetLength()) << ":" << Dump(entry->GetValue());
    } else if (dynamic_cast<const CJSContainer*>(value)) {
        out << (dynamic_cast<const CJSObject*>(value) ? "O{" : "A[");
        for (size_t i = 0; i < value->GetCount(); ++i) {
            out << (i > 0 ? "," : "") << Dump(value->GetAt(i));
        }
        out << (dynamic_cast<const CJSObject*>(value) ? "}" : "]");
    } else if (dynamic_cast<const CJSInteger*>(value)) {
        out << "I" << value->GetInt();
    } else if (dynamic_cast<const CJSDouble*>(value)) {
        const uint64_t bits = htobe64(testing::internal::Double(value->GetDouble()).bits());
        out << "D" << HexOf(&bits, sizeof(bits));
    } else if (dynamic_cast<const CJSString*>(value)) {
        out << "S" << HexOf(value->GetString().GetText(), value->GetString().GetLength());
    } else {
        out << (dynamic_cast<const CJSBoolean*>(value) ? value->GetBool() ? "T" : "F"
                : value == kJSNull                     ? "M"
                                                       : "N");
    }
    return out.str();
}

TEST(JSParser, ReadsThePublicCases) {
    const std::string folder = QORVS_SHARED_VECTORS "/json_cases/";
    std::ifstream list(folder + "expected.txt");
    if (!list) {
        GTEST_SKIP() << "the public test vectors are not on this machine";
    }
    std::string line, file, kind, expected;
    while (std::getline(list, line)) {  // NOLINT(bugprone-infinite-loop): the list ends
        std::istringstream(line) >> file >> kind >> expected;
        std::ifstream content(folder + file);
        if (line[0] != '#') {
            const std::string read =
                Dump(ParseAll({std::istreambuf_iterator<char>(content), {}}).get());
            EXPECT_EQ(kind == "safe" ? expected : read, expected) << file;
        }
    }
}

// Kept: what a stricter reader would refuse, and where the cursor stays; callers go on from it.
TEST(JSParser, HasRulesOfItsOwn) {
    FOR_EACH_STANZA(row, ReadStanzas("util/json.txt")) {
        std::string left;
        EXPECT_EQ(Dump(ParseAll(row.Text("text_text"), &left).get()), row.Text("expected_text"));
        EXPECT_EQ(left, row.Has("left_text") ? row.Text("left_text") : "");
    }
}

TEST(JSValue, AnswersNeutrallyForWhatItDoesNotHold) {
    const CJSValuePtr root = ParseAll(
        R"({"n":null, "t":true, "i":7, "d":2.5, "s":"0aB C\n12x3", "l":[4, "z"], "i":8,
            "o":{"x":"y"}, "0A b ":9, "0\u00e9":9, "k\u0000":1})");
    const auto at = [&](const char* key) { return root->GetByKey(key); };
    EXPECT_EQ(at("no")->GetByKey("more")->GetAt(3)->GetByHexKey(CByteZone("A")), kJSNull);
    EXPECT_TRUE(kJSNull->IsNull() && kJSNull->GetBoolOr(true) && !kJSNull->GetBoolOr(false));
    EXPECT_FALSE(at("n")->IsNull() || at("n")->GetBoolOr(true) || at("i")->GetBoolOr(true));
    EXPECT_TRUE(at("t")->GetBool() && at("t")->GetBoolOr(false) && ParseAll("null")->IsNull());
    EXPECT_EQ(at("i")->GetInt() + at("d")->GetInt() + at("t")->GetInt() + at("s")->GetInt(), 7);
    EXPECT_EQ(at("d")->GetDouble(), 2.5);
    EXPECT_EQ(at("i")->GetDouble(), 1.7976931348623157e308);
    EXPECT_EQ(at("s")->GetBytes(), CByteZone("\x0A\x0B\x0C\x12"));
    EXPECT_EQ(at("l")->GetAt(1)->GetString(), "z");
    EXPECT_EQ(at("l")->GetAt(at("l")->GetCount()), root->GetAt(root->GetCount()));
    EXPECT_EQ(at("o")->GetByKey("x")->GetKey(), "x");
    EXPECT_EQ(at("o")->begin(), at("o")->end()) << "an entry does not list what its value holds";
    EXPECT_EQ(root->end() - root->begin(), 11);
    EXPECT_EQ(at("0\xE9")->GetInt() + at("k")->GetInt(), 10);
    EXPECT_EQ(root->GetByHexKey(CByteZone("\x0A\x0B")), at("0A b "));
    EXPECT_EQ(root->GetByHexKey(CByteZone()), at("n"));
    EXPECT_EQ(root->GetByHexKey(CByteZone("\x0A")), kJSNull);
}

static std::string Repeated(const char* text, size_t count) {
    std::ostringstream all;
    std::fill_n(std::ostream_iterator<const char*>(all), count, text);
    return all.str();
}

TEST(JSParser, BearsDepthAndSize) {
    constexpr size_t kDepth = 200000;
    for (const char* opening : {"[", "[[],", R"([{"a":)", R"({"a":[)"}) {
        EXPECT_NE(ParseAll(Repeated(opening, kDepth)).get() == kJSNull, *opening == '[') << opening;
    }
    const CJSValuePtr deep = ParseAll(Repeated(R"({"a":)", kDepth) + "1" + Repeated("}", kDepth));
    EXPECT_EQ(deep->GetByKey("a")->GetByKey("a")->GetByKey("a")->GetCount(), 1u);
    constexpr size_t kCount = 1000000;
    const CJSValuePtr wide = ParseAll("{" + Repeated(R"("k":1,)", kCount) + R"("z":2})");
    EXPECT_EQ(wide->GetByKey("z"), wide->GetAt(kCount));
}

TEST(JSParserDeathTest, WritesWhatIsWrongIntoTheLog) {
    const CLogHome home;
    setenv("QORVS_CONFFILE", home.Path("qorvs.conf").c_str(), 1);
    EXPECT_EXIT((ParseAll(R"([{"a%s":{"b\u00e9" 1}},2])"), ParseAll(R"({"c":{"d":1},"e%n":-1})"),
                 ParseAll(R"({"f":{"g":{}} "h":1})"), _exit(0)),
                testing::ExitedWithCode(0), "");
    unsetenv("QORVS_CONFFILE");
    const std::string missing = "1.. JSON object parsing error: a closing brace is missing! item: ";
    EXPECT_THAT(NumberThreads(home.Log().lines),
                testing::IsSupersetOf(
                    {"1.. JSON object parsing error: \"b\u00e9\" is not followed by ':'!"s,
                     missing + "e%n", missing + "f"}));
}
