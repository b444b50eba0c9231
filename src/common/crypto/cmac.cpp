#include "crypto/cmac.h"

#include "crypto/block_ops.h"
#include "crypto/cbc_chain.h"
#include "crypto/cipher_table.h"
#include "crypto/trace_dump.h"
#include "util/exception.h"
#include "util/raise.h"

#include <cstring>

namespace {

constexpr size_t kBlock = 16;

/** Bytes that are wiped at the end of the scope. */
struct CBlock {
    ~CBlock() { OPENSSL_cleanse(bytes, sizeof(bytes)); }

    unsigned char bytes[kBlock] = {};
};

void XorInto(CBlock& block, const unsigned char* other, size_t length) {
    ComputeXor(block.bytes, kBlock, other, length, block.bytes, kBlock);
}

/** Doubles a number of the field GF(2^128). */
void Double(const CBlock& in, CBlock& out) {
    BitLeftShift(in.bytes, kBlock, 1, out.bytes, kBlock);
    if ((in.bytes[0] & 0x80) != 0) {
        out.bytes[kBlock - 1] ^= 0x87;
    }
}

/** AES under one key, in one chain that begins with the block of zeros. */
class CCmac {
public:
    bool Begin(const unsigned char* key, size_t keyLength);
    bool Compute(const CByteZone& mask, const unsigned char* data, size_t length);

    CBlock state;  // the last output of the chain
    CBlock k1;
    CBlock k2;

private:
    bool RunFirst(CBlock& block, const CByteZone& mask);

    CCbcChain chain;
};

bool CCmac::Begin(const unsigned char* key, size_t keyLength) {
    TraceString0("\tgenerate CMAC subkeys: ");
    const EVP_CIPHER* const cipher = GetCipher(OpenSSLWrap::ECipher::AesCbc, keyLength);
    if (keyLength == 0 || cipher == nullptr || !chain.Begin(cipher, key) ||
        !chain.Run(state.bytes, kBlock, state.bytes)) {
        return false;
    }
    Double(state, k1);
    Double(k1, k2);
    TraceHexDump("\t\tout key 1: ", k1.bytes, kBlock);
    TraceHexDump("\t\tout key 2: ", k2.bytes, kBlock);
    TraceString0("\tend generate CMAC subkeys.");
    return true;
}

/**
 * The chain stands at the encrypted block of zeros, but a message begins at zeros: that is taken
 * out again by XOR. It spares a second start of the cipher.
 */
bool CCmac::RunFirst(CBlock& block, const CByteZone& mask) {
    XorInto(block, mask.GetData(), mask.GetSize());
    XorInto(block, state.bytes, kBlock);
    return chain.Run(block.bytes, kBlock, state.bytes);
}

bool CCmac::Compute(const CByteZone& mask, const unsigned char* data, size_t length) {
    const size_t leading = length > 0 ? (length - 1) / kBlock * kBlock : 0;
    const size_t rest = length - leading;
    CBlock last;
    if (rest > 0) {
        std::memcpy(last.bytes, data + leading, rest);
    }
    if (rest < kBlock) {
        last.bytes[rest] = 0x80;
    }
    XorInto(last, rest == kBlock ? k1.bytes : k2.bytes, kBlock);
    if (leading == 0) {
        return RunFirst(last, mask);
    }
    CBlock first;
    std::memcpy(first.bytes, data, kBlock);
    return RunFirst(first, mask) &&
           (leading == kBlock || chain.Run(data + kBlock, leading - kBlock, state.bytes)) &&
           chain.Run(last.bytes, kBlock, state.bytes);
}

}  // namespace

template <class KeyZone>
void GenerateCmacSubkeys(const KeyZone& key, CByteZone& k1, CByteZone& k2) {
    CCmac cmac;
    if (!cmac.Begin(key.GetData(), key.GetSize())) {
        RAISE_CCK(CCkException(kFunctionFailed));
    }
    k1.Assign(cmac.k1.bytes, kBlock);
    k2.Assign(cmac.k2.bytes, kBlock);
}

template <class KeyZone>
void ComputeCMAC(const KeyZone& key, const CByteZone& firstBlockMask, const CByteZone& data,
                 CByteZone& out) {
    TraceString0("compute CMAC: ");
    TraceHexDump("\tin: ", data);
    CCmac cmac;
    if (!cmac.Begin(key.GetData(), key.GetSize()) ||
        !cmac.Compute(firstBlockMask, data.GetData(), data.GetSize())) {
        RAISE_CCK(CCkException(kFunctionFailed));
    }
    out.Assign(cmac.state.bytes, kBlock);
    TraceHexDump("\tout: ", out);
    TraceString0("end compute CMAC.");
}

template <class KeyZone>
void ComputeCMAC(const KeyZone& key, const CByteZone& data, CByteZone& out) {
    ComputeCMAC(key, CByteZone(), data, out);
}

#define INSTANTIATE(Zone)                                                                   \
    template void GenerateCmacSubkeys(const Zone&, CByteZone&, CByteZone&);                 \
    template void ComputeCMAC(const Zone&, const CByteZone&, const CByteZone&, CByteZone&); \
    template void ComputeCMAC(const Zone&, const CByteZone&, CByteZone&);
INSTANTIATE(CByteZone)
INSTANTIATE(CSecureByteZone)
