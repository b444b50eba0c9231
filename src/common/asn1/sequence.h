/**
 * Records and lists of the types of types.h.
 *
 * A record is a plain struct of std::unique_ptr members, one for each field, null when the field is
 * absent, with a table of rows that says how they stand in the encoding:
 *
 *     struct CDataGroupHash {
 *         std::unique_ptr<int32_t> dataGroupNumber;
 *         std::unique_ptr<CByteZone> dataGroupHashValue;
 *
 *         static const CSequenceTable kTable;
 *     };
 *
 *     constexpr CFieldRow kRows[] = {
 *         MANDATORY_FIELD(CDataGroupHash, dataGroupNumber, CIntegerType),
 *         MANDATORY_FIELD(CDataGroupHash, dataGroupHashValue, COctetStringType),
 *     };
 *     const CSequenceTable CDataGroupHash::kTable("DataGroupHash", kRows);
 *
 * CTSequenceType<CDataGroupHash> is then a type as any other. Values own what they hold and belong
 * to one thread at a time; tables never change. A failure is traced once more by each record and
 * list that it leaves, and nothing of what was read so far outlives it.
 */
#pragma once

#include "asn1/field_row.h"
#include "asn1/types.h"
#include "util/owned_array.h"
#include "util/raise.h"

#include <cstddef>
#include <cstdint>
#include <memory>

/** The value of a list: its elements in order. */
template <class Value>
using CTList = CTOwnedArray<std::unique_ptr<Value>>;

/** The fields of a record in their order, and what all records do with theirs. */
class CSequenceTable {
public:
    /** The name is for the printers; null for a record that is not printed. */
    template <size_t count>
    constexpr CSequenceTable(const char* typeName, const CFieldRow (&rows)[count])
        : name(typeName), first(rows), last(rows + count) {}

    const char* GetName() const { return name; }

    size_t GetEncodedDataLength(const void* record) const;

    /**
     * Writes the fields that are there. EASN1InconsistentData, "Malformed ASN.1 structure to
     * encode", when a mandatory one is not.
     */
    void EncodeData(const void* record, CMutableByteView zone) const;

    /**
     * Reads the content of a sequence into a record without fields. Each row is tried once, in
     * order, on the tag that stands next.
     *
     * Throws EASN1InconsistentData, "Inconsistent ASN.1 data: " and "unexpected tag found" when a
     * mandatory row does not match, "mandatory tag missing" when the zone ends before one, and "too
     * many tags found" when bytes are left behind the last row.
     */
    void DecodeData(CByteView zone, void* record) const;

    void Print(const void* record, CPrinter& printer) const;

private:
    const CFieldRow* begin() const { return first; }
    const CFieldRow* end() const { return last; }

    const char* name;
    const CFieldRow* first;
    const CFieldRow* last;
};

template <class Record>
struct CTSequenceContent {
    using Value = Record;

    static size_t GetEncodedDataLength(const Record& value) {
        return Record::kTable.GetEncodedDataLength(&value);
    }
    static void EncodeData(const Record& value, CMutableByteView zone) {
        Record::kTable.EncodeData(&value, zone);
    }
    static Record DecodeData(CByteView zone) {
        Record record;
        try {
            Record::kTable.DecodeData(zone, &record);
        } catch (...) {
            RERAISE();
        }
        return record;
    }
};

/** A record of fields. */
template <class Record>
struct CTSequenceType : CTTaggedType<CTSequenceContent<Record>, kSequenceTag> {
    static void Print(const Record& value, CPrinter& printer) {
        Record::kTable.Print(&value, printer);
    }
    static const char* GetTypeName() { return Record::kTable.GetName(); }
};

template <class Type>
struct CTSequenceOfContent {
    using Value = CTList<typename Type::Value>;

    static size_t GetEncodedDataLength(const Value& list) {
        size_t length = 0;
        for (const auto& element : list) {
            length += Type::GetEncodedLength(*element);
        }
        return length;
    }
    static void EncodeData(const Value& list, CMutableByteView zone) {
        size_t position = 0;
        for (const auto& element : list) {
            Type::Encode(*element, zone, position);
        }
    }
    static Value DecodeData(CByteView zone) {
        Value list;
        try {
            for (size_t position = 0; position < zone.GetSize();) {
                list.Append(Type::Decode(zone, position));
            }
        } catch (...) {
            RERAISE();
        }
        return list;
    }
};

/**
 * A list of elements of one type, with a tag of SEQUENCE, SET or a context's own.
 *
 * Kept: a set is written in the order of the list, not sorted as DER has it, so that what was read
 * and is written again keeps its bytes, and with them its signature.
 */
template <class Type, uint32_t tag = kSequenceTag>
struct CTSequenceOfType : CTTaggedType<CTSequenceOfContent<Type>, tag> {
    using Value = CTList<typename Type::Value>;

    static void Print(const Value& list, CPrinter& printer);

private:
    static const char* GetTitle();
};

template <class Type, uint32_t tag>
const char* CTSequenceOfType<Type, tag>::GetTitle() {
    // Never destroyed: a log may be printed while the process ends.
    static const CUTF8String& title =
        *new CUTF8String(CUTF8String("SequenceOf(") + Type::GetTypeName() + ")");
    return title.GetText();
}

template <class Type, uint32_t tag>
void CTSequenceOfType<Type, tag>::Print(const Value& list, CPrinter& printer) {
    if (!printer.IsJson()) {
        printer.Open(GetTitle());
        for (const auto& element : list) {
            Type::Print(*element, printer);
        }
        printer.Close();
        return;
    }
    printer.Emit("[");
    for (size_t index = 0; index < list.GetCount(); ++index) {
        if (index > 0) {
            printer.Emit(", ");
        }
        Type::Print(*list[index], printer);
    }
    printer.Emit("]");
}
