#include "asn1/primitives.h"

#include "asn1/asn1_errors.h"
#include "util/raise.h"

#include <new>

int32_t DecodeInteger(CByteView zone) {
    if (zone.GetSize() > 4) {
        RAISE(EASN1UnsupportedFormat("ASN.1 integer too long"));
    }
    uint32_t value = !zone.IsEmpty() && zone[0] >= 0x80 ? 0xFFFFFFFF : 0;
    for (const unsigned char octet : zone) {
        value = value << 8 | octet;
    }
    return static_cast<int32_t>(value);
}

uint64_t DecodeUnsigned(CByteView zone) {
    uint64_t value = 0;
    for (const unsigned char octet : zone) {
        value = value << 8 | octet;
    }
    return value;
}

size_t CBooleanContent::GetEncodedDataLength(bool /*value*/) { return 1; }

void CBooleanContent::EncodeData(bool value, CMutableByteView zone) {
    std::fill(zone.begin(), zone.end(), value ? 0xFF : 0);
}

bool CBooleanContent::DecodeData(CByteView zone) {
    if (zone.GetSize() != 1) {
        RAISE(EASN1InvalidData());
    }
    return zone[0] != 0;
}

void CIntegerContent::EncodeData(int32_t value, CMutableByteView zone) {
    for (size_t position = zone.GetSize(); position > 0; value >>= 8) {
        zone[--position] = static_cast<unsigned char>(value);
    }
}

int32_t CIntegerContent::DecodeData(CByteView zone) { return DecodeInteger(zone); }

size_t CBitStringContent::GetEncodedDataLength(const CBitString& value) {
    return ((value.bits + 7) >> 3) + 1;
}

void CBitStringContent::EncodeData(const CBitString& value, CMutableByteView zone) {
    if (!zone.Holds(0, GetEncodedDataLength(value))) {
        RAISE(EASN1BufferTooSmall());
    }
    zone[0] = static_cast<unsigned char>(-value.bits & 7);
    const CMutableByteView rest = zone.Sub(1);
    const CByteView bytes = CByteView(value.bytes).Sub(0, rest.GetSize());
    std::fill(std::copy(bytes.begin(), bytes.end(), rest.begin()), rest.end(), 0);
}

CBitString CBitStringContent::DecodeData(CByteView zone) {
    if (zone.IsEmpty()) {
        RAISE(EASN1InvalidData("ASN.1 bit string too short"));
    }
    const CByteView bytes = zone.Sub(1);
    const uint64_t allBits = uint64_t{bytes.GetSize()} * 8;
    const uint64_t unusedBits = zone[0];
    // A count below zero would pass for a huge one beside no bytes at all.
    if (unusedBits > allBits) {
        throw std::bad_alloc();
    }
    const uint64_t bits = allBits - unusedBits;
    return {bits, bytes.Sub(0, (bits + 7) >> 3).ToZone()};
}

void COctetStringContent::EncodeData(const CByteZone& value, CMutableByteView zone) {
    if (!zone.Holds(0, value.GetSize())) {
        RAISE(EASN1BufferTooSmall());
    }
    std::copy(value.begin(), value.end(), zone.begin());
}

CByteZone COctetStringContent::DecodeData(CByteView zone) { return zone.ToZone(); }
