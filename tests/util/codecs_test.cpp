#include "support/log_capture.h"
#include "support/raised.h"
#include "support/stanza_file.h"
#include "support/string_print.h"
#include "util/address.h"
#include "util/base64.h"
#include "util/hex.h"
#include "util/json_text.h"
#include "util/local_time.h"
#include "util/numbers.h"
#include "util/version.h"
#include "util/zip.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <stdlib.h>
#include <unistd.h>

#include <random>
#include <stdexcept>
#include <string>

static std::string ToStd(uint64_t number) { return std::to_string(number); }
static std::string ToStd(const CByteZone& zone) { return {zone.begin(), zone.end()}; }
static std::string ToStd(const CAddress& address) {
    const auto& [parts, port] = address;
    return ToStd(parts[0] + "|" + parts[1] + "|" + parts[2] + "|" + parts[3] + ":") + ToStd(port);
}

/** What a call gives, or in brackets the words of what it throws. */
template <class Call>
static std::string Outcome(Call call) {
    std::string result;
    const std::string words = WordsRaisedBy<std::runtime_error>([&] { result = ToStd(call()); });
    return words == "(no exception)" ? result : "[" + words + "]";
}

/** Checks what becomes of the texts of a file. */
template <class Call>
static void ExpectOutcomes(const char* file, Call call) {
    FOR_EACH_STANZA(row, ReadStanzas(file)) {
        const std::string bytes = row.Text("text_text");
        const CUTF8String text(bytes.data(), static_cast<ptrdiff_t>(bytes.size()));
        EXPECT_EQ(Outcome([&] { return call(text); }), row.Text("expected_text"));
    }
}

TEST(Base64, DecodesWhatLengthAndPaddingPromise) {
    ExpectOutcomes("util/base64.txt", DecodeBase64);
    std::string text(12000, 'A');
    EXPECT_EQ(DecodeBase64(CUTF8String(text.c_str())).GetSize(), 9000u);
    text[9000] = '!';
    EXPECT_THROW(DecodeBase64(CUTF8String(text.c_str())), CException);
}

/** Bytes that do not compress, the same ones each time. */
static CByteZone Noise(size_t size) {
    CByteZone noise;
    for (std::mt19937 random; noise.GetSize() < size;) {
        noise.Append(static_cast<unsigned char>(random()));
    }
    return noise;
}

TEST(Zip, GivesTheInputBack) {
    for (const size_t size : {0, 1, 4095, 4096, 4097, 8192, 300000}) {
        for (const CByteZone& data : {CByteZone(size, 'z'), Noise(size)}) {
            EXPECT_EQ(ZipDecode(ZipEncode(data), size), data);
        }
    }
}

TEST(Zip, RefusesWhatIsNoWholeStream) {
    const CByteZone data = Noise(9000);
    CByteZone zipped = ZipEncode(data);
    EXPECT_THROW(ZipDecode(zipped, data.GetSize() - 1), CException);
    for (size_t length = 1; length < zipped.GetSize(); length += 97) {
        EXPECT_THROW(ZipDecode(CByteZone(zipped.GetData(), length)), CException) << length;
    }
    zipped.Append(data);
    EXPECT_EQ(ZipDecode(zipped), data) << "what follows is left out";
    zipped[zipped.GetSize() - data.GetSize() - 1] ^= 1;
    EXPECT_THROW(ZipDecode(zipped), CException);
}

TEST(JsonText, IsCutOutOfAReply) {
    ExpectOutcomes("util/json_text.txt",
                   [](const CUTF8String& reply) { return GetJson(CByteZone(reply.GetText())); });
}

TEST(LocalTime, TellsTheOffsetOfItsMoment) {
    FOR_EACH_STANZA(row, ReadStanzas("util/local_time.txt")) {
        setenv("TZ", row.Text("zone_text").c_str(), 1);
        tzset();
        EXPECT_EQ(ToStd(GetTimeStampText(row.Int("moment_int"))), row.Text("stamp_text"));
        EXPECT_EQ(ToStd(GetShortTimeText(row.Int("moment_int"))), row.Text("short_text"));
    }
    unsetenv("TZ");
}

TEST(Numbers, AreDigitsThatFit) {
    ExpectOutcomes("util/uint.txt", ToUInt<CUTF8Encoding, false>);
    ExpectOutcomes("util/ulong.txt", ToULong<CUTF8Encoding, false>);
}

TEST(Hex, WritesTwoDigitsAByte) { EXPECT_EQ(ToHex(CByteZone("\x01\x0F\xA5\xFF")), "010FA5FF"); }

TEST(Version, IsTheFirstRunOfDigitsAndPoints) {
    ExpectOutcomes("util/version.txt", ExtractVersion);
    const auto version = Version::FromText("OpenSSL 3.010.5");
    EXPECT_EQ(version->GetText(1, 3), "10.5.0");
    EXPECT_THROW(version->GetText(2, 1), InvalideIndexOrder);
    EXPECT_THROW(version->GetText(3, 4), InvalideIndexOrder);
    EXPECT_THROW(Version::FromText("1.4294967296"), std::runtime_error);
}

TEST(Address, HasFourPiecesAndPerhapsAPort) {
    EXPECT_THROW(ParseAddress("1.2.3"), NOT_IPV4);
    ExpectOutcomes("util/address.txt", ParseAddress);
}

// Kept: the two directions of compression report each other's sentence. Logs are matched on these
// words.
TEST(CodecsDeathTest, WriteTheirWordsIntoTheLog) {
    const CLogHome home;
    setenv("QORVS_CONFFILE", home.Path("qorvs.conf").c_str(), 1);
    EXPECT_EXIT((Outcome([] { return DecodeBase64("!!!!"); }),
                 Outcome([] { return ZipDecode(Noise(100)); }),
                 Outcome([] { return ParseAddress("10.%s.1"); }), _exit(0)),
                testing::ExitedWithCode(0), "");
    unsetenv("QORVS_CONFFILE");
    const std::string log = testing::PrintToString(NumberThreads(home.Log().lines));
    static const char kWords[] =
        " data is of invalid base 64 format\".*WARNING Exception raised' in .DecodeBase64.*"
        " Could not initialize deflate\".*WARNING Exception raised' in .ZipDecode"
        ".* adress is not in IPV4 format\".* 10.%s.1\".*WARNING Exception raised' in .ParseAddress";
    EXPECT_THAT(log, testing::ContainsRegex(kWords));
}
