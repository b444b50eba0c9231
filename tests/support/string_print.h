/**
 * How failed checks print our strings and zones, and texts of the standard library made from them.
 */
#pragma once

#include "util/ct_string.h"
#include "util/ct_zone.h"

#include <gtest/gtest.h>

#include <iomanip>
#include <ostream>
#include <string>

/** The storage as a standard string, inner zero units and all. */
template <class Encoding, bool Secure>
auto ToStd(const CTString<Encoding, Secure>& text) {
    return std::basic_string<typename Encoding::Unit>(text.GetText(), text.GetLength());
}

/** The units as a standard string's, and whether the string is null. */
template <class Encoding, bool Secure>
void PrintTo(const CTString<Encoding, Secure>& text, std::ostream* out) {
    *out << testing::PrintToString(ToStd(text)) << (text.IsEmpty() ? " (null)" : "");
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
