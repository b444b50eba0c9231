/**
 * The ciphers of nonces: CBC from an initialisation vector of zeros, without padding.
 */
#pragma once

#include "asn1/zone_view.h"
#include "util/ct_zone.h"

namespace icao {

/**
 * Encrypts or decrypts whole blocks, with AES by the key's length or with triple DES; `out` has
 * room for as many bytes. False after a failure that OpenSSL's wrapper has reported.
 *
 * Throws CCkException with the code 6 for a triple DES key that has neither 16 nor 24 bytes.
 */
bool RunNonceCipher(bool isAes, bool encrypt, const CSecureByteZone& key, CByteView in,
                    unsigned char* out);

}  // namespace icao
