#include "crypto/aes_key.h"

#include "crypto/key_failures.h"
#include "crypto/openssl_wrapper.h"

#include <cstring>

static constexpr size_t kAesBlock = 16;

CAesKey::CAesKey(const CSecureByteZone& keyBytes)
    : CSecretKey(keyBytes, kAesBlock), initialIv(nullptr, kAesBlock) {}

CAesKey::CAesKey(const CByteZone& keyBytes)
    : CAesKey(CSecureByteZone(keyBytes.GetData(), keyBytes.GetSize())) {}

CAesKey::~CAesKey() = default;

void CAesKey::SetIv(const CByteZone& newIv) {
    if (newIv.GetSize() == kAesBlock) {
        initialIv = newIv;
    }
}

CByteZone CAesKey::EncryptFull(const CByteZone& data, int newPadding, int newMode) {
    if (newPadding == kNoPadding && data.GetSize() % kAesBlock != 0) {
        // Kept: "notbut". Logs are matched on these words.
        RAISE_KEY_FAILURE(
            "padding is notbut the size of the buffer is not a multiple of a block size",
            kDataLenRange);
    }
    return CSecretKey::EncryptFull(data, newPadding, newMode);
}

void CAesKey::SetParameters(int newPadding, int newMode) {
    CSecretKey::SetParameters(newPadding, newMode);
    iv = initialIv;
}

void CAesKey::Run(bool encrypt, int blockMode, unsigned char* out, size_t length) {
    const auto cipher =
        blockMode == kEcbMode ? OpenSSLWrap::ECipher::AesEcb : OpenSSLWrap::ECipher::AesCbc;
    const bool good = length <= buffer.GetSize() &&
                      OpenSSLWrap::RunCipher(cipher, encrypt, key, out, buffer.GetData(), length,
                                             iv, false, blockMode != kEcbMode) >= 1;
    if (!good && length > 0) {
        std::memset(out, 0, length);
    }
}

void CAesKey::EncryptECB(unsigned char* out, size_t length) { Run(true, kEcbMode, out, length); }
void CAesKey::DecryptECB(unsigned char* out, size_t length) { Run(false, kEcbMode, out, length); }
void CAesKey::EncryptCBC(unsigned char* out, size_t length) { Run(true, kCbcMode, out, length); }
void CAesKey::DecryptCBC(unsigned char* out, size_t length) { Run(false, kCbcMode, out, length); }
