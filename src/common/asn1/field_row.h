/**
 * One field of a sequence as a row of function pointers: what the walker of sequence.h knows of it.
 */
#pragma once

#include "asn1/printer.h"
#include "asn1/zone_view.h"

#include <cstddef>
#include <cstdint>
#include <memory>

/**
 * The operations of a field. All work on the record that holds it, as a pointer that owns the value
 * and is null when the field is absent; `encode` and `print` are for present fields only.
 */
struct CFieldRow {
    /** For the printers. */
    const char* name;

    /** Whether a record may do without the field. */
    bool optional;

    bool (*isPresent)(const void* record);

    /** Whether a tag that stands next in the input begins this field. */
    bool (*matchesTag)(uint32_t tag);

    /** The size of the whole item, tag, length and content; 0 when the field is absent. */
    size_t (*getEncodedLength)(const void* record);

    /** Writes the whole item at a position and moves the position behind it. */
    void (*encode)(const void* record, CMutableByteView zone, size_t& position);

    /** Reads the whole item at a position into the record and moves the position behind it. */
    void (*decode)(CByteView zone, size_t& position, void* record);

    void (*print)(const void* record, CPrinter& printer);
};

/** The functions of the row for one member of a record and one of the types of types.h. */
template <auto member, class Type>
struct CTFieldOperations {
    using Field = std::unique_ptr<typename Type::Value>;
    template <class Class>
    static Class RecordOf(Field Class::*);
    using Record = decltype(RecordOf(member));

    static const Field& In(const void* record) {
        return static_cast<const Record*>(record)->*member;
    }

    static bool IsPresent(const void* record) { return In(record) != nullptr; }
    static size_t GetEncodedLength(const void* record) {
        return IsPresent(record) ? Type::GetEncodedLength(*In(record)) : 0;
    }
    static void Encode(const void* record, CMutableByteView zone, size_t& position) {
        Type::Encode(*In(record), zone, position);
    }
    static void Decode(CByteView zone, size_t& position, void* record) {
        static_cast<Record*>(record)->*member = Type::Decode(zone, position);
    }
    static void Print(const void* record, CPrinter& printer) { Type::Print(*In(record), printer); }

    static constexpr CFieldRow MakeRow(const char* name, bool optional) {
        return {name,   optional, IsPresent, Type::MatchesTag, GetEncodedLength,
                Encode, Decode,   Print};
    }
};

/**
 * The row of a field that every record has, or of one that a record may lack, from the record, the
 * member after which the field is named, and the type.
 */
#define MANDATORY_FIELD(Record, member, ...) \
    CTFieldOperations<&Record::member, __VA_ARGS__>::MakeRow(#member, false)
#define OPTIONAL_FIELD(Record, member, ...) \
    CTFieldOperations<&Record::member, __VA_ARGS__>::MakeRow(#member, true)
