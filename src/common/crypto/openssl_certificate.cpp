#include "crypto/openssl_wrapper.h"
#include "crypto/raise_openssl.h"

#include <openssl/pem.h>

#include <climits>

namespace OpenSSLWrap {

namespace {

/** A certificate has no password: nobody is asked for one. */
int GiveNoPassword(char*, int, int, void*) { return -1; }

/** Whether `from` is not after `to`; null is now. Failures are traced as `text`. */
bool IsInOrder(const ASN1_TIME* from, const ASN1_TIME* to, const char* text) {
    int days = 0;
    int seconds = 0;
    if (ASN1_TIME_diff(&days, &seconds, from, to) != 1) {
        ReportOpenSSLError("ASN1_TIME_diff");
        TraceString0(text);
        return false;
    }
    return days >= 0 && seconds >= 0;
}

}  // namespace

CTHandle<X509> DERDataToX509(const CByteZone& der) {
    if (der.IsEmpty()) {
        RAISE_INVALID("DERDataToX509: invalid parameters.");
    }
    const unsigned char* at = der.GetData();
    auto certificate = Own(d2i_X509(nullptr, &at, static_cast<long>(der.GetSize())));
    if (!certificate) {
        RAISE_OPENSSL("d2i_X509");
    }
    return certificate;
}

CTHandle<X509> PEMDataToX509(const CByteZone& pem) {
    if (pem.IsEmpty() || pem.GetSize() > INT_MAX) {
        RAISE_INVALID("PEMDataToX509: invalid parameters.");
    }
    const auto text = Own(BIO_new(BIO_s_mem()));
    if (!text) {
        RAISE_OPENSSL("BIO_new");
    }
    const int size = static_cast<int>(pem.GetSize());
    if (BIO_write(text.Get(), pem.GetData(), size) != size) {
        RAISE_OPENSSL("BIO_write");
    }
    auto certificate = Own(PEM_read_bio_X509(text.Get(), nullptr, GiveNoPassword, nullptr));
    if (!certificate) {
        RAISE_OPENSSL("PEM_read_bio_X509");
    }
    return certificate;
}

CByteZone X509toPEMData(X509* certificate) {
    if (certificate == nullptr) {
        RAISE_INVALID_PARAMETERS();
    }
    const auto text = Own(BIO_new(BIO_s_mem()));
    if (!text) {
        RAISE_OPENSSL("BIO_new");
    }
    if (PEM_write_bio_X509(text.Get(), certificate) != 1) {
        RAISE_OPENSSL("PEM_write_bio_X509");
    }
    const unsigned char* begin = nullptr;
    const long size = BIO_get_mem_data(text.Get(), &begin);
    if (size <= 0) {
        RAISE_OPENSSL("BIO_get_mem_data");
    }
    return CByteZone(begin, static_cast<size_t>(size));
}

bool IsNotAfterValid(const X509* certificate) {
    if (certificate == nullptr) {
        TraceString0("OpenSSLWrap::IsNotAfterValid: invalid parameters.");
        return false;
    }
    return IsInOrder(nullptr, X509_getm_notAfter(certificate), "fail to compare date (notAfter)");
}

bool IsNotBeforeValid(const X509* certificate) {
    if (certificate == nullptr) {
        TraceString0("OpenSSLWrap::IsNotBeforeValid: invalid parameters.");
        return false;
    }
    return IsInOrder(X509_getm_notBefore(certificate), nullptr, "fail to compare date (notBefore)");
}

}  // namespace OpenSSLWrap
