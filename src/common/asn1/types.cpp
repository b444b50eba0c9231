#include "asn1/types.h"

#include "asn1/asn1_errors.h"
#include "util/hex.h"
#include "util/raise.h"

#include <algorithm>
#include <cstdio>

namespace {

/** A value that is a line behind its type's name for people, and bare JSON for programs. */
void PrintLine(CPrinter& printer, const char* typeName, const CUTF8String& value) {
    if (!printer.IsJson()) {
        printer.Emit(CUTF8String(typeName) + " ");
    }
    printer.Emit(value);
    if (!printer.IsJson()) {
        printer.Emit("\n");
    }
}

CUTF8String InQuotes(const CUTF8String& value) { return CUTF8String("\"") + value + "\""; }

CUTF8String ToDecimal(int32_t value) {
    const auto bits = static_cast<uint32_t>(value);
    return value < 0 ? CUTF8String("-") + CUTF8String::FromUInt(-bits)
                     : CUTF8String::FromUInt(bits);
}

CUTF8String ToDotted(const CObjectIdentifier& arcs) {
    CUTF8String dotted;
    for (const uint32_t arc : arcs) {
        dotted.Append(dotted.IsEmpty() ? "" : ".").Append(CUTF8String::FromUInt(arc));
    }
    return dotted;
}

CUTF8String ToLatin1(const CUTF8String& value) {
    CUTF8String text;
    auto next = value.Begin();
    for (char32_t codePoint; (codePoint = value.Next(next)) != kEndOfText;) {
        text.Append(codePoint > 0xFF ? U'?' : codePoint);
    }
    return text;
}

CUTF8String JsonEscape(char32_t codePoint) {
    char escape[sizeof "\\uFFFF"];
    std::snprintf(escape, sizeof escape, "\\u%04X", static_cast<unsigned>(codePoint & 0xFFFF));
    return escape;
}

CUTF8String ToJson(const CUTF8String& value) {
    // Kept: 0x7F stands as it is, and of code points above 0xFFFF the low 16 bits are escaped.
    CUTF8String text;
    auto next = value.Begin();
    for (char32_t codePoint; (codePoint = value.Next(next)) != kEndOfText;) {
        if (codePoint < 0x20 || codePoint > 0x7F) {
            text.Append(JsonEscape(codePoint));
        } else {
            text.Append(codePoint == U'"' || codePoint == U'\\' ? "\\" : "").Append(codePoint);
        }
    }
    return text;
}

}  // namespace

CMutableByteView CTlvHeader::Encode(uint32_t tag, size_t contentLength, CMutableByteView zone,
                                    size_t& position) {
    // Nearly all headers have two octets.
    if (tag < 0x100 && contentLength < 0x80 && zone.Holds(position, contentLength + 2)) {
        zone[position++] = static_cast<unsigned char>(tag);
        zone[position++] = static_cast<unsigned char>(contentLength);
        return zone.Sub(position, contentLength);
    }
    EncodeTag(tag, zone, position);
    EncodeLength(contentLength, zone, position);
    if (!zone.Holds(position, contentLength)) {
        RAISE(EASN1BufferTooSmall());
    }
    return zone.Sub(position, contentLength);
}

CByteView CTlvHeader::Decode(uint32_t tag, CByteView zone, size_t& position) {
    if (DecodeTag(zone, position) != tag) {
        RAISE(EASN1InconsistentData("Inconsistent ASN.1 data: wrong tag"));
    }
    const size_t length = DecodeLength(zone, position);
    if (!zone.Holds(position, length)) {
        RAISE(EASN1InvalidData());
    }
    const CByteView content = zone.Sub(position, length);
    position += length;
    return content;
}

size_t CUTF8StringContent::GetEncodedDataLength(const CUTF8String& value) {
    return value.GetLength();
}

void CUTF8StringContent::EncodeData(const CUTF8String& value, CMutableByteView zone) {
    if (zone.GetSize() < value.GetLength()) {
        RAISE(EASN1BufferTooSmall());
    }
    std::copy_n(value.GetText(), value.GetLength(), zone.GetData());
}

CUTF8String CUTF8StringContent::DecodeData(CByteView zone) {
    return {reinterpret_cast<const char*>(zone.GetData()), static_cast<ptrdiff_t>(zone.GetSize())};
}

void CIntegerType::Print(int32_t value, CPrinter& printer) {
    PrintLine(printer, "Integer", ToDecimal(value));
}

void CObjectIdentifierType::Print(const CObjectIdentifier& value, CPrinter& printer) {
    const CUTF8String dotted = ToDotted(value);
    PrintLine(printer, "ObjectIdentifier", printer.IsJson() ? InQuotes(dotted) : dotted);
}

void COctetStringType::Print(const CByteZone& value, CPrinter& printer) {
    const CUTF8String digits = ToHex(value);
    PrintLine(printer, "OctetString",
              printer.IsJson() ? InQuotes(digits) : CUTF8String("0x") + digits);
}

void CUTF8StringType::Print(const CUTF8String& value, CPrinter& printer) {
    PrintLine(printer, "UTF8String", InQuotes(printer.IsJson() ? ToJson(value) : ToLatin1(value)));
}

void CAnyType::Encode(const CByteZone& value, CMutableByteView zone, size_t& position) {
    size_t content = 0;
    DecodeTag(value, content);
    if (DecodeLength(value, content) != value.GetSize() - content) {
        RAISE(EASN1InvalidData());
    }
    if (!zone.Holds(position, value.GetSize())) {
        RAISE(EASN1BufferTooSmall());
    }
    std::copy(value.begin(), value.end(), zone.begin() + position);
    position += value.GetSize();
}

std::unique_ptr<CByteZone> CAnyType::Decode(CByteView zone, size_t& position) {
    const size_t first = position;
    DecodeTag(zone, position);
    const size_t length = DecodeLength(zone, position);
    if (!zone.Holds(position, length)) {
        RAISE(EASN1InvalidData("Truncated TLV data"));
    }
    position += length;
    return std::make_unique<CByteZone>(zone.Sub(first, position - first).ToZone());
}

void CAnyType::Print(const CByteZone& value, CPrinter& printer) {
    const CUTF8String digits = ToHex(value);
    PrintLine(printer, "Any", printer.IsJson() ? InQuotes(digits) : digits);
}
