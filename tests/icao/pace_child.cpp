/**
 * What has to be seen in a process of its own: what refusals leave in the log, and that no secret
 * stays in memory.
 */
#include "icao/chip_authentication.h"
#include "icao/icao_exception.h"
#include "icao/integrated_mapping.h"
#include "icao/object_ids.h"
#include "icao/pace_sides.h"
#include "support/child_process.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <fstream>
#include <iostream>

using namespace icao;

namespace {

constexpr int kBrainpool256 = 13;

CByteZone Hex(const char* digits) {
    long size = 0;
    unsigned char* const read = OPENSSL_hexstr2buf(digits, &size);
    CByteZone bytes(read, static_cast<size_t>(size));
    OPENSSL_free(read);
    return bytes;
}

/** All that the refused calls are given. */
struct CThings {
    CThings() {
        ifd = MakeKey(ec, CByteZone(1, 5), own);
        ifdDh = MakeKey(dh, CByteZone(1, 5), ownDh);
        SetICCKeyECDH(ifd.Get(), PointOf(7), icc);
        icc224 = MakeKey(StandardParameters(10, true), CByteZone(1, 5), bytes);
        Key peer, mapped;
        tuned = MakeKey(StandardParameters(12, true), CByteZone(1, 5), bytes);
        SetICCKeyECDH(tuned.Get(), GeneratorOf(tuned), peer);
        DoGenericMappingECDH(nonce, tuned.Get(), peer.Get(), mapped);
        tuned = MakeKey(mapped, CByteZone(1, 5), tunedOwn);
        noQ = OpenSSLWrap::CreateDhParamsKey(domain.p.Get(), nullptr, BN_value_one());
        order = Own(BN_dup(EC_GROUP_get0_order(group.Get())));
    }

    CByteZone PointOf(unsigned char scalar) const {
        return RaiseGenerator(ec, ToNumber(CByteZone(1, scalar)).Get());
    }
    /** The prime of the DH group, less or more by a small number. */
    CByteZone NearPrime(int difference) const {
        const auto near = Own(BN_dup(domain.p.Get()));
        BN_add(near.Get(), near.Get(), OpenSSLWrap::IntToBignum(difference).Get());
        return OpenSSLWrap::BignumToBuffer(near.Get(), 0);
    }
    /** The nonce that takes the mapped generator to the point at infinity. */
    CSecureByteZone CancellingNonce() const {
        BN_sub_word(order.Get(), 35);
        return OpenSSLWrap::BignumToSecureBuffer(order.Get(), 0);
    }

    Key ec = StandardParameters(kBrainpool256, true), dh = StandardParameters(0, false);
    const CTHandle<EC_GROUP> group = GetKeyGroup(ec.Get());
    const CDhDomain domain = CDhDomain(dh.Get());
    Key ifd, ifdDh, icc, icc224, tuned, noQ, out;
    CByteZone own, ownDh, tunedOwn, bytes;
    CSecureByteZone nonce = CSecureByteZone(16, 1), secret;
    CTHandle<BIGNUM> order, number;
    CTHandle<EC_POINT> point;
};

enum EMissing { kNothing, kParameters, kBits, kKeyInfo, kProtocol };

/** A chip's static key, without one of its parts or with bits that are none. */
CChipAuthenticationPublicKeyInfo StaticKey(EPublicKeyType type, EMissing missing,
                                           const char* bits = "00") {
    CByteZone value;
    auto info = StaticKeyInfo(
        MakeKey(StandardParameters(type == id_PK_DH ? 1 : kBrainpool256, type != id_PK_DH),
                CByteZone(1, 5), value));
    CSubjectPublicKeyInfo& key = *info.chipAuthenticationPublicKey;
    key.subjectPublicKey->bytes = Hex(bits);
    missing == kParameters ? key.algorithm->parameters.reset()
    : missing == kBits     ? key.subjectPublicKey.reset()
    : missing == kKeyInfo  ? info.chipAuthenticationPublicKey.reset()
    : missing == kProtocol ? info.protocol.reset()
                           : void();
    return info;
}

using SetStatic = void (*)(const CChipAuthenticationPublicKeyInfo*, Key&);

void WithStaticKey(SetStatic call, EPublicKeyType type, EMissing missing, const char* bits = "00") {
    Key key;
    const auto info = StaticKey(type, missing, bits);
    call(&info, key);
}

template <void (*generate)(const CChipAuthenticationPublicKeyInfo*, Key&, CByteZone&)>
void GenerateFor(const CChipAuthenticationPublicKeyInfo* info, Key& key) {
    CByteZone publicKey;
    generate(info, key, publicKey);
}

struct CRefusal {
    const char* name;
    void (*call)(CThings&);
};

#define REFUSED(name, ...)                                     \
    {                                                          \
        name, []([[maybe_unused]] CThings& x) { __VA_ARGS__; } \
    }

constexpr CRefusal kRefusals[] = {
#include "pace_refusals.inc"
};

std::string OutcomeOf(const CRefusal& refusal, CThings& things) {
    try {
        refusal.call(things);
        return "accepted";
    } catch (const CICAOException& exception) {
        return std::to_string(exception.GetErrorCode()) +
               (exception.GetMessage().IsEmpty() ? "" : " with a text");
    } catch (const OPENSSL_FUNCTION_FAILED&) {
        return "OpenSSL";
    } catch (const CException& exception) {
        return "CException " + std::to_string(exception.GetErrorCode());
    } catch (...) {
        return "another exception";
    }
}

void Refuse() {
    CThings things;
    for (const CRefusal& refusal : kRefusals) {
        TraceString("[%s]", refusal.name);
        TraceString("= %s", OutcomeOf(refusal, things).c_str());
    }
}

/** In how many parts of the memory that can be written to the masked bytes stand. */
size_t CountInMemory(const CByteZone& masked) {
    static unsigned char part[1 << 16];
    size_t found = 0;
    std::ifstream maps("/proc/self/maps");
    const int memory = open("/proc/self/mem", O_RDONLY);
    off_t begin, end;
    std::string rights, rest;
    for (char dash; maps >> std::hex >> begin >> dash >> end >> rights && getline(maps, rest);) {
        const auto step = static_cast<off_t>(sizeof(part) - masked.GetSize());
        for (; rights[1] == 'w' && begin < end; begin += step) {
            const size_t wanted = std::min<size_t>(sizeof(part), static_cast<size_t>(end - begin));
            unsigned char* const last =
                part + std::max<ssize_t>(pread(memory, part, wanted, begin), 0);
            found += last != std::search(part, last, masked.begin(), masked.end(),
                                         [](int byte, int mask) { return byte == (mask ^ 0xFF); });
            OPENSSL_cleanse(part, sizeof(part));
        }
    }
    close(memory);
    return found;
}

/** How often each of the masked secrets stands in memory, in either order of its bytes. */
void Count(char** secrets) {
    for (; *secrets != nullptr; ++secrets) {
        CByteZone masked = Hex(*secrets);
        const size_t found = CountInMemory(masked);
        masked.Reverse();
        std::cout << (found + CountInMemory(masked) > 0);
    }
    std::cout << '\n';
}

/** A run on the values given, and what stands in memory before its end and after. */
void Run(char** hex) {
    enum { kNonceKey, kEncrypted, kMapScalar, kMapPeer, kScalar, kPeer, kMasked };
    {
        CByteZone sent;
        const CByteZone key = Hex(hex[kNonceKey]);
        CSecureByteZone nonce, secret, encKey, macKey;
        DecryptNonce({key.GetData(), key.GetSize()}, true, Hex(hex[kEncrypted]), nonce);
        Key peer, mapped;
        Key own = MakeKey(StandardParameters(kBrainpool256, true), Hex(hex[kMapScalar]), sent);
        SetICCKeyECDH(own.Get(), Hex(hex[kMapPeer]), peer);
        DoGenericMappingECDH(nonce, own.Get(), peer.Get(), mapped);
        own = MakeKey(mapped, Hex(hex[kScalar]), sent);
        SetICCKeyECDH(own.Get(), Hex(hex[kPeer]), peer);
        ProcessSharedSecretECDH(own.Get(), peer.Get(), secret);
        DeriveKeys(secret, 128, encKey, macKey);
        Count(hex + kMasked);
    }
    Count(hex + kMasked);
}

}  // namespace

int main(int count, char** arguments) {
    count == 1 ? Refuse() : Run(arguments + 1);
    return 0;
}
