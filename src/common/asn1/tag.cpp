#include "asn1/tag.h"

#include "asn1/asn1_errors.h"
#include "util/raise.h"

namespace {

// In the first octet: the number follows in octets of its own (X.690, 8.1.2.4).
constexpr uint32_t kLongForm = 0x1F;
// In each but the last of those, and in the first octet of a long length.
constexpr uint32_t kMore = 0x80;

constexpr size_t kMaxOctets = 4;

void PutBigEndian(uint64_t value, size_t octets, CMutableByteView zone, size_t& position) {
    while (octets-- > 0) {
        zone[position++] = static_cast<unsigned char>(value >> (8 * octets));
    }
}

}  // namespace

uint32_t MakeTag(uint32_t tagClass, uint32_t number) {
    if (number >= 0x200000) {
        RAISE(EASN1UnsupportedFormat());
    }
    const uint32_t first = tagClass << 6;
    if (number < kLongForm) {
        return first | number;
    }
    uint32_t tag = first | kLongForm;
    for (int shift = number < 0x80 ? 0 : number < 0x4000 ? 7 : 14; shift > 0; shift -= 7) {
        tag = tag << 8 | kMore | (number >> shift & 0x7F);
    }
    return tag << 8 | (number & 0x7F);
}

void EncodeTag(uint32_t tag, CMutableByteView zone, size_t& position) {
    const size_t octets = GetTagSize(tag);
    if (!zone.Holds(position, octets)) {
        RAISE(EASN1BufferTooSmall());
    }
    PutBigEndian(tag, octets, zone, position);
}

void EncodeLength(uint64_t length, CMutableByteView zone, size_t& position) {
    const size_t octets = GetLengthSize(length);
    if (!zone.Holds(position, octets)) {
        RAISE(EASN1BufferTooSmall());
    }
    const size_t digits = octets > 1 ? octets - 1 : 1;
    if (octets > 1) {
        zone[position++] = static_cast<unsigned char>(kMore + digits);
    }
    PutBigEndian(length, digits, zone, position);
}

uint32_t DecodeTag(CByteView zone, size_t& position) {
    // Nearly all tags have one octet.
    if (position < zone.GetSize() && (zone[position] & kLongForm) != kLongForm) {
        return zone[position++];
    }
    uint32_t tag = 0;
    for (size_t read = 0; read < kMaxOctets; ++read) {
        if (position >= zone.GetSize()) {
            RAISE(EASN1InvalidData("Incomplete TLV tag"));
        }
        const uint32_t octet = zone[position++];
        tag = tag << 8 | octet;
        if (read > 0 && octet < kMore) {
            return tag;
        }
    }
    RAISE(EASN1UnsupportedFormat("TLV tag too long"));
}

size_t DecodeLength(CByteView zone, size_t& position) {
    if (position >= zone.GetSize()) {
        RAISE(EASN1InvalidData("Incomplete TLV length"));
    }
    const size_t first = zone[position++];
    if (first < kMore) {
        return first;
    }
    if (first == kMore) {
        RAISE(EASN1UnsupportedFormat("TLV indetermined length unsupported"));
    }
    if (first > kMore + kMaxOctets) {
        RAISE(EASN1UnsupportedFormat("TLV length too long"));
    }
    size_t length = 0;
    for (size_t left = first - kMore; left > 0; --left) {
        if (position >= zone.GetSize()) {
            RAISE(EASN1InvalidData("Incomplete TLV length"));
        }
        length = length << 8 | zone[position++];
    }
    return length;
}
