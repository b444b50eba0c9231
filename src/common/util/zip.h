/**
 * Compressed zones in the zlib format (RFC 1950).
 */
#pragma once

#include "util/ct_zone.h"

#include <cstddef>
#include <cstdint>

/** Compresses a zone at the default level; an empty one stays empty. Throws CException. */
CByteZone ZipEncode(const CByteZone& data);

/**
 * Decompresses a zone; an empty one stays empty, bytes behind the end of the stream are ignored.
 *
 * Throws CException for anything but a whole stream, and when the data would be longer than
 * `limit`: name one for zones from the network, where a few bytes may stand for gigabytes.
 */
CByteZone ZipDecode(const CByteZone& zipped, size_t limit = SIZE_MAX);
