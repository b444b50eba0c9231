/**
 * Owning handles of OpenSSL's objects.
 */
#pragma once

#include <openssl/bio.h>
#include <openssl/bn.h>
#include <openssl/crypto.h>
#include <openssl/decoder.h>
#include <openssl/ec.h>
#include <openssl/ecdsa.h>
#include <openssl/encoder.h>
#include <openssl/evp.h>
#include <openssl/param_build.h>
#include <openssl/pkcs7.h>
#include <openssl/x509.h>

#include <utility>

/**
 * An object and the function that frees it. Moved, never copied; assigning frees what was held.
 *
 * Get lends the object, Detach gives it away: to calls that take it, and to callers that free it
 * themselves.
 */
template <class Object>
class CTHandle {
public:
    using Free = void (*)(Object*);

    CTHandle() noexcept = default;
    CTHandle(Object* owned, Free freeFunction) noexcept : object(owned), release(freeFunction) {}
    CTHandle(CTHandle&& other) noexcept
        : object(std::exchange(other.object, nullptr)), release(other.release) {}
    CTHandle& operator=(CTHandle&& other) noexcept {
        std::swap(object, other.object);
        std::swap(release, other.release);
        other.Reset();
        return *this;
    }
    ~CTHandle() { Reset(); }

    explicit operator bool() const noexcept { return object != nullptr; }
    Object* Get() const noexcept { return object; }
    Object* Detach() noexcept { return std::exchange(object, nullptr); }
    void Reset() noexcept {
        if (object != nullptr) {
            release(std::exchange(object, nullptr));
        }
    }

private:
    Object* object = nullptr;
    Free release = nullptr;
};

// The only place that pairs a type with its free function.
inline CTHandle<ASN1_OBJECT> Own(ASN1_OBJECT* object) { return {object, ASN1_OBJECT_free}; }
inline CTHandle<ASN1_OCTET_STRING> Own(ASN1_OCTET_STRING* text) {
    return {text, ASN1_OCTET_STRING_free};
}
inline CTHandle<BIO> Own(BIO* bio) { return {bio, BIO_free_all}; }
inline CTHandle<BIGNUM> Own(BIGNUM* number) { return {number, BN_free}; }
inline CTHandle<BN_CTX> Own(BN_CTX* context) { return {context, BN_CTX_free}; }
inline CTHandle<EC_GROUP> Own(EC_GROUP* group) { return {group, EC_GROUP_free}; }
inline CTHandle<EC_POINT> Own(EC_POINT* point) { return {point, EC_POINT_free}; }
inline CTHandle<ECDSA_SIG> Own(ECDSA_SIG* signature) { return {signature, ECDSA_SIG_free}; }
inline CTHandle<EVP_CIPHER> Own(EVP_CIPHER* cipher) { return {cipher, EVP_CIPHER_free}; }
inline CTHandle<EVP_CIPHER_CTX> Own(EVP_CIPHER_CTX* context) {
    return {context, EVP_CIPHER_CTX_free};
}
inline CTHandle<EVP_MD> Own(EVP_MD* digest) { return {digest, EVP_MD_free}; }
inline CTHandle<EVP_MD_CTX> Own(EVP_MD_CTX* context) { return {context, EVP_MD_CTX_free}; }
inline CTHandle<EVP_PKEY> Own(EVP_PKEY* key) { return {key, EVP_PKEY_free}; }
inline CTHandle<EVP_PKEY_CTX> Own(EVP_PKEY_CTX* context) { return {context, EVP_PKEY_CTX_free}; }
inline CTHandle<OSSL_DECODER_CTX> Own(OSSL_DECODER_CTX* context) {
    return {context, OSSL_DECODER_CTX_free};
}
inline CTHandle<OSSL_ENCODER_CTX> Own(OSSL_ENCODER_CTX* context) {
    return {context, OSSL_ENCODER_CTX_free};
}
inline CTHandle<OSSL_PARAM> Own(OSSL_PARAM* parameters) { return {parameters, OSSL_PARAM_free}; }
inline CTHandle<OSSL_PARAM_BLD> Own(OSSL_PARAM_BLD* builder) {
    return {builder, OSSL_PARAM_BLD_free};
}
inline CTHandle<PKCS7> Own(PKCS7* message) { return {message, PKCS7_free}; }
inline CTHandle<X509> Own(X509* certificate) { return {certificate, X509_free}; }
inline CTHandle<X509_ALGOR> Own(X509_ALGOR* algorithm) { return {algorithm, X509_ALGOR_free}; }
inline CTHandle<X509_STORE> Own(X509_STORE* store) { return {store, X509_STORE_free}; }

/** For secret numbers and points: wiped when they are freed. */
inline CTHandle<BIGNUM> OwnSecret(BIGNUM* number) { return {number, BN_clear_free}; }
inline CTHandle<EC_POINT> OwnSecret(EC_POINT* point) { return {point, EC_POINT_clear_free}; }

/** For parameters that a builder has made and that hold secret numbers. */
inline CTHandle<OSSL_PARAM> OwnSecret(OSSL_PARAM* parameters) {
    return {parameters, [](OSSL_PARAM* held) {
                for (OSSL_PARAM* row = held; row->key != nullptr; ++row) {
                    OPENSSL_cleanse(row->data, row->data_size);
                }
                OSSL_PARAM_free(held);
            }};
}

/** For what OpenSSL allocates as plain bytes. */
inline CTHandle<unsigned char> OwnBytes(unsigned char* bytes) {
    return {bytes, [](unsigned char* held) { OPENSSL_free(held); }};
}
