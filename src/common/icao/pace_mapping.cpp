#include "icao/pace_mapping.h"

#include "crypto/openssl_wrapper.h"
#include "crypto/raise_openssl.h"
#include "icao/icao_exception.h"
#include "icao/integrated_mapping.h"
#include "icao/key_domain.h"
#include "icao/pace.h"

using OpenSSLWrap::CreateDhParamsKey;
using OpenSSLWrap::CreateEcParamsKey;

namespace icao {

namespace {

/** The nonce as a number, to be kept from timing. */
CTHandle<BIGNUM> ToNumber(const CSecureByteZone& nonce) {
    auto number = OwnSecret(BN_bin2bn(nonce.GetData(), static_cast<int>(nonce.GetSize()), nullptr));
    if (number) {
        BN_set_flags(number.Get(), BN_FLG_CONSTTIME);
    }
    return number;
}

/** One key of the mapped parameters. Both bear the name that their failures are traced with. */
CTHandle<EVP_PKEY> MapGenerator(const EC_GROUP* group, const EC_POINT* generator) {
    if (group == nullptr || generator == nullptr) {
        REJECT_ICAO(ICAO_ERR_FUNCTION_FAILED, "MapGenerator: invalid parameters.");
    }
    const auto cofactor = Own(BN_new());
    const auto order = Own(BN_new());
    if (!cofactor || EC_GROUP_get_cofactor(group, cofactor.Get(), nullptr) != 1) {
        RAISE_OPENSSL("EC_GROUP_get_cofactor");
    }
    if (!order || EC_GROUP_get_order(group, order.Get(), nullptr) != 1) {
        RAISE_OPENSSL("EC_GROUP_get_order");
    }
    const auto mapped = Own(EC_GROUP_dup(group));
    if (!mapped) {
        RAISE_OPENSSL("EC_GROUP_dup");
    }
    // OpenSSL takes the point at infinity as a generator.
    if (EC_POINT_is_at_infinity(group, generator) == 1 ||
        EC_GROUP_set_generator(mapped.Get(), generator, order.Get(), cofactor.Get()) != 1) {
        RAISE_OPENSSL("EC_GROUP_set_generator");
    }
    return CreateEcParamsKey(mapped.Get());
}

CTHandle<EVP_PKEY> MapGenerator(const EVP_PKEY* key, const BIGNUM* generator) {
    if (key == nullptr || generator == nullptr) {
        REJECT_ICAO(ICAO_ERR_FUNCTION_FAILED, "MapGenerator: invalid parameters.");
    }
    const CDhDomain domain(key);
    if (!domain.p || !domain.q) {
        REJECT_ICAO(ICAO_ERR_FUNCTION_FAILED, "MapGenerator: invalid parameters.");
    }
    return CreateDhParamsKey(domain.p.Get(), domain.q.Get(), generator);
}

}  // namespace

void MapGenerator(const EC_GROUP* group, const EC_POINT* generator, CTHandle<EVP_PKEY>& ifdKey,
                  CTHandle<EVP_PKEY>& iccKey) {
    ifdKey = MapGenerator(group, generator);
    iccKey = Own(EVP_PKEY_dup(ifdKey.Get()));
    if (!iccKey) {
        RAISE_OPENSSL("EVP_PKEY_dup");
    }
}

void MapGenerator(const EVP_PKEY* key, const BIGNUM* generator, CTHandle<EVP_PKEY>& ifdKey,
                  CTHandle<EVP_PKEY>& iccKey) {
    ifdKey = MapGenerator(key, generator);
    iccKey = MapGenerator(key, generator);
}

void DoGenericMappingECDH(const CSecureByteZone& nonce, const EVP_PKEY* ifdKey,
                          const EVP_PKEY* iccKey, CTHandle<EVP_PKEY>& mappedKey) {
    if (nonce.IsEmpty() || ifdKey == nullptr || iccKey == nullptr) {
        REJECT_ICAO(ICAO_ERR_FUNCTION_FAILED, "DoGenericMapping: invalid parameters.");
    }
    const auto group = GetKeyGroup(ifdKey);
    CTHandle<EC_POINT> shared;
    DoKeyAgreement(group.Get(), ifdKey, iccKey, shared);
    MakeAffine(group.Get(), shared.Get());
    const auto s = ToNumber(nonce);
    const auto generator = OwnSecret(EC_POINT_new(group.Get()));
    if (!s || !generator ||
        EC_POINT_mul(group.Get(), generator.Get(), s.Get(), shared.Get(), BN_value_one(),
                     nullptr) != 1) {
        RAISE_OPENSSL("EC_POINT_mul");
    }
    MakeAffine(group.Get(), generator.Get());
    mappedKey = MapGenerator(group.Get(), generator.Get());
}

void DoGenericMappingDH(const CSecureByteZone& nonce, const EVP_PKEY* ifdKey,
                        const EVP_PKEY* iccKey, CTHandle<EVP_PKEY>& mappedKey) {
    if (nonce.IsEmpty() || ifdKey == nullptr || iccKey == nullptr) {
        REJECT_ICAO(ICAO_ERR_FUNCTION_FAILED, "DoGenericMapping: invalid parameters.");
    }
    CTHandle<BIGNUM> shared;
    DoKeyAgreement(ifdKey, iccKey, shared);
    const CDhDomain domain(ifdKey);
    const auto s = ToNumber(nonce);
    const auto context = Own(BN_CTX_new());
    const auto mapped = OwnSecret(BN_new());
    // Kept: the names of no calls at all. Logs are matched on them.
    if (!s || !context || !mapped ||
        BN_mod_exp(mapped.Get(), domain.g.Get(), s.Get(), domain.p.Get(), context.Get()) != 1) {
        RAISE_OPENSSL("BN_exp");
    }
    if (BN_mod_mul(mapped.Get(), mapped.Get(), shared.Get(), domain.p.Get(), context.Get()) != 1) {
        RAISE_OPENSSL("BN_mul");
    }
    mappedKey = MapGenerator(ifdKey, mapped.Get());
}

void DoIntegratedMappingECDH(const CSecureByteZone& s, const CByteZone& t, bool isAes,
                             const EVP_PKEY* key, CTHandle<EVP_PKEY>& mappedKey) {
    if (s.IsEmpty() || t.IsEmpty() || key == nullptr) {
        REJECT_ICAO(ICAO_ERR_FUNCTION_FAILED, "DoIntegratedMapping: invalid parameters.");
    }
    const auto group = GetKeyGroup(key);
    CTHandle<BIGNUM> number;
    PseudoRandomModP(s, t, isAes, group.Get(), number);
    CTHandle<EC_POINT> generator;
    ProcessIntegratedMappingGenerator(group.Get(), number.Get(), generator);
    mappedKey = MapGenerator(group.Get(), generator.Get());
}

void DoIntegratedMappingDH(const CSecureByteZone& s, const CByteZone& t, bool isAes,
                           const EVP_PKEY* key, CTHandle<EVP_PKEY>& mappedKey) {
    if (s.IsEmpty() || t.IsEmpty() || key == nullptr) {
        REJECT_ICAO(ICAO_ERR_FUNCTION_FAILED, "DoIntegratedMapping: invalid parameters.");
    }
    CTHandle<BIGNUM> number;
    PseudoRandomModP(s, t, isAes, key, number);
    CTHandle<BIGNUM> generator;
    ProcessIntegratedMappingGenerator(key, number.Get(), generator);
    mappedKey = MapGenerator(key, generator.Get());
}

}  // namespace icao
