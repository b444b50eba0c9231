#include "asn1/tlv_data.h"

#include "asn1/asn1_errors.h"
#include "asn1/primitives.h"
#include "util/raise.h"

CTlvData& CTlvData::SetTagDecoder(CTagDecoder decoder) {
    decodeTag = decoder;
    return *this;
}

CTlvData& CTlvData::SetLengthDecoder(CLengthDecoder decoder) {
    decodeLength = decoder;
    return *this;
}

uint32_t CTlvData::GetNext(CByteView zone, size_t& position, size_t& length) const {
    const size_t start = position;
    const uint32_t tag = decodeTag(zone, position);
    length = decodeLength(zone, position);
    // Other decoders than ours may leave the position anywhere, also where it was.
    if (position <= start || !zone.Holds(position, length)) {
        RAISE(EASN1InvalidData("TLV data truncated"));
    }
    return tag;
}

CByteView CTlvData::GetData() const {
    if (!present) {
        RAISE(EASN1TagNotFound("TLV Tag not found"));
    }
    return {data, size};
}

int32_t CTlvData::AsInteger() const { return DecodeInteger(GetData()); }
