/**
 * Steps on blocks that the protocols of electronic travel documents are made of.
 *
 * Failures are CCkException: with the code 0x150 (CKR_BUFFER_TOO_SMALL) for an output that is too
 * short, with 6 for everything else.
 */
#pragma once

#include "util/ct_zone.h"

#include <cstddef>

/**
 * The XOR of two byte strings that are aligned at their ends, as long as the shorter of them.
 *
 * It fills the end of `out`; what lies in front stays. `out` may be `a` or `b`.
 */
void ComputeXor(const unsigned char* a, size_t aLength, const unsigned char* b, size_t bLength,
                unsigned char* out, size_t outLength);

template <class ZoneA, class ZoneB, class ZoneOut>
void ComputeXor(const ZoneA& a, const ZoneB& b, ZoneOut& out) {
    ComputeXor(a.GetData(), a.GetSize(), b.GetData(), b.GetSize(), out.GetData(), out.GetSize());
}

/**
 * Shifts a big-endian number to the left and cuts it to its length. `out` is at least as long as
 * `in`, whose length it is filled to from its start; it may be `in`. Nothing happens to it for an
 * empty `in`.
 */
void BitLeftShift(const unsigned char* in, size_t inLength, size_t bits, unsigned char* out,
                  size_t outLength);

template <class ZoneIn, class ZoneOut>
void BitLeftShift(const ZoneIn& in, size_t bits, ZoneOut& out) {
    BitLeftShift(in.GetData(), in.GetSize(), bits, out.GetData(), out.GetSize());
}

/**
 * Padding method 2 of ISO/IEC 9797-1: 80, then zeros up to a multiple of `size`, 8 or 16. At least
 * one byte is added. `out` may be `in`. For plain and secure zones.
 */
template <class Zone>
void PadISO9797M2(const Zone& in, Zone& out, size_t size);

/**
 * Takes that padding off. The length is not held against a block size: zeros of any number go. Data
 * that is empty or does not end in 80 and zeros throws. `out` may be `in`.
 */
template <class Zone>
void UnpadISO9797M2(const Zone& in, Zone& out);

/**
 * The three keys of triple DES: of 24 bytes, or of 16, whose third key is the first once more.
 * Other lengths throw. Any of the outputs may be the input.
 */
template <class Zone>
void SetScheduleKeys(const Zone& keyData, CSecureByteZone& k1, CSecureByteZone& k2,
                     CSecureByteZone& k3);

// AES without padding, for plain and secure keys of 16, 24 or 32 bytes. `out` takes the input's
// size and may be the input. An input that is no whole number of blocks, a wrong key or iv throws.
template <class KeyZone>
void EncryptAesEcb(const CByteZone& in, const KeyZone& key, CByteZone& out);
/** Kept: while the log is on, it shows input and output. */
template <class KeyZone>
void EncryptAesCbc(const CByteZone& in, const KeyZone& key, const CByteZone& iv, CByteZone& out);
template <class KeyZone>
void DecryptAesCbc(const CByteZone& in, const KeyZone& key, const CByteZone& iv, CByteZone& out);
