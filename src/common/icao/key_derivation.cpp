#include "icao/key_derivation.h"

#include "crypto/raise_openssl.h"
#include "icao/icao_exception.h"
#include "icao/object_ids.h"

#include <openssl/evp.h>

namespace icao {

namespace {

constexpr unsigned char kEncryptionCounter = 1;
constexpr unsigned char kMacCounter = 2;
constexpr unsigned char kPasswordCounter = 3;

constexpr char kSha1[] = "SHA1";
constexpr char kSha256[] = "SHA2-256";
constexpr size_t kSha1Size = 20;
constexpr size_t kSha256Size = 32;

/** The digest of bytes, all of it in secure memory. */
void Digest(const char* name, CByteView data, CSecureByteZone& digest) {
    CSecureByteZone bytes(EVP_MAX_MD_SIZE, 0);
    size_t size = 0;
    if (EVP_Q_digest(nullptr, name, nullptr, data.GetData(), data.GetSize(), bytes.GetData(),
                     &size) <= 0) {
        RAISE_OPENSSL("EVP_Q_digest");
    }
    bytes.Resize(size);
    digest = std::move(bytes);
}

/** The first bytes of the digest over the secret and the counter, a number of 32 bits. */
void Derive(const char* digestName, CByteView secret, unsigned char counter, size_t size,
            CSecureByteZone& key) {
    CSecureByteZone input;
    input.Reserve(secret.GetSize() + sizeof(uint32_t));
    input.Append(secret.GetData(), secret.GetSize());
    input.FillUpTo(secret.GetSize() + sizeof(uint32_t) - 1, 0);
    input.Append(counter);
    Digest(digestName, input, key);
    key.Resize(size);
}

}  // namespace

void DeriveKeys(CByteView secret, int keyBits, CSecureByteZone& encKey, CSecureByteZone& macKey) {
    if (keyBits != 128 && keyBits != 192 && keyBits != 256) {
        REJECT_ICAO(ICAO_ERR_FUNCTION_FAILED, "Key bit length (%d) must be 128, 192 or 256",
                    keyBits);
    }
    const char* const digestName = keyBits == 128 ? kSha1 : kSha256;
    const size_t size = static_cast<size_t>(keyBits) / 8;
    CSecureByteZone derived;
    Derive(digestName, secret, kEncryptionCounter, size, derived);
    Derive(digestName, secret, kMacCounter, size, macKey);
    encKey = std::move(derived);
}

void DerivePasswordKey(int passwordType, CByteView password, int keyBits, CSecureByteZone& key) {
    const bool isSha1 = keyBits == 128;
    if (keyBits < 1 ||
        (static_cast<size_t>(keyBits) + 7) / 8 > (isSha1 ? kSha1Size : kSha256Size)) {
        REJECT_ICAO(ICAO_ERR_FUNCTION_FAILED, "DerivePasswordKey: invalid parameters.");
    }
    CSecureByteZone hashed;
    if (passwordType == MRZ) {
        Digest(kSha1, password, hashed);
        password = hashed;
    }
    Derive(isSha1 ? kSha1 : kSha256, password, kPasswordCounter,
           (static_cast<size_t>(keyBits) + 7) / 8, key);
}

}  // namespace icao
