#include "icao/active_authentication.h"

#include "crypto/legacy_ciphers.h"
#include "crypto/openssl_wrapper.h"
#include "crypto/raise_openssl.h"
#include "icao/icao_exception.h"
#include "icao/object_id_table.h"
#include "icao/object_ids.h"
#include "util/hex.h"

#include <openssl/rsa.h>

namespace icao {

namespace {

constexpr unsigned char kHeader = 0x6A;           // partial recovery, and no padding
constexpr unsigned char kImplicitTrailer = 0xBC;  // SHA-1
constexpr unsigned char kExplicitTrailer = 0xCC;  // the octet before it names the digest

struct CTrailerRow {
    unsigned char octet;
    const EVP_MD* (*digest)();
};

constexpr CTrailerRow kTrailers[] = {
    {0x31, EVP_ripemd160}, {0x33, EVP_sha1},   {0x34, EVP_sha256},
    {0x35, EVP_sha512},    {0x36, EVP_sha384}, {0x37, EVP_whirlpool},
};

struct CPlainSignatureRow {
    CConstantArcs arcs;
    const EVP_MD* (*digest)();
};

// The arcs 8 to 11, which are SHA-3, are not taken.
constexpr CPlainSignatureRow kPlainSignatures[] = {
    {kBsiArcs<1, 1, 4, 1, 1>, EVP_sha1},   {kBsiArcs<1, 1, 4, 1, 2>, EVP_sha224},
    {kBsiArcs<1, 1, 4, 1, 3>, EVP_sha256}, {kBsiArcs<1, 1, 4, 1, 4>, EVP_sha384},
    {kBsiArcs<1, 1, 4, 1, 5>, EVP_sha512}, {kBsiArcs<1, 1, 4, 1, 6>, EVP_ripemd160},
};

constexpr CConstantArcs kActiveAuthentication = kArcs<2, 23, 136, 1, 1, 5>;

const CTrailerRow* FindTrailer(unsigned char octet) {
    for (const CTrailerRow& row : kTrailers) {
        if (row.octet == octet) {
            return &row;
        }
    }
    return nullptr;
}

CByteView TrailerOf(CByteView message) {
    const unsigned char last = message[message.GetSize() - 1];
    const size_t size = last == kImplicitTrailer ? 1 : last == kExplicitTrailer ? 2 : 0;
    return message.Sub(message.GetSize() - size);
}

/** EVP_Digest, which finds Whirlpool in the legacy provider only. */
bool ComputeDigest(const CByteZone& data, const EVP_MD* digest, CByteZone& value) {
    const auto legacy =
        digest == EVP_whirlpool() ? FetchLegacyDigest("whirlpool") : CTHandle<EVP_MD>();
    unsigned char octets[EVP_MAX_MD_SIZE];
    unsigned size = 0;
    if (EVP_Digest(data.GetData(), data.GetSize(), octets, &size, legacy ? legacy.Get() : digest,
                   nullptr) != 1) {
        return false;
    }
    value.Assign(octets, size);
    return true;
}

bool AreEqual(const CByteZone& one, const CByteZone& other) {
    return one.GetSize() == other.GetSize() &&
           CRYPTO_memcmp(one.GetData(), other.GetData(), one.GetSize()) == 0;
}

}  // namespace

void GetHashFunctionFromTrailerField(CByteView trailer, const EVP_MD*& digest) {
    digest = nullptr;
    if (trailer.IsEmpty()) {
        REJECT_ICAO(ICAO_ERR_FUNCTION_FAILED,
                    "GetHashFunctionFromTrailerField: invalid parameters.");
    }
    if (trailer.GetSize() == 1 && trailer[0] == kImplicitTrailer) {
        digest = EVP_sha1();
    }
    if (trailer.GetSize() != 2 || trailer[1] != kExplicitTrailer) {
        return;
    }
    const CTrailerRow* const row = FindTrailer(trailer[0]);
    if (row == nullptr) {
        REJECT_ICAO(ICAO_ERR_FUNCTION_NOT_SUPPORTED, "%X algorithm identifier is not known",
                    trailer[0]);
    }
    digest = row->digest();
}

void GetDataFromEMVSignatureMessage(CByteView message, CByteZone& messagePart,
                                    CByteZone& digestValue, const EVP_MD*& digest) {
    if (message.IsEmpty() || message[0] != kHeader) {
        // Kept: the texts name another operation. Logs are matched on them.
        REJECT_ICAO(ICAO_ERR_FUNCTION_FAILED,
                    "GetHashFunctionFromEMVSignature: invalid parameters.");
    }
    const CByteView trailer = TrailerOf(message);
    const EVP_MD* found = nullptr;
    GetHashFunctionFromTrailerField(trailer, found);
    if (found == nullptr) {
        REJECT_ICAO(ICAO_ERR_FUNCTION_FAILED, "Fail to get hash function");
    }
    const auto size = static_cast<size_t>(EVP_MD_get_size(found));
    const size_t around = 1 + size + trailer.GetSize();
    if (message.GetSize() < around) {
        REJECT_ICAO(ICAO_ERR_FUNCTION_FAILED,
                    "GetHashFunctionFromEMVSignature: invalid parameters.");
    }
    const size_t partSize = message.GetSize() - around;
    CByteZone part = message.Sub(1, partSize).ToZone();
    digestValue = message.Sub(1 + partSize, size).ToZone();
    messagePart = std::move(part);
    digest = found;
}

bool VerifyActiveAuthenticationRSASignature(const CByteZone& challenge, const CByteZone& signature,
                                            EVP_PKEY* key) {
    if (key == nullptr) {
        TraceString("Public key is NULL.");
        RAISE(OPENSSL_FUNCTION_FAILED());
    }
    CTHandle<EVP_PKEY_CTX> context;
    CByteZone message;
    if (OpenSSLWrap::InitVerifyRecover(key, RSA_NO_PADDING, nullptr, context) < 1 ||
        OpenSSLWrap::VerifyRecover(context.Get(), signature, message) < 1) {
        RAISE(OPENSSL_FUNCTION_FAILED());
    }
    CByteZone signedData;
    CByteZone expected;
    const EVP_MD* digest = nullptr;
    GetDataFromEMVSignatureMessage(message, signedData, expected, digest);
    signedData.Append(challenge);
    CByteZone computed;
    if (!ComputeDigest(signedData, digest, computed)) {
        RAISE_OPENSSL("EVP_Digest");
    }
    return AreEqual(computed, expected);
}

bool VerifyActiveAuthenticationECDSASignature(const CByteZone& challenge,
                                              const CByteZone& signature, const EVP_MD* digest,
                                              EVP_PKEY* key) {
    if (digest == nullptr) {
        REJECT_ICAO(ICAO_ERR_FUNCTION_FAILED,
                    "VerifyActiveAuthenticationECDSASignature: invalid parameters.");
    }
    CByteZone computed;
    if (!ComputeDigest(challenge, digest, computed)) {
        RAISE_OPENSSL("EVP_Digest");
    }
    CByteZone der;
    OpenSSLWrap::Raw2DerSignature(signature, der);
    CTHandle<EVP_PKEY_CTX> context;
    if (OpenSSLWrap::InitVerify(key, 0, digest, nullptr, nullptr, context) < 1) {
        RAISE(OPENSSL_FUNCTION_FAILED());
    }
    const int result = OpenSSLWrap::Verify(context.Get(), der, computed);
    if (result < 0) {
        RAISE(OPENSSL_FUNCTION_FAILED());
    }
    return result == 1;
}

bool VerifyActiveAuthenticationSignature(const CByteZone& challenge, const CByteZone& signature,
                                         const EVP_MD* digest, EVP_PKEY* key) {
    if (challenge.IsEmpty() || signature.IsEmpty() || key == nullptr) {
        REJECT_ICAO(ICAO_ERR_FUNCTION_FAILED,
                    "VerifyActiveAuthenticationSignature: invalid parameters.");
    }
    switch (EVP_PKEY_get_id(key)) {
        case EVP_PKEY_EC:
            return VerifyActiveAuthenticationECDSASignature(challenge, signature, digest, key);
        case EVP_PKEY_RSA:
            return VerifyActiveAuthenticationRSASignature(challenge, signature, key);
        default:
            RAISE_ICAO(CICAOException(ICAO_ERR_FUNCTION_FAILED));
    }
}

void GetECDSAPlainSignatureHashFunction(const CObjectIdentifier& oid, const EVP_MD*& digest) {
    const CPlainSignatureRow* const row = FindByArcs(kPlainSignatures, oid);
    if (row == nullptr) {
        CByteZone octets;
        GetOIDBytes(oid, octets);
        REJECT_ICAO(ICAO_ERR_FUNCTION_NOT_SUPPORTED,
                    "ECDSA plain signatures identifier (%s) is not known", ToHex(octets).GetText());
    }
    digest = row->digest();
}

void GetECDSAPlainSignatureHashFunction(const CTList<CSecurityInfo>& securityInfos,
                                        const EVP_MD*& digest) {
    for (const auto& info : securityInfos) {
        if (kActiveAuthentication.Equals(*info->protocol) && info->optionalData != nullptr) {
            size_t position = 0;
            const auto algorithm = CObjectIdentifierType::Decode(*info->optionalData, position);
            GetECDSAPlainSignatureHashFunction(*algorithm, digest);
        }
    }
}

}  // namespace icao
