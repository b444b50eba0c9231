/**
 * The terminal's steps of Password Authenticated Connection Establishment (Doc 9303 part 11, 4.4;
 * BSI TR-03110). No card is talked to: each step takes what the chip has sent and gives what is
 * sent to it.
 *
 * In this order: SetIFDKeyParameters of pace_parameters.h, DerivePasswordKey of key_derivation.h,
 * DecryptNonce; GenerateIFDKey, SetICCKey and a mapping of pace_mapping.h; GenerateIFDKey and
 * SetICCKey once more, on the mapped parameters, and ProcessSharedSecret; DeriveKeys of
 * key_derivation.h and ComputeAuthenticationToken of authentication_token.h. Integrated mapping has
 * no keys before the mapping.
 *
 * Keys belong to the caller, the terminal's are called IFD keys and the chip's ICC keys. Steps keep
 * no state; an output that a failing step was to fill is left alone. What is null or empty, and
 * what breaks the rules of the protocol, throws CICAOException with ICAO_ERR_FUNCTION_FAILED; a
 * failing call of OpenSSL throws OPENSSL_FUNCTION_FAILED.
 */
#pragma once

#include "asn1/zone_view.h"
#include "crypto/openssl_handle.h"
#include "icao/key_domain.h"
#include "util/ct_zone.h"

namespace icao {

/**
 * Decrypts the nonce with the key of DerivePasswordKey, in CBC mode without padding: AES by the
 * key's length, or triple DES with a key of 16 bytes.
 */
void DecryptNonce(const CSecureByteZone& key, bool isAes, const CByteZone& encryptedNonce,
                  CSecureByteZone& nonce);

/**
 * Generates a key pair on the domain parameters that the key holds, which must be all that it
 * holds. `publicKey` is what goes to the chip: an uncompressed point, or a number of the prime's
 * width.
 */
void GenerateIFDKeyECDH(CTHandle<EVP_PKEY>& key, CByteZone& publicKey);
void GenerateIFDKeyDH(CTHandle<EVP_PKEY>& key, CByteZone& publicKey);

/**
 * Makes a key of the chip's public value, on the domain parameters of the terminal's.
 *
 * The terminal's own public value is refused, and so are values that make the secret guessable: the
 * point at infinity, and numbers below 2, above p - 2 or, where q is known, outside of its
 * subgroup.
 */
void SetICCKeyECDH(const EVP_PKEY* ifdKey, const CByteZone& iccPublicKey,
                   CTHandle<EVP_PKEY>& iccKey);
void SetICCKeyDH(const EVP_PKEY* ifdKey, const CByteZone& iccPublicKey, CTHandle<EVP_PKEY>& iccKey);

/**
 * The same on a domain alone, of which an EC key and its group are given. `own` is the terminal's
 * public value, null when it has none yet.
 */
void SetICCKeyECDH(const EVP_PKEY* domain, const EC_GROUP* group, const EC_POINT* own,
                   const CByteZone& iccPublicKey, CTHandle<EVP_PKEY>& iccKey);
void SetICCKeyDH(const CDhDomain& domain, const BIGNUM* own, const BIGNUM* iccValue,
                 CTHandle<EVP_PKEY>& iccKey);

/** The shared point or number, which is wiped with its handle. */
void DoKeyAgreement(const EVP_PKEY* ifdKey, const EVP_PKEY* iccKey, CTHandle<EC_POINT>& shared);
void DoKeyAgreement(const EVP_PKEY* ifdKey, const EVP_PKEY* iccKey, CTHandle<BIGNUM>& shared);

/** The same with the group of the terminal's key, for callers that have it at hand; null is a
 * failure that has been reported. */
void DoKeyAgreement(const EC_GROUP* group, const EVP_PKEY* ifdKey, const EVP_PKEY* iccKey,
                    CTHandle<EC_POINT>& shared);

/** The shared secret: the point's x coordinate at the field's width, or the number at the prime's.
 */
void ProcessSharedSecretECDH(const EVP_PKEY* ifdKey, const EVP_PKEY* iccPublicKey,
                             CSecureByteZone& secret);
void ProcessSharedSecretDH(const EVP_PKEY* ifdKey, const EVP_PKEY* iccPublicKey,
                           CSecureByteZone& secret);

}  // namespace icao
