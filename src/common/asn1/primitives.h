/**
 * The contents of the primitive types (X.690, 8.2, 8.3, 8.6 and 8.7), without tag and length.
 *
 * Each type has the same three operations, from which the typed objects choose by type:
 * GetEncodedDataLength gives the number of content octets, EncodeData fills a zone of just that
 * size, DecodeData makes the value from a zone that is just the content. Object identifiers have
 * theirs in object_identifier.h.
 */
#pragma once

#include "asn1/zone_view.h"

#include <cstddef>
#include <cstdint>

/** The octets of the shortest two's complement form: 1 to 4. */
inline size_t GetIntegerSize(int32_t value) {
    if (value >= -0x80 && value <= 0x7F) {
        return 1;
    }
    if (value >= -0x8000 && value <= 0x7FFF) {
        return 2;
    }
    return value >= -0x800000 && value <= 0x7FFFFF ? 3 : 4;
}

/**
 * The number of a big-endian two's complement form; no octets are the number 0.
 *
 * Throws EASN1UnsupportedFormat, "ASN.1 integer too long", for five octets and more, leading zeros
 * counted.
 */
int32_t DecodeInteger(CByteView zone);

/** The number of a big-endian unsigned form. The high octets of one that is too long are lost. */
uint64_t DecodeUnsigned(CByteView zone);

struct CBooleanContent {
    using Value = bool;

    static size_t GetEncodedDataLength(bool value);
    /** Every octet of the zone becomes 0xFF for true, 0 for false. */
    static void EncodeData(bool value, CMutableByteView zone);
    /** Any octet but 0 is true. Sizes other than 1 are EASN1InvalidData without a text. */
    static bool DecodeData(CByteView zone);
};

struct CIntegerContent {
    using Value = int32_t;

    static size_t GetEncodedDataLength(int32_t value) { return GetIntegerSize(value); }
    /** Fills the whole zone; in a longer one the sign is repeated in front. */
    static void EncodeData(int32_t value, CMutableByteView zone);
    static int32_t DecodeData(CByteView zone);
};

/** `bytes` holds (bits + 7) / 8 bytes, the first bit on top of the first. */
struct CBitString {
    uint64_t bits = 0;
    CByteZone bytes;
};

struct CBitStringContent {
    using Value = CBitString;

    static size_t GetEncodedDataLength(const CBitString& value);
    /**
     * EASN1BufferTooSmall without a text when the zone is shorter than GetEncodedDataLength says;
     * bytes that the value lacks are written as 0.
     */
    static void EncodeData(const CBitString& value, CMutableByteView zone);
    /**
     * An empty zone is EASN1InvalidData, "ASN.1 bit string too short".
     *
     * The octet with the number of unused bits may take away whole bytes; more than there are is
     * std::bad_alloc.
     */
    static CBitString DecodeData(CByteView zone);
};

/** Octet strings, and whole items that are kept as they are. */
struct COctetStringContent {
    using Value = CByteZone;

    static size_t GetEncodedDataLength(const CByteZone& value) { return value.GetSize(); }
    /** EASN1BufferTooSmall without a text when the zone is shorter than the value. */
    static void EncodeData(const CByteZone& value, CMutableByteView zone);
    static CByteZone DecodeData(CByteView zone);
};
