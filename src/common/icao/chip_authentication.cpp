#include "icao/chip_authentication.h"

#include "crypto/openssl_wrapper.h"
#include "crypto/raise_openssl.h"
#include "icao/icao_exception.h"
#include "icao/object_id_table.h"
#include "icao/object_ids.h"

#include <iterator>

using OpenSSLWrap::CreateDhParamsKeyFromDer;
using OpenSSLWrap::CreateEcParamsKeyFromDer;
using OpenSSLWrap::CreateRsaKeyFromDer;
using OpenSSLWrap::IsDh;
using OpenSSLWrap::SetEncodedPublicKey;

namespace icao {

namespace {

constexpr CConstantArcs kEcPublicKey = kArcs<1, 2, 840, 10045, 2, 1>;

struct CCARow {
    bool isEcdh;
    bool isAes;
    int keyBits;
};

// In the order of ECAAlgo.
constexpr CCARow kCARows[] = {
    {false, false, 128}, {false, true, 128}, {false, true, 192}, {false, true, 256},
    {true, false, 128},  {true, true, 128},  {true, true, 192},  {true, true, 256},
};

bool IsComplete(const CSubjectPublicKeyInfo& info) {
    return info.algorithm && info.algorithm->algorithm && info.algorithm->parameters &&
           info.subjectPublicKey;
}

/** The key of an info with all its parts, or null. */
const CSubjectPublicKeyInfo* FindKey(const CChipAuthenticationPublicKeyInfo& info) {
    const CSubjectPublicKeyInfo* const key = info.chipAuthenticationPublicKey.get();
    return key != nullptr && IsComplete(*key) ? key : nullptr;
}

/** The value of a DER INTEGER. Null, and nothing reported, when there is none. */
CTHandle<BIGNUM> ReadInteger(const CByteZone& der) {
    const unsigned char* at = der.GetData();
    ASN1_INTEGER* const read = d2i_ASN1_INTEGER(nullptr, &at, static_cast<long>(der.GetSize()));
    auto value = Own(read != nullptr ? ASN1_INTEGER_to_BN(read, nullptr) : nullptr);
    ASN1_INTEGER_free(read);
    return value;
}

/** Generates on a key's parameters, whichever kind they are of. */
void GenerateIFDKey(CTHandle<EVP_PKEY>& key, CByteZone& publicKey) {
    if (IsDh(key.Get())) {
        GenerateIFDKeyDH(key, publicKey);
    } else {
        GenerateIFDKeyECDH(key, publicKey);
    }
}

}  // namespace

void GetCAParametersFromOID(const CObjectIdentifier& oid, bool& isEcdh, bool& isAes, int& keyBits) {
    const auto id = static_cast<size_t>(GetCAAlgoID(oid));
    if (id >= std::size(kCARows)) {
        RAISE_ICAO(CICAOException(ICAO_ERR_FUNCTION_FAILED));
    }
    const CCARow& row = kCARows[id];
    isEcdh = row.isEcdh;
    isAes = row.isAes;
    keyBits = row.keyBits;
}

void GetSubjectPublicKey(const CSubjectPublicKeyInfo* subjectPublicKeyInfo,
                         CTHandle<EVP_PKEY>& key) {
    if (subjectPublicKeyInfo == nullptr) {
        REJECT_ICAO(ICAO_ERR_FUNCTION_FAILED, "GetSubjectPublicKey: invalid parameters.");
    }
    if (!IsComplete(*subjectPublicKeyInfo)) {
        REJECT_ICAO(ICAO_ERR_FUNCTION_FAILED, "SubjectPublicKeyInfo to use is not complete.");
    }
    const CAlgorithmIdentifier& algorithm = *subjectPublicKeyInfo->algorithm;
    const CByteZone& bits = subjectPublicKeyInfo->subjectPublicKey->bytes;
    if (!kEcPublicKey.Equals(*algorithm.algorithm)) {
        key = CreateRsaKeyFromDer(bits, false, true);
        return;
    }
    auto read = CreateEcParamsKeyFromDer(*algorithm.parameters);
    SetEncodedPublicKey(read.Get(), bits);
    key = std::move(read);
}

void SetICCKeyECDH(const CChipAuthenticationPublicKeyInfo* publicKeyInfo, CTHandle<EVP_PKEY>& key) {
    if (publicKeyInfo == nullptr || !publicKeyInfo->protocol) {
        REJECT_ICAO(ICAO_ERR_FUNCTION_FAILED, "SetICCKey: invalid parameters.");
    }
    if (GetPublicKeyTypeFromOID(*publicKeyInfo->protocol) != id_PK_ECDH) {
        REJECT_ICAO(ICAO_ERR_FUNCTION_FAILED, "given key is not an ECDH key.");
    }
    const CSubjectPublicKeyInfo* const info = FindKey(*publicKeyInfo);
    if (info == nullptr) {
        REJECT_ICAO(ICAO_ERR_FUNCTION_FAILED, "SetICCKey: invalid parameters.");
    }
    const auto domain = CreateEcParamsKeyFromDer(*info->algorithm->parameters);
    const auto group = GetKeyGroup(domain.Get());
    if (!group) {
        RAISE(OPENSSL_FUNCTION_FAILED());
    }
    SetICCKeyECDH(domain.Get(), group.Get(), nullptr, info->subjectPublicKey->bytes, key);
}

void SetICCKeyDH(const CChipAuthenticationPublicKeyInfo* publicKeyInfo, CTHandle<EVP_PKEY>& key) {
    if (publicKeyInfo == nullptr || !publicKeyInfo->protocol) {
        REJECT_ICAO(ICAO_ERR_FUNCTION_FAILED, "SetICCKey: invalid parameters.");
    }
    if (GetPublicKeyTypeFromOID(*publicKeyInfo->protocol) != id_PK_DH) {
        REJECT_ICAO(ICAO_ERR_FUNCTION_FAILED, "given key is not a DH key.");
    }
    const CSubjectPublicKeyInfo* const info = FindKey(*publicKeyInfo);
    if (info == nullptr) {
        REJECT_ICAO(ICAO_ERR_FUNCTION_FAILED, "SetICCKey: invalid parameters.");
    }
    const auto domainKey = CreateDhParamsKeyFromDer(*info->algorithm->parameters);
    const CDhDomain domain(domainKey.Get());
    if (!domain.IsComplete()) {
        RAISE(OPENSSL_FUNCTION_FAILED());
    }
    const auto value = ReadInteger(info->subjectPublicKey->bytes);
    if (!value) {
        RAISE_OPENSSL("d2i_ASN1_INTEGER");
    }
    SetICCKeyDH(domain, nullptr, value.Get(), key);
}

void GenerateIFDKeyECDH(const CChipAuthenticationPublicKeyInfo* publicKeyInfo,
                        CTHandle<EVP_PKEY>& ifdKey, CByteZone& publicKey) {
    if (publicKeyInfo == nullptr || !publicKeyInfo->protocol) {
        REJECT_ICAO(ICAO_ERR_FUNCTION_FAILED, "GenerateIFDKey: invalid parameters.");
    }
    if (GetPublicKeyTypeFromOID(*publicKeyInfo->protocol) != id_PK_ECDH) {
        REJECT_ICAO(ICAO_ERR_FUNCTION_FAILED, "given key is not an ECDH key.");
    }
    const CSubjectPublicKeyInfo* const info = FindKey(*publicKeyInfo);
    if (info == nullptr) {
        REJECT_ICAO(ICAO_ERR_FUNCTION_FAILED, "GenerateIFDKey: invalid parameters.");
    }
    auto key = CreateEcParamsKeyFromDer(*info->algorithm->parameters);
    GenerateIFDKey(key, publicKey);
    ifdKey = std::move(key);
}

void GenerateIFDKeyDH(const CChipAuthenticationPublicKeyInfo* publicKeyInfo,
                      CTHandle<EVP_PKEY>& ifdKey, CByteZone& publicKey) {
    if (publicKeyInfo == nullptr || !publicKeyInfo->protocol) {
        REJECT_ICAO(ICAO_ERR_FUNCTION_FAILED, "GenerateIFDKey: invalid parameters.");
    }
    if (GetPublicKeyTypeFromOID(*publicKeyInfo->protocol) != id_PK_DH) {
        REJECT_ICAO(ICAO_ERR_FUNCTION_FAILED, "given key is not a DH key.");
    }
    const CSubjectPublicKeyInfo* const info = FindKey(*publicKeyInfo);
    if (info == nullptr) {
        REJECT_ICAO(ICAO_ERR_FUNCTION_FAILED, "GenerateIFDKey: invalid parameters.");
    }
    auto key = CreateDhParamsKeyFromDer(*info->algorithm->parameters);
    GenerateIFDKey(key, publicKey);
    ifdKey = std::move(key);
}

}  // namespace icao
