#include "crypto/cipher_table.h"
#include "crypto/openssl_wrapper.h"
#include "crypto/try_openssl.h"
#include <qorvs/trace.h>

#include <climits>

namespace OpenSSLWrap {

namespace {

constexpr int kGcmIvLength = 12;

/** What DoCipher is asked for, without the types of its zones. */
struct CCipherCall {
    const unsigned char* key;
    size_t keyLength;
    unsigned char* out;
    const unsigned char* in;
    size_t inLength;
    bool encrypt;
    const EVP_CIPHER* cipher;
    bool padding;
};

int Fail(const char* callName) {
    ReportOpenSSLError(callName);
    return 0;
}

bool IsAead(const EVP_CIPHER* cipher) {
    return (EVP_CIPHER_get_flags(cipher) & EVP_CIPH_FLAG_AEAD_CIPHER) != 0;
}

int GetIvLength(const EVP_CIPHER* cipher) {
    return IsAead(cipher) ? kGcmIvLength : EVP_CIPHER_get_iv_length(cipher);
}

/** OpenSSL reads key and iv by the cipher's lengths and takes sizes as int. */
bool AreSizesRight(const CCipherCall& call, const CByteZone& iv) {
    if (call.cipher == nullptr || call.inLength > INT_MAX - EVP_MAX_BLOCK_LENGTH ||
        call.keyLength != static_cast<size_t>(EVP_CIPHER_get_key_length(call.cipher))) {
        return false;
    }
    const auto ivLength = static_cast<size_t>(GetIvLength(call.cipher));
    const bool addsBlock =
        call.encrypt && call.padding && EVP_CIPHER_get_block_size(call.cipher) > 1;
    return (ivLength == 0 || iv.GetSize() == ivLength) &&
           (call.in != nullptr || call.inLength == 0) &&
           (call.out != nullptr || (call.inLength == 0 && !addsBlock));
}

int SetUp(EVP_CIPHER_CTX* context, const CCipherCall& call, const CByteZone& iv, CByteZone& tag) {
    TRY_OPENSSL(EVP_CipherInit_ex, context, call.cipher, nullptr, nullptr, nullptr, call.encrypt);
    const bool aead = IsAead(call.cipher);
    if (aead && EVP_CIPHER_CTX_ctrl(context, EVP_CTRL_GCM_SET_IVLEN, kGcmIvLength, nullptr) != 1) {
        return Fail("EVP_CTRL_GCM_SET_IVLEN");
    }
    TRY_OPENSSL(EVP_CipherInit_ex2, context, nullptr, call.key, iv.GetData(), call.encrypt,
                nullptr);
    TRY_OPENSSL(EVP_CIPHER_CTX_set_padding, context, call.padding);
    if (aead && !call.encrypt && !tag.IsEmpty() &&
        EVP_CIPHER_CTX_ctrl(context, EVP_CTRL_GCM_SET_TAG, static_cast<int>(tag.GetSize()),
                            tag.GetData()) != 1) {
        return Fail("EVP_CTRL_GCM_SET_TAG");
    }
    return 1;
}

int Transform(EVP_CIPHER_CTX* context, const CCipherCall& call) {
    int written = 0;
    TRY_OPENSSL(EVP_CipherUpdate, context, call.out, &written, call.in,
                static_cast<int>(call.inLength));
    int rest = 0;
    TRY_OPENSSL(EVP_CipherFinal_ex, context, call.out + written, &rest);
    return 1;
}

int TakeTag(EVP_CIPHER_CTX* context, const CCipherCall& call, CByteZone& tag) {
    if (call.encrypt && IsAead(call.cipher) && !tag.IsEmpty() &&
        EVP_CIPHER_CTX_ctrl(context, EVP_CTRL_GCM_GET_TAG, static_cast<int>(tag.GetSize()),
                            tag.GetData()) != 1) {
        return Fail("EVP_CTRL_GCM_GET_TAG");
    }
    return 1;
}

int TakeIv(EVP_CIPHER_CTX* context, const CCipherCall& call, CByteZone& iv) {
    if (GetIvLength(call.cipher) > 0 &&
        EVP_CIPHER_CTX_get_updated_iv(context, iv.GetData(), iv.GetSize()) != 1) {
        // Kept: the name of another call than the one made. Logs are matched on it.
        return Fail("EVP_CIPHER_CTX_get_original_iv");
    }
    return 1;
}

int RunCall(const CCipherCall& call, CByteZone& iv, bool updateIv, CByteZone& tag) {
    if (!AreSizesRight(call, iv)) {
        TraceString0("OpenSSLWrap::DoCipher: invalid parameters.");
        return 0;
    }
    CTHandle<EVP_CIPHER_CTX> context;
    TRY_OPENSSL_NEW(context, EVP_CIPHER_CTX_new);
    if (SetUp(context.Get(), call, iv, tag) < 1) {
        return 0;
    }
    const bool done = Transform(context.Get(), call) >= 1 &&
                      TakeTag(context.Get(), call, tag) >= 1 &&
                      (!updateIv || TakeIv(context.Get(), call, iv) >= 1);
    if (!done && !call.encrypt && call.inLength > 0) {
        // What a wrong tag or padding lets through is nobody's plain text.
        OPENSSL_cleanse(call.out, call.inLength);
    }
    return done ? 1 : 0;
}

}  // namespace

template <class KeyZone>
int DoCipher(const KeyZone& key, unsigned char* out, const unsigned char* in, size_t inLength,
             bool encrypt, const EVP_CIPHER* cipher, CByteZone& iv, bool padding, bool updateIv,
             CByteZone& tag) {
    return RunCall({key.GetData(), key.GetSize(), out, in, inLength, encrypt, cipher, padding}, iv,
                   updateIv, tag);
}

template <class KeyZone>
int RunCipher(ECipher cipher, bool encrypt, const KeyZone& key, unsigned char* out,
              const unsigned char* in, size_t inLength, CByteZone& iv, bool padding,
              bool updateIv) {
    const EVP_CIPHER* const fetched = GetCipher(cipher, key.GetSize());
    CByteZone tag;
    return fetched != nullptr
               ? DoCipher(key, out, in, inLength, encrypt, fetched, iv, padding, updateIv, tag)
               : 0;
}

template <class KeyZone>
int RunAesGcm(bool encrypt, const KeyZone& key, unsigned char* out, const unsigned char* in,
              size_t inLength, CByteZone& iv, CByteZone& tag) {
    const EVP_CIPHER* const fetched = GetCipher(ECipher::AesGcm, key.GetSize());
    return fetched != nullptr
               ? DoCipher(key, out, in, inLength, encrypt, fetched, iv, false, false, tag)
               : 0;
}

#define INSTANTIATE(Zone)                                                                    \
    template int DoCipher(const Zone&, unsigned char*, const unsigned char*, size_t, bool,   \
                          const EVP_CIPHER*, CByteZone&, bool, bool, CByteZone&);            \
    template int RunCipher(ECipher, bool, const Zone&, unsigned char*, const unsigned char*, \
                           size_t, CByteZone&, bool, bool);                                  \
    template int RunAesGcm(bool, const Zone&, unsigned char*, const unsigned char*, size_t,  \
                           CByteZone&, CByteZone&);
INSTANTIATE(CByteZone)
INSTANTIATE(CSecureByteZone)

}  // namespace OpenSSLWrap
