/**
 * Whole TLV items.
 */
#pragma once

#include "asn1/zone_view.h"

#include <cstdint>

/** Whether the zone is one item with this tag and nothing else. Throws nothing. */
bool CheckTLV(uint32_t tag, CByteView zone) noexcept;

/**
 * Tag, length and data in a new buffer.
 *
 * Throws EASN1UnsupportedFormat, "Unsupported tag/length sizes", for tags of four octets.
 *
 * Kept: the length has at most two octets behind 0x82 and is cut to 16 bits for 65536 bytes of data
 * and more. The form of what is sent to cards depends on it; EncodeLength writes all widths.
 */
CByteZone EncodeTLV(uint32_t tag, CByteView data);
