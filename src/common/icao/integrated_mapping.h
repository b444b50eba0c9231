/**
 * The steps of integrated mapping (Doc 9303 part 11, 4.4.3.3.2): two nonces become a number, and
 * the number a generator. Failures are those of pace.h.
 */
#pragma once

#include "asn1/zone_view.h"
#include "crypto/openssl_handle.h"
#include "util/ct_zone.h"

namespace icao {

/**
 * The function R(s, t): pseudo-random bytes, somewhat more than `pBits` bits. `s` has 16 or 32
 * bytes; `t`, the cipher key, has 16, 24 or 32 and no more than `s`. Both have 16 for triple DES.
 */
void PseudoRandom(int pBits, CByteView s, CByteView t, bool isAes, CSecureByteZone& output);

/** The same as a number modulo the prime of a curve, or of a DH key. */
void PseudoRandomModP(CByteView s, CByteView t, bool isAes, const EC_GROUP* group,
                      CTHandle<BIGNUM>& number);
void PseudoRandomModP(CByteView s, CByteView t, bool isAes, const EVP_PKEY* key,
                      CTHandle<BIGNUM>& number);

/**
 * The point that encodes `t`, a number modulo the prime. The prime must be 3 modulo 4; for others,
 * as that of secp224r1, no point comes out and CICAOException is thrown with no line but those of
 * the failing call.
 */
void ProcessIntegratedMappingGenerator(const EC_GROUP* group, const BIGNUM* t,
                                       CTHandle<EC_POINT>& generator);

/** `x` raised into the subgroup of order q of a DH key, which must have a q. */
void ProcessIntegratedMappingGenerator(const EVP_PKEY* key, const BIGNUM* x,
                                       CTHandle<BIGNUM>& generator);

}  // namespace icao
