/**
 * A timestamp request, hashed data included, beside the same calls of OpenSSL without anything
 * around them. Both end with the object and leave sending it to others.
 */
#include "timestamp/rfc3161_timestamp_token.h"

#include <benchmark/benchmark.h>
#include <openssl/objects.h>
#include <openssl/rand.h>
#include <openssl/sha.h>

namespace {

constexpr size_t kSignatureOctets = 256;

void LibraryRequest(benchmark::State& state) {
    const CByteZone signature(kSignatureOctets, 0x5A);
    for (auto _ : state) {
        RFC3161TimestampToken token("http://localhost/tsa");
        token.SetDigest(signature, NID_sha256);
        token.InitRequest();
        benchmark::DoNotOptimize(token);
    }
}
BENCHMARK(LibraryRequest);

void BareRequest(benchmark::State& state) {
    const CByteZone signature(kSignatureOctets, 0x5A);
    for (auto _ : state) {
        unsigned char digest[SHA256_DIGEST_LENGTH];
        SHA256(signature.GetData(), signature.GetSize(), digest);
        TS_REQ* const request = TS_REQ_new();
        TS_REQ_set_version(request, 1);
        TS_REQ_set_cert_req(request, 1);
        X509_ALGOR* const algorithm = X509_ALGOR_new();
        X509_ALGOR_set0(algorithm, OBJ_nid2obj(NID_sha256), V_ASN1_NULL, nullptr);
        TS_MSG_IMPRINT* const imprint = TS_MSG_IMPRINT_new();
        TS_MSG_IMPRINT_set_algo(imprint, algorithm);
        TS_MSG_IMPRINT_set_msg(imprint, digest, sizeof(digest));
        TS_REQ_set_msg_imprint(request, imprint);
        ASN1_INTEGER* const nonce = ASN1_INTEGER_new();
        ASN1_STRING_set(nonce, nullptr, 7);
        do {
            RAND_bytes(nonce->data, 7);
        } while (nonce->data[0] == 0);
        TS_REQ_set_nonce(request, nonce);
        benchmark::DoNotOptimize(request);
        ASN1_INTEGER_free(nonce);
        TS_MSG_IMPRINT_free(imprint);
        X509_ALGOR_free(algorithm);
        TS_REQ_free(request);
    }
}
BENCHMARK(BareRequest);

}  // namespace
