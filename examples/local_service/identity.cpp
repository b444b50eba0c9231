#include "identity.h"

#include "crypto/openssl_handle.h"

#include <openssl/rand.h>
#include <openssl/x509v3.h>

#include <memory>
#include <stdexcept>

namespace {

constexpr long kSecondsOfADay = 24L * 60 * 60;

void Require(bool done) {
    if (!done) {
        throw std::runtime_error("OpenSSL cannot make the certificate of the service");
    }
}

/** Adds an extension in the words of OpenSSL's configuration files. */
void AddExtension(X509* certificate, int kind, const char* words) {
    const std::unique_ptr<X509_EXTENSION, decltype(&X509_EXTENSION_free)> extension(
        X509V3_EXT_conf_nid(nullptr, nullptr, kind, words), X509_EXTENSION_free);
    Require(extension != nullptr && X509_add_ext(certificate, extension.get(), -1) == 1);
}

/** Sets a random number: clients refuse two certificates of one name and number. */
void SetNumber(X509* certificate) {
    uint64_t number = 0;
    Require(RAND_bytes(reinterpret_cast<unsigned char*>(&number), sizeof(number)) == 1 &&
            ASN1_INTEGER_set_uint64(X509_get_serialNumber(certificate), number >> 1) == 1);
}

CTHandle<X509> MakeCertificate(EVP_PKEY* key) {
    auto certificate = Own(X509_new());
    X509* const made = certificate.Get();
    Require(made != nullptr && X509_set_version(made, X509_VERSION_3) == 1);
    SetNumber(made);
    X509_NAME* const name = X509_get_subject_name(made);
    const auto* const host = reinterpret_cast<const unsigned char*>("localhost");
    Require(X509_gmtime_adj(X509_getm_notBefore(made), 0) != nullptr &&
            X509_gmtime_adj(X509_getm_notAfter(made), kSecondsOfADay) != nullptr &&
            X509_NAME_add_entry_by_txt(name, "CN", MBSTRING_ASC, host, -1, -1, 0) == 1 &&
            X509_set_issuer_name(made, name) == 1 && X509_set_pubkey(made, key) == 1);
    AddExtension(made, NID_subject_alt_name, "DNS:localhost,IP:127.0.0.1");
    AddExtension(made, NID_ext_key_usage, "serverAuth");
    Require(X509_sign(made, key, EVP_sha256()) > 0);
    return certificate;
}

}  // namespace

CSslContext MakeServerContext() {
    const auto key = Own(EVP_EC_gen("P-256"));
    Require(static_cast<bool>(key));
    const auto certificate = MakeCertificate(key.Get());
    CSslContext context(SSL_CTX_new(TLS_server_method()));
    Require(context != nullptr && SSL_CTX_use_certificate(context.get(), certificate.Get()) == 1 &&
            SSL_CTX_use_PrivateKey(context.get(), key.Get()) == 1);
    return context;
}
