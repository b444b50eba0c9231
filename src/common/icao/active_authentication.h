/**
 * Active authentication (Doc 9303 part 11, 6.1): whether a chip has the private key to the public
 * key of data group 15, from its signature of a challenge.
 *
 * There is no dialogue with the card here. A signature that is not the challenge's is no failure:
 * the operations return false. Refusals trace their words and throw CICAOException, with
 * ICAO_ERR_FUNCTION_NOT_SUPPORTED for unknown algorithms and with ICAO_ERR_FUNCTION_FAILED
 * otherwise; failures of OpenSSL are OPENSSL_FUNCTION_FAILED.
 */
#pragma once

#include "asn1/object_identifier.h"
#include "asn1/zone_view.h"
#include "icao/security_infos.h"

#include <openssl/evp.h>

namespace icao {

/**
 * By the kind of the key. `digest` is for ECDSA only, that of RSA is named by the signature itself.
 * An empty challenge or signature, a null key and other kinds of keys are refused.
 */
bool VerifyActiveAuthenticationSignature(const CByteZone& challenge, const CByteZone& signature,
                                         const EVP_MD* digest, EVP_PKEY* key);

/**
 * ISO/IEC 9796-2, digital signature scheme 1: the signature yields the message that the chip chose
 * and a digest of it and the challenge. A null key is OPENSSL_FUNCTION_FAILED.
 */
bool VerifyActiveAuthenticationRSASignature(const CByteZone& challenge, const CByteZone& signature,
                                            EVP_PKEY* key);

/**
 * `signature` is r and s at equal length (BSI TR-03111). One of an odd length is CException with
 * the code 6, any other that is not the challenge's false. A null digest is refused; a null key is
 * OPENSSL_FUNCTION_FAILED.
 */
bool VerifyActiveAuthenticationECDSASignature(const CByteZone& challenge,
                                              const CByteZone& signature, const EVP_MD* digest,
                                              EVP_PKEY* key);

/**
 * Takes apart what an RSA signature recovers: 0x6A, the message, its digest, the trailer. The
 * digest is OpenSSL's constant of what the trailer names. Messages that are too short for it are
 * refused. The outputs are left alone on failure.
 */
void GetDataFromEMVSignatureMessage(CByteView message, CByteZone& messagePart,
                                    CByteZone& digestValue, const EVP_MD*& digest);

/**
 * The digest of a trailer: 0xBC, or one octet of ISO/IEC 10118-3 and 0xCC. An empty trailer is
 * refused, and so is another first octet before 0xCC, as unknown; null for any other trailer.
 */
void GetHashFunctionFromTrailerField(CByteView trailer, const EVP_MD*& digest);

/**
 * The digest of a plain ECDSA signature algorithm (BSI TR-03111, 5.2.1.1); others are unknown and
 * leave `digest` alone. Arcs that cannot be encoded are EASN1InvalidData.
 */
void GetECDSAPlainSignatureHashFunction(const CObjectIdentifier& oid, const EVP_MD*& digest);

/**
 * The same for the active authentication info among what data group 14 lists; `digest` stays as it
 * is when no info names a signature algorithm. Throws what decoding throws for an info whose
 * algorithm is no object identifier.
 */
void GetECDSAPlainSignatureHashFunction(const CTList<CSecurityInfo>& securityInfos,
                                        const EVP_MD*& digest);

}  // namespace icao
