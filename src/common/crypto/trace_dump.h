/**
 * Bytes in the trace log.
 */
#pragma once

#include "util/ct_zone.h"

#include <cstddef>

/**
 * Traces a label and, right behind it, the bytes as hexadecimal digits. Costs a load of an atomic
 * while the log is off; throws nothing, whatever happens.
 */
void TraceHexDump(const char* label, const unsigned char* bytes, size_t length) noexcept;

template <bool Secure>
void TraceHexDump(const char* label, const CTZone<unsigned char, Secure>& zone) noexcept {
    TraceHexDump(label, zone.GetData(), zone.GetSize());
}
