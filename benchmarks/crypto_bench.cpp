/**
 * Digests, ciphers and MACs beside one-shot calls of OpenSSL, which fetch what they need each time,
 * and beside Botan's retail MAC.
 *
 * Each pair does the same work on the same data, ours and then the peer's.
 */
#include <benchmark/benchmark.h>

#ifdef QORVS_HAVE_BOTAN
#include <botan/mac.h>
#endif

#include "crypto/aes_key.h"
#include "crypto/cmac.h"
#include "crypto/openssl_wrapper.h"
#include "crypto/retail_mac.h"

#include <openssl/core_names.h>

namespace {

CByteZone Data(const benchmark::State& state) {
    return CByteZone(static_cast<size_t>(state.range(0)), 0x42);
}

void Sizes(benchmark::internal::Benchmark* bench) { bench->Arg(16)->Arg(1 << 10)->Arg(1 << 20); }

const CByteZone kKey(16, 0x17);

void Sha256_Ours(benchmark::State& state) {
    const CByteZone data = Data(state);
    CByteZone digest;
    for (auto _ : state) {
        OpenSSLWrap::Sha256(data, digest);
        benchmark::DoNotOptimize(digest.GetData());
    }
}
void Sha256_QDigest(benchmark::State& state) {
    const CByteZone data = Data(state);
    unsigned char digest[32];
    size_t length = 0;
    for (auto _ : state) {
        EVP_Q_digest(nullptr, "SHA2-256", nullptr, data.GetData(), data.GetSize(), digest, &length);
        benchmark::DoNotOptimize(digest);
    }
}
BENCHMARK(Sha256_Ours)->Apply(Sizes);
BENCHMARK(Sha256_QDigest)->Apply(Sizes);

void Cmac_Ours(benchmark::State& state) {
    const CByteZone data = Data(state);
    CByteZone mac;
    for (auto _ : state) {
        ComputeCMAC(kKey, data, mac);
        benchmark::DoNotOptimize(mac.GetData());
    }
}
void Cmac_EvpMac(benchmark::State& state) {
    const CByteZone data = Data(state);
    char name[] = "AES-128-CBC";
    const OSSL_PARAM cipher[] = {OSSL_PARAM_construct_utf8_string(OSSL_MAC_PARAM_CIPHER, name, 0),
                                 OSSL_PARAM_construct_end()};
    unsigned char tag[16];
    size_t length = 0;
    for (auto _ : state) {
        EVP_MAC* const mac = EVP_MAC_fetch(nullptr, "CMAC", nullptr);
        EVP_MAC_CTX* const context = EVP_MAC_CTX_new(mac);
        EVP_MAC_init(context, kKey.GetData(), kKey.GetSize(), cipher);
        EVP_MAC_update(context, data.GetData(), data.GetSize());
        EVP_MAC_final(context, tag, &length, sizeof(tag));
        EVP_MAC_CTX_free(context);
        EVP_MAC_free(mac);
        benchmark::DoNotOptimize(tag);
    }
}
BENCHMARK(Cmac_Ours)->Apply(Sizes);
BENCHMARK(Cmac_EvpMac)->Apply(Sizes);

void RetailMac_Ours(benchmark::State& state) {
    const CByteZone key1(8, 0x17), key2(8, 0x71), data = Data(state);
    CByteZone mac;
    for (auto _ : state) {
        mac = data;
        ComputeDES3RetailMAC(key1, key2, mac);
        benchmark::DoNotOptimize(mac.GetData());
    }
}
BENCHMARK(RetailMac_Ours)->Arg(32)->Arg(1 << 10);

#ifdef QORVS_HAVE_BOTAN
void RetailMac_Botan(benchmark::State& state) {
    const CByteZone data = Data(state);
    unsigned char tag[8];
    for (auto _ : state) {
        const auto mac = Botan::MessageAuthenticationCode::create("X9.19-MAC");
        mac->set_key(kKey.GetData(), kKey.GetSize());
        mac->update(data.GetData(), data.GetSize());
        mac->final(tag);
        benchmark::DoNotOptimize(tag);
    }
}
BENCHMARK(RetailMac_Botan)->Arg(32)->Arg(1 << 10);
#endif

void AesCbc_Ours(benchmark::State& state) {
    const CByteZone data = Data(state);
    CByteZone out(data.GetSize(), 0);
    CAesKey key(kKey);
    size_t length = 0;
    for (auto _ : state) {
        key.EncryptInit(kNoPadding, kCbcMode);
        key.Encrypt(data.GetData(), data.GetSize(), out.GetData(), length);
        benchmark::DoNotOptimize(out.GetData());
    }
}
void AesCbcFull_Ours(benchmark::State& state) {
    const CByteZone data = Data(state);
    CAesKey key(kKey);
    for (auto _ : state) {
        CByteZone out = key.EncryptFull(data, kNoPadding, kCbcMode);
        benchmark::DoNotOptimize(out.GetData());
    }
}
void AesCbc_Evp(benchmark::State& state) {
    const CByteZone data = Data(state), iv(16, 0);
    CByteZone out(data.GetSize() + 16, 0);
    int length = 0, rest = 0;
    for (auto _ : state) {
        EVP_CIPHER* const cipher = EVP_CIPHER_fetch(nullptr, "AES-128-CBC", nullptr);
        EVP_CIPHER_CTX* const context = EVP_CIPHER_CTX_new();
        EVP_EncryptInit_ex2(context, cipher, kKey.GetData(), iv.GetData(), nullptr);
        EVP_CIPHER_CTX_set_padding(context, 0);
        EVP_EncryptUpdate(context, out.GetData(), &length, data.GetData(),
                          static_cast<int>(data.GetSize()));
        EVP_EncryptFinal_ex(context, out.GetData() + length, &rest);
        EVP_CIPHER_CTX_free(context);
        EVP_CIPHER_free(cipher);
        benchmark::DoNotOptimize(out.GetData());
    }
}
BENCHMARK(AesCbc_Ours)->Apply(Sizes);
BENCHMARK(AesCbcFull_Ours)->Apply(Sizes);
BENCHMARK(AesCbc_Evp)->Apply(Sizes);

}  // namespace
