#include "crypto/openssl_wrapper.h"
#include "crypto/raise_openssl.h"

#include <algorithm>
#include <climits>

namespace OpenSSLWrap {

CByteZone Der2OctetString(const CByteZone& der) {
    if (der.IsEmpty()) {
        RAISE_INVALID_PARAMETERS();
    }
    const unsigned char* at = der.GetData();
    const auto octets = Own(d2i_ASN1_OCTET_STRING(nullptr, &at, static_cast<long>(der.GetSize())));
    if (!octets) {
        RAISE_OPENSSL("d2i_ASN1_OCTET_STRING");
    }
    return CByteZone(ASN1_STRING_get0_data(octets.Get()),
                     static_cast<size_t>(ASN1_STRING_length(octets.Get())));
}

CByteZone OctetString2Der(const CByteZone& octets) {
    if (octets.IsEmpty() || octets.GetSize() > INT_MAX) {
        RAISE_INVALID_PARAMETERS();
    }
    const auto text = Own(ASN1_OCTET_STRING_new());
    if (!text) {
        RAISE_OPENSSL("ASN1_OCTET_STRING_new");
    }
    if (ASN1_OCTET_STRING_set(text.Get(), octets.GetData(), static_cast<int>(octets.GetSize())) !=
        1) {
        RAISE_OPENSSL("ASN1_OCTET_STRING_set");
    }
    unsigned char* made = nullptr;
    const int size = i2d_ASN1_OCTET_STRING(text.Get(), &made);
    const auto der = OwnBytes(made);
    if (size <= 0) {
        RAISE_OPENSSL("i2d_ASN1_OCTET_STRING");
    }
    return CByteZone(der.Get(), static_cast<size_t>(size));
}

void Der2RawSignature(const CByteZone& der, CByteZone& raw) {
    if (der.IsEmpty()) {
        RAISE_INVALID_PARAMETERS();
    }
    const unsigned char* at = der.GetData();
    const auto signature = Own(d2i_ECDSA_SIG(nullptr, &at, static_cast<long>(der.GetSize())));
    if (!signature) {
        RAISE_OPENSSL("d2i_ECDSA_SIG");
    }
    const BIGNUM* const r = ECDSA_SIG_get0_r(signature.Get());
    const BIGNUM* const s = ECDSA_SIG_get0_s(signature.Get());
    const auto size = static_cast<size_t>(std::max(BN_num_bytes(r), BN_num_bytes(s)));
    CByteZone both = BignumToBuffer(r, size);
    both.Append(BignumToBuffer(s, size));
    raw = std::move(both);
}

void Raw2DerSignature(const CByteZone& raw, CByteZone& der) {
    if (raw.IsEmpty()) {
        RAISE_INVALID_PARAMETERS();
    }
    if (raw.GetSize() % 2 != 0) {
        RAISE_INVALID("OpenSSLWrap::Raw2DerSignature: raw signature length must be even");
    }
    const size_t half = raw.GetSize() / 2;
    auto r = Own(BN_bin2bn(raw.GetData(), static_cast<int>(half), nullptr));
    auto s = Own(BN_bin2bn(raw.GetData() + half, static_cast<int>(half), nullptr));
    if (!r || !s) {
        RAISE_OPENSSL("BN_bin2bn");
    }
    const auto signature = Own(ECDSA_SIG_new());
    if (!signature) {
        RAISE_OPENSSL("ECDSA_SIG_new");
    }
    // ECDSA_SIG_set0 takes both numbers when it succeeds.
    if (ECDSA_SIG_set0(signature.Get(), r.Get(), s.Get()) != 1) {
        RAISE_OPENSSL("ECDSA_SIG_set0");
    }
    r.Detach();
    s.Detach();
    const int size = i2d_ECDSA_SIG(signature.Get(), nullptr);
    if (size <= 0) {
        RAISE_OPENSSL("i2d_ECDSA_SIG");
    }
    CByteZone written(nullptr, static_cast<size_t>(size));
    unsigned char* at = written.GetData();
    if (i2d_ECDSA_SIG(signature.Get(), &at) <= 0) {
        RAISE_OPENSSL("i2d_ECDSA_SIG");
    }
    der = std::move(written);
}

}  // namespace OpenSSLWrap
