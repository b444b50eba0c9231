#include "crypto/filled_zone.h"
#include "crypto/openssl_wrapper.h"
#include "crypto/try_openssl.h"

#include <openssl/rsa.h>

#include <algorithm>

namespace OpenSSLWrap {

static int SetPaddingAndDigest(EVP_PKEY_CTX* context, int padding, const EVP_MD* digest) {
    if (padding != 0) {
        TRY_OPENSSL(EVP_PKEY_CTX_set_rsa_padding, context, padding);
    }
    if (digest != nullptr) {
        TRY_OPENSSL(EVP_PKEY_CTX_set_signature_md, context, digest);
    }
    return 1;
}

int InitSign(EVP_PKEY* key, int padding, const EVP_MD* digest, CTHandle<EVP_PKEY_CTX>& context) {
    context.Reset();
    if (key == nullptr) {
        RETURN_INVALID_PARAMETERS();
    }
    CTHandle<EVP_PKEY_CTX> made;
    TRY_OPENSSL_NEW(made, EVP_PKEY_CTX_new, key, nullptr);
    TRY_OPENSSL(EVP_PKEY_sign_init, made.Get());
    const int result = SetPaddingAndDigest(made.Get(), padding, digest);
    if (result > 0) {
        context = std::move(made);
    }
    return result;
}

int Sign(EVP_PKEY_CTX* context, const CByteZone& digest, unsigned char* signature, size_t& length) {
    if (context == nullptr || digest.IsEmpty()) {
        RETURN_INVALID_PARAMETERS();
    }
    TRY_OPENSSL(EVP_PKEY_sign, context, signature, &length, digest.GetData(), digest.GetSize());
    return 1;
}

int Sign(EVP_PKEY_CTX* context, const CByteZone& digest, CByteZone& signature) {
    return FillZone(signature, [&](unsigned char* buffer, size_t& length) {
        return Sign(context, digest, buffer, length);
    });
}

int InitVerify(EVP_PKEY* key, int padding, const EVP_MD* digest, const EVP_MD* mgf1Digest,
               const int* saltLength, CTHandle<EVP_PKEY_CTX>& context) {
    context.Reset();
    if (key == nullptr) {
        RETURN_INVALID_PARAMETERS();
    }
    CTHandle<EVP_PKEY_CTX> made;
    TRY_OPENSSL_NEW(made, EVP_PKEY_CTX_new, key, nullptr);
    TRY_OPENSSL(EVP_PKEY_verify_init, made.Get());
    if (digest != nullptr) {
        TRY_OPENSSL(EVP_PKEY_CTX_set_signature_md, made.Get(), digest);
    }
    if (IsRsa(key)) {
        if (padding != 0) {
            TRY_OPENSSL(EVP_PKEY_CTX_set_rsa_padding, made.Get(), padding);
        }
        if (mgf1Digest != nullptr) {
            TRY_OPENSSL(EVP_PKEY_CTX_set_rsa_mgf1_md, made.Get(), mgf1Digest);
        }
        if (saltLength != nullptr) {
            TRY_OPENSSL(EVP_PKEY_CTX_set_rsa_pss_saltlen, made.Get(), *saltLength);
        }
    }
    context = std::move(made);
    return 1;
}

int Verify(EVP_PKEY_CTX* context, const CByteZone& signature, const CByteZone& digest) {
    if (context == nullptr || signature.IsEmpty() || digest.IsEmpty()) {
        RETURN_INVALID_PARAMETERS();
    }
    TRY_OPENSSL(EVP_PKEY_verify, context, signature.GetData(), signature.GetSize(),
                digest.GetData(), digest.GetSize());
    return 1;
}

int InitVerifyRecover(EVP_PKEY* key, int padding, const EVP_MD* digest,
                      CTHandle<EVP_PKEY_CTX>& context) {
    context.Reset();
    if (key == nullptr) {
        RETURN_INVALID_PARAMETERS();
    }
    CTHandle<EVP_PKEY_CTX> made;
    TRY_OPENSSL_NEW(made, EVP_PKEY_CTX_new, key, nullptr);
    TRY_OPENSSL(EVP_PKEY_verify_recover_init, made.Get());
    const int result = SetPaddingAndDigest(made.Get(), padding, digest);
    if (result > 0) {
        context = std::move(made);
    }
    return result;
}

int VerifyRecover(EVP_PKEY_CTX* context, const CByteZone& signature, unsigned char* recovered,
                  size_t& length) {
    if (context == nullptr || signature.IsEmpty()) {
        RETURN_INVALID_PARAMETERS();
    }
    if (recovered == nullptr) {
        TRY_OPENSSL(EVP_PKEY_verify_recover, context, nullptr, &length, signature.GetData(),
                    signature.GetSize());
        return 1;
    }
    // Not into the caller's buffer: some versions of OpenSSL do not look at its length.
    const int most = EVP_PKEY_get_size(EVP_PKEY_CTX_get0_pkey(context));
    if (most <= 0) {
        ReportOpenSSLError("EVP_PKEY_get_size");
        return 0;
    }
    CByteZone whole(static_cast<size_t>(most), 0);
    size_t size = whole.GetSize();
    TRY_OPENSSL(EVP_PKEY_verify_recover, context, whole.GetData(), &size, signature.GetData(),
                signature.GetSize());
    if (size > length) {
        ReportOpenSSLError("EVP_PKEY_verify_recover");
        return 0;
    }
    std::copy_n(whole.GetData(), size, recovered);
    length = size;
    return 1;
}

int VerifyRecover(EVP_PKEY_CTX* context, const CByteZone& signature, CByteZone& recovered) {
    return FillZone(recovered, [&](unsigned char* buffer, size_t& length) {
        return VerifyRecover(context, signature, buffer, length);
    });
}

}  // namespace OpenSSLWrap
