/**
 * Unsigned numbers as big-endian bytes.
 */
#pragma once

#include "asn1/zone_view.h"

#include <cstddef>
#include <cstdint>

/**
 * The number that the bytes form; leading zeros do not count, no bytes are 0.
 *
 * Throws CException with code 32 (CKR_DATA_INVALID) when more than four bytes count.
 */
uint64_t FromBigInt(const unsigned char* bytes, size_t size);

/**
 * An unsigned number of any size, held as the content of an ASN.1 integer: a zero byte stands in
 * front when the first byte would make it negative.
 */
class CBigNumber {
public:
    CBigNumber() = default;
    /** Copies the bytes of an unsigned number. */
    explicit CBigNumber(CByteView number);
    CBigNumber& operator=(CByteView number);

    const CByteZone& GetContent() const { return content; }

    /** The content without one leading zero byte; more of them stay. */
    CByteView GetUnsigned() const;

private:
    CByteZone content;
};
