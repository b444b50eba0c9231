/**
 * Numbers as points of a curve (Doc 9303 part 11, appendix B.2).
 */
#pragma once

#include "crypto/openssl_handle.h"

namespace icao {

/**
 * The affine coordinates of the point that encodes `t`, a number modulo the curve's prime. The
 * prime must be 3 modulo 4 and a must not be 0; otherwise the coordinates are those of no point.
 *
 * Throws OPENSSL_FUNCTION_FAILED.
 */
void EncodeToCurve(const EC_GROUP* group, const BIGNUM* t, CTHandle<BIGNUM>& x,
                   CTHandle<BIGNUM>& y);

}  // namespace icao
