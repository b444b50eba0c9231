#include "icao/integrated_mapping.h"

#include "crypto/openssl_wrapper.h"
#include "crypto/raise_openssl.h"
#include "icao/curve_encoding.h"
#include "icao/icao_exception.h"
#include "icao/key_domain.h"
#include "icao/nonce_cipher.h"

using OpenSSLWrap::GetKeyBitLength;
using OpenSSLWrap::SetAffineCoordinates;

namespace icao {

namespace {

constexpr size_t kMostBytes = 32;

struct CPseudoRandomConstants {
    unsigned char c0[kMostBytes];
    unsigned char c1[kMostBytes];
};

constexpr CPseudoRandomConstants kConstants128 = {{0xa6, 0x68, 0x89, 0x2a, 0x7c, 0x41, 0xe3, 0xca,
                                                   0x73, 0x9f, 0x40, 0xb0, 0x57, 0xd8, 0x59, 0x04},
                                                  {0xa4, 0xe1, 0x36, 0xac, 0x72, 0x5f, 0x73, 0x8b,
                                                   0x01, 0xc1, 0xf6, 0x02, 0x17, 0xc1, 0x88, 0xad}};

constexpr CPseudoRandomConstants kConstants256 = {
    {0xd4, 0x63, 0xd6, 0x52, 0x34, 0x12, 0x4e, 0xf7, 0x89, 0x70, 0x54,
     0x98, 0x6d, 0xca, 0x0a, 0x17, 0x4e, 0x28, 0xdf, 0x75, 0x8c, 0xba,
     0xa0, 0x3f, 0x24, 0x06, 0x16, 0x41, 0x4d, 0x5a, 0x16, 0x76},
    {0x54, 0xbd, 0x72, 0x55, 0xf0, 0xaa, 0xf8, 0x31, 0xbe, 0xc3, 0x42,
     0x3f, 0xcf, 0x39, 0xd6, 0x9b, 0x6c, 0xbf, 0x06, 0x66, 0x77, 0xd0,
     0xfa, 0xae, 0x5a, 0xad, 0xd9, 0x9d, 0xf8, 0xe5, 0x35, 0x17}};

/** The pseudo-random bytes as a number modulo p. Null after a failure that is not yet reported. */
CTHandle<BIGNUM> Reduce(const CSecureByteZone& bytes, const BIGNUM* p) {
    const auto context = Own(BN_CTX_new());
    const auto number =
        OwnSecret(BN_bin2bn(bytes.GetData(), static_cast<int>(bytes.GetSize()), nullptr));
    auto remainder = OwnSecret(BN_new());
    if (!context || !number || !remainder ||
        BN_div(nullptr, remainder.Get(), number.Get(), p, context.Get()) != 1) {
        remainder.Reset();
    }
    return remainder;
}

}  // namespace

void PseudoRandom(int pBits, CByteView s, CByteView t, bool isAes, CSecureByteZone& output) {
    const int sBits = static_cast<int>(s.GetSize()) * 8;
    const int tBits = static_cast<int>(t.GetSize()) * 8;
    if (sBits != 128 && sBits != 256) {
        REJECT_ICAO(ICAO_ERR_FUNCTION_FAILED, "s nonce bit length(%d) must be 128 or 256.", sBits);
    }
    const bool isKeyLength = tBits == 128 || tBits == 192 || tBits == 256;
    if (isKeyLength && !isAes && (sBits != 128 || tBits != 128)) {
        REJECT_ICAO(ICAO_ERR_FUNCTION_FAILED,
                    "s and t nonces bit length(%d, %d) must be 128 for 3DES.", sBits, tBits);
    }
    if (!isKeyLength || tBits > sBits) {
        // Kept: the length of the other nonce. Logs are matched on it.
        REJECT_ICAO(ICAO_ERR_FUNCTION_FAILED, "t nonce bit length(%d) must be 128, 192 or 256.",
                    sBits);
    }
    const CPseudoRandomConstants& constants = sBits == 128 ? kConstants128 : kConstants256;
    const size_t block = s.GetSize();
    const auto blocks = static_cast<size_t>((pBits + 63) / sBits) + 1;
    CSecureByteZone random(blocks * block, 0);
    CSecureByteZone key(t.GetData(), t.GetSize());
    CSecureByteZone next(block, 0);
    bool good = RunNonceCipher(isAes, true, key, s, next.GetData());
    for (size_t i = 0; good && i < blocks; ++i) {
        key.Assign(next.GetData(), t.GetSize());
        good =
            RunNonceCipher(isAes, true, key, {constants.c1, block}, random.GetData() + i * block) &&
            RunNonceCipher(isAes, true, key, {constants.c0, block}, next.GetData());
    }
    if (!good) {
        RAISE(OPENSSL_FUNCTION_FAILED());
    }
    output = std::move(random);
}

void PseudoRandomModP(CByteView s, CByteView t, bool isAes, const EC_GROUP* group,
                      CTHandle<BIGNUM>& number) {
    if (s.IsEmpty() || t.IsEmpty() || group == nullptr) {
        REJECT_ICAO(ICAO_ERR_FUNCTION_FAILED, "PseudoRandomModP: invalid parameters.");
    }
    const auto p = Own(BN_new());
    if (!p || EC_GROUP_get_curve(group, p.Get(), nullptr, nullptr, nullptr) != 1) {
        RAISE_OPENSSL("EC_GROUP_get_curve");
    }
    CSecureByteZone random;
    PseudoRandom(EC_GROUP_get_degree(group), s, t, isAes, random);
    number = Reduce(random, p.Get());
    if (!number) {
        RAISE_OPENSSL("BN_mod");
    }
}

void PseudoRandomModP(CByteView s, CByteView t, bool isAes, const EVP_PKEY* key,
                      CTHandle<BIGNUM>& number) {
    if (s.IsEmpty() || t.IsEmpty() || key == nullptr) {
        REJECT_ICAO(ICAO_ERR_FUNCTION_FAILED, "PseudoRandomModP: invalid parameters.");
    }
    const CDhDomain domain(key);
    if (!domain.IsComplete()) {
        RAISE(OPENSSL_FUNCTION_FAILED());
    }
    CSecureByteZone random;
    PseudoRandom(GetKeyBitLength(key), s, t, isAes, random);
    number = Reduce(random, domain.p.Get());
    if (!number) {
        RAISE_OPENSSL("BN_mod");
    }
}

void ProcessIntegratedMappingGenerator(const EC_GROUP* group, const BIGNUM* t,
                                       CTHandle<EC_POINT>& generator) {
    if (group == nullptr || t == nullptr) {
        REJECT_ICAO(ICAO_ERR_FUNCTION_FAILED,
                    "ProcessIntegratedMappingGenerator: invalid parameters");
    }
    CTHandle<BIGNUM> x;
    CTHandle<BIGNUM> y;
    EncodeToCurve(group, t, x, y);
    auto point = OwnSecret(EC_POINT_new(group));
    if (!point || SetAffineCoordinates(group, point.Get(), x.Get(), y.Get()) < 1) {
        RAISE_ICAO(CICAOException(ICAO_ERR_FUNCTION_FAILED));
    }
    const BIGNUM* const cofactor = EC_GROUP_get0_cofactor(group);
    if (!BN_is_one(cofactor) &&
        EC_POINT_mul(group, point.Get(), nullptr, point.Get(), cofactor, nullptr) != 1) {
        RAISE_OPENSSL("EC_POINT_mul");
    }
    generator = std::move(point);
}

void ProcessIntegratedMappingGenerator(const EVP_PKEY* key, const BIGNUM* x,
                                       CTHandle<BIGNUM>& generator) {
    if (key == nullptr || x == nullptr) {
        REJECT_ICAO(ICAO_ERR_FUNCTION_FAILED,
                    "ProcessIntegratedMappingGenerator: invalid parameters");
    }
    const CDhDomain domain(key);
    if (!domain.p || !domain.q) {
        REJECT_ICAO(ICAO_ERR_FUNCTION_FAILED,
                    "ProcessIntegratedMappingGenerator: invalid parameters");
    }
    const auto context = Own(BN_CTX_new());
    const auto exponent = Own(BN_dup(domain.p.Get()));
    auto power = OwnSecret(BN_new());
    if (!context || !exponent || !power || BN_sub_word(exponent.Get(), 1) != 1 ||
        BN_div(exponent.Get(), nullptr, exponent.Get(), domain.q.Get(), context.Get()) != 1) {
        RAISE_OPENSSL("BN_div");
    }
    if (BN_mod_exp(power.Get(), x, exponent.Get(), domain.p.Get(), context.Get()) != 1) {
        RAISE_OPENSSL("BN_mod_exp");
    }
    if (BN_is_one(power.Get())) {
        REJECT_ICAO(ICAO_ERR_FUNCTION_FAILED, "mapped generator must be != 1");
    }
    generator = std::move(power);
}

}  // namespace icao
