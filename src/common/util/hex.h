/**
 * Bytes as hexadecimal digits.
 */
#pragma once

#include "util/ct_string.h"
#include "util/ct_zone.h"

#include <cstddef>

/** Two upper-case digits a byte, nothing between them. */
CUTF8String ToHex(const unsigned char* bytes, size_t length);

inline CUTF8String ToHex(const CByteZone& zone) { return ToHex(zone.GetData(), zone.GetSize()); }
