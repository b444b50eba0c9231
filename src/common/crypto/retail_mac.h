/**
 * The MAC of electronic travel documents with triple DES keys (ISO/IEC 9797-1, MAC algorithm 3 with
 * DES; ANSI X9.19).
 */
#pragma once

#include "util/ct_zone.h"

/**
 * Replaces the data by its MAC of 8 bytes. The data is padded by the caller.
 *
 * Instantiated for plain and secure keys, of 8 bytes each. Data that is empty or no whole number of
 * blocks of 8 bytes, keys of other lengths and a failing cipher throw CCkException with the code 6;
 * then the data is left alone.
 */
template <class KeyZone>
void ComputeDES3RetailMAC(const KeyZone& key1, const KeyZone& key2, CByteZone& data);
