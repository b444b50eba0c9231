/**
 * The keys of the document protocols (Doc 9303 part 11, 9.7): hashes of a secret and a counter.
 *
 * The keys are as the hash gives them: those for triple DES, of 128 bits, have no parity.
 */
#pragma once

#include "asn1/zone_view.h"
#include "util/ct_zone.h"

namespace icao {

/**
 * The session keys of a shared secret, each of `keyBits` bits: 128, 192 or 256. Others throw
 * CICAOException with ICAO_ERR_FUNCTION_FAILED.
 */
void DeriveKeys(CByteView secret, int keyBits, CSecureByteZone& encKey, CSecureByteZone& macKey);

/**
 * The key that the chip's nonce is encrypted with. `passwordType` is one of EPasswordType; of MRZ,
 * the password is the MRZ information, not its hash.
 *
 * Throws CICAOException with ICAO_ERR_FUNCTION_FAILED for keys of no bits or of more than 256.
 */
void DerivePasswordKey(int passwordType, CByteView password, int keyBits, CSecureByteZone& key);

}  // namespace icao
