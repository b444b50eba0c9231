/**
 * The check of a document's security object beside a floor of what it cannot do without: reading
 * the file and the certificate once, and the three verifications by OpenSSL.
 */
#include "crypto/openssl_handle.h"
#include "icao/document_security.h"

#include <benchmark/benchmark.h>
#include <openssl/pkcs7.h>
#include <openssl/rsa.h>
#include <openssl/x509v3.h>

#include <cstdlib>
#include <map>
#include <string>

namespace {

template <class Value, class Write>
CByteZone Encoded(Value* value, Write write) {
    unsigned char* made = nullptr;
    const int size = write(value, &made);
    const auto bytes = OwnBytes(made);
    return {bytes.Get(), static_cast<size_t>(size)};
}

/** A certificate for a day, by the issuer or, when that is null, by itself. */
CTHandle<X509> MakeCertificate(const char* name, EVP_PKEY* key, X509* issuer, EVP_PKEY* issuerKey) {
    auto certificate = Own(X509_new());
    X509_set_version(certificate.Get(), X509_VERSION_3);
    ASN1_INTEGER_set(X509_get_serialNumber(certificate.Get()), 1);
    X509_gmtime_adj(X509_getm_notBefore(certificate.Get()), -1);
    X509_gmtime_adj(X509_getm_notAfter(certificate.Get()), 24 * 60 * 60);
    X509_NAME_add_entry_by_txt(X509_get_subject_name(certificate.Get()), "CN", MBSTRING_ASC,
                               reinterpret_cast<const unsigned char*>(name), -1, -1, 0);
    X509_set_issuer_name(certificate.Get(),
                         X509_get_subject_name(issuer != nullptr ? issuer : certificate.Get()));
    X509_set_pubkey(certificate.Get(), key);
    const char* const rights =
        issuer != nullptr ? "critical,digitalSignature" : "critical,keyCertSign";
    for (const auto& [id, value] : std::map<int, const char*>{
             {NID_key_usage, rights},
             {NID_basic_constraints, issuer != nullptr ? "CA:FALSE" : "critical,CA:TRUE"}}) {
        X509_EXTENSION* const extension = X509V3_EXT_conf_nid(nullptr, nullptr, id, value);
        X509_add_ext(certificate.Get(), extension, -1);
        X509_EXTENSION_free(extension);
    }
    X509_sign(certificate.Get(), issuerKey, EVP_sha256());
    return certificate;
}

/** EF.SOD of some five hundred bytes of content, and who is trusted. */
struct CDocument {
    explicit CDocument(const std::string& algorithm) {
        const auto makeKey = [&algorithm] {
            return Own(algorithm == "RSA" ? EVP_RSA_gen(2048) : EVP_EC_gen(algorithm.c_str()));
        };
        const auto authorityKey = makeKey();
        const auto signerKey = makeKey();
        const auto authority =
            MakeCertificate("Authority", authorityKey.Get(), nullptr, authorityKey.Get());
        const auto signer =
            MakeCertificate("Signer", signerKey.Get(), authority.Get(), authorityKey.Get());
        const std::string list(500, 'x');
        const auto content = Own(BIO_new_mem_buf(list.data(), static_cast<int>(list.size())));
        const CTHandle<PKCS7> object(
            PKCS7_sign(signer.Get(), signerKey.Get(), nullptr, content.Get(), PKCS7_BINARY),
            PKCS7_free);
        inside = Encoded(object.Get(), i2d_PKCS7);
        const auto size = static_cast<unsigned>(inside.GetSize());
        for (const unsigned octet : {0x77U, 0x82U, size >> 8, size & 0xFF}) {
            sod.Append(static_cast<unsigned char>(octet));
        }
        sod.Append(inside);
        csca = Encoded(authority.Get(), i2d_X509);
    }

    CByteZone inside, sod, csca;
};

void Check_Ours(benchmark::State& state, const char* algorithm) {
    const CDocument document(algorithm);
    for (auto _ : state) {
        icao::CheckSecurityObjectDocument(document.sod, CByteZone(), document.csca, CByteZone());
    }
}

void Check_Floor(benchmark::State& state, const char* algorithm) {
    const CDocument document(algorithm);
    for (auto _ : state) {
        const unsigned char* at = document.inside.GetData();
        PKCS7* const object = d2i_PKCS7(nullptr, &at, static_cast<long>(document.inside.GetSize()));
        at = document.csca.GetData();
        X509* const csca = d2i_X509(nullptr, &at, static_cast<long>(document.csca.GetSize()));
        X509_STORE* const store = X509_STORE_new();
        X509_STORE_add_cert(store, csca);
        STACK_OF(X509)* const signers = PKCS7_get0_signers(object, nullptr, 0);
        for (const int flags : {PKCS7_NOVERIFY, PKCS7_NOSIGS | PKCS7_NOCHAIN, 0}) {
            if (PKCS7_verify(object, signers, store, nullptr, nullptr, flags) != 1) {
                std::abort();
            }
        }
        sk_X509_free(signers);
        X509_STORE_free(store);
        X509_free(csca);
        PKCS7_free(object);
    }
}

}  // namespace

BENCHMARK_CAPTURE(Check_Ours, p256, "P-256");
BENCHMARK_CAPTURE(Check_Floor, p256, "P-256");
BENCHMARK_CAPTURE(Check_Ours, rsa2048, "RSA");
BENCHMARK_CAPTURE(Check_Floor, rsa2048, "RSA");
