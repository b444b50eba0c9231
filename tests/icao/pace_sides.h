/**
 * Both sides of PACE: the operations of one kind of keys under common names, and keys whose private
 * numbers are given.
 */
#pragma once

#include "crypto/key_parameters.h"
#include "crypto/openssl_wrapper.h"
#include "icao/authentication_token.h"
#include "icao/key_derivation.h"
#include "icao/pace.h"
#include "icao/pace_mapping.h"
#include "icao/pace_parameters.h"

using Key = CTHandle<EVP_PKEY>;

struct CKeyKind {
    decltype(&icao::SetIFDKeyParametersECDH) setParameters;
    void (*generate)(Key&, CByteZone&);
    void (*setIccKey)(const EVP_PKEY*, const CByteZone&, Key&);
    decltype(&icao::DoGenericMappingECDH) mapGeneric;
    decltype(&icao::DoIntegratedMappingECDH) mapIntegrated;
    decltype(&icao::ProcessSharedSecretECDH) processSecret;
};

inline const CKeyKind kKinds[] = {
    {icao::SetIFDKeyParametersDH, icao::GenerateIFDKeyDH, icao::SetICCKeyDH,
     icao::DoGenericMappingDH, icao::DoIntegratedMappingDH, icao::ProcessSharedSecretDH},
    {icao::SetIFDKeyParametersECDH, icao::GenerateIFDKeyECDH, icao::SetICCKeyECDH,
     icao::DoGenericMappingECDH, icao::DoIntegratedMappingECDH, icao::ProcessSharedSecretECDH},
};

inline CTHandle<BIGNUM> ToNumber(const CByteZone& bytes) {
    return Own(BN_bin2bn(bytes.GetData(), static_cast<int>(bytes.GetSize()), nullptr));
}

inline Key StandardParameters(int domain, bool isEcdh) {
    icao::CPACEInfo info;
    info.parameterId = std::make_unique<int32_t>(domain);
    Key key;
    kKinds[isEcdh].setParameters(&info, nullptr, key);
    return key;
}

/** A point of an EC key's group, or a number modulo the prime: the generator's power. */
inline CByteZone RaiseGenerator(const Key& key, const BIGNUM* exponent) {
    if (OpenSSLWrap::IsDh(key.Get())) {
        const icao::CDhDomain domain(key.Get());
        const auto power = Own(BN_new());
        const auto context = Own(BN_CTX_new());
        BN_mod_exp(power.Get(), domain.g.Get(), exponent, domain.p.Get(), context.Get());
        return OpenSSLWrap::BignumToBuffer(power.Get(), domain.GetWidth());
    }
    const auto group = icao::GetKeyGroup(key.Get());
    return OpenSSLWrap::GetUncompressedEcPointData(
        group.Get(), OpenSSLWrap::GetEcPointFromPrivateKey(group.Get(), exponent).Get());
}

inline CByteZone GeneratorOf(const Key& key) { return RaiseGenerator(key, BN_value_one()); }

/** A key pair on the parameters of a key, and its public value as the library would send it. */
inline Key MakeKey(const Key& parameters, const CByteZone& scalar, CByteZone& publicKey) {
    const auto exponent = ToNumber(scalar);
    publicKey = RaiseGenerator(parameters, exponent.Get());
    if (OpenSSLWrap::IsDh(parameters.Get())) {
        const icao::CDhDomain domain(parameters.Get());
        return OpenSSLWrap::CreateDhKey(domain.p.Get(), domain.q.Get(), domain.g.Get(),
                                        ToNumber(publicKey).Get(), exponent.Get());
    }
    return OpenSSLWrap::CreateEcKey(icao::GetKeyGroup(parameters.Get()).Get(), exponent.Get());
}

/** The DH key, or its parameters, for X9.42, which writes the q. */
inline Key ToX942(const Key& key, int selection) {
    const icao::CDhDomain domain(key.Get());
    CTHandle<BIGNUM> value;
    if (selection != EVP_PKEY_KEY_PARAMETERS) {
        OpenSSLWrap::GetKeyNumber(key.Get(), OpenSSLWrap::EKeyNumber::Pub, value);
    }
    CKeyParameters numbers;
    numbers.Push("p", domain.p.Get());
    numbers.Push("q", domain.q.Get());
    numbers.Push("g", domain.g.Get());
    numbers.Push("pub", value.Get());
    return OpenSSLWrap::CreateKey("DHX", selection, numbers.Build().Get());
}

constexpr char kStandardizedOid[] = "\x04\x00\x7F\x00\x07\x01\x02";
constexpr char kEcPublicKeyOid[] = "\x2A\x86\x48\xCE\x3D\x02\x01";

/** Both identifiers above have as many octets. */
inline std::unique_ptr<CObjectIdentifier> MakeOid(const char* octets) {
    return std::make_unique<CObjectIdentifier>(CObjectIdentifierContent::DecodeData(
        {reinterpret_cast<const unsigned char*>(octets), sizeof(kStandardizedOid) - 1}));
}

/** Sets parameters from an info without an id of its own; no octets are no parameters at all. */
inline void SetFrom(bool isEcdh, const char* oid, const CByteZone& parameters, Key& key) {
    icao::CPACEDomainParameterInfo info;
    info.domainParameter = std::make_unique<CAlgorithmIdentifier>();
    info.domainParameter->algorithm = MakeOid(oid);
    if (!parameters.IsEmpty()) {
        info.domainParameter->parameters = std::make_unique<CByteZone>(parameters);
    }
    kKinds[isEcdh].setParameters(nullptr, &info, key);
}

/** A chip's static key as data group 14 has it. */
inline icao::CChipAuthenticationPublicKeyInfo StaticKeyInfo(const Key& key) {
    const uint32_t type = OpenSSLWrap::IsEc(key.Get()) ? 2 : 1;
    const uint32_t arcs[] = {0, 4, 0, 127, 0, 7, 2, 2, 1, type};
    icao::CChipAuthenticationPublicKeyInfo info;
    info.protocol = std::make_unique<CObjectIdentifier>(arcs, std::size(arcs));
    CByteZone der;
    size_t position = 0;
    OpenSSLWrap::ExportKey(key.Get(), "DER", EVP_PKEY_PUBLIC_KEY, "SubjectPublicKeyInfo", der);
    info.chipAuthenticationPublicKey = icao::CSubjectPublicKeyInfoType::Decode(der, position);
    return info;
}
