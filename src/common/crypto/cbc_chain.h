/**
 * CBC encryption of which only the last block is wanted: what block cipher MACs are made of.
 */
#pragma once

#include "crypto/openssl_handle.h"

#include <cstddef>

/** One chain. Failures of OpenSSL are reported and give false. */
class CCbcChain {
public:
    /**
     * Begins with a key of the cipher's length and a first chaining value, null for zeros. A chain
     * may begin anew, with the same cipher.
     */
    bool Begin(const EVP_CIPHER* cipher, const unsigned char* key,
               const unsigned char* iv = nullptr);

    /** Goes on over whole blocks, at least one; the last block of the output, which may lie in the
     * input, becomes the chaining value. */
    bool Run(const unsigned char* in, size_t length, unsigned char* last);

private:
    CTHandle<EVP_CIPHER_CTX> context;
    size_t blockSize = 0;
};
