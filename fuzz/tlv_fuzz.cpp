// Walks any data level by level: what is found lies inside and in order.
#include "asn1/asn1_errors.h"
#include "asn1/object_identifier.h"
#include "asn1/tlv_data.h"

#include <cstdlib>
#include <vector>

namespace {

/** The items that a level of the data has before it ends or fails. */
std::vector<CByteView> Items(CByteView zone) {
    std::vector<CByteView> items;
    try {
        for (size_t position = 0; position < zone.GetSize() && zone[position] != 0;) {
            const size_t start = position;
            size_t peek = position;
            const CTlvData item = CTlvData(zone).GetNext(DecodeTag(zone, peek), position);
            const size_t size = item.GetData().GetSize();
            if (position <= start || !zone.Holds(peek, size) || position - start < size) {
                std::abort();
            }
            items.push_back(item.GetData());
        }
    } catch (const EASN1&) {
    }
    return items;
}

/** A value that decodes is the same after it was written and read again. */
void CheckIdentifier(CByteView content) {
    try {
        const CObjectIdentifier arcs = CObjectIdentifierContent::DecodeData(content);
        CByteZone again(CObjectIdentifierContent::GetEncodedDataLength(arcs), 0);
        CObjectIdentifierContent::EncodeData(arcs, again);
        if (CObjectIdentifierContent::DecodeData(again) != arcs) {
            std::abort();
        }
    } catch (const EASN1&) {
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    CheckIdentifier({data, size});
    std::vector<CByteView> levels = Items({data, size});
    while (!levels.empty()) {
        const CByteView level = levels.back();
        levels.pop_back();
        const std::vector<CByteView> items = Items(level);
        levels.insert(levels.end(), items.begin(), items.end());
    }
    return 0;
}
