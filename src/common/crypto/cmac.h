/**
 * AES-CMAC (NIST SP 800-38B).
 *
 * Kept: while the log is on, it shows messages, MACs and even the subkeys.
 */
#pragma once

#include "util/ct_zone.h"

/**
 * The MAC of a message: 16 bytes, which the caller cuts if need be.
 *
 * Instantiated for plain and secure keys. A key of another length than 16, 24 or 32 and a failing
 * cipher throw CCkException with the code 6; then `out` is left alone.
 */
template <class KeyZone>
void ComputeCMAC(const KeyZone& key, const CByteZone& data, CByteZone& out);

/** The same with a mask on the first block of the message, aligned at the block's end. */
template <class KeyZone>
void ComputeCMAC(const KeyZone& key, const CByteZone& firstBlockMask, const CByteZone& data,
                 CByteZone& out);

/** The two subkeys, 16 bytes each. Throws as ComputeCMAC does. */
template <class KeyZone>
void GenerateCmacSubkeys(const KeyZone& key, CByteZone& k1, CByteZone& k2);
