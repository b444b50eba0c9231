/**
 * What OpenSSL 3 keeps in its "legacy" provider: the ciphers DES, RC2, RC4 and the digest
 * Whirlpool.
 */
#pragma once

#include "crypto/openssl_handle.h"

/**
 * A cipher from a library context of our own, which has the providers "default" and "legacy"; when
 * that has no such cipher, from the default context. Null, with the failure queued, when neither
 * has.
 *
 * Loading "legacy" into the default context would be felt by the host: an explicit load keeps
 * OpenSSL from loading "default" by itself, and unloading it again leaves the process with nothing.
 * The context is made on first use and never freed. The module is looked for in "ossl-modules"
 * below the library's directory, then where OpenSSL was installed.
 */
CTHandle<EVP_CIPHER> FetchLegacyCipher(const char* name);

/** A digest, in the same way. */
CTHandle<EVP_MD> FetchLegacyDigest(const char* name);
