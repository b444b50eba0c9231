/**
 * The terminal's side of PACE, ECDH with generic mapping and AES-128: ours, OpenPACE's, and a floor
 * that calls OpenSSL for no more than steps from key to key cannot do without. The chip's answers
 * lie ready.
 */
#include "icao/authentication_token.h"
#include "icao/key_derivation.h"
#include "icao/object_ids.h"
#include "icao/pace.h"
#include "icao/pace_mapping.h"
#include "icao/pace_parameters.h"

#include <benchmark/benchmark.h>
#include <openssl/core_names.h>
#include <openssl/evp.h>

#include <cstdlib>
#include <cstring>

#ifdef QORVS_HAVE_LIBEAC
#include <openssl/objects.h>

#include <eac/pace.h>
#endif

using namespace icao;

namespace {

constexpr char kPassword[] = "123456";
constexpr uint32_t kOid[] = {0, 4, 0, 127, 0, 7, 2, 2, 4, 2, 2};

/** What a chip would have sent: any points of the curve do, and any octets for a nonce. */
struct CAnswers {
    explicit CAnswers(int domain) {
        const auto group = GetECDHCurveFromStandardizedParameter(domain);
        const auto point = Own(EC_POINT_new(group.Get()));
        for (CByteZone* const octets : {&mapping, &ephemeral}) {
            const auto scalar = Own(BN_new());
            BN_rand_range(scalar.Get(), EC_GROUP_get0_order(group.Get()));
            EC_POINT_mul(group.Get(), point.Get(), scalar.Get(), nullptr, nullptr, nullptr);
            octets->Resize(EC_POINT_point2oct(group.Get(), point.Get(),
                                              POINT_CONVERSION_UNCOMPRESSED, nullptr, 0, nullptr));
            EC_POINT_point2oct(group.Get(), point.Get(), POINT_CONVERSION_UNCOMPRESSED,
                               octets->GetData(), octets->GetSize(), nullptr);
        }
    }
    CByteZone nonce{16, 0x5A}, mapping, ephemeral;
};

void Require(bool holds) {
    if (!holds) {
        abort();
    }
}

void Terminal_Ours(benchmark::State& state) {
    const int domain = static_cast<int>(state.range(0));
    const CAnswers chip(domain);
    const CObjectIdentifier oid(kOid, std::size(kOid));
    for (auto _ : state) {
        CPACEInfo info;
        info.parameterId = std::make_unique<int32_t>(domain);
        CTHandle<EVP_PKEY> own, peer, mapped, ephemeralPeer;
        CSecureByteZone passwordKey, nonce, secret, encKey, macKey;
        CByteZone sent, token, expected;
        SetIFDKeyParametersECDH(&info, nullptr, own);
        DerivePasswordKey(CAN, CByteZone(kPassword), 128, passwordKey);
        DecryptNonce(passwordKey, true, chip.nonce, nonce);
        GenerateIFDKeyECDH(own, sent);
        SetICCKeyECDH(own.Get(), chip.mapping, peer);
        DoGenericMappingECDH(nonce, own.Get(), peer.Get(), mapped);
        GenerateIFDKeyECDH(mapped, sent);
        SetICCKeyECDH(mapped.Get(), chip.ephemeral, ephemeralPeer);
        ProcessSharedSecretECDH(mapped.Get(), ephemeralPeer.Get(), secret);
        DeriveKeys(secret, 128, encKey, macKey);
        ComputeAuthenticationToken(oid, chip.ephemeral, macKey, token);
        ComputeAuthenticationToken(oid, sent, macKey, expected);
        benchmark::DoNotOptimize(expected.GetData());
    }
}

/** SHA-1 of a secret and a counter. */
void Derive(const unsigned char* secret, size_t size, unsigned char counter, unsigned char* key) {
    unsigned char input[EVP_MAX_MD_SIZE * 2] = {};
    unsigned char digest[EVP_MAX_MD_SIZE];
    memcpy(input, secret, size);
    input[size + 3] = counter;
    Require(EVP_Q_digest(nullptr, "SHA1", nullptr, input, size + 4, digest, nullptr) == 1);
    memcpy(key, digest, 16);
}

void DecryptNonce(const unsigned char* key, const CByteZone& encrypted, unsigned char* nonce) {
    const unsigned char iv[16] = {};
    const auto cipher = Own(EVP_CIPHER_fetch(nullptr, "AES-128-CBC", nullptr));
    const auto context = Own(EVP_CIPHER_CTX_new());
    int size = 0;
    Require(EVP_DecryptInit_ex2(context.Get(), cipher.Get(), key, iv, nullptr) == 1);
    EVP_CIPHER_CTX_set_padding(context.Get(), 0);
    Require(EVP_DecryptUpdate(context.Get(), nonce, &size, encrypted.GetData(), 16) == 1);
}

/**
 * Keys of a known curve, with its generator or a mapped one. The steps of the protocol take and
 * give keys, so a step begins with the group of a key and ends with a key of a group.
 */
class CFloorCurve {
public:
    explicit CFloorCurve(int domain)
        : curve(EC_GROUP_get_curve_name(GetECDHCurveFromStandardizedParameter(domain).Get())) {}

    CTHandle<EVP_PKEY> MakeNamed() const {
        char name[64];
        strcpy(name, OSSL_EC_curve_nid2name(curve));
        OSSL_PARAM parameters[] = {
            OSSL_PARAM_construct_utf8_string(OSSL_PKEY_PARAM_GROUP_NAME, name, 0),
            OSSL_PARAM_construct_end()};
        return Make(EVP_PKEY_KEY_PARAMETERS, parameters);
    }

    /** A key with explicit parameters; with a point it is more than parameters. */
    CTHandle<EVP_PKEY> MakeMapped(const EC_GROUP* group, const BIGNUM* scalar = nullptr,
                                  const EC_POINT* point = nullptr) const {
        unsigned char generator[256], publicKey[256];
        const auto p = Own(BN_new()), a = Own(BN_new()), b = Own(BN_new());
        EC_GROUP_get_curve(group, p.Get(), a.Get(), b.Get(), nullptr);
        const auto list = Own(OSSL_PARAM_BLD_new());
        OSSL_PARAM_BLD_push_utf8_string(list.Get(), OSSL_PKEY_PARAM_EC_ENCODING,
                                        OSSL_PKEY_EC_ENCODING_EXPLICIT, 0);
        OSSL_PARAM_BLD_push_utf8_string(list.Get(), OSSL_PKEY_PARAM_EC_FIELD_TYPE, "prime-field",
                                        0);
        OSSL_PARAM_BLD_push_BN(list.Get(), OSSL_PKEY_PARAM_EC_P, p.Get());
        OSSL_PARAM_BLD_push_BN(list.Get(), OSSL_PKEY_PARAM_EC_A, a.Get());
        OSSL_PARAM_BLD_push_BN(list.Get(), OSSL_PKEY_PARAM_EC_B, b.Get());
        OSSL_PARAM_BLD_push_BN(list.Get(), OSSL_PKEY_PARAM_EC_ORDER, EC_GROUP_get0_order(group));
        OSSL_PARAM_BLD_push_BN(list.Get(), OSSL_PKEY_PARAM_EC_COFACTOR,
                               EC_GROUP_get0_cofactor(group));
        OSSL_PARAM_BLD_push_octet_string(list.Get(), OSSL_PKEY_PARAM_EC_GENERATOR, generator,
                                         Write(group, EC_GROUP_get0_generator(group), generator));
        if (point != nullptr) {
            OSSL_PARAM_BLD_push_octet_string(list.Get(), OSSL_PKEY_PARAM_PUB_KEY, publicKey,
                                             Write(group, point, publicKey));
        }
        if (scalar != nullptr) {
            OSSL_PARAM_BLD_push_BN(list.Get(), OSSL_PKEY_PARAM_PRIV_KEY, scalar);
        }
        const auto parameters = Own(OSSL_PARAM_BLD_to_param(list.Get()));
        return Make(point != nullptr ? EVP_PKEY_KEYPAIR : EVP_PKEY_KEY_PARAMETERS,
                    parameters.Get());
    }

    CTHandle<EVP_PKEY> MakePublic(const EVP_PKEY* domain, unsigned char* octets,
                                  size_t size) const {
        OSSL_PARAM* made = nullptr;
        Require(EVP_PKEY_todata(domain, EVP_PKEY_KEY_PARAMETERS, &made) == 1);
        const auto parameters = Own(made);
        const OSSL_PARAM number[] = {
            OSSL_PARAM_construct_octet_string(OSSL_PKEY_PARAM_PUB_KEY, octets, size),
            OSSL_PARAM_construct_end()};
        const auto merged = Own(OSSL_PARAM_merge(parameters.Get(), number));
        return Make(EVP_PKEY_PUBLIC_KEY, merged.Get());
    }

    /** With the curve's own arithmetic, whatever the generator of the key is. */
    CTHandle<EC_GROUP> GetGroup(const EVP_PKEY* key, bool isMapped) const {
        auto group = Own(EC_GROUP_new_by_curve_name(curve));
        if (isMapped) {
            const auto generator = ReadPoint(group.Get(), key, OSSL_PKEY_PARAM_EC_GENERATOR);
            EC_GROUP_set_generator(group.Get(), generator.Get(), EC_GROUP_get0_order(group.Get()),
                                   EC_GROUP_get0_cofactor(group.Get()));
        }
        return group;
    }

    static CTHandle<EC_POINT> ReadPoint(const EC_GROUP* group, const EVP_PKEY* key,
                                        const char* name) {
        unsigned char octets[256];
        size_t size = 0;
        auto point = Own(EC_POINT_new(group));
        Require(EVP_PKEY_get_octet_string_param(key, name, octets, sizeof(octets), &size) == 1 &&
                EC_POINT_oct2point(group, point.Get(), octets, size, nullptr) == 1);
        return point;
    }
    static size_t Write(const EC_GROUP* group, const EC_POINT* point, unsigned char* octets) {
        return EC_POINT_point2oct(group, point, POINT_CONVERSION_UNCOMPRESSED, octets, 256,
                                  nullptr);
    }

private:
    static CTHandle<EVP_PKEY> Make(int selection, OSSL_PARAM* parameters) {
        const auto context = Own(EVP_PKEY_CTX_new_from_name(nullptr, "EC", nullptr));
        EVP_PKEY* key = nullptr;
        Require(EVP_PKEY_fromdata_init(context.Get()) == 1 &&
                EVP_PKEY_fromdata(context.Get(), &key, selection, parameters) == 1);
        return Own(key);
    }

    const int curve;
};

/** The chip's public value as a key; it must not be the terminal's own. */
CTHandle<EVP_PKEY> TakePublic(const CFloorCurve& curve, const EVP_PKEY* own, bool isMapped,
                              CByteZone octets) {
    const auto group = curve.GetGroup(own, isMapped);
    const auto point = Own(EC_POINT_new(group.Get()));
    Require(EC_POINT_oct2point(group.Get(), point.Get(), octets.GetData(), octets.GetSize(),
                               nullptr) == 1);
    const auto ownPoint = CFloorCurve::ReadPoint(group.Get(), own, OSSL_PKEY_PARAM_PUB_KEY);
    Require(EC_POINT_cmp(group.Get(), point.Get(), ownPoint.Get(), nullptr) == 1);
    return curve.MakePublic(own, octets.GetData(), octets.GetSize());
}

CTHandle<EC_POINT> Agree(const EC_GROUP* group, const EVP_PKEY* own, const EVP_PKEY* peer) {
    BIGNUM* read = nullptr;
    Require(EVP_PKEY_get_bn_param(own, OSSL_PKEY_PARAM_PRIV_KEY, &read) == 1);
    const auto scalar = OwnSecret(read);
    BN_set_flags(scalar.Get(), BN_FLG_CONSTTIME);
    auto point = CFloorCurve::ReadPoint(group, peer, OSSL_PKEY_PARAM_PUB_KEY);
    Require(EC_POINT_mul(group, point.Get(), nullptr, point.Get(), scalar.Get(), nullptr) == 1);
    return point;
}

CTHandle<EVP_PKEY> GenerateMapped(const CFloorCurve& curve, const EVP_PKEY* parameters,
                                  unsigned char* sent, size_t& size) {
    const auto group = curve.GetGroup(parameters, true);
    const auto scalar = OwnSecret(BN_secure_new());
    const auto point = Own(EC_POINT_new(group.Get()));
    Require(BN_priv_rand_range(scalar.Get(), EC_GROUP_get0_order(group.Get())) == 1 &&
            EC_POINT_mul(group.Get(), point.Get(), scalar.Get(), nullptr, nullptr, nullptr) == 1);
    size = CFloorCurve::Write(group.Get(), point.Get(), sent);
    return curve.MakeMapped(group.Get(), scalar.Get(), point.Get());
}

CTHandle<EVP_PKEY> Map(const CFloorCurve& curve, const unsigned char* nonce, const EVP_PKEY* own,
                       const EVP_PKEY* peer) {
    const auto group = curve.GetGroup(own, false);
    const auto shared = Agree(group.Get(), own, peer);
    const auto s = OwnSecret(BN_bin2bn(nonce, 16, nullptr));
    BN_set_flags(s.Get(), BN_FLG_CONSTTIME);
    Require(EC_POINT_mul(group.Get(), shared.Get(), s.Get(), shared.Get(), BN_value_one(),
                         nullptr) == 1 &&
            EC_GROUP_set_generator(group.Get(), shared.Get(), EC_GROUP_get0_order(group.Get()),
                                   EC_GROUP_get0_cofactor(group.Get())) == 1);
    return curve.MakeMapped(group.Get());
}

/** The token of a point, whose size has to be below 128. */
void ComputeToken(const unsigned char* key, const unsigned char* point, size_t size,
                  unsigned char* token) {
    constexpr unsigned char kObject[] = {0x06, 0x0A, 4, 0, 127, 0, 7, 2, 2, 4, 2, 2};
    unsigned char message[300] = {0x7F, 0x49};
    unsigned char* at = message + 2;
    *at++ = static_cast<unsigned char>(sizeof(kObject) + 2 + size);
    memcpy(at, kObject, sizeof(kObject));
    at += sizeof(kObject);
    *at++ = 0x86;
    *at++ = static_cast<unsigned char>(size);
    memcpy(at, point, size);
    at += size;
    char cipher[] = "AES-128-CBC";
    const OSSL_PARAM parameters[] = {
        OSSL_PARAM_construct_utf8_string(OSSL_MAC_PARAM_CIPHER, cipher, 0),
        OSSL_PARAM_construct_end()};
    unsigned char mac[16];
    size_t macSize = 0;
    Require(EVP_Q_mac(nullptr, "CMAC", nullptr, nullptr, parameters, key, 16, message,
                      static_cast<size_t>(at - message), mac, sizeof(mac), &macSize) != nullptr);
    memcpy(token, mac, 8);
}

void Terminal_Floor(benchmark::State& state) {
    const int domain = static_cast<int>(state.range(0));
    const CAnswers chip(domain);
    for (auto _ : state) {
        const CFloorCurve curve(domain);
        unsigned char key[16], nonce[16], encKey[16], macKey[16], token[8], x[64], sent[256];
        size_t size = 0;
        Derive(reinterpret_cast<const unsigned char*>(kPassword), strlen(kPassword), 3, key);
        DecryptNonce(key, chip.nonce, nonce);
        const auto parameters = curve.MakeNamed();
        const auto context = Own(EVP_PKEY_CTX_new(parameters.Get(), nullptr));
        EVP_PKEY* made = nullptr;
        Require(EVP_PKEY_keygen_init(context.Get()) == 1 &&
                EVP_PKEY_generate(context.Get(), &made) == 1);
        const auto own = Own(made);
        Require(EVP_PKEY_get_octet_string_param(own.Get(), OSSL_PKEY_PARAM_PUB_KEY, sent,
                                                sizeof(sent), &size) == 1);
        const auto peer = TakePublic(curve, own.Get(), false, chip.mapping);
        const auto mapped = Map(curve, nonce, own.Get(), peer.Get());
        const auto ephemeral = GenerateMapped(curve, mapped.Get(), sent, size);
        const auto ephemeralPeer = TakePublic(curve, ephemeral.Get(), true, chip.ephemeral);
        const auto group = curve.GetGroup(ephemeral.Get(), true);
        const auto shared = Agree(group.Get(), ephemeral.Get(), ephemeralPeer.Get());
        const auto number = Own(BN_new());
        EC_POINT_get_affine_coordinates(group.Get(), shared.Get(), number.Get(), nullptr, nullptr);
        const int width = (EC_GROUP_get_degree(group.Get()) + 7) / 8;
        BN_bn2binpad(number.Get(), x, width);
        Derive(x, static_cast<size_t>(width), 1, encKey);
        Derive(x, static_cast<size_t>(width), 2, macKey);
        ComputeToken(macKey, chip.ephemeral.GetData(), chip.ephemeral.GetSize(), token);
        ComputeToken(macKey, sent, size, token);
        benchmark::DoNotOptimize(token);
    }
}

#ifdef QORVS_HAVE_LIBEAC
CTHandle<BUF_MEM> ToPeer(const CByteZone& bytes) {
    CTHandle<BUF_MEM> held{BUF_MEM_new(), BUF_MEM_clear_free};
    BUF_MEM_grow(held.Get(), bytes.GetSize());
    memcpy(held.Get()->data, bytes.GetData(), bytes.GetSize());
    return held;
}

CTHandle<BUF_MEM> Taken(BUF_MEM* made) {
    Require(made != nullptr);
    return {made, BUF_MEM_clear_free};
}

void Terminal_OpenPace(benchmark::State& state) {
    EAC_init();
    const int domain = static_cast<int>(state.range(0));
    const CAnswers chip(domain);
    const int protocol = OBJ_txt2nid("0.4.0.127.0.7.2.2.4.2.2");
    const auto nonce = ToPeer(chip.nonce), mapping = ToPeer(chip.mapping),
               ephemeral = ToPeer(chip.ephemeral);
    for (auto _ : state) {
        const CTHandle<EAC_CTX> context{EAC_CTX_new(), EAC_CTX_clear_free};
        EAC_CTX* const run = context.Get();
        Require(EAC_CTX_init_pace(run, protocol, domain) == 1);
        const CTHandle<PACE_SEC> password{PACE_SEC_new(kPassword, strlen(kPassword), PACE_CAN),
                                          PACE_SEC_clear_free};
        Require(PACE_STEP2_dec_nonce(run, password.Get(), nonce.Get()) == 1);
        Taken(PACE_STEP3A_generate_mapping_data(run));
        Require(PACE_STEP3A_map_generator(run, mapping.Get()) == 1);
        const auto sent = Taken(PACE_STEP3B_generate_ephemeral_key(run));
        Require(PACE_STEP3B_compute_shared_secret(run, ephemeral.Get()) == 1);
        Require(PACE_STEP3C_derive_keys(run) == 1);
        const auto token = Taken(PACE_STEP3D_compute_authentication_token(run, ephemeral.Get()));
        const auto expected = Taken(PACE_STEP3D_compute_authentication_token(run, sent.Get()));
        benchmark::DoNotOptimize(expected.Get()->data);
    }
    EAC_cleanup();
}
#endif

/** Domains 13, 16 and 12: brainpoolP256r1, brainpoolP384r1 and prime256v1. */
void Curves(benchmark::internal::Benchmark* bench) {
    bench->Arg(13)->Arg(16)->Arg(12)->ArgName("domain");
}

}  // namespace

BENCHMARK(Terminal_Ours)->Apply(Curves);
BENCHMARK(Terminal_Floor)->Apply(Curves);
#ifdef QORVS_HAVE_LIBEAC
BENCHMARK(Terminal_OpenPace)->Apply(Curves);
#endif
