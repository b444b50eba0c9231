/**
 * A published run of PACE on brainpoolP256r1, and which of its secrets were in memory that was
 * given back: pace_secrets_child KEY NONCE SCALAR PEER SCALAR PEER SECRET... The secrets have all
 * their bits turned, so that the arguments are none of them. Writes 0 for each that was never given
 * back.
 */
#include "icao/pace_sides.h"

#include <malloc.h>

#include <algorithm>
#include <iostream>
#include <iterator>

extern "C" void __libc_free(void* block);
extern "C" void* __libc_realloc(void* block, size_t size);

namespace {

struct CTurned {
    unsigned char bytes[32];
    size_t size;
    bool isGivenBack;
};

CTurned secrets[8];
size_t secretCount = 0;

/** Looks for the secrets, in both orders of their bytes, in a block that is about to go. */
void LookAt(const void* block) {
    const auto* const first = static_cast<const unsigned char*>(block);
    const auto* const last = first + malloc_usable_size(const_cast<void*>(block));
    const auto isTurned = [](unsigned char byte, unsigned char turned) {
        return (byte ^ turned) == 0xFF;
    };
    for (CTurned* secret = secrets; secret != secrets + secretCount; ++secret) {
        const unsigned char* const begin = secret->bytes;
        const unsigned char* const end = begin + secret->size;
        secret->isGivenBack |= std::search(first, last, begin, end, isTurned) != last ||
                               std::search(first, last, std::reverse_iterator(end),
                                           std::reverse_iterator(begin), isTurned) != last;
    }
}

CByteZone Bytes(const char* digits) {
    long size = 0;
    unsigned char* const read = OPENSSL_hexstr2buf(digits, &size);
    const CByteZone bytes(read, static_cast<size_t>(size));
    OPENSSL_free(read);
    return bytes;
}

void Run(char** hex) {
    const CByteZone key = Bytes(hex[0]);
    CByteZone sent;
    CSecureByteZone nonce, secret, encKey, macKey;
    icao::DecryptNonce({key.GetData(), key.GetSize()}, true, Bytes(hex[1]), nonce);
    Key peer, mapped, own = MakeKey(StandardParameters(13, true), Bytes(hex[2]), sent);
    icao::SetICCKeyECDH(own.Get(), Bytes(hex[3]), peer);
    icao::DoGenericMappingECDH(nonce, own.Get(), peer.Get(), mapped);
    own = MakeKey(mapped, Bytes(hex[4]), sent);
    icao::SetICCKeyECDH(own.Get(), Bytes(hex[5]), peer);
    icao::ProcessSharedSecretECDH(own.Get(), peer.Get(), secret);
    icao::DeriveKeys(secret, 128, encKey, macKey);
}

}  // namespace

extern "C" void free(void* block) {
    LookAt(block);
    __libc_free(block);
}

extern "C" void* realloc(void* block, size_t size) {
    LookAt(block);
    return __libc_realloc(block, size);
}

int main(int count, char** arguments) {
    constexpr int kFirstSecret = 7;
    for (int i = kFirstSecret; i < count; ++i) {
        const CByteZone turned = Bytes(arguments[i]);
        CTurned& secret = secrets[i - kFirstSecret];
        secret.size = std::min(turned.GetSize(), sizeof(secret.bytes));
        std::copy_n(turned.GetData(), secret.size, secret.bytes);
    }
    secretCount = static_cast<size_t>(count - kFirstSecret);
    Run(arguments + 1);
    for (const CTurned& secret : secrets) {
        std::cout << secret.isGivenBack;
    }
    return 0;
}
