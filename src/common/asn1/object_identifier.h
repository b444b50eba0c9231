/**
 * Object identifiers (X.690, 8.19).
 */
#pragma once

#include "asn1/zone_view.h"

#include <cstddef>
#include <cstdint>

/** The arcs from the root on, 1.3.132 as 1, 3, 132. */
using CObjectIdentifier = CTZone<uint32_t, false>;

/**
 * The content octets of object identifiers, without tag and length; the three operations are those
 * of primitives.h.
 *
 * Only values of two arcs or more, whose first is 0 to 2 and whose second is at most 39 below 0 and
 * 1, can be encoded; others are EASN1InvalidData without a text.
 */
struct CObjectIdentifierContent {
    using Value = CObjectIdentifier;

    static size_t GetEncodedDataLength(const CObjectIdentifier& value);

    /** EASN1BufferTooSmall without a text when the zone is shorter than GetEncodedDataLength says.
     */
    static void EncodeData(const CObjectIdentifier& value, CMutableByteView zone);

    /**
     * Forms that are not the shortest are taken.
     *
     * Throws, without a text, EASN1InvalidData when the zone is empty or ends inside an arc, and
     * EASN1UnsupportedFormat when an arc has more than 32 bits.
     */
    static CObjectIdentifier DecodeData(CByteView zone);
};
