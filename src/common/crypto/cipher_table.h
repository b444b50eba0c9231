/**
 * The ciphers by family and key length.
 */
#pragma once

#include "crypto/openssl_wrapper.h"

/**
 * The cipher of a family for a key of so many bytes, see ECipher; null after reporting the failure
 * of "EVP_CIPHER_fetch", also when the family has none for such a key.
 *
 * Ciphers are fetched on first use and kept for the process: a fetch takes longer than a short
 * message. A failure is not kept. Any thread may call.
 */
const EVP_CIPHER* GetCipher(OpenSSLWrap::ECipher family, size_t keyLength);
