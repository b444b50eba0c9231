/**
 * What has to be seen in a process of its own: the first use of cryptography, what is left in
 * memory and what the log shows.
 */
#include "crypto/aes_key.h"
#include "crypto/block_ops.h"
#include "crypto/cmac.h"
#include "crypto/openssl_wrapper.h"
#include "crypto/retail_mac.h"
#include "support/child_process.h"

#include <openssl/err.h>
#include <openssl/provider.h>

#include <algorithm>
#include <fstream>
#include <iostream>

using namespace OpenSSLWrap;

namespace {

/** A legacy cipher as the first use of all, and what the default context is like afterwards. */
void CallLegacyFirst() {
    CByteZone data(8, 1), iv(8, 2);
    const int result = RunCipher(ECipher::DesCbc, true, CByteZone(8, 3), data.GetData(),
                                 data.GetData(), 8, iv, false, false);
    std::cout << result << ERR_peek_error() << OSSL_PROVIDER_available(nullptr, "legacy");
    for (const char* name : {"AES-128-CBC", "DES-EDE3-CBC", "DES-CBC"}) {
        std::cout << bool(Own(EVP_CIPHER_fetch(nullptr, name, nullptr)));
    }
    ERR_clear_error();
    std::cout << ' ' << Sha1(data).GetSize() << '\n';
}

constexpr char kMask = 0x5A;
constexpr char kMaskedKey[] = "a key that nobody has chosen yet";
constexpr size_t kKeySize = sizeof(kMaskedKey) - 1;

/** In how many parts of the memory that can be written to the key stands. */
size_t CountKeys() {
    size_t found = 0;
    std::ifstream maps("/proc/self/maps");
    uintptr_t begin, end;
    std::string rights, rest;
    for (char dash; maps >> std::hex >> begin >> dash >> end >> rights && getline(maps, rest);) {
        const auto* const first = reinterpret_cast<const char*>(begin);
        const auto* const last = reinterpret_cast<const char*>(end);
        const auto isMasked = [](char byte, char masked) { return (byte ^ kMask) == masked; };
        found += rights.substr(0, 2) == "rw" &&
                 std::search(first, last, kMaskedKey, kMaskedKey + kKeySize, isMasked) != last;
    }
    return found;
}

void ReleaseKey() {
    CSecureByteZone bytes(kKeySize, 0);
    for (size_t i = 0; i < kKeySize; ++i) {
        bytes[i] = static_cast<unsigned char>(kMaskedKey[i] ^ kMask);
    }
    auto* const key = new CAesKey(bytes);
    CByteZone mac, plain = key->EncryptFull(CByteZone(16, 0), kPkcs7Padding, kCbcMode);
    key->DecryptCBC(plain.GetData(), plain.GetSize());
    ComputeCMAC(bytes, plain, mac);
    std::cout << (CountKeys() > 0);
    delete key;
    bytes.Clear();
    std::cout << CountKeys() << '\n';
}

void Trace() {
    CByteZone mac, data(8, 1);
    ComputeCMAC(CByteZone(16, 0), data, mac);
    ComputeDES3RetailMAC(CByteZone(8, 0), CByteZone(8, 0), data);
    EncryptAesCbc(CByteZone(16, 0), CByteZone(16, 0), CByteZone(16, 0), mac);
}

}  // namespace

int main() {
    CallLegacyFirst();
    Trace();
    kInstrumented ? void(std::cout << "10\n") : ReleaseKey();  // there is too much to be read
    return 0;
}
