#include "asn1/tlv.h"

#include "asn1/asn1_errors.h"
#include "asn1/tag.h"
#include "util/raise.h"

bool CheckTLV(uint32_t tag, CByteView zone) noexcept {
    try {
        size_t position = 0;
        return DecodeTag(zone, position) == tag &&
               DecodeLength(zone, position) == zone.GetSize() - position;
    } catch (...) {
        return false;
    }
}

CByteZone EncodeTLV(uint32_t tag, CByteView data) {
    if (GetTagSize(tag) > 3) {
        RAISE(EASN1UnsupportedFormat("Unsupported tag/length sizes"));
    }
    const size_t length = data.GetSize();
    const size_t tagSize = GetTagSize(tag);
    CByteZone encoded;
    encoded.Resize(CheckedSum(tagSize + std::min<size_t>(GetLengthSize(length), 3), length));
    size_t position = 0;
    EncodeTag(tag, encoded, position);
    if (length <= 0xFFFF) {
        EncodeLength(length, encoded, position);
    } else {
        encoded[position++] = 0x82;
        encoded[position++] = static_cast<unsigned char>(length >> 8);
        encoded[position++] = static_cast<unsigned char>(length);
    }
    std::copy(data.begin(), data.end(), encoded.GetData() + position);
    return encoded;
}
