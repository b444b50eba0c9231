#include "icao/nonce_cipher.h"

#include "crypto/block_ops.h"
#include "crypto/openssl_wrapper.h"

using OpenSSLWrap::ECipher;
using OpenSSLWrap::RunCipher;

namespace icao {

static constexpr size_t kAesBlock = 16;
static constexpr size_t kDesBlock = 8;

bool RunNonceCipher(bool isAes, bool encrypt, const CSecureByteZone& key, CByteView in,
                    unsigned char* out) {
    CByteZone iv(isAes ? kAesBlock : kDesBlock, 0);
    if (isAes) {
        return RunCipher(ECipher::AesCbc, encrypt, key, out, in.GetData(), in.GetSize(), iv, false,
                         false) >= 1;
    }
    CSecureByteZone keys, key2, key3;
    SetScheduleKeys(key, keys, key2, key3);
    keys.Append(key2);
    keys.Append(key3);
    return RunCipher(ECipher::DesEde3Cbc, encrypt, keys, out, in.GetData(), in.GetSize(), iv, false,
                     false) >= 1;
}

}  // namespace icao
