#include "util/address.h"
#include "util/base64.h"
#include "util/hex.h"
#include "util/json_text.h"
#include "util/local_time.h"
#include "util/version.h"
#include "util/zip.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <stdlib.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <iostream>
#include <stdexcept>
#include <string>

static std::string ToStd(const CUTF8String& text) { return {text.GetText(), text.GetLength()}; }
static std::string ToStd(const CByteZone& zone) { return {zone.begin(), zone.end()}; }

static CUTF8String Text(const std::string& text) {
    return CUTF8String(text.data(), static_cast<ptrdiff_t>(text.size()));
}

/** The result as text, or the words of the exception in brackets. */
template <class Call>
static std::string Outcome(Call call) {
    try {
        return ToStd(call());
    } catch (const CException& exception) {
        return "[" + ToStd(RenderMessage(exception.GetMessage())) + "]";
    }
}

TEST(Base64, DecodesWhatLengthAndPaddingPromise) {
    static const struct {
        std::string text;
        const char* expected;
    } kRows[] = {
        {"", ""},
        {"QQ==", "A"},
        {"QUI=", "AB"},
        {"QUJD", "ABC"},
        {"QUJDRA==", "ABCD"},
        {"+/+/", "\xFB\xFF\xBF"},
        {"QUJDRA==\r\n", "ABCD"},
        {"QUJD \n", "ABC"},
        {"!!!!", "[]"},
        {"QQ", "[]"},
        {"A", "[]"},
        {"QUJD!!!!", "[]"},
        {"QU\nJD", "[]"},
        {"QUJD\nREVG", "[]"},
        {"-_-_", "[]"},
        {"QUJDRA", "[]"},
        {"    QUJD", "[]"},
        {"\n", "[]"},
        {std::string("QUJD\0QUJD", 9), "[]"},
    };
    for (const auto& row : kRows) {
        SCOPED_TRACE(row.text);
        EXPECT_EQ(Outcome([&] { return DecodeBase64(Text(row.text)); }), row.expected);
    }
}

TEST(Base64, OneBadCharacterInALongTextIsNoticed) {
    std::string text(12000, 'A');
    EXPECT_EQ(DecodeBase64(Text(text)).GetSize(), 9000u);
    for (const size_t place : {0, 700, 5119, 9000, 11999}) {
        text[place] = '!';
        EXPECT_THROW(DecodeBase64(Text(text)), CException) << place;
        text[place] = 'A';
    }
}

/** Bytes that do not compress, the same ones each time. */
static CByteZone Noise(size_t size) {
    CByteZone noise(nullptr, size);
    uint32_t state = 1;
    for (size_t i = 0; i < size; ++i) {
        state = state * 1664525 + 1013904223;
        noise[i] = static_cast<unsigned char>(state >> 24);
    }
    return noise;
}

TEST(Zip, GivesTheInputBack) {
    for (const size_t size : {0, 1, 4095, 4096, 4097, 8192, 300000}) {
        SCOPED_TRACE(size);
        for (const CByteZone& data : {CByteZone(size, 'z'), Noise(size)}) {
            const CByteZone zipped = ZipEncode(data);
            EXPECT_EQ(zipped.IsEmpty(), size == 0);
            EXPECT_EQ(ZipDecode(zipped, size), data);
        }
    }
}

TEST(Zip, RefusesWhatIsNoWholeStream) {
    const CByteZone data = Noise(9000);
    const CByteZone zipped = ZipEncode(data);
    EXPECT_THROW(ZipDecode(Noise(100)), CException);
    for (size_t length = 1; length < zipped.GetSize(); length += 97) {
        EXPECT_THROW(ZipDecode(CByteZone(zipped.GetData(), length)), CException) << length;
    }
    CByteZone damaged = zipped;
    damaged[damaged.GetSize() - 1] ^= 1;
    EXPECT_THROW(ZipDecode(damaged), CException);
    EXPECT_THROW(ZipDecode(zipped, data.GetSize() - 1), CException);

    CByteZone followed = zipped;
    followed.Append(Noise(50));
    EXPECT_EQ(ZipDecode(followed), data);
}

TEST(JsonText, IsCutOutOfAReply) {
    static const struct {
        const char* reply;
        const char* expected;
    } kRows[] = {
        {"", "[Data is empty]"},
        {"no object }", "[Data is empty]"},
        {"{}", "{}"},
        {"12\r\n{\"a\": {\"b\": 1}} tail }", "{\"a\": {\"b\": 1}}"},
        {R"(x{"a": "}\"}{", "b": 2}})", R"({"a": "}\"}{", "b": 2})"},
        {R"({"a\\": "}"})", R"({"a\\": "}"})"},
        {"{\"a\": {1} tail", "{\"a\": {1}"},
        {"{\"open", "{\"open"},
        {"{\"\\", "{\"\\"},
        {"}{", "{"},
    };
    for (const auto& row : kRows) {
        EXPECT_EQ(Outcome([&] { return GetJson(CByteZone(row.reply)); }), row.expected);
    }
}

TEST(Hex, WritesTwoDigitsAByte) {
    const unsigned char bytes[] = {0x00, 0x0F, 0xA5, 0xFF};
    EXPECT_EQ(ToStd(ToHex(bytes, sizeof(bytes))), "000FA5FF");
    EXPECT_TRUE(ToHex(CByteZone()).IsEmpty());
}

/** Another time zone until the end of the scope. */
class CZoneHome {
public:
    explicit CZoneHome(const char* zone) {
        setenv("TZ", zone, 1);
        tzset();
    }
    ~CZoneHome() {
        unsetenv("TZ");
        tzset();
    }
};

TEST(LocalTime, TellsTheOffsetOfItsMoment) {
    static const struct {
        const char* zone;
        time_t moment;
        const char* stamp;
        const char* shortText;
    } kRows[] = {
        {"UTC0", 0, "1970-01-01T00:00:00+00:00", "000000"},
        {"CET-1CEST,M3.5.0,M10.5.0/3", 1705323909, "2024-01-15T14:05:09+01:00", "140509"},
        {"CET-1CEST,M3.5.0,M10.5.0/3", 1719835509, "2024-07-01T14:05:09+02:00", "140509"},
        {"CET-1CEST,M3.5.0,M10.5.0/3", 1729990799, "2024-10-27T02:59:59+02:00", "025959"},
        {"CET-1CEST,M3.5.0,M10.5.0/3", 1729990800, "2024-10-27T02:00:00+01:00", "020000"},
        {"NST3:30", 1719835509, "2024-07-01T08:35:09-03:30", "083509"},
        {"XST0:30", 1719835509, "2024-07-01T11:35:09-00:30", "113509"},
        {"NPT-5:45", 1719835509, "2024-07-01T17:50:09+05:45", "175009"},
    };
    for (const auto& row : kRows) {
        const CZoneHome home(row.zone);
        EXPECT_EQ(ToStd(GetTimeStampText(row.moment)), row.stamp);
        EXPECT_EQ(ToStd(GetShortTimeText(row.moment)), row.shortText);
    }
}

TEST(Version, IsTheFirstRunOfDigitsAndPoints) {
    static const struct {
        const char* text;
        const char* expected;
    } kRows[] = {
        {"0.0.0.0", "0.0.0.0"},
        {"qorvs 6.23.50.5 (release 7)", "6.23.50.5"},
        {"v.1.02.", "1.02"},
        {"1..2", "1.2"},
        {"1.2.3.4.", "1.2.3.4"},
        {"", "[no version found! (evaluating )]"},
        {"v...", "[no version found! (evaluating v...)]"},
        {"a1.2.3.4.5 %1", "[too long version found! (evaluating a1.2.3.4.5 %1)]"},
    };
    for (const auto& row : kRows) {
        EXPECT_EQ(Outcome([&] { return ExtractVersion(row.text); }), row.expected);
    }
}

TEST(Version, TellsItsNumbers) {
    EXPECT_EQ(ToStd(Version().GetText()), "0.0.0.0");
    const auto version = Version::FromText("OpenSSL 3.010.5");
    EXPECT_EQ(ToStd(version->GetText()), "3.10.5.0");
    EXPECT_EQ(ToStd(version->GetText(1, 2)), "10.5");
    EXPECT_THROW(version->GetText(2, 1), InvalideIndexOrder);
    EXPECT_THROW(version->GetText(0, 4), InvalideIndexOrder);
    EXPECT_THROW(Version::FromText("1.4294967296"), std::runtime_error);
}

TEST(Address, HasFourPiecesAndPerhapsAPort) {
    const CAddress address = ParseAddress("10.x..255:8080:9");
    EXPECT_EQ(address.parts[0], "10");
    EXPECT_EQ(address.parts[1], "x");
    EXPECT_EQ(address.parts[2], "");
    EXPECT_EQ(address.parts[3], "255");
    EXPECT_EQ(address.port, 8080u);
    EXPECT_EQ(ParseAddress("1.2.3.4").port, 0u);
    EXPECT_EQ(ParseAddress("1.2.3.4:").port, 0u);
    EXPECT_THROW(ParseAddress("1.2.3.4:x"), std::runtime_error);
    for (const char* const text :
         {"", "1.2.3", "1.2.3.4.5", "1.2.3:4.5", ":1.2.3.4", "localhost"}) {
        EXPECT_THROW(ParseAddress(text), NOT_IPV4) << text;
    }
}

/** Fails in every codec with the log turned on and writes the log to standard error. */
[[noreturn]] static void PrintLogOfFailures() {
    std::string home = std::filesystem::temp_directory_path() / "codecs_XXXXXX";
    if (mkdtemp(home.data()) == nullptr) {
        _exit(1);
    }
    const std::string settings = home + "/qorvs.conf";
    std::ofstream(settings) << "SecuritySuite {\nEnableTrace = 1\nTrace = " << home << "\n}\n";
    setenv("QORVS_CONFFILE", settings.c_str(), 1);
    Outcome([] { return DecodeBase64("!!!!"); });
    Outcome([] { return ZipDecode(Noise(100)); });
    Outcome([] { return ParseAddress("%s%n").parts[0]; });
    Outcome([] { return ExtractVersion("none"); });
    for (const auto& entry : std::filesystem::directory_iterator(home)) {
        std::cerr << std::ifstream(entry.path()).rdbuf();
    }
    std::filesystem::remove_all(home);
    _exit(0);
}

// Kept: the two directions of compression report each other's sentence. Logs are matched on these
// words.
TEST(CodecsDeathTest, WriteTheirWordsIntoTheLog) {
    testing::FLAGS_gtest_death_test_style = "threadsafe";
    using testing::ContainsRegex;
    EXPECT_EXIT(
        PrintLogOfFailures(), testing::ExitedWithCode(0),
        testing::AllOf(
            ContainsRegex(" data is of invalid base 64 format\n"
                          ".* 'WARNING Exception raised' in .DecodeBase64., line [0-9]+\n"),
            ContainsRegex(" Could not initialize deflate\n"
                          ".* 'WARNING Exception raised' in .ZipDecode., line [0-9]+\n"),
            ContainsRegex(" adress is not in IPV4 format\n.* %s%n\n"
                          ".* 'WARNING Exception raised' in .ParseAddress., line [0-9]+\n"),
            ContainsRegex(" 'WARNING Exception raised' in .ExtractVersion., line [0-9]+\n")));
}
