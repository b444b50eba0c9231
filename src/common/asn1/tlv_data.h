/**
 * Walking over TLV data: how what a card says is read.
 */
#pragma once

#include "asn1/tag.h"

/** Reads a tag, or a length, from a position that it moves; throws what it likes. */
using CTagDecoder = uint32_t (*)(CByteView zone, size_t& position);
using CLengthDecoder = size_t (*)(CByteView zone, size_t& position);

/**
 * A look at a row of TLV items, or at the value of one; absent when it was looked for and not
 * found.
 *
 * A missing item is no error until its data is asked for, so a path can be walked in one go:
 *
 *     CTlvData(file).GetNext(0x7C).GetNext(0x80).GetData()
 *
 * Nothing is copied: the bytes must outlive all views on them. Items found inherit the decoders.
 */
class CTlvData {
public:
    /** The data, read as BER. */
    explicit CTlvData(CByteView zone) : CTlvData(zone, DecodeTag, DecodeLength) {}

    /** Not of a zone that is about to go. */
    template <bool Secure>
    explicit CTlvData(CTZone<unsigned char, Secure>&&) = delete;

    /** An absent view. */
    CTlvData(CTagDecoder tagDecoder, CLengthDecoder lengthDecoder)
        : decodeTag(tagDecoder), decodeLength(lengthDecoder) {}

    CTlvData(CByteView zone, CTagDecoder tagDecoder, CLengthDecoder lengthDecoder)
        : present(true),
          data(zone.GetData()),
          size(zone.GetSize()),
          decodeTag(tagDecoder),
          decodeLength(lengthDecoder) {}

    CTlvData& SetTagDecoder(CTagDecoder decoder);
    CTlvData& SetLengthDecoder(CLengthDecoder decoder);

    bool IsPresent() const { return present; }

    /**
     * The next item with this tag from `position` on, at this level only; items inside items are
     * found through the view that is returned. The position moves behind the item.
     *
     * The walk ends, with an absent view, at the end of the data and at an octet 0 where a tag
     * should stand, so padding behind the last item does no harm; the position stays there.
     *
     * Throws EASN1InvalidData, "TLV data truncated", for an item that is longer than what is left,
     * with the position behind its length, and what the decoders throw.
     */
    CTlvData GetNext(uint32_t tag, size_t& position) const;

    /** The first item with this tag. */
    CTlvData GetNext(uint32_t tag) const;

    /** The bytes; EASN1TagNotFound, "TLV Tag not found", when absent. */
    CByteView GetData() const;

    /** The bytes as a signed number (DecodeInteger); EASN1TagNotFound when absent. */
    int32_t AsInteger() const;

private:
    /**
     * Reads any header and moves the position to the value, which lies inside; gives the tag. It
     * bears the name of the operation whose failures it traces.
     */
    uint32_t GetNext(CByteView zone, size_t& position, size_t& length) const;

    bool ReadsBer() const { return decodeTag == DecodeTag && decodeLength == DecodeLength; }

    bool present = false;
    const unsigned char* data = nullptr;
    uint64_t size = 0;
    CTagDecoder decodeTag;
    CLengthDecoder decodeLength;
};

static_assert(sizeof(CTlvData) == 40, "modules rely on the five members");

inline CTlvData CTlvData::GetNext(uint32_t tag, size_t& position) const {
    const unsigned char* const bytes = data;
    const size_t end = present ? size : 0;
    size_t at = position;
    while (at < end && bytes[at] != 0) {
        uint32_t found = bytes[at];
        size_t length = 0;
        // Most items have an octet each for tag and length: they are read without a call.
        if (end - at >= 2 && (found & 0x1F) != 0x1F && bytes[at + 1] < 0x80 && ReadsBer() &&
            bytes[at + 1] <= end - at - 2) {
            length = bytes[at + 1];
            at += 2;
        } else {
            position = at;
            found = GetNext(CByteView(bytes, end), position, length);
            at = position;
        }
        const unsigned char* const value = bytes + at;
        at += length;
        if (found == tag) {
            position = at;
            return {CByteView(value, length), decodeTag, decodeLength};
        }
    }
    position = at;
    return {decodeTag, decodeLength};
}

inline CTlvData CTlvData::GetNext(uint32_t tag) const {
    size_t position = 0;
    return GetNext(tag, position);
}
