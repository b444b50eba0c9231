/**
 * Tags and lengths of BER (X.690, 8.1.2 and 8.1.3), definite forms only.
 *
 * A tag is the number that its identifier octets form, high octet first: 0x30, 0x5F1F, 0x7F49. It
 * has one to four octets, a length has one to five. All operations work on their arguments alone;
 * those that take a position move it behind what they read or wrote.
 */
#pragma once

#include "asn1/zone_view.h"

#include <cstddef>
#include <cstdint>

/**
 * The tag of a class (0 universal to 3 private) and a number in the shortest form. The class goes
 * into the top two bits of the first octet as it is.
 *
 * Throws EASN1UnsupportedFormat without a text for numbers of 2097152 and above.
 */
uint32_t MakeTag(uint32_t tagClass, uint32_t number);

/** The tag with the constructed bit of its first octet set. */
constexpr uint32_t MakeConstructedTag(uint32_t tag) {
    return tag | (tag < 0x100       ? 0x20U
                  : tag < 0x10000   ? 0x2000U
                  : tag < 0x1000000 ? 0x200000U
                                    : 0x20000000U);
}

constexpr bool IsConstructedTag(uint32_t tag) {
    return (tag & 0xFFFFFF20) == 0x20 || (tag & 0xFFFF2000) == 0x2000 ||
           (tag & 0xFF200000) == 0x200000 || (tag & 0x20000000) != 0;
}

/** How many octets a tag takes: 1 to 4. */
constexpr size_t GetTagSize(uint32_t tag) {
    return tag < 0x100 ? 1 : tag < 0x10000 ? 2 : tag < 0x1000000 ? 3 : 4;
}

/** How many octets EncodeLength writes: 1 to 5. */
constexpr size_t GetLengthSize(uint64_t length) {
    return length <= 0x7F       ? 1
           : length <= 0xFF     ? 2
           : length <= 0xFFFF   ? 3
           : length <= 0xFFFFFF ? 4
                                : 5;
}

/** Writes a tag; EASN1BufferTooSmall without a text, and nothing written, when it does not fit. */
void EncodeTag(uint32_t tag, CMutableByteView zone, size_t& position);

/**
 * Writes a length in its shortest form; EASN1BufferTooSmall without a text, and nothing written,
 * when it does not fit.
 *
 * Kept: of a length above 0xFFFFFFFF the low 32 bits are written. Callers check sizes themselves.
 */
void EncodeLength(uint64_t length, CMutableByteView zone, size_t& position);

/**
 * Reads a tag. Neither class nor constructed bit is looked at, and forms that are not the shortest
 * are taken.
 *
 * Throws EASN1InvalidData, "Incomplete TLV tag", when the zone ends first, and
 * EASN1UnsupportedFormat, "TLV tag too long", for more than four octets; the position is then
 * behind the last octet read.
 */
uint32_t DecodeTag(CByteView zone, size_t& position);

/**
 * Reads a length. It is not compared with what is left in the zone: only the caller knows which
 * failure an overrun is. Forms that are not the shortest are taken.
 *
 * Throws EASN1InvalidData, "Incomplete TLV length", when the zone ends first, and
 * EASN1UnsupportedFormat for the indefinite form and for five or more length octets.
 */
size_t DecodeLength(CByteView zone, size_t& position);
