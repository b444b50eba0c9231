#include "timestamp/timestamp_token.h"

#include "support/certificates.h"
#include "support/log_capture.h"
#include "support/loopback_peer.h"
#include "support/raised.h"
#include "support/server_process.h"
#include "support/stanza_file.h"
#include "support/string_print.h"
#include "timestamp/rfc3161_timestamp_token.h"
#include "timestamp/time_manager.h"

#include <gmock/gmock.h>

#include <cstdio>
#include <queue>
#include <regex>
#include <sstream>
#include <stdexcept>

// What the generator gives next, a result and octets each.
static std::queue<std::pair<int, std::string>> drawn;

// Stand in for those of OpenSSL in this program.
extern "C" int RAND_bytes(unsigned char* octets, int count) {
    const auto [result, text] = drawn.front();
    drawn.pop();
    return text.copy(reinterpret_cast<char*>(octets), static_cast<size_t>(count)), result;
}
extern "C" unsigned char* SHA512(const unsigned char*, size_t, unsigned char*) { return nullptr; }

namespace {

/** In the rows, "~port" stands for the port of the authorities. */
void RunRows(const std::string& file) {
    SKIP_WITHOUT("python3 openssl");
    CLogHome home;
    MakeCertificates(home);
    home.Write("data", "signature value");
    const uint16_t port = FindFreePort();
    const CServerProcess authority({"python3", QORVS_TEST_VECTORS "/../timestamp/authority.py",
                                    home.Path(""), std::to_string(port), home.Path("data")},
                                   port, home.Path("authority.txt"));
    FOR_EACH_STANZA(row, ReadStanzas(file)) {
        const auto text = [&](const char* key, const char* otherwise) {
            const std::string value = row.Has(key) ? row.Text(key) : otherwise;
            return std::regex_replace(value, std::regex("~port"), std::to_string(port));
        };
        const std::string service = text("service_text", "http://localhost:~port/json");
        home.WriteSuite("qorvs.conf",
                        "EnableTrace = 1\nTrace = " + home.Path("log") +
                            "\nTSAClientId = client-of-test\nTSAClientSecret = secret-of-test\n" +
                            (service.empty() ? "" : "TSAServiceURL = " + service + "\n") +
                            "TSATokenURL = " + text("bearer_text", "http://localhost:~port/token"));
        home.Write("requests", "");
        std::istringstream words(home.Path("token.der") + " " + text("calls_text", ""));
        const std::string output =
            home.Run("timestamp_child", {std::istream_iterator<std::string>(words), {}});
        EXPECT_EQ(output, text("output_text", ""));
        EXPECT_EQ(std::regex_replace(ReadWholeFile(home.Path("requests")), std::regex("\n"), " "),
                  text("requests_text", "/tsa "));
        const std::string log = home.Files().empty() ? "" : home.BodyText();
        EXPECT_THAT(log, testing::ContainsRegex(text("log_text", "")));
        EXPECT_FALSE(std::regex_search(
            log, std::regex("-of-test|bearer|grant_type|certReq|base64Token|MII|54E5B414|3082")))
            << log;
        for (const std::string& path : home.Files()) {
            remove(path.c_str());
        }
    }
}

/** A request that was made before. */
struct CMadeRequest : RFC3161TimestampToken {
    CMadeRequest(const std::string& address, const CByteZone& der)
        : RFC3161TimestampToken(address.c_str()) {
        const unsigned char* at = der.GetData();
        request = {d2i_TS_REQ(nullptr, &at, static_cast<long>(der.GetSize())), TS_REQ_free};
    }
};

struct CNewRequest : RFC3161TimestampToken {
    CNewRequest() : RFC3161TimestampToken("") { SetDigest(CByteZone("data"), 672); }
    std::string Init() {
        InitRequest();
        const ASN1_INTEGER* const sent = TS_REQ_get_nonce(request.Get());
        EXPECT_EQ(ASN1_INTEGER_cmp(sent, nonce.Get()), 0);
        return std::string(reinterpret_cast<const char*>(sent->data),
                           static_cast<size_t>(sent->length));
    }
};

struct CClock : TimeManager {
    time_t GetCurrentTime() override { return now; }
    time_t now = 0;
};

}  // namespace

TEST(TimestampToken, AuthoritiesOfEachKind) { RunRows("timestamp/tokens.txt"); }

TEST(TimestampTokenConcurrency, OneThreadFetchesTheBearerToken) {
    RunRows("timestamp/tokens_at_once.txt");
}

TEST(TimestampToken, AnswersOfPublicAuthorities) {
    FOR_EACH_STANZA(row, ReadSharedStanzas("tsp.txt")) {
        const CByteZone query = row.Bytes("request");
        const CByteZone reply = row.Bytes("response");
        CLoopbackPeer peer(
            {{"read", "send HTTP/1.0 200 OK\r\n\r\n" + std::string(reply.begin(), reply.end())}});
        CMadeRequest made("http://localhost:" + std::to_string(peer.GetPort()), query);
        CByteZone token;
        if (row.Text("result_text") == "ok") {
            const CByteZone expected = row.Bytes("token");
            made.GetToken(token);
            EXPECT_EQ(token, expected);
            const unsigned char* at = expected.GetData();
            const CTHandle<PKCS7> parsed(
                d2i_PKCS7(nullptr, &at, static_cast<long>(expected.GetSize())), PKCS7_free);
            made.VerifyToken(parsed.Get());
        } else {
            EXPECT_RAISED(OPENSSL_FUNCTION_FAILED, "", made.GetToken(token));
        }
        const std::string sent = peer.Wait()[0];
        EXPECT_EQ(sent.substr(sent.find("\r\n\r\n") + 4), std::string(query.begin(), query.end()));
        row.Skip();
    }
}

TEST(TimestampToken, NonceIsSevenRandomOctetsWithoutALeadingZero) {
    using namespace std::string_literals;
    drawn = {};
    for (const std::string& octets :
         {"\0\1\2\3\4\5\6"s, "\0\xFF\0\0\0\0\0"s, "\x80\0\0\0\0\0\0"s}) {
        drawn.emplace(1, octets);
    }
    EXPECT_EQ(CNewRequest().Init(), "\x80\0\0\0\0\0\0"s);
    EXPECT_TRUE(drawn.empty());
    for (const int failure : {0, -1}) {
        drawn.emplace(1, "\0\1\2\3\4\5\6"s);
        drawn.emplace(failure, "\1\1\2\3\4\5\6"s);
        EXPECT_RAISED(OPENSSL_FUNCTION_FAILED, "", CNewRequest().Init());
    }
    EXPECT_RAISED(OPENSSL_FUNCTION_FAILED, "", CNewRequest().SetDigest(CByteZone("data"), 674));
}

TEST(TimestampToken, WhateverARequestThrowsIsToldByItsName) {
    using Response = std::unique_ptr<CHttpResponse>;
    const std::pair<TimestampToken::RequestFunction, const char*> rows[] = {
        {[]() -> Response { throw CException("100 %1 %2 %"); }, "CException: 100 %1 %2 %"},
        {[]() -> Response { throw std::runtime_error("%2"); }, "std::exception: %2"},
        {[]() -> Response { throw 6UL; }, "unknown exception"},
    };
    for (const auto& [request, words] : rows) {
        EXPECT_RAISED(TSException, std::string("WARNING! N%2 got ") + words,
                      TimestampToken::SendRequest("N%2", request));
    }
    EXPECT_RAISED(std::bad_function_call, std::bad_function_call().what(),
                  TimestampToken::SendRequest("N", nullptr));
}

TEST(TimeManager, DaysBeginAtLocalMidnight) {
    setenv("TZ", "CET-1CEST,M3.5.0,M10.5.0/3", 1);
    tzset();
    CClock clock;
    for (const auto& [year, month, day, midnight] : {std::tuple(2024, 7, 1, 1719784800),
                                                     {2024, 1, 15, 1705273200},
                                                     {2024, 13, 1, 1735686000},
                                                     {1960, 2, 29, -310525200}}) {
        clock.now = midnight;
        EXPECT_TRUE(clock.IsDatePassed(year, month, day)) << year << " " << month;
        clock.now = midnight - 1;
        EXPECT_FALSE(clock.IsDatePassed(year, month, day)) << year << " " << month;
    }
    unsetenv("TZ");
    tzset();
}
