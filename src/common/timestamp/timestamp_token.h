/**
 * Trusted timestamps over signatures (RFC 3161).
 *
 * A request is built, sent to an authority and its answer compared with the request. What is
 * checked of the answer is version, imprint and nonce: neither the token's signature nor its
 * certificates. The authority is trusted by the transport alone, so callers who need more verify
 * the token themselves.
 */
#pragma once

#include "crypto/openssl_error.h"
#include "crypto/openssl_handle.h"
#include "system/http_response.h"
#include "util/ct_string.h"
#include "util/ct_zone.h"
#include "util/exception.h"

#include <openssl/ts.h>

#include <cstdint>
#include <functional>
#include <memory>

/** The authority was not reached, or its answer has another status than 200. Has a text. */
class TSException : public CException {
public:
    using CException::CException;
};

/**
 * Gets a token over `data` from the authority at `url`: the JSON service when the URL begins with
 * the service's address from the settings, any other authority by RFC 3161.
 *
 * `nid` is OpenSSL's number of the digest; see TimestampToken::SetDigest. `result` becomes the DER
 * of the token, a PKCS #7 structure. It is not touched when something is thrown: TSException by the
 * transport, OPENSSL_FUNCTION_FAILED by anything that OpenSSL refuses, an answer that does not
 * belong to the request included. Nothing is tried twice.
 */
void GetTimestampToken(const CUTF8String& url, const CByteZone& data, uint32_t nid,
                       CByteZone& result);

/**
 * One request to one authority and its answer. Lives for that request, in one thread.
 *
 * The steps in their order: SetDigest, InitRequest, GetToken.
 */
class TimestampToken {
public:
    using RequestFunction = std::function<std::unique_ptr<CHttpResponse>()>;

    virtual ~TimestampToken() = default;

    /**
     * Sends the request, checks the answer and gives the DER of the token. Throws TSException and
     * OPENSSL_FUNCTION_FAILED; the result is not touched then.
     */
    virtual void GetToken(CByteZone& result) = 0;

    TimestampToken(const TimestampToken&) = delete;
    TimestampToken& operator=(const TimestampToken&) = delete;

    /**
     * Hashes the data: SHA-384 for NID_sha384, SHA-512 for NID_sha512, SHA-256 for any other
     * number.
     *
     * Kept: the request names the number all the same, so authorities see what the caller asked
     * for. A number that OpenSSL does not know fails in InitRequest.
     */
    void SetDigest(const CByteZone& data, uint32_t nid);

    /**
     * Builds the request: version 1, the digest, a random nonce of seven octets that does not begin
     * with a zero, and the wish for the authority's certificate. Throws OPENSSL_FUNCTION_FAILED.
     */
    void InitRequest();

    /**
     * Runs a function that sends and gives the response, never null, and reads the body.
     *
     * Throws std::bad_function_call for an empty function. Whatever the function throws, a failure
     * to read the body and a status other than 200 become TSException, whose text begins with
     * "WARNING! " and `name`.
     */
    static CByteZone SendRequest(const char* name, const RequestFunction& requestFunction);

    /**
     * Compares version, imprint and nonce with the request. Traces "Failed to verify TS response."
     * and throws OPENSSL_FUNCTION_FAILED when they differ, when there is no nonce, and when the
     * response's status is neither granted nor granted with changes.
     */
    void VerifyToken(TS_RESP* response) const;
    void VerifyToken(PKCS7* token) const;

protected:
    explicit TimestampToken(const CUTF8String& address) : url(address) {}

    CUTF8String url;
    CUTF8String hashOid = "2.16.840.1.101.3.4.2.1";
    CTHandle<ASN1_INTEGER> nonce;
    uint32_t hashNid = 0;
    CByteZone digest;
    CTHandle<TS_REQ> request;

private:
    int SetImprint();
    int SetNonce();
};
