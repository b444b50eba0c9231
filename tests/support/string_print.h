/**
 * How failed checks print our strings and zones, and texts of the standard library made from them.
 */
#pragma once

#include "util/ct_string.h"
#include "util/ct_zone.h"

#include <iomanip>
#include <ostream>
#include <string>

/** The storage as a standard string, inner zero units and all. */
template <class Encoding, bool Secure>
auto ToStd(const CTString<Encoding, Secure>& text) {
    return std::basic_string<typename Encoding::Unit>(text.GetText(), text.GetLength());
}

/** The text in quotes; what is not printable ASCII stands as a code point in braces. */
template <class Encoding, bool Secure>
void PrintTo(const CTString<Encoding, Secure>& text, std::ostream* out) {
    *out << (text.IsEmpty() ? "(null)" : "\"");
    auto at = text.Begin();
    for (char32_t read; (read = text.Next(at)) != kEndOfText;) {
        if (read >= 0x20 && read < 0x7F) {
            *out << static_cast<char>(read);
        } else {
            *out << "{U+" << std::hex << std::uppercase << static_cast<uint32_t>(read) << '}';
        }
    }
    *out << std::dec << (text.IsEmpty() ? "" : "\"");
}

/** The size and the elements in hexadecimal. */
template <class Element, bool Secure>
void PrintTo(const CTZone<Element, Secure>& zone, std::ostream* out) {
    *out << zone.GetSize() << " elements:" << std::hex << std::setfill('0');
    for (const Element element : zone) {
        *out << ' ' << std::setw(2 * sizeof(Element)) << static_cast<uint64_t>(element);
    }
    *out << std::dec << std::setfill(' ');
}
