#include "crypto/cipher_table.h"

#include "crypto/legacy_ciphers.h"

#include <atomic>
#include <iterator>

using OpenSSLWrap::ECipher;

namespace {

/** One cipher; `keyLength` 0 is any. */
struct CCipherRow {
    const char* name;
    size_t keyLength;
    ECipher family;
    bool legacy;
};

constexpr CCipherRow kCiphers[] = {
    {"AES-128-ECB", 16, ECipher::AesEcb, false},
    {"AES-192-ECB", 24, ECipher::AesEcb, false},
    {"AES-256-ECB", 32, ECipher::AesEcb, false},
    {"AES-128-CBC", 16, ECipher::AesCbc, false},
    {"AES-192-CBC", 24, ECipher::AesCbc, false},
    {"AES-256-CBC", 32, ECipher::AesCbc, false},
    {"AES-128-GCM", 16, ECipher::AesGcm, false},
    {"AES-192-GCM", 24, ECipher::AesGcm, false},
    {"AES-256-GCM", 32, ECipher::AesGcm, false},

    {"RC2-CBC", 16, ECipher::Rc2Cbc, true},
    {"RC2-64-CBC", 8, ECipher::Rc2Cbc, true},
    {"RC2-40-CBC", 5, ECipher::Rc2Cbc, true},
    {"RC4", 16, ECipher::Rc4, true},
    {"RC4-40", 5, ECipher::Rc4, true},

    {"DES-EDE3-CBC", 0, ECipher::DesEde3Cbc, true},
    {"DES-EDE3-ECB", 0, ECipher::DesEde3Ecb, false},
    {"DES-CBC", 0, ECipher::DesCbc, true},
    {"DES-ECB", 0, ECipher::DesEcb, true},
    {"RC2-ECB", 0, ECipher::Rc2Ecb, true},

    // what no family has: a name that OpenSSL refuses
    {"", 0, ECipher{}, false},
};
constexpr size_t kNone = std::size(kCiphers) - 1;

std::atomic<EVP_CIPHER*> kept[std::size(kCiphers)];

size_t FindRow(ECipher family, size_t keyLength) {
    const bool aes =
        family == ECipher::AesEcb || family == ECipher::AesCbc || family == ECipher::AesGcm;
    const size_t wanted = aes && keyLength == 0 ? 16 : keyLength;
    for (size_t i = 0; i < kNone; ++i) {
        const CCipherRow& row = kCiphers[i];
        if (row.family == family && (row.keyLength == wanted || row.keyLength == 0)) {
            return i;
        }
    }
    return kNone;
}

}  // namespace

const EVP_CIPHER* GetCipher(ECipher family, size_t keyLength) {
    const size_t row = FindRow(family, keyLength);
    EVP_CIPHER* cipher = kept[row].load();
    if (cipher != nullptr) {
        return cipher;
    }
    const char* const name = kCiphers[row].name;
    auto fetched = kCiphers[row].legacy ? FetchLegacyCipher(name)
                                        : Own(EVP_CIPHER_fetch(nullptr, name, nullptr));
    if (!fetched) {
        ReportOpenSSLError("EVP_CIPHER_fetch");
        return nullptr;
    }
    return kept[row].compare_exchange_strong(cipher, fetched.Get()) ? fetched.Detach() : cipher;
}
