#include "crypto/filled_zone.h"
#include "crypto/key_parameters.h"
#include "crypto/openssl_wrapper.h"
#include "crypto/raise_openssl.h"
#include "crypto/try_openssl.h"

#include <openssl/core_names.h>
#include <openssl/rsa.h>

namespace OpenSSLWrap {
namespace {

constexpr char kRsa[] = "RSA";
constexpr char kDh[] = "DH";

const char* BlindingQuery(bool blinding) { return blinding ? nullptr : "blinding=no"; }

}  // namespace

CTHandle<EVP_PKEY> CreateKey(const char* type, int selection, OSSL_PARAM* parameters,
                             const char* properties) {
    if (type == nullptr || parameters == nullptr) {
        RAISE_INVALID_PARAMETERS();
    }
    CTHandle<EVP_PKEY> key;
    if (CreateKey(type, selection, parameters, key, properties) <= 0) {
        RAISE(OPENSSL_FUNCTION_FAILED());
    }
    return key;
}

int CreateKey(const char* type, int selection, OSSL_PARAM* parameters, CTHandle<EVP_PKEY>& key,
              const char* properties) {
    key.Reset();
    if (type == nullptr || parameters == nullptr) {
        RETURN_INVALID_PARAMETERS();
    }
    CTHandle<EVP_PKEY_CTX> context;
    TRY_OPENSSL_NEW(context, EVP_PKEY_CTX_new_from_name, nullptr, type, properties);
    TRY_OPENSSL(EVP_PKEY_fromdata_init, context.Get());
    EVP_PKEY* made = nullptr;
    TRY_OPENSSL(EVP_PKEY_fromdata, context.Get(), &made, selection, parameters);
    key = Own(made);
    return 1;
}

CTHandle<EVP_PKEY> CreateRsaPublicKey(const CByteZone& modulus, const CByteZone& publicExponent,
                                      bool blinding) {
    if (modulus.IsEmpty() || publicExponent.IsEmpty()) {
        RAISE_INVALID_PARAMETERS();
    }
    CKeyParameters numbers;
    numbers.Push(OSSL_PKEY_PARAM_RSA_N, modulus);
    numbers.Push(OSSL_PKEY_PARAM_RSA_E, publicExponent);
    const auto parameters = numbers.Build();
    if (!parameters) {
        RAISE(OPENSSL_FUNCTION_FAILED());
    }
    return CreateKey(kRsa, EVP_PKEY_PUBLIC_KEY, parameters.Get(), BlindingQuery(blinding));
}

CTHandle<EVP_PKEY> CreateRsaPrivateKey(const CRsaKeyParts& parts, bool blinding) {
    if (parts.modulus.IsEmpty() || parts.publicExponent.IsEmpty() ||
        parts.privateExponent.IsEmpty() || parts.prime1.IsEmpty() || parts.prime2.IsEmpty() ||
        parts.exponent1.IsEmpty() || parts.exponent2.IsEmpty() || parts.coefficient.IsEmpty()) {
        RAISE_INVALID_PARAMETERS();
    }
    CKeyParameters numbers;
    numbers.Push(OSSL_PKEY_PARAM_RSA_N, parts.modulus);
    numbers.Push(OSSL_PKEY_PARAM_RSA_E, parts.publicExponent);
    numbers.Push(OSSL_PKEY_PARAM_RSA_D, parts.privateExponent);
    numbers.Push(OSSL_PKEY_PARAM_RSA_FACTOR1, parts.prime1);
    numbers.Push(OSSL_PKEY_PARAM_RSA_FACTOR2, parts.prime2);
    numbers.Push(OSSL_PKEY_PARAM_RSA_EXPONENT1, parts.exponent1);
    numbers.Push(OSSL_PKEY_PARAM_RSA_EXPONENT2, parts.exponent2);
    numbers.Push(OSSL_PKEY_PARAM_RSA_COEFFICIENT1, parts.coefficient);
    const auto parameters = numbers.Build();
    if (!parameters) {
        RAISE(OPENSSL_FUNCTION_FAILED());
    }
    return CreateKey(kRsa, EVP_PKEY_KEYPAIR, parameters.Get(), BlindingQuery(blinding));
}

CTHandle<EVP_PKEY> CreateDhParamsKey(const char* group) {
    if (group == nullptr) {
        RAISE_INVALID_PARAMETERS();
    }
    CKeyParameters texts;
    texts.Push(OSSL_PKEY_PARAM_GROUP_NAME, group);
    const auto parameters = texts.Build();
    if (!parameters) {
        RAISE(OPENSSL_FUNCTION_FAILED());
    }
    return CreateKey(kDh, EVP_PKEY_KEY_PARAMETERS, parameters.Get());
}

CTHandle<EVP_PKEY> CreateDhParamsKey(const BIGNUM* p, const BIGNUM* q, const BIGNUM* g) {
    if (p == nullptr || g == nullptr) {
        RAISE_INVALID_PARAMETERS();
    }
    CKeyParameters numbers;
    numbers.Push(OSSL_PKEY_PARAM_FFC_P, p);
    numbers.Push(OSSL_PKEY_PARAM_FFC_Q, q);
    numbers.Push(OSSL_PKEY_PARAM_FFC_G, g);
    numbers.Push(OSSL_PKEY_PARAM_FFC_TYPE, "generator");
    const auto parameters = numbers.Build();
    if (!parameters) {
        RAISE(OPENSSL_FUNCTION_FAILED());
    }
    return CreateKey(kDh, EVP_PKEY_KEY_PARAMETERS, parameters.Get());
}

CTHandle<EVP_PKEY> CreateDhKey(const BIGNUM* p, const BIGNUM* q, const BIGNUM* g,
                               const BIGNUM* publicKey, const BIGNUM* privateKey) {
    if (p == nullptr || g == nullptr || (publicKey == nullptr && privateKey == nullptr)) {
        RAISE_INVALID_PARAMETERS();
    }
    CKeyParameters numbers;
    numbers.Push(OSSL_PKEY_PARAM_FFC_P, p);
    numbers.Push(OSSL_PKEY_PARAM_FFC_Q, q);
    numbers.Push(OSSL_PKEY_PARAM_FFC_G, g);
    numbers.Push(OSSL_PKEY_PARAM_PUB_KEY, publicKey);
    numbers.Push(OSSL_PKEY_PARAM_PRIV_KEY, privateKey);
    const auto parameters = numbers.Build();
    if (!parameters) {
        RAISE(OPENSSL_FUNCTION_FAILED());
    }
    return CreateKey(kDh, EVP_PKEY_KEYPAIR, parameters.Get());
}

int GenerateRsaKey(int bits, const BIGNUM* publicExponent, CTHandle<EVP_PKEY>& key) {
    key.Reset();
    if (publicExponent == nullptr) {
        RETURN_INVALID_PARAMETERS();
    }
    CTHandle<EVP_PKEY_CTX> context;
    TRY_OPENSSL_NEW(context, EVP_PKEY_CTX_new_id, EVP_PKEY_RSA, nullptr);
    TRY_OPENSSL(EVP_PKEY_keygen_init, context.Get());
    TRY_OPENSSL(EVP_PKEY_CTX_set_rsa_keygen_bits, context.Get(), bits);
    // copies the number, whatever its type says
    TRY_OPENSSL(EVP_PKEY_CTX_set1_rsa_keygen_pubexp, context.Get(),
                const_cast<BIGNUM*>(publicExponent));
    EVP_PKEY* made = nullptr;
    TRY_OPENSSL(EVP_PKEY_generate, context.Get(), &made);
    key = Own(made);
    return 1;
}

int GenerateECKeyFromParametersKey(EVP_PKEY* parameters, CTHandle<EVP_PKEY>& key) {
    // What the handle held lives on until the end: it may be the parameters.
    const CTHandle<EVP_PKEY> previous = std::move(key);
    if (parameters == nullptr) {
        RETURN_INVALID_PARAMETERS();
    }
    CTHandle<EVP_PKEY_CTX> context;
    TRY_OPENSSL_NEW(context, EVP_PKEY_CTX_new, parameters, nullptr);
    TRY_OPENSSL(EVP_PKEY_keygen_init, context.Get());
    EVP_PKEY* made = nullptr;
    TRY_OPENSSL(EVP_PKEY_generate, context.Get(), &made);
    key = Own(made);
    return 1;
}

CTHandle<EVP_PKEY> GenerateDhKey(EVP_PKEY* parameters) {
    if (parameters == nullptr) {
        RAISE_INVALID_PARAMETERS();
    }
    const auto context = Own(EVP_PKEY_CTX_new(parameters, nullptr));
    if (!context) {
        RAISE_OPENSSL("EVP_PKEY_CTX_new");
    }
    if (EVP_PKEY_keygen_init(context.Get()) <= 0) {
        RAISE_OPENSSL("EVP_PKEY_keygen_init");
    }
    EVP_PKEY* made = nullptr;
    if (EVP_PKEY_generate(context.Get(), &made) <= 0) {
        RAISE_OPENSSL("EVP_PKEY_generate");
    }
    return Own(made);
}

int DeriveSecret(EVP_PKEY* key, EVP_PKEY* peerKey, CSecureByteZone& secret) {
    secret.Clear();
    if (key == nullptr || peerKey == nullptr) {
        RETURN_INVALID_PARAMETERS();
    }
    CTHandle<EVP_PKEY_CTX> context;
    TRY_OPENSSL_NEW(context, EVP_PKEY_CTX_new, key, nullptr);
    TRY_OPENSSL(EVP_PKEY_derive_init, context.Get());
    TRY_OPENSSL(EVP_PKEY_derive_set_peer, context.Get(), peerKey);
    return FillZone(secret, [&](unsigned char* buffer, size_t& length) {
        TRY_OPENSSL(EVP_PKEY_derive, context.Get(), buffer, &length);
        return 1;
    });
}

}  // namespace OpenSSLWrap
