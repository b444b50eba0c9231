#include "timestamp/rfc3161_timestamp_token.h"

#include "crypto/raise_openssl.h"
#include "system/http_requests.h"
#include "system/https.h"
#include "timestamp/ts_objects.h"

void RFC3161TimestampToken::GetToken(CByteZone& result) {
    const CByteZone query = EncodeDer(&i2d_TS_REQ, request.Get());
    if (query.IsEmpty()) {
        RAISE_OPENSSL("i2d_TS_REQ");
    }
    const CByteZone body = SendRequest("RFC3161TimestampToken::GetToken", [this, &query] {
        return PostTimestampQuery(CHttpsConnectionFactory(), ParseUrl(CISOString(url)), query);
    });
    const unsigned char* at = body.GetData();
    const auto response = Own(d2i_TS_RESP(nullptr, &at, static_cast<long>(body.GetSize())));
    if (!response) {
        TraceString0("Failed to parse TS response.");
        RAISE_OPENSSL("GetToken");
    }
    VerifyToken(response.Get());
    CByteZone token = EncodeDer<PKCS7>(&i2d_PKCS7, TS_RESP_get_token(response.Get()));
    if (token.IsEmpty()) {
        RAISE_OPENSSL("i2d_PKCS7");
    }
    result = std::move(token);
}
