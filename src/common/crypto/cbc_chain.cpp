#include "crypto/cbc_chain.h"

#include "crypto/openssl_error.h"

#include <algorithm>
#include <cstring>

// As much output as is kept at a time: small enough for the first cache, large enough that the
// calls do not count.
static constexpr size_t kChunk = 4096;

bool CCbcChain::Begin(const EVP_CIPHER* cipher, const unsigned char* key, const unsigned char* iv) {
    static constexpr unsigned char kZeros[EVP_MAX_IV_LENGTH] = {};
    const bool again = static_cast<bool>(context);
    if (!again) {
        context = Own(EVP_CIPHER_CTX_new());
        blockSize = static_cast<size_t>(EVP_CIPHER_get_block_size(cipher));
    }
    if (!context) {
        ReportOpenSSLError("EVP_CIPHER_CTX_new");
        return false;
    }
    if (EVP_CipherInit_ex2(context.Get(), again ? nullptr : cipher, key,
                           iv != nullptr ? iv : kZeros, 1, nullptr) != 1) {
        ReportOpenSSLError("EVP_CipherInit_ex2");
        return false;
    }
    return true;
}

bool CCbcChain::Run(const unsigned char* in, size_t length, unsigned char* last) {
    unsigned char out[kChunk];
    const size_t used = std::min(length, kChunk);
    bool good = true;
    for (size_t done = 0; good && done < length;) {
        const size_t step = std::min(length - done, kChunk);
        int written = 0;
        good =
            EVP_CipherUpdate(context.Get(), out, &written, in + done, static_cast<int>(step)) == 1;
        done += step;
        if (good && done == length) {
            std::memcpy(last, out + step - blockSize, blockSize);
        }
    }
    OPENSSL_cleanse(out, used);
    if (!good) {
        ReportOpenSSLError("EVP_CipherUpdate");
    }
    return good;
}
