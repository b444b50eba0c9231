#include "crypto/block_ops.h"

#include "crypto/openssl_wrapper.h"
#include "crypto/trace_dump.h"
#include "util/exception.h"
#include "util/raise.h"

#include <algorithm>
#include <cstring>

using OpenSSLWrap::ECipher;

static constexpr unsigned long kBufferTooSmall = 0x150;  // CKR_BUFFER_TOO_SMALL

void ComputeXor(const unsigned char* a, size_t aLength, const unsigned char* b, size_t bLength,
                unsigned char* out, size_t outLength) {
    const size_t count = std::min(aLength, bLength);
    if (outLength < count) {
        RAISE_CCK(CCkException(kBufferTooSmall));
    }
    for (size_t i = 1; i <= count; ++i) {
        out[outLength - i] = static_cast<unsigned char>(a[aLength - i] ^ b[bLength - i]);
    }
}

void BitLeftShift(const unsigned char* in, size_t inLength, size_t bits, unsigned char* out,
                  size_t outLength) {
    if (inLength == 0) {
        return;
    }
    if (outLength < inLength) {
        RAISE_CCK(CCkException(kBufferTooSmall));
    }
    const size_t gone = std::min(bits / 8, inLength);
    std::memmove(out, in + gone, inLength - gone);
    std::memset(out + inLength - gone, 0, gone);
    unsigned carry = 0;
    for (size_t i = inLength; i-- > 0;) {
        const unsigned shifted = static_cast<unsigned>(out[i]) << (bits % 8);
        out[i] = static_cast<unsigned char>(shifted | carry);
        carry = shifted >> 8;
    }
}

template <class Zone>
void PadISO9797M2(const Zone& in, Zone& out, size_t size) {
    if (size != 8 && size != 16) {
        TraceString("PadISO9797M2: size(%d) must be 8 or 16.", static_cast<int>(size));
        RAISE_CCK(CCkException(kFunctionFailed));
    }
    const size_t length = in.GetSize();
    out = in;
    out.FillUpTo((length / size + 1) * size, 0);
    out[length] = 0x80;
}

template <class Zone>
void UnpadISO9797M2(const Zone& in, Zone& out) {
    size_t marker = in.GetSize();
    if (marker == 0) {
        TraceString0("UnpadISO9797M2: input data is empty.");
        RAISE_CCK(CCkException(kFunctionFailed));
    }
    do {
        --marker;
    } while (marker > 0 && in[marker] == 0);
    if (in[marker] != 0x80) {
        TraceString0("UnpadISO9797M2: input data must end with 0x80[00...].");
        RAISE_CCK(CCkException(kFunctionFailed));
    }
    out.Assign(in.GetData(), marker);
}

template <class Zone>
void SetScheduleKeys(const Zone& keyData, CSecureByteZone& k1, CSecureByteZone& k2,
                     CSecureByteZone& k3) {
    const size_t size = keyData.GetSize();
    if (size != 16 && size != 24) {
        TraceString("SetScheduleKeys: key data length(%d) must be 16 or 24.",
                    static_cast<int>(size));
        RAISE_CCK(CCkException(kFunctionFailed));
    }
    // A copy, since any of the outputs may be the input.
    const CSecureByteZone keys(keyData.GetData(), size);
    k1.Assign(keys.GetData(), 8);
    k2.Assign(keys.GetData() + 8, 8);
    k3.Assign(size == 24 ? keys.GetData() + 16 : keys.GetData(), 8);
}

template <class KeyZone>
static bool RunAes(ECipher cipher, bool encrypt, const CByteZone& in, const KeyZone& key,
                   CByteZone iv, CByteZone& out) {
    out.Resize(in.GetSize());
    const bool good = OpenSSLWrap::RunCipher(cipher, encrypt, key, out.GetData(), in.GetData(),
                                             in.GetSize(), iv, false, false) >= 1;
    if (!good) {
        out.Clear();
    }
    return good;
}

template <class KeyZone>
void EncryptAesEcb(const CByteZone& in, const KeyZone& key, CByteZone& out) {
    if (!RunAes(ECipher::AesEcb, true, in, key, CByteZone(), out)) {
        RAISE_CCK(CCkException(kFunctionFailed));
    }
}

template <class KeyZone>
void EncryptAesCbc(const CByteZone& in, const KeyZone& key, const CByteZone& iv, CByteZone& out) {
    TraceString0("EncryptAesCbc");
    TraceHexDump("\tinput", in);
    if (!RunAes(ECipher::AesCbc, true, in, key, iv, out)) {
        RAISE_CCK(CCkException(kFunctionFailed));
    }
    TraceHexDump("\toutput", out);
}

template <class KeyZone>
void DecryptAesCbc(const CByteZone& in, const KeyZone& key, const CByteZone& iv, CByteZone& out) {
    if (!RunAes(ECipher::AesCbc, false, in, key, iv, out)) {
        RAISE_CCK(CCkException(kFunctionFailed));
    }
}

#define INSTANTIATE(Zone)                                                                     \
    template void PadISO9797M2(const Zone&, Zone&, size_t);                                   \
    template void UnpadISO9797M2(const Zone&, Zone&);                                         \
    template void SetScheduleKeys(const Zone&, CSecureByteZone&, CSecureByteZone&,            \
                                  CSecureByteZone&);                                          \
    template void EncryptAesEcb(const CByteZone&, const Zone&, CByteZone&);                   \
    template void EncryptAesCbc(const CByteZone&, const Zone&, const CByteZone&, CByteZone&); \
    template void DecryptAesCbc(const CByteZone&, const Zone&, const CByteZone&, CByteZone&);
INSTANTIATE(CByteZone)
INSTANTIATE(CSecureByteZone)
