#include "asn1/sequence.h"

#include "asn1/asn1_errors.h"

#include <algorithm>

size_t CSequenceTable::GetEncodedDataLength(const void* record) const {
    size_t length = 0;
    for (const CFieldRow& row : *this) {
        length += row.getEncodedLength(record);
    }
    return length;
}

void CSequenceTable::EncodeData(const void* record, CMutableByteView zone) const {
    size_t position = 0;
    for (const CFieldRow& row : *this) {
        if (row.isPresent(record)) {
            row.encode(record, zone, position);
        } else if (!row.optional) {
            RAISE(EASN1InconsistentData("Malformed ASN.1 structure to encode"));
        }
    }
}

void CSequenceTable::DecodeData(CByteView zone, void* record) const {
    size_t position = 0;
    const CFieldRow* row = first;
    for (; row != last && position < zone.GetSize(); ++row) {
        size_t behindTag = position;
        if (row->matchesTag(DecodeTag(zone, behindTag))) {
            row->decode(zone, position, record);
        } else if (!row->optional) {
            RAISE(EASN1InconsistentData("Inconsistent ASN.1 data: unexpected tag found"));
        }
    }
    if (!std::all_of(row, last, [](const CFieldRow& left) { return left.optional; })) {
        RAISE(EASN1InconsistentData("Inconsistent ASN.1 data: mandatory tag missing"));
    }
    if (position != zone.GetSize()) {
        RAISE(EASN1InconsistentData("Inconsistent ASN.1 data: too many tags found"));
    }
}

void CSequenceTable::Print(const void* record, CPrinter& printer) const {
    const bool json = printer.IsJson();
    bool isFirst = true;
    printer.Open(json ? "{" : name);
    for (const CFieldRow& row : *this) {
        if (!row.isPresent(record)) {
            continue;
        }
        if (json && !isFirst) {
            printer.Emit(",\n");
        }
        printer.Emit(json ? CUTF8String("\"") + row.name + "\": " : CUTF8String(row.name) + ": ");
        row.print(record, printer);
        isFirst = false;
    }
    printer.Close();
    if (json) {
        printer.Emit("}");
    }
}
