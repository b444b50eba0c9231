#include "crypto/openssl_wrapper.h"
#include "crypto/raise_openssl.h"
#include "crypto/try_openssl.h"

#include <openssl/core_names.h>

namespace OpenSSLWrap {

// ---- Key checks

int CheckPublicKey(EVP_PKEY_CTX* context) {
    if (context == nullptr) {
        RETURN_INVALID_PARAMETERS();
    }
    TRY_OPENSSL(EVP_PKEY_public_check, context);
    return 1;
}

int CheckPublicKey(EVP_PKEY* key) {
    if (key == nullptr) {
        RETURN_INVALID_PARAMETERS();
    }
    CTHandle<EVP_PKEY_CTX> context;
    TRY_OPENSSL_NEW(context, EVP_PKEY_CTX_new, key, nullptr);
    return CheckPublicKey(context.Get());
}

int CheckPrivateKey(EVP_PKEY_CTX* context) {
    if (context == nullptr) {
        RETURN_INVALID_PARAMETERS();
    }
    TRY_OPENSSL(EVP_PKEY_private_check, context);
    return 1;
}

int CheckPrivateKey(EVP_PKEY* key) {
    if (key == nullptr) {
        RETURN_INVALID_PARAMETERS();
    }
    CTHandle<EVP_PKEY_CTX> context;
    TRY_OPENSSL_NEW(context, EVP_PKEY_CTX_new, key, nullptr);
    return CheckPrivateKey(context.Get());
}

int CheckKey(EVP_PKEY_CTX* context) {
    if (context == nullptr) {
        RETURN_INVALID_PARAMETERS();
    }
    TRY_OPENSSL(EVP_PKEY_check, context);
    return 1;
}

int CheckKey(EVP_PKEY* key) {
    if (key == nullptr) {
        RETURN_INVALID_PARAMETERS();
    }
    CTHandle<EVP_PKEY_CTX> context;
    TRY_OPENSSL_NEW(context, EVP_PKEY_CTX_new, key, nullptr);
    return CheckKey(context.Get());
}

// ---- Key facts

int GetKeyBitLength(const EVP_PKEY* key) {
    if (key == nullptr) {
        RAISE_INVALID_PARAMETERS();
    }
    const int bits = EVP_PKEY_get_bits(key);
    if (bits <= 0) {
        RAISE_OPENSSL("EVP_PKEY_get_bits");
    }
    return bits;
}

int GetKeySize(const EVP_PKEY* key) {
    if (key == nullptr) {
        RAISE_INVALID_PARAMETERS();
    }
    const int size = EVP_PKEY_get_size(key);
    if (size <= 0) {
        RAISE_OPENSSL("EVP_PKEY_get_size");
    }
    return size;
}

CByteZone GetEncodedPublicKey(EVP_PKEY* key) {
    if (key == nullptr) {
        RAISE_INVALID_PARAMETERS();
    }
    unsigned char* bytes = nullptr;
    const size_t size = EVP_PKEY_get1_encoded_public_key(key, &bytes);
    const auto encoded = OwnBytes(bytes);
    if (size == 0) {
        RAISE_OPENSSL("EVP_PKEY_get1_encoded_public_key");
    }
    return CByteZone(encoded.Get(), size);
}

void SetEncodedPublicKey(EVP_PKEY* key, const CByteZone& encoded) {
    if (key == nullptr || encoded.IsEmpty()) {
        RAISE_INVALID_PARAMETERS();
    }
    if (EVP_PKEY_set1_encoded_public_key(key, encoded.GetData(), encoded.GetSize()) <= 0) {
        RAISE_OPENSSL("EVP_PKEY_set1_encoded_public_key");
    }
}

bool IsRsa(const EVP_PKEY* key) {
    if (key == nullptr) {
        RAISE_INVALID_PARAMETERS();
    }
    return EVP_PKEY_is_a(key, "RSA") == 1;
}

bool IsDsa(const EVP_PKEY* key) {
    if (key == nullptr) {
        RAISE_INVALID_PARAMETERS();
    }
    return EVP_PKEY_is_a(key, "DSA") == 1;
}

bool IsDh(const EVP_PKEY* key) {
    if (key == nullptr) {
        RAISE_INVALID_PARAMETERS();
    }
    return EVP_PKEY_is_a(key, "DH") == 1;
}

bool IsEc(const EVP_PKEY* key) {
    if (key == nullptr) {
        RAISE_INVALID_PARAMETERS();
    }
    return EVP_PKEY_is_a(key, "EC") == 1;
}

// ---- Key parameters

namespace {

struct CKeyNumberRow {
    const char* name;
    bool secret;
};

// In the order of EKeyNumber.
constexpr CKeyNumberRow kKeyNumbers[] = {
    {OSSL_PKEY_PARAM_PRIV_KEY, true},         {OSSL_PKEY_PARAM_PUB_KEY, false},
    {OSSL_PKEY_PARAM_FFC_P, false},           {OSSL_PKEY_PARAM_FFC_Q, false},
    {OSSL_PKEY_PARAM_FFC_G, false},           {OSSL_PKEY_PARAM_RSA_N, false},
    {OSSL_PKEY_PARAM_RSA_E, false},           {OSSL_PKEY_PARAM_RSA_D, true},
    {OSSL_PKEY_PARAM_RSA_FACTOR1, true},      {OSSL_PKEY_PARAM_RSA_FACTOR2, true},
    {OSSL_PKEY_PARAM_RSA_EXPONENT1, true},    {OSSL_PKEY_PARAM_RSA_EXPONENT2, true},
    {OSSL_PKEY_PARAM_RSA_COEFFICIENT1, true},
};

// Kept: a failed change is reported under the name of the reading call. Logs are matched on it.
constexpr char kKeyNumberCall[] = "EVP_PKEY_get_bn_param";

const CKeyNumberRow& RowOf(EKeyNumber name) { return kKeyNumbers[static_cast<size_t>(name)]; }

}  // namespace

int GetKeyNumber(const EVP_PKEY* key, EKeyNumber name, CTHandle<BIGNUM>& number) {
    number.Reset();
    if (key == nullptr) {
        RETURN_INVALID_PARAMETERS();
    }
    BIGNUM* read = nullptr;
    const int result = EVP_PKEY_get_bn_param(key, RowOf(name).name, &read);
    auto owned = RowOf(name).secret ? OwnSecret(read) : Own(read);
    if (result <= 0) {
        ReportOpenSSLError(kKeyNumberCall);
        return result;
    }
    number = std::move(owned);
    return result;
}

int GetKeyNumber(const EVP_PKEY* key, EKeyNumber name, CByteZone& bytes) {
    bytes.Clear();
    CTHandle<BIGNUM> number;
    const int result = GetKeyNumber(key, name, number);
    if (result > 0) {
        bytes = BignumToBuffer(number.Get(), 0);
    }
    return result;
}

int GetKeyNumber(const EVP_PKEY* key, EKeyNumber name, CSecureByteZone& bytes) {
    bytes.Clear();
    CTHandle<BIGNUM> number;
    const int result = GetKeyNumber(key, name, number);
    if (result > 0) {
        bytes = BignumToSecureBuffer(number.Get(), 0);
    }
    return result;
}

int SetKeyNumber(EVP_PKEY* key, EKeyNumber name, const BIGNUM* number) {
    if (key == nullptr || number == nullptr) {
        RETURN_INVALID_PARAMETERS();
    }
    const int result = EVP_PKEY_set_bn_param(key, RowOf(name).name, number);
    if (result <= 0) {
        ReportOpenSSLError(kKeyNumberCall);
    }
    return result;
}

void PubExpAndModFromRsaKey(const EVP_PKEY* key, CByteZone& modulus, CByteZone& publicExponent) {
    if (key == nullptr) {
        RAISE_INVALID_PARAMETERS();
    }
    if (GetKeyNumber(key, EKeyNumber::N, modulus) <= 0 ||
        GetKeyNumber(key, EKeyNumber::E, publicExponent) <= 0) {
        RAISE(OPENSSL_FUNCTION_FAILED());
    }
}

}  // namespace OpenSSLWrap
