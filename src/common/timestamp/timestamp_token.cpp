#include "timestamp/timestamp_token.h"

#include "crypto/raise_openssl.h"
#include "crypto/try_openssl.h"
#include "system/settings.h"
#include "timestamp/json_timestamp_token.h"
#include "timestamp/rfc3161_timestamp_token.h"
#include "timestamp/ts_objects.h"
#include "util/format_message.h"

#include <openssl/objects.h>
#include <openssl/rand.h>
#include <openssl/sha.h>

#include <cxxabi.h>

#include <exception>

namespace {

constexpr long kRequestVersion = 1;
constexpr int32_t kHttpOk = 200;

// The JSON service takes the nonce as a decimal number, of always the same magnitude.
constexpr int kNonceOctets = 7;

struct CDigestRow {
    uint32_t nid;
    unsigned char* (*hash)(const unsigned char* data, size_t length, unsigned char* digest);
    size_t octets;
    const char* oid;
};

constexpr CDigestRow kDigests[] = {
    {NID_sha384, &SHA384, SHA384_DIGEST_LENGTH, "2.16.840.1.101.3.4.2.2"},
    {NID_sha512, &SHA512, SHA512_DIGEST_LENGTH, "2.16.840.1.101.3.4.2.3"},
};
constexpr CDigestRow kOtherDigest = {NID_sha256, &SHA256, SHA256_DIGEST_LENGTH,
                                     "2.16.840.1.101.3.4.2.1"};

const CDigestRow& FindDigest(uint32_t nid) {
    for (const CDigestRow& row : kDigests) {
        if (row.nid == nid) {
            return row;
        }
    }
    return kOtherDigest;
}

/**
 * Whether an address is the service's or lies below it. A prefix that ends inside a host's name
 * would send the bearer token to any host whose name goes on.
 */
bool IsBelow(const CUTF8String& url, const CUTF8String& prefix) {
    const size_t length = prefix.GetLength();
    if (length == 0 || !url.StartsWith(prefix)) {
        return false;
    }
    const char next = url.GetText()[length];
    return prefix.GetText()[length - 1] == '/' || next == '\0' || next == '/' || next == '?' ||
           next == ':';
}

std::unique_ptr<TimestampToken> MakeToken(const CUTF8String& url) {
    if (IsBelow(url, GetTsaServiceUrl())) {
        return std::make_unique<JSONTimestampToken>(url);
    }
    return std::make_unique<RFC3161TimestampToken>(url);
}

CUTF8String Say(const char* text, const char* name, const CUTF8String& reason) {
    CUTF8FmtArgs args;
    args << CUTF8String(name) << reason;
    return FormatMessage(CUTF8String(text), args);
}

template <class Object>
void VerifyToken(TS_REQ* request, int (*verify)(TS_VERIFY_CTX*, Object*), Object* object) {
    const auto context = Own(TS_REQ_to_TS_VERIFY_CTX(request, nullptr));
    if (!context) {
        RAISE_OPENSSL("TS_REQ_to_TS_VERIFY_CTX");
    }
    // Kept: the signature and the policy are left out. Authorities are in use whose certificates
    // the machine does not know.
    TS_VERIFY_CTX_set_flags(context.Get(), TS_VFY_VERSION | TS_VFY_IMPRINT | TS_VFY_NONCE);
    if (verify(context.Get(), object) == 0) {
        TraceString0("Failed to verify TS response.");
        RAISE_OPENSSL("VerifyToken");
    }
}

}  // namespace

void GetTimestampToken(const CUTF8String& url, const CByteZone& data, uint32_t nid,
                       CByteZone& result) {
    const std::unique_ptr<TimestampToken> token = MakeToken(url);
    token->SetDigest(data, nid);
    token->InitRequest();
    token->GetToken(result);
}

void TimestampToken::SetDigest(const CByteZone& data, uint32_t nid) {
    const CDigestRow& row = FindDigest(nid);
    hashNid = nid;
    hashOid = row.oid;
    digest.Resize(row.octets);
    if (row.hash(data.GetData(), data.GetSize(), digest.GetData()) == nullptr) {
        RAISE_OPENSSL("hash signature for timestamp");
    }
}

void TimestampToken::InitRequest() {
    request = Own(TS_REQ_new());
    if (!request) {
        RAISE_OPENSSL("TS_REQ_new");
    }
    if (TS_REQ_set_version(request.Get(), kRequestVersion) != 1) {
        RAISE_OPENSSL("TS_REQ_set_version");
    }
    if (TS_REQ_set_cert_req(request.Get(), 1) != 1) {
        RAISE_OPENSSL("TS_REQ_set_cert_req");
    }
    if (SetImprint() <= 0 || SetNonce() <= 0) {
        RAISE(OPENSSL_FUNCTION_FAILED());
    }
}

int TimestampToken::SetImprint() {
    // An unknown number gives no object, which TS_MSG_IMPRINT_set_algo refuses.
    const auto algorithm = Own(X509_ALGOR_new());
    TRY_OPENSSL(X509_ALGOR_set0, algorithm.Get(), OBJ_nid2obj(static_cast<int>(hashNid)),
                V_ASN1_NULL, nullptr);
    CTHandle<TS_MSG_IMPRINT> imprint;
    TRY_OPENSSL_NEW(imprint, TS_MSG_IMPRINT_new);
    // These copy what they are given.
    TRY_OPENSSL(TS_MSG_IMPRINT_set_algo, imprint.Get(), algorithm.Get());
    TRY_OPENSSL(TS_MSG_IMPRINT_set_msg, imprint.Get(), digest.GetData(),
                static_cast<int>(digest.GetSize()));
    TRY_OPENSSL(TS_REQ_set_msg_imprint, request.Get(), imprint.Get());
    return 1;
}

int TimestampToken::SetNonce() {
    static constexpr unsigned char kZeros[kNonceOctets] = {};
    TRY_OPENSSL_NEW(nonce, ASN1_INTEGER_new);
    TRY_OPENSSL(ASN1_STRING_set, nonce.Get(), kZeros, kNonceOctets);
    unsigned char* const octets = nonce.Get()->data;
    do {
        TRY_OPENSSL(RAND_bytes, octets, kNonceOctets);
    } while (octets[0] == 0);
    TRY_OPENSSL(TS_REQ_set_nonce, request.Get(), nonce.Get());
    return 1;
}

CByteZone TimestampToken::SendRequest(const char* name, const RequestFunction& requestFunction) {
    if (!requestFunction) {
        RAISE(std::bad_function_call());
    }
    int32_t status = 0;
    CByteZone body;
    try {
        const std::unique_ptr<CHttpResponse> response = requestFunction();
        status = response->GetStatus();
        if (status == kHttpOk) {
            body = response->GetBody();
        }
    } catch (const abi::__forced_unwind&) {
        throw;  // the thread is being cancelled
    } catch (const CException& exception) {
        RAISE(TSException(
            Say("WARNING! %1 got CException: %2", name, RenderMessage(exception.GetMessage()))));
    } catch (const std::exception& exception) {
        RAISE(TSException(Say("WARNING! %1 got std::exception: %2", name, exception.what())));
    } catch (...) {
        RAISE(TSException(Say("WARNING! %1 got unknown exception", name, {})));
    }
    if (status != kHttpOk) {
        RAISE(TSException(Say("WARNING! %1 got status (%2) != HTTPSTATUS::HTTP_OK", name,
                              std::to_string(status).c_str())));
    }
    return body;
}

void TimestampToken::VerifyToken(TS_RESP* response) const {
    ::VerifyToken(request.Get(), &TS_RESP_verify_response, response);
}

void TimestampToken::VerifyToken(PKCS7* token) const {
    ::VerifyToken(request.Get(), &TS_RESP_verify_token, token);
}
