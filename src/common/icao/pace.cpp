#include "icao/pace.h"

#include "crypto/openssl_wrapper.h"
#include "crypto/raise_openssl.h"
#include "icao/icao_exception.h"
#include "icao/key_domain.h"
#include "icao/nonce_cipher.h"

using OpenSSLWrap::BignumToBuffer;
using OpenSSLWrap::BignumToSecureBuffer;
using OpenSSLWrap::CompressEcPoint;
using OpenSSLWrap::CreateDhKey;
using OpenSSLWrap::CreateEcKeyFromParameters;
using OpenSSLWrap::EKeyNumber;
using OpenSSLWrap::GenerateDhKey;
using OpenSSLWrap::GenerateECKeyFromParametersKey;
using OpenSSLWrap::GetEncodedPublicKey;
using OpenSSLWrap::GetKeyNumber;
using OpenSSLWrap::GetUncompressedEcPointData;

namespace icao {

void DecryptNonce(const CSecureByteZone& key, bool isAes, const CByteZone& encryptedNonce,
                  CSecureByteZone& nonce) {
    CSecureByteZone decrypted(encryptedNonce.GetSize(), 0);
    if (!RunNonceCipher(isAes, false, key, encryptedNonce, decrypted.GetData())) {
        RAISE(OPENSSL_FUNCTION_FAILED());
    }
    nonce = std::move(decrypted);
}

void GenerateIFDKeyECDH(CTHandle<EVP_PKEY>& key, CByteZone& publicKey) {
    if (!key) {
        REJECT_ICAO(ICAO_ERR_FUNCTION_FAILED, "GenerateIFDKey: invalid parameters.");
    }
    if (HasMoreThanParameters(key.Get())) {
        REJECT_ICAO(ICAO_ERR_FUNCTION_FAILED, "IFD key contains more than parameters only.");
    }
    CTHandle<EVP_PKEY> generated;
    if (IsSlowerThanItsGroup(key.Get())) {
        generated = GenerateKey(key.Get());
    } else {
        GenerateECKeyFromParametersKey(key.Get(), generated);
    }
    if (!generated) {
        RAISE(OPENSSL_FUNCTION_FAILED());
    }
    publicKey = GetEncodedPublicKey(generated.Get());
    key = std::move(generated);
}

void GenerateIFDKeyDH(CTHandle<EVP_PKEY>& key, CByteZone& publicKey) {
    if (!key) {
        REJECT_ICAO(ICAO_ERR_FUNCTION_FAILED, "GenerateIFDKey: invalid parameters.");
    }
    if (HasMoreThanParameters(key.Get())) {
        REJECT_ICAO(ICAO_ERR_FUNCTION_FAILED, "IFD key contains more than parameters only.");
    }
    auto generated = GenerateDhKey(key.Get());
    CTHandle<BIGNUM> p;
    CTHandle<BIGNUM> value;
    if (GetKeyNumber(generated.Get(), EKeyNumber::P, p) < 1 ||
        GetKeyNumber(generated.Get(), EKeyNumber::Pub, value) < 1) {
        RAISE(OPENSSL_FUNCTION_FAILED());
    }
    publicKey = BignumToBuffer(value.Get(), static_cast<size_t>(BN_num_bytes(p.Get())));
    key = std::move(generated);
}

void SetICCKeyECDH(const EVP_PKEY* domain, const EC_GROUP* group, const EC_POINT* own,
                   const CByteZone& iccPublicKey, CTHandle<EVP_PKEY>& iccKey) {
    const auto point = ReadPoint(group, iccPublicKey);
    if (!point) {
        RAISE_OPENSSL("EC_POINT_oct2point");
    }
    if (EC_POINT_is_at_infinity(group, point.Get()) == 1) {
        REJECT_ICAO(ICAO_ERR_FUNCTION_FAILED, "SetICCKey: invalid parameters.");
    }
    if (own != nullptr) {
        const int difference = EC_POINT_cmp(group, point.Get(), own, nullptr);
        if (difference < 0) {
            RAISE_OPENSSL("EC_POINT_cmp");
        }
        if (difference == 0) {
            REJECT_ICAO(ICAO_ERR_FUNCTION_FAILED, "IFD and ICC public keys must be different.");
        }
    }
    iccKey =
        CreateEcKeyFromParameters(domain, nullptr, GetUncompressedEcPointData(group, point.Get()));
}

void SetICCKeyECDH(const EVP_PKEY* ifdKey, const CByteZone& iccPublicKey,
                   CTHandle<EVP_PKEY>& iccKey) {
    if (ifdKey == nullptr || iccPublicKey.IsEmpty()) {
        REJECT_ICAO(ICAO_ERR_FUNCTION_FAILED, "SetICCKey: invalid parameters.");
    }
    const auto group = GetKeyGroup(ifdKey);
    if (!group) {
        REJECT_ICAO(ICAO_ERR_FUNCTION_FAILED, "IFD key has no EC_GROUP.");
    }
    const auto own = ReadPublicPoint(group.Get(), ifdKey);
    if (!own) {
        RAISE(OPENSSL_FUNCTION_FAILED());
    }
    SetICCKeyECDH(ifdKey, group.Get(), own.Get(), iccPublicKey, iccKey);
}

/** Whether no secret can be made with a value, or only one of a few. */
static bool IsWeakValue(const CDhDomain& domain, const BIGNUM* value) {
    const auto context = Own(BN_CTX_new());
    const auto last = Own(BN_dup(domain.p.Get()));
    const auto power = Own(BN_new());
    if (!context || !last || !power || BN_sub_word(last.Get(), 1) != 1 || BN_is_zero(value) ||
        BN_is_one(value) || BN_cmp(value, last.Get()) >= 0) {
        return true;
    }
    // A value of small order would let a chip that does not know the password guess the secret.
    return domain.q &&
           (BN_mod_exp(power.Get(), value, domain.q.Get(), domain.p.Get(), context.Get()) != 1 ||
            !BN_is_one(power.Get()));
}

void SetICCKeyDH(const CDhDomain& domain, const BIGNUM* own, const BIGNUM* iccValue,
                 CTHandle<EVP_PKEY>& iccKey) {
    if (own != nullptr && BN_cmp(own, iccValue) == 0) {
        REJECT_ICAO(ICAO_ERR_FUNCTION_FAILED, "IFD and ICC public keys must be different.");
    }
    if (IsWeakValue(domain, iccValue)) {
        REJECT_ICAO(ICAO_ERR_FUNCTION_FAILED, "SetICCKey: invalid parameters.");
    }
    iccKey = CreateDhKey(domain.p.Get(), domain.q.Get(), domain.g.Get(), iccValue, nullptr);
}

void SetICCKeyDH(const EVP_PKEY* ifdKey, const CByteZone& iccPublicKey,
                 CTHandle<EVP_PKEY>& iccKey) {
    if (ifdKey == nullptr || iccPublicKey.IsEmpty()) {
        REJECT_ICAO(ICAO_ERR_FUNCTION_FAILED, "SetICCKey: invalid parameters.");
    }
    const CDhDomain domain(ifdKey);
    CTHandle<BIGNUM> own;
    if (!domain.IsComplete() || GetKeyNumber(ifdKey, EKeyNumber::Pub, own) < 1) {
        RAISE(OPENSSL_FUNCTION_FAILED());
    }
    const auto value =
        Own(BN_bin2bn(iccPublicKey.GetData(), static_cast<int>(iccPublicKey.GetSize()), nullptr));
    if (!value) {
        RAISE_OPENSSL("BN_bin2bn");
    }
    SetICCKeyDH(domain, own.Get(), value.Get(), iccKey);
}

void DoKeyAgreement(const EC_GROUP* group, const EVP_PKEY* ifdKey, const EVP_PKEY* iccKey,
                    CTHandle<EC_POINT>& shared) {
    if (ifdKey == nullptr || iccKey == nullptr) {
        REJECT_ICAO(ICAO_ERR_FUNCTION_FAILED, "DoKeyAgreement: invalid parameters.");
    }
    CTHandle<BIGNUM> scalar;
    if (group == nullptr || GetKeyNumber(ifdKey, EKeyNumber::Priv, scalar) < 1) {
        RAISE(OPENSSL_FUNCTION_FAILED());
    }
    BN_set_flags(scalar.Get(), BN_FLG_CONSTTIME);
    const auto point = ReadPublicPoint(group, iccKey);
    if (!point) {
        RAISE(OPENSSL_FUNCTION_FAILED());
    }
    auto product = OwnSecret(EC_POINT_new(group));
    if (!product ||
        EC_POINT_mul(group, product.Get(), nullptr, point.Get(), scalar.Get(), nullptr) != 1) {
        RAISE_OPENSSL("EC_POINT_mul");
    }
    shared = std::move(product);
}

void DoKeyAgreement(const EVP_PKEY* ifdKey, const EVP_PKEY* iccKey, CTHandle<EC_POINT>& shared) {
    DoKeyAgreement(GetKeyGroup(ifdKey).Get(), ifdKey, iccKey, shared);
}

void DoKeyAgreement(const EVP_PKEY* ifdKey, const EVP_PKEY* iccKey, CTHandle<BIGNUM>& shared) {
    if (ifdKey == nullptr || iccKey == nullptr) {
        REJECT_ICAO(ICAO_ERR_FUNCTION_FAILED, "DoKeyAgreement: invalid parameters.");
    }
    CTHandle<BIGNUM> p;
    CTHandle<BIGNUM> exponent;
    CTHandle<BIGNUM> value;
    if (GetKeyNumber(ifdKey, EKeyNumber::P, p) < 1 ||
        GetKeyNumber(ifdKey, EKeyNumber::Priv, exponent) < 1 ||
        GetKeyNumber(iccKey, EKeyNumber::Pub, value) < 1) {
        RAISE(OPENSSL_FUNCTION_FAILED());
    }
    BN_set_flags(exponent.Get(), BN_FLG_CONSTTIME);
    const auto context = Own(BN_CTX_new());
    auto power = OwnSecret(BN_new());
    if (!context || !power ||
        BN_mod_exp(power.Get(), value.Get(), exponent.Get(), p.Get(), context.Get()) != 1) {
        RAISE_OPENSSL("BN_mod_exp");
    }
    shared = std::move(power);
}

void ProcessSharedSecretECDH(const EVP_PKEY* ifdKey, const EVP_PKEY* iccPublicKey,
                             CSecureByteZone& secret) {
    const auto group = GetKeyGroup(ifdKey);
    CTHandle<EC_POINT> shared;
    DoKeyAgreement(group.Get(), ifdKey, iccPublicKey, shared);
    CByteZone x;
    CompressEcPoint(group.Get(), shared.Get(), x);
    secret.Assign(x.GetData(), x.GetSize());
    OPENSSL_cleanse(x.GetData(), x.GetSize());
}

void ProcessSharedSecretDH(const EVP_PKEY* ifdKey, const EVP_PKEY* iccPublicKey,
                           CSecureByteZone& secret) {
    CTHandle<BIGNUM> shared;
    DoKeyAgreement(ifdKey, iccPublicKey, shared);
    secret = BignumToSecureBuffer(shared.Get(), CDhDomain(ifdKey).GetWidth());
}

}  // namespace icao
