#include "asn1/object_identifier.h"

#include "asn1/asn1_errors.h"
#include "util/raise.h"

namespace {

constexpr uint32_t kSecondArcs = 40;  // how many the first arcs 0 and 1 have

bool CanBeEncoded(const CObjectIdentifier& value) {
    return value.GetSize() >= 2 && value[0] <= 2 && (value[0] == 2 || value[1] < kSecondArcs);
}

// The first two arcs in one. The sum has 32 bits: the width is taken from what is written.
uint32_t FirstSubidentifier(const CObjectIdentifier& value) {
    return value[1] + value[0] * kSecondArcs;
}

size_t GetOIDIntSize(uint32_t value) {
    size_t octets = 1;
    while ((value >>= 7) != 0) {
        ++octets;
    }
    return octets;
}

void EncodeOIDInt(uint32_t value, CMutableByteView zone, size_t& position) {
    size_t octets = GetOIDIntSize(value);
    if (!zone.Holds(position, octets)) {
        RAISE(EASN1BufferTooSmall());
    }
    while (octets-- > 0) {
        const uint32_t group = value >> (7 * octets) & 0x7F;
        zone[position++] = static_cast<unsigned char>(octets > 0 ? group | 0x80 : group);
    }
}

uint32_t DecodeOIDInt(CByteView zone, size_t& position) {
    uint32_t value = 0;
    while (position < zone.GetSize()) {
        const uint32_t octet = zone[position++];
        value = value << 7 | (octet & 0x7F);
        if (octet < 0x80) {
            return value;
        }
        // There is no room for the seven bits that follow.
        if (value > 0x1FFFFFF) {
            RAISE(EASN1UnsupportedFormat());
        }
    }
    RAISE(EASN1InvalidData());
}

}  // namespace

size_t CObjectIdentifierContent::GetEncodedDataLength(const CObjectIdentifier& value) {
    if (!CanBeEncoded(value)) {
        RAISE(EASN1InvalidData());
    }
    size_t octets = GetOIDIntSize(FirstSubidentifier(value));
    for (size_t arc = 2; arc < value.GetSize(); ++arc) {
        octets += GetOIDIntSize(value[arc]);
    }
    return octets;
}

void CObjectIdentifierContent::EncodeData(const CObjectIdentifier& value, CMutableByteView zone) {
    if (!CanBeEncoded(value)) {
        RAISE(EASN1InvalidData());
    }
    size_t position = 0;
    EncodeOIDInt(FirstSubidentifier(value), zone, position);
    for (size_t arc = 2; arc < value.GetSize(); ++arc) {
        EncodeOIDInt(value[arc], zone, position);
    }
}

CObjectIdentifier CObjectIdentifierContent::DecodeData(CByteView zone) {
    try {
        CObjectIdentifier arcs;
        arcs.Reserve(zone.GetSize() + 1);
        size_t position = 0;
        const uint32_t first = DecodeOIDInt(zone, position);
        const uint32_t root = std::min(first / kSecondArcs, 2U);
        arcs.Append(root);
        arcs.Append(first - root * kSecondArcs);
        while (position < zone.GetSize()) {
            arcs.Append(DecodeOIDInt(zone, position));
        }
        return arcs;
    } catch (...) {
        RERAISE();
    }
}
