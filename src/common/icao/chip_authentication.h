/**
 * The terminal's steps of chip authentication (Doc 9303 part 11, 6.2; BSI TR-03110): a key
 * agreement with the static key in data group 14. The secret and the session keys are made with
 * ProcessSharedSecret of pace.h and DeriveKeys of key_derivation.h.
 *
 * Rules and failures are those of pace.h. An info is refused, too, when its protocol is of the
 * other kind of keys or when its key is not complete.
 */
#pragma once

#include "icao/pace.h"
#include "icao/security_infos.h"

namespace icao {

/**
 * Reads a variant from its identifier. `keyBits` is 128, 192 or 256, and 128 for triple DES.
 *
 * Throws CICAOException with ICAO_ERR_FUNCTION_FAILED for other identifiers.
 */
void GetCAParametersFromOID(const CObjectIdentifier& oid, bool& isEcdh, bool& isAes, int& keyBits);

/** The public key of an info: EC by its algorithm (RFC 5480), everything else is read as RSA. */
void GetSubjectPublicKey(const CSubjectPublicKeyInfo* subjectPublicKeyInfo,
                         CTHandle<EVP_PKEY>& key);

/** The chip's static key. A DH value is an INTEGER inside the key's bits (RFC 3279, 2.3.3). */
void SetICCKeyECDH(const CChipAuthenticationPublicKeyInfo* publicKeyInfo, CTHandle<EVP_PKEY>& key);
void SetICCKeyDH(const CChipAuthenticationPublicKeyInfo* publicKeyInfo, CTHandle<EVP_PKEY>& key);

/** The terminal's key pair on the domain parameters of the chip's static key. */
void GenerateIFDKeyECDH(const CChipAuthenticationPublicKeyInfo* publicKeyInfo,
                        CTHandle<EVP_PKEY>& ifdKey, CByteZone& publicKey);
void GenerateIFDKeyDH(const CChipAuthenticationPublicKeyInfo* publicKeyInfo,
                      CTHandle<EVP_PKEY>& ifdKey, CByteZone& publicKey);

}  // namespace icao
