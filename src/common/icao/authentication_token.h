/**
 * The authentication token of PACE (Doc 9303 part 11, 9.4.7): the MAC by which each side proves
 * that it has the same keys.
 */
#pragma once

#include "asn1/object_identifier.h"
#include "util/ct_zone.h"

namespace icao {

/**
 * The first 8 bytes of the MAC over the public key of the session that the other side has sent.
 * `oid` is the variant of PACE, `peerPublicKey` as the chip or GenerateIFDKey gave it, `macKey`
 * from DeriveKeys. The chip's token must be compared with CRYPTO_memcmp.
 *
 * Throws CICAOException with ICAO_ERR_FUNCTION_FAILED for other identifiers, and CCkException with
 * the code 6 for a key of a wrong length.
 */
void ComputeAuthenticationToken(const CObjectIdentifier& oid, const CByteZone& peerPublicKey,
                                const CSecureByteZone& macKey, CByteZone& token);

}  // namespace icao
