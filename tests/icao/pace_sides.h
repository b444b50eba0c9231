/**
 * Both sides of PACE: the operations of one kind of keys under common names, and keys whose private
 * numbers are given.
 */
#pragma once

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
