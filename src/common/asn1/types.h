/**
 * The types that ASN.1 records are made of. Records themselves and lists are in sequence.h.
 *
 * A type is a struct that is never made: its `Value` is what memory holds, its static operations
 * are the columns of a row of field_row.h.
 *
 * - MatchesTag tells whether a tag begins an item of the type.
 * - GetEncodedLength gives the size of the whole item, which Encode writes and Decode reads at a
 *   position that they move behind it.
 * - Print writes the value to a printer.
 *
 * Those with one tag of their own have the operations of primitives.h, on the content alone, too.
 *
 * An item of the wrong tag is EASN1InconsistentData, "Inconsistent ASN.1 data: wrong tag", one that
 * is longer than its zone is EASN1InvalidData without a text, and an output that is too short is
 * EASN1BufferTooSmall without a text. What the codec below throws passes through. Positions after a
 * failure say nothing.
 */
#pragma once

#include "asn1/object_identifier.h"
#include "asn1/primitives.h"
#include "asn1/printer.h"
#include "asn1/tag.h"
#include "asn1/zone_view.h"
#include "util/ct_string.h"

#include <cstddef>
#include <cstdint>
#include <memory>

constexpr uint32_t kIntegerTag = 0x02;
constexpr uint32_t kOctetStringTag = 0x04;
constexpr uint32_t kObjectIdentifierTag = 0x06;
constexpr uint32_t kUTF8StringTag = 0x0C;
constexpr uint32_t kSequenceTag = MakeConstructedTag(0x10);
constexpr uint32_t kSetTag = MakeConstructedTag(0x11);
constexpr uint32_t kContext0Tag = MakeConstructedTag(0x80);
constexpr uint32_t kContext1Tag = MakeConstructedTag(0x81);

/** Tag and length in front of a content whose size is known. */
struct CTlvHeader {
    static size_t GetEncodedLength(uint32_t tag, size_t contentLength) {
        return GetTagSize(tag) + GetLengthSize(contentLength) + contentLength;
    }

    /** Writes the header and gives the part of the zone where the content belongs. */
    static CMutableByteView Encode(uint32_t tag, size_t contentLength, CMutableByteView zone,
                                   size_t& position);

    /** Gives the content of the item at the position, which moves behind the item. */
    static CByteView Decode(uint32_t tag, CByteView zone, size_t& position);
};

/** The operations on whole items, from those on a content and a tag of one's own. */
template <class Content, uint32_t tag>
struct CTTaggedType : Content {
    using Value = typename Content::Value;

    static constexpr bool MatchesTag(uint32_t found) { return found == tag; }

    static size_t GetEncodedLength(const Value& value) {
        return CTlvHeader::GetEncodedLength(tag, Content::GetEncodedDataLength(value));
    }

    static void Encode(const Value& value, CMutableByteView zone, size_t& position) {
        const size_t length = Content::GetEncodedDataLength(value);
        const CMutableByteView content = CTlvHeader::Encode(tag, length, zone, position);
        Content::EncodeData(value, content);
        position += length;
    }

    static std::unique_ptr<Value> Decode(CByteView zone, size_t& position) {
        return std::make_unique<Value>(
            Content::DecodeData(CTlvHeader::Decode(tag, zone, position)));
    }
};

/** Text as UTF-8, taken and given byte by byte whether it is well-formed or not. */
struct CUTF8StringContent {
    using Value = CUTF8String;

    static size_t GetEncodedDataLength(const CUTF8String& value);
    static void EncodeData(const CUTF8String& value, CMutableByteView zone);
    static CUTF8String DecodeData(CByteView zone);
};

struct CIntegerType : CTTaggedType<CIntegerContent, kIntegerTag> {
    static void Print(int32_t value, CPrinter& printer);
};

struct CObjectIdentifierType : CTTaggedType<CObjectIdentifierContent, kObjectIdentifierTag> {
    static void Print(const CObjectIdentifier& value, CPrinter& printer);
};

struct COctetStringType : CTTaggedType<COctetStringContent, kOctetStringTag> {
    static void Print(const CByteZone& value, CPrinter& printer);
};

struct CUTF8StringType : CTTaggedType<CUTF8StringContent, kUTF8StringTag> {
    static void Print(const CUTF8String& value, CPrinter& printer);
};

/** What a wrapper holds: a whole item of a type. */
template <class Type>
struct CTExplicitContent {
    using Value = typename Type::Value;

    static size_t GetEncodedDataLength(const Value& value) { return Type::GetEncodedLength(value); }
    static void EncodeData(const Value& value, CMutableByteView zone) {
        size_t position = 0;
        Type::Encode(value, zone, position);
    }
};

/**
 * A type in a wrapper with a tag of its own.
 *
 * Kept: bytes in the wrapper behind the item are passed over. Documents that have them would be
 * refused otherwise.
 */
template <class Type, uint32_t tag>
struct CTExplicitType : CTTaggedType<CTExplicitContent<Type>, tag> {
    static std::unique_ptr<typename Type::Value> Decode(CByteView zone, size_t& position) {
        size_t inside = 0;
        return Type::Decode(CTlvHeader::Decode(tag, zone, position), inside);
    }

    static void Print(const typename Type::Value& value, CPrinter& printer) {
        Type::Print(value, printer);
    }
};

/**
 * An item of any tag, kept as the bytes of the whole item, so that encoding gives back what was
 * read, headers that are not the shortest included.
 */
struct CAnyType {
    using Value = CByteZone;

    static constexpr bool MatchesTag(uint32_t) { return true; }
    static size_t GetEncodedLength(const CByteZone& value) { return value.GetSize(); }

    /** Bytes that are not one item and nothing else are EASN1InvalidData without a text. */
    static void Encode(const CByteZone& value, CMutableByteView zone, size_t& position);

    /** An item that is longer than its zone is EASN1InvalidData, "Truncated TLV data". */
    static std::unique_ptr<CByteZone> Decode(CByteView zone, size_t& position);

    static void Print(const CByteZone& value, CPrinter& printer);
    static const char* GetTypeName() { return "Any"; }
};
