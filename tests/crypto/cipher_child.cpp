/**
 * What has to be seen in a process of its own: the first use of cryptography, what is left in
 * memory, what OpenSSL allocates and what the log shows.
 */
#include "crypto/aes_key.h"
#include "crypto/block_ops.h"
#include "crypto/cmac.h"
#include "crypto/openssl_wrapper.h"
#include "crypto/retail_mac.h"
#include "support/child_process.h"

#include <openssl/err.h>
#include <openssl/provider.h>

#include <fcntl.h>
#include <unistd.h>

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

constexpr unsigned char kMask = 0x5A;
constexpr char kMaskedKey[] = "a key that nobody has chosen yet";
constexpr size_t kKeySize = sizeof(kMaskedKey) - 1;

/** In how many parts of the memory that can be written to the key stands; not in this one. */
size_t CountKeys() {
    static unsigned char part[1 << 16];
    size_t found = 0;
    std::ifstream maps("/proc/self/maps");
    const int memory = open("/proc/self/mem", O_RDONLY);
    off_t begin, end;
    std::string rights, rest;
    for (char dash; maps >> std::hex >> begin >> dash >> end >> rights && getline(maps, rest);) {
        for (; rights[1] == 'w' && begin < end; begin += sizeof(part) - kKeySize) {
            const size_t wanted = std::min<size_t>(sizeof(part), static_cast<size_t>(end - begin));
            unsigned char* const last =
                part + std::max<ssize_t>(pread(memory, part, wanted, begin), 0);
            found += last != std::search(part, last, kMaskedKey, kMaskedKey + kKeySize,
                                         [](unsigned char byte, char masked) {
                                             return (byte ^ kMask) == masked;
                                         });
        }
    }
    close(memory);
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

unsigned heapCalls = 0;

void CountHeapCalls() {
    CByteZone mac;
    for (const size_t size : {16, 1024, 1 << 20}) {
        heapCalls = 0;
        ComputeCMAC(CByteZone(16, 1), CByteZone(size, 2), mac);
        std::cout << heapCalls << ' ';
    }
}

void Trace() {
    CByteZone mac, data(8, 1);
    ComputeCMAC(CByteZone(16, 0), data, mac);
    ComputeDES3RetailMAC(CByteZone(8, 0), CByteZone(8, 0), data);
    EncryptAesCbc(CByteZone(16, 0), CByteZone(16, 0), CByteZone(16, 0), mac);
}

}  // namespace

int main() {
    CRYPTO_set_mem_functions(
        [](size_t size, const char*, int) { return ++heapCalls, malloc(size); },
        [](void* block, size_t size, const char*, int) {
            return ++heapCalls, realloc(block, size);
        },
        [](void* block, const char*, int) { heapCalls += block != nullptr, free(block); });
    CallLegacyFirst();
    Trace();
    CountHeapCalls();
    kInstrumented ? void(std::cout << "10\n") : ReleaseKey();  // there is too much to be read
    return 0;
}
