#include "crypto/retail_mac.h"

#include "crypto/cbc_chain.h"
#include "crypto/cipher_table.h"
#include "crypto/trace_dump.h"
#include "util/exception.h"
#include "util/raise.h"

#include <cstring>

namespace {

constexpr size_t kBlock = 8;

/** The triple (outer, inner, outer), wiped at the end of the scope. */
struct CKeyTriple {
    CKeyTriple(const unsigned char* outer, const unsigned char* inner) {
        std::memcpy(bytes, outer, kBlock);
        std::memcpy(bytes + kBlock, inner, kBlock);
        std::memcpy(bytes + 2 * kBlock, outer, kBlock);
    }
    ~CKeyTriple() { OPENSSL_cleanse(bytes, sizeof(bytes)); }

    unsigned char bytes[3 * kBlock];
};

/** `data` is one block or more; the first stage is single DES, as its three keys are one. */
bool RunStages(const unsigned char* key1, const unsigned char* key2, const CByteZone& data,
               unsigned char* mac) {
    const size_t leading = data.GetSize() - kBlock;
    const EVP_CIPHER* const cipher = GetCipher(OpenSSLWrap::ECipher::DesEde3Cbc, 3 * kBlock);
    CCbcChain chain;
    unsigned char chaining[kBlock] = {};
    return cipher != nullptr &&
           (leading == 0 || (chain.Begin(cipher, CKeyTriple(key1, key1).bytes) &&
                             chain.Run(data.GetData(), leading, chaining))) &&
           chain.Begin(cipher, CKeyTriple(key1, key2).bytes, chaining) &&
           chain.Run(data.GetData() + leading, kBlock, mac);
}

}  // namespace

template <class KeyZone>
void ComputeDES3RetailMAC(const KeyZone& key1, const KeyZone& key2, CByteZone& data) {
    TraceString0("compute DES3 retail MAC: ");
    TraceHexDump("\tin: ", data);
    if (data.IsEmpty()) {
        TraceString0("ComputeDES3RetailMAC: output data must be pre-allocated.");
        RAISE_CCK(CCkException(kFunctionFailed));
    }
    unsigned char mac[kBlock];
    if (data.GetSize() % kBlock != 0 || key1.GetSize() != kBlock || key2.GetSize() != kBlock ||
        !RunStages(key1.GetData(), key2.GetData(), data, mac)) {
        RAISE_CCK(CCkException(kFunctionFailed));
    }
    data.Assign(mac, kBlock);
    TraceHexDump("\tout: ", data);
}

template void ComputeDES3RetailMAC(const CByteZone&, const CByteZone&, CByteZone&);
template void ComputeDES3RetailMAC(const CSecureByteZone&, const CSecureByteZone&, CByteZone&);
