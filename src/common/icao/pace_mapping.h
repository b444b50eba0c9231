/**
 * The mappings of PACE (Doc 9303 part 11, 4.4.3.3): how the nonce gives the generator that the
 * session's keys are made on. Failures are those of pace.h.
 */
#pragma once

#include "asn1/zone_view.h"
#include "crypto/openssl_handle.h"
#include "util/ct_zone.h"

namespace icao {

/**
 * Generic mapping, which is that of chip authentication mapping too: from the nonce and the secret
 * of both sides' mapping keys. `mappedKey` is a key of domain parameters only.
 */
void DoGenericMappingECDH(const CSecureByteZone& nonce, const EVP_PKEY* ifdKey,
                          const EVP_PKEY* iccKey, CTHandle<EVP_PKEY>& mappedKey);
void DoGenericMappingDH(const CSecureByteZone& nonce, const EVP_PKEY* ifdKey,
                        const EVP_PKEY* iccKey, CTHandle<EVP_PKEY>& mappedKey);

/**
 * Integrated mapping: from the chip's nonce `s` of 16 or 32 bytes and the terminal's nonce `t` of
 * the cipher key's length, 16 to 32. `key` holds the domain parameters.
 */
void DoIntegratedMappingECDH(const CSecureByteZone& s, const CByteZone& t, bool isAes,
                             const EVP_PKEY* key, CTHandle<EVP_PKEY>& mappedKey);
void DoIntegratedMappingDH(const CSecureByteZone& s, const CByteZone& t, bool isAes,
                           const EVP_PKEY* key, CTHandle<EVP_PKEY>& mappedKey);

/**
 * The parameters of a group, or of a DH key that has a q, with another generator: once for either
 * side's key, which are independent of each other.
 */
void MapGenerator(const EC_GROUP* group, const EC_POINT* generator, CTHandle<EVP_PKEY>& ifdKey,
                  CTHandle<EVP_PKEY>& iccKey);
void MapGenerator(const EVP_PKEY* key, const BIGNUM* generator, CTHandle<EVP_PKEY>& ifdKey,
                  CTHandle<EVP_PKEY>& iccKey);

}  // namespace icao
