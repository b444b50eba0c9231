#include "timestamp/json_timestamp_token.h"

#include "crypto/raise_openssl.h"
#include "system/critical_section.h"
#include "system/http_requests.h"
#include "system/https.h"
#include "system/settings.h"
#include "timestamp/time_manager.h"
#include "timestamp/ts_objects.h"
#include "trace/trace_thread.h"
#include "util/hex.h"
#include "util/js_parser.h"

namespace {

// Services let their tokens live for an hour.
constexpr time_t kBearerSeconds = 3000;

/**
 * The bearer token of the process. Never destroyed: threads of the host may still ask while it
 * ends.
 */
struct CBearer {
    // Guards the rest, while a token is fetched too: whoever comes then waits for it.
    CCriticalSection lock;
    CTString<CUTF8Encoding, true> token;
    time_t fetched = -1;
};

CBearer& GetBearer() {
    static auto* const bearer = new CBearer;
    return *bearer;
}

/** A text of the object that a body is, or empty. */
CUTF8String ReadMember(const CByteZone& body, const char* key) {
    const CTraceSilence silence;  // the reader would quote what the service sent
    const char* cursor = reinterpret_cast<const char*>(body.GetData());
    return Parse(cursor, cursor + body.GetSize())->GetByKey(key)->GetString();
}

CByteZone MakeCredentials() {
    CUTF8String form("grant_type=client_credentials&client_id=");
    form += GetTsaClientId();
    form += "&client_secret=";
    form += GetTsaClientSecret();
    form += "&scope=openid";
    return CByteZone(form.GetText());
}

CTStringList<CISOString> MakeHeaderLines() {
    CBearer& bearer = GetBearer();
    const CCriticalSectionGuard guard(bearer.lock);
    CTStringList<CISOString> lines;
    lines.Append(CISOString("Authorization: Bearer ") + bearer.token);
    lines.Append("Connection: Close");
    return lines;
}

CUTF8String ToDecimal(const ASN1_INTEGER* integer) {
    const auto number = Own(ASN1_INTEGER_to_BN(integer, nullptr));
    const CTHandle<char> digits(number ? BN_bn2dec(number.Get()) : nullptr,
                                [](char* held) { OPENSSL_free(held); });
    return digits ? CUTF8String(digits.Get()) : CUTF8String();
}

/** The token that a text without line breaks holds and nothing else; null when there is none. */
CTHandle<PKCS7> DecodeToken(const CUTF8String& text) {
    const auto decoder = Own(BIO_new(BIO_f_base64()));
    const int length = static_cast<int>(text.GetLength());
    auto source = Own(BIO_new_mem_buf(text.GetText(), length));
    if (!decoder || !source) {
        return {};
    }
    BIO_set_flags(decoder.Get(), BIO_FLAGS_BASE64_NO_NL);
    BIO_push(decoder.Get(), source.Detach());  // takes the source
    auto token = Own(d2i_PKCS7_bio(decoder.Get(), nullptr));
    unsigned char more = 0;
    return BIO_read(decoder.Get(), &more, 1) > 0 ? CTHandle<PKCS7>() : std::move(token);
}

}  // namespace

void JSONTimestampToken::InitAuthToken() {
    CBearer& bearer = GetBearer();
    const CCriticalSectionGuard guard(bearer.lock);
    TimeManager& clock = TimeManager::Instance();
    if (bearer.token.GetLength() > 0 && clock.GetCurrentTime() - bearer.fetched < kBearerSeconds) {
        return;
    }
    const CByteZone reply = SendRequest("JSONTimestampToken::InitAuthToken", [] {
        return PostTyped(CHttpsConnectionFactory(), ParseUrl(CISOString(GetTsaTokenUrl())),
                         MakeCredentials(), "application/x-www-form-urlencoded");
    });
    bearer.token = ReadMember(reply, "access_token");
    bearer.fetched = clock.GetCurrentTime();
}

CByteZone JSONTimestampToken::MakeQuery() const {
    const CUTF8String number = ToDecimal(nonce.Get());
    if (number.IsEmpty()) {
        RAISE_OPENSSL("BN_bn2dec");
    }
    CUTF8String text("{\"certReq\": true,\"hashAlgorithm\": \"");
    text += hashOid;
    text += "\",\"hashedMessage\": \"";
    text += ToHex(digest);
    text += "\",\"nonce\": ";
    text += number;
    text += "}";
    return CByteZone(text.GetText());
}

void JSONTimestampToken::GetToken(CByteZone& result) {
    InitAuthToken();
    const CByteZone query = MakeQuery();
    const CByteZone body = SendRequest("JSONTimestampToken::GetToken", [this, &query] {
        return PostJson(CHttpsConnectionFactory(), ParseUrl(CISOString(url)), query,
                        MakeHeaderLines());
    });
    const CTHandle<PKCS7> token = DecodeToken(ReadMember(body, "base64Token"));
    if (!token) {
        RAISE_OPENSSL("d2i_PKCS7");
    }
    VerifyToken(token.Get());
    CByteZone der = EncodeDer<PKCS7>(&i2d_PKCS7, token.Get());
    if (der.IsEmpty()) {
        RAISE_OPENSSL("i2d_PKCS7");
    }
    result = std::move(der);
}
