#include "crypto/filled_zone.h"
#include "crypto/openssl_wrapper.h"
#include "crypto/raise_openssl.h"
#include "crypto/try_openssl.h"

#include <openssl/err.h>
#include <openssl/rsa.h>

namespace OpenSSLWrap {

int InitEncrypt(EVP_PKEY* key, int padding, CTHandle<EVP_PKEY_CTX>& context) {
    context.Reset();
    if (key == nullptr) {
        RETURN_INVALID_PARAMETERS();
    }
    CTHandle<EVP_PKEY_CTX> made;
    TRY_OPENSSL_NEW(made, EVP_PKEY_CTX_new, key, nullptr);
    TRY_OPENSSL(EVP_PKEY_encrypt_init_ex, made.Get(), nullptr);
    if (padding != 0) {
        TRY_OPENSSL(EVP_PKEY_CTX_set_rsa_padding, made.Get(), padding);
    }
    context = std::move(made);
    return 1;
}

int Encrypt(EVP_PKEY_CTX* context, const CByteZone& in, unsigned char* out, size_t& length) {
    if (context == nullptr || in.IsEmpty()) {
        RETURN_INVALID_PARAMETERS();
    }
    TRY_OPENSSL(EVP_PKEY_encrypt, context, out, &length, in.GetData(), in.GetSize());
    return 1;
}

int Encrypt(EVP_PKEY_CTX* context, const CByteZone& in, CByteZone& out) {
    return FillZone(out, [&](unsigned char* buffer, size_t& length) {
        return Encrypt(context, in, buffer, length);
    });
}

int InitDecrypt(EVP_PKEY* key, int padding, CTHandle<EVP_PKEY_CTX>& context) {
    context.Reset();
    if (key == nullptr) {
        RETURN_INVALID_PARAMETERS();
    }
    CTHandle<EVP_PKEY_CTX> made;
    TRY_OPENSSL_NEW(made, EVP_PKEY_CTX_new, key, nullptr);
    TRY_OPENSSL(EVP_PKEY_decrypt_init, made.Get());
    if (padding != 0) {
        TRY_OPENSSL(EVP_PKEY_CTX_set_rsa_padding, made.Get(), padding);
    }
    context = std::move(made);
    return 1;
}

int Decrypt(EVP_PKEY_CTX* context, const CByteZone& in, unsigned char* out, size_t& length) {
    if (context == nullptr || in.IsEmpty()) {
        RETURN_INVALID_PARAMETERS();
    }
    TRY_OPENSSL(EVP_PKEY_decrypt, context, out, &length, in.GetData(), in.GetSize());
    return 1;
}

int Decrypt(EVP_PKEY_CTX* context, const CByteZone& in, CSecureByteZone& out) {
    return FillZone(out, [&](unsigned char* buffer, size_t& length) {
        return Decrypt(context, in, buffer, length);
    });
}

// ---- RSAES-OAEP

namespace {

int SetOaepLabel(EVP_PKEY_CTX* context, const CByteZone& label) {
    const auto copy = static_cast<unsigned char*>(OPENSSL_memdup(label.GetData(), label.GetSize()));
    auto owned = OwnBytes(copy);
    if (!owned) {
        ReportOpenSSLError("CRYPTO_memdup");
        return 0;
    }
    TRY_OPENSSL(EVP_PKEY_CTX_set0_rsa_oaep_label, context, copy, static_cast<int>(label.GetSize()));
    owned.Detach();  // the context takes it, though only when it succeeds
    return 1;
}

}  // namespace

int DoRsaEncryptOAEP(EVP_PKEY* key, unsigned char* out, size_t& outLength, const unsigned char* in,
                     size_t inLength, const EVP_MD* oaepDigest, const EVP_MD* mgf1Digest,
                     const CByteZone& label) {
    TraceString0("OpenSSLWrap::DoRsaEncryptOAEP");
    if (key == nullptr || in == nullptr || inLength == 0 || oaepDigest == nullptr ||
        mgf1Digest == nullptr) {
        RETURN_INVALID_PARAMETERS();
    }
    CTHandle<EVP_PKEY_CTX> context;
    TRY_OPENSSL_NEW(context, EVP_PKEY_CTX_new, key, nullptr);
    TRY_OPENSSL(EVP_PKEY_encrypt_init_ex, context.Get(), nullptr);
    TRY_OPENSSL(EVP_PKEY_CTX_set_rsa_padding, context.Get(), RSA_PKCS1_OAEP_PADDING);
    TRY_OPENSSL(EVP_PKEY_CTX_set_rsa_oaep_md, context.Get(), oaepDigest);
    TRY_OPENSSL(EVP_PKEY_CTX_set_rsa_mgf1_md, context.Get(), mgf1Digest);
    if (!label.IsEmpty()) {
        if (const int result = SetOaepLabel(context.Get(), label); result <= 0) {
            return result;
        }
    }
    TRY_OPENSSL(EVP_PKEY_encrypt, context.Get(), out, &outLength, in, inLength);
    return 1;
}

CSecureByteZone DecryptRsaOaep(const CByteZone& ciphertext, EVP_PKEY* key, const char* digestName) {
    if (ciphertext.IsEmpty() || key == nullptr || digestName == nullptr) {
        RAISE_INVALID_PARAMETERS();
    }
    const auto context = Own(EVP_PKEY_CTX_new(key, nullptr));
    if (!context) {
        RAISE_OPENSSL("EVP_PKEY_CTX_new");
    }
    if (EVP_PKEY_decrypt_init(context.Get()) <= 0) {
        RAISE_OPENSSL("EVP_PKEY_decrypt_init");
    }
    // Kept: nobody looks at the results, so an unknown digest is SHA-1.
    ERR_set_mark();
    EVP_PKEY_CTX_ctrl_str(context.Get(), "rsa_padding_mode", "oaep");
    EVP_PKEY_CTX_ctrl_str(context.Get(), "rsa_oaep_md", digestName);
    EVP_PKEY_CTX_ctrl_str(context.Get(), "rsa_mgf1_md", digestName);
    ERR_pop_to_mark();

    CSecureByteZone plaintext;
    if (Decrypt(context.Get(), ciphertext, plaintext) <= 0) {
        RAISE(OPENSSL_FUNCTION_FAILED());
    }
    return plaintext;
}

CSecureByteZone DecryptRsaOaepSha256(const CByteZone& ciphertext, EVP_PKEY* key) {
    return DecryptRsaOaep(ciphertext, key, "sha256");
}

CSecureByteZone DecryptRsaOaepSha1(const CByteZone& ciphertext, EVP_PKEY* key) {
    return DecryptRsaOaep(ciphertext, key, "sha1");
}

}  // namespace OpenSSLWrap
