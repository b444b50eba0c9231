/**
 * Decimal text to integers.
 */
#pragma once

#include "util/ct_string.h"

#include <cstdint>

/**
 * The number that a text of the digits "0" to "9" writes; signs and blanks are no digits.
 *
 * Throws std::runtime_error for an empty text, any other character and a number that does not fit.
 */
template <class Encoding, bool Secure>
uint32_t ToUInt(const CTString<Encoding, Secure>& text);

/** The same for 64 bits. */
template <class Encoding, bool Secure>
uint64_t ToULong(const CTString<Encoding, Secure>& text);
