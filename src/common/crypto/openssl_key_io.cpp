#include "crypto/openssl_wrapper.h"
#include "crypto/raise_openssl.h"
#include "crypto/try_openssl.h"

#include <openssl/err.h>

namespace OpenSSLWrap {
namespace {

constexpr char kDer[] = "DER";
constexpr char kPem[] = "PEM";

int SelectionOf(bool withPrivate, bool withPublic) {
    return (withPrivate ? OSSL_KEYMGMT_SELECT_PRIVATE_KEY : 0) |
           (withPublic ? OSSL_KEYMGMT_SELECT_PUBLIC_KEY : 0);
}

/** X9.42 parameters as those of a "DH" key: OpenSSL reads them as "DHX" only. */
CTHandle<EVP_PKEY> CreateDhParamsKeyFromX942(const CByteZone& der) {
    CTHandle<EVP_PKEY> read;
    CTHandle<BIGNUM> p;
    CTHandle<BIGNUM> q;
    CTHandle<BIGNUM> g;
    if (CreateKeyFromData(der, kDer, EVP_PKEY_KEY_PARAMETERS, "DHX", read) <= 0 ||
        GetKeyNumber(read.Get(), EKeyNumber::P, p) <= 0 ||
        GetKeyNumber(read.Get(), EKeyNumber::Q, q) <= 0 ||
        GetKeyNumber(read.Get(), EKeyNumber::G, g) <= 0) {
        return {};
    }
    return CreateDhParamsKey(p.Get(), q.Get(), g.Get());
}

/** The first failing call's name, null on success; reports nothing. */
template <class Zone>
const char* Decode(const Zone& data, const char* format, int selection, const char* type,
                   CTHandle<EVP_PKEY>& key) {
    EVP_PKEY* decoded = nullptr;
    const auto context = Own(OSSL_DECODER_CTX_new_for_pkey(&decoded, format, nullptr, type,
                                                           selection, nullptr, nullptr));
    if (!context) {
        return "OSSL_DECODER_CTX_new_for_pkey";
    }
    const unsigned char* begin = data.GetData();
    size_t left = data.GetSize();
    const int result = OSSL_DECODER_from_data(context.Get(), &begin, &left);
    auto made = Own(decoded);
    if (result <= 0 || !made) {
        return "OSSL_DECODER_from_data";
    }
    key = std::move(made);
    return nullptr;
}

}  // namespace

template <class Zone>
int CreateKeyFromData(const Zone& data, const char* format, int selection, const char* type,
                      CTHandle<EVP_PKEY>& key) {
    key.Reset();
    if (data.IsEmpty() || format == nullptr) {
        RETURN_INVALID_PARAMETERS();
    }
    if (const char* const failed = Decode(data, format, selection, type, key); failed != nullptr) {
        ReportOpenSSLError(failed);
        return 0;
    }
    return 1;
}

template <class Zone>
int ExportKey(const EVP_PKEY* key, const char* format, int selection, const char* structure,
              Zone& out) {
    out.Clear();
    if (key == nullptr || format == nullptr) {
        RETURN_INVALID_PARAMETERS();
    }
    CTHandle<OSSL_ENCODER_CTX> context;
    TRY_OPENSSL_NEW(context, OSSL_ENCODER_CTX_new_for_pkey, key, selection, format, structure,
                    nullptr);
    size_t size = 0;
    TRY_OPENSSL(OSSL_ENCODER_to_data, context.Get(), nullptr, &size);
    Zone encoded(size, 0);
    unsigned char* position = encoded.GetData();
    size_t room = size;  // what is left of it afterwards
    TRY_OPENSSL(OSSL_ENCODER_to_data, context.Get(), &position, &room);
    encoded.Resize(size - room);
    out = std::move(encoded);
    return 1;
}

template <class Zone>
CTHandle<EVP_PKEY> CreateRsaKeyFromPem(const Zone& pem, bool withPrivate, bool withPublic) {
    if (pem.IsEmpty()) {
        RAISE_INVALID_PARAMETERS();
    }
    CTHandle<EVP_PKEY> key;
    if (CreateKeyFromData(pem, kPem, SelectionOf(withPrivate, withPublic), "RSA", key) <= 0) {
        RAISE(OPENSSL_FUNCTION_FAILED());
    }
    return key;
}

template <class Zone>
CTHandle<EVP_PKEY> CreateRsaKeyFromDer(const Zone& der, bool withPrivate, bool withPublic) {
    if (der.IsEmpty()) {
        RAISE_INVALID_PARAMETERS();
    }
    CTHandle<EVP_PKEY> key;
    if (CreateKeyFromData(der, kDer, SelectionOf(withPrivate, withPublic), "RSA", key) <= 0) {
        RAISE(OPENSSL_FUNCTION_FAILED());
    }
    return key;
}

CTHandle<EVP_PKEY> CreateEcParamsKeyFromDer(const CByteZone& der) {
    if (der.IsEmpty()) {
        RAISE_INVALID_PARAMETERS();
    }
    CTHandle<EVP_PKEY> key;
    if (CreateKeyFromData(der, kDer, EVP_PKEY_KEY_PARAMETERS, "EC", key) <= 0) {
        RAISE(OPENSSL_FUNCTION_FAILED());
    }
    return key;
}

CTHandle<EVP_PKEY> CreateDhParamsKeyFromDer(const CByteZone& der) {
    if (der.IsEmpty()) {
        RAISE_INVALID_PARAMETERS();
    }
    // The other form of parameters is no failure: the first try leaves nothing behind.
    ERR_set_mark();
    CTHandle<EVP_PKEY> key;
    const char* const failed = Decode(der, kDer, EVP_PKEY_KEY_PARAMETERS, "DH", key);
    ERR_pop_to_mark();
    if (failed != nullptr) {
        key = CreateDhParamsKeyFromX942(der);
    }
    if (!key) {
        RAISE(OPENSSL_FUNCTION_FAILED());
    }
    return key;
}

CByteZone ParamsToDer(const EVP_PKEY* key) {
    if (key == nullptr) {
        RAISE_INVALID_PARAMETERS();
    }
    CByteZone der;
    if (ExportKey(key, kDer, EVP_PKEY_KEY_PARAMETERS, nullptr, der) <= 0) {
        RAISE(OPENSSL_FUNCTION_FAILED());
    }
    return der;
}

CSecureByteZone KeyToDer(const EVP_PKEY* key, bool withPrivate, bool withPublic) {
    if (key == nullptr) {
        RAISE_INVALID_PARAMETERS();
    }
    CSecureByteZone der;
    if (ExportKey(key, kDer, SelectionOf(withPrivate, withPublic), nullptr, der) <= 0) {
        RAISE(OPENSSL_FUNCTION_FAILED());
    }
    return der;
}

CByteZone PublicKeyToPem(const EVP_PKEY* key) {
    if (key == nullptr) {
        RAISE_INVALID_PARAMETERS();
    }
    const auto context = Own(OSSL_ENCODER_CTX_new_for_pkey(key, EVP_PKEY_PUBLIC_KEY, kPem,
                                                           "SubjectPublicKeyInfo", nullptr));
    if (!context) {
        RAISE_OPENSSL("OSSL_ENCODER_CTX_new_for_pkey");
    }
    const auto text = Own(BIO_new(BIO_s_mem()));
    if (!text) {
        RAISE_OPENSSL("BIO_new");
    }
    if (OSSL_ENCODER_to_bio(context.Get(), text.Get()) <= 0) {
        RAISE_OPENSSL("OSSL_ENCODER_to_bio");
    }
    char* begin = nullptr;
    const long size = BIO_get_mem_data(text.Get(), &begin);
    if (size <= 0 || begin == nullptr) {
        RAISE_OPENSSL("BIO_get_mem_data");
    }
    return CByteZone(reinterpret_cast<const unsigned char*>(begin), static_cast<size_t>(size));
}

template int CreateKeyFromData(const CByteZone&, const char*, int, const char*,
                               CTHandle<EVP_PKEY>&);
template int CreateKeyFromData(const CSecureByteZone&, const char*, int, const char*,
                               CTHandle<EVP_PKEY>&);
template int ExportKey(const EVP_PKEY*, const char*, int, const char*, CByteZone&);
template int ExportKey(const EVP_PKEY*, const char*, int, const char*, CSecureByteZone&);
template CTHandle<EVP_PKEY> CreateRsaKeyFromPem(const CByteZone&, bool, bool);
template CTHandle<EVP_PKEY> CreateRsaKeyFromPem(const CSecureByteZone&, bool, bool);
template CTHandle<EVP_PKEY> CreateRsaKeyFromDer(const CByteZone&, bool, bool);
template CTHandle<EVP_PKEY> CreateRsaKeyFromDer(const CSecureByteZone&, bool, bool);

}  // namespace OpenSSLWrap
