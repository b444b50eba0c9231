/**
 * The four encodings and what strings do over them, held against plain arrays of code points.
 *
 * The first byte says where the input parts into a text and what is searched in it.
 */
#include "util/ct_string.h"
#include "util/string_list.h"

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

namespace {

void Expect(bool holds) {
    if (!holds) {
        std::abort();
    }
}

template <class String>
std::u32string CodePoints(const String& text) {
    std::u32string read;
    auto at = text.Begin();
    for (char32_t codePoint; (codePoint = text.Next(at)) != kEndOfText;) {
        read += codePoint;
    }
    return read;
}

template <class String>
String Encoded(const std::u32string& codePoints) {
    String text;
    for (const char32_t codePoint : codePoints) {
        text.Append(codePoint);
    }
    return text;
}

// Units from raw bytes; trailing bytes that fill no unit are left out.
template <class String>
String FromBytes(const uint8_t* data, size_t size) {
    std::vector<typename String::Unit> units(size / sizeof(typename String::Unit));
    if (!units.empty()) {
        std::memcpy(units.data(), data, units.size() * sizeof(typename String::Unit));
    }
    return String(units.data(), static_cast<ptrdiff_t>(units.size()));
}

template <class String>
void CheckSearches(const String& text, const String& wanted) {
    const std::u32string all = CodePoints(text);
    const std::u32string part = CodePoints(wanted);
    const auto found = text.Find(wanted);
    const size_t index = part.empty() ? std::u32string::npos : all.find(part);
    Expect(found.IsNull() == (index == std::u32string::npos));
    Expect(found.IsNull() || text.Left(found).GetCharCount() == index);
    const int order = text.Compare(wanted);
    const int expected = all.compare(part);
    Expect((order < 0) == (expected < 0) && (order > 0) == (expected > 0));
    Expect(wanted.Compare(text) == -order);
    size_t pieces = 1;
    for (size_t at = index; at != std::u32string::npos; at = all.find(part, at + part.size())) {
        ++pieces;
    }
    Expect(text.Split(wanted).GetCount() == pieces);
}

template <class String>
void Check(const uint8_t* data, size_t size, size_t cut) {
    const String text = FromBytes<String>(data, cut);
    const String wanted = FromBytes<String>(data + cut, size - cut);
    CheckSearches(text, wanted);
    Expect(text.GetCharCount() == CodePoints(text).size());
    // Once written, a text reads as it was written.
    const std::u32string kept = CodePoints(Encoded<String>(CodePoints(text)));
    Expect(CodePoints(Encoded<String>(kept)) == kept);
    // A C string is UTF-8 up to its first zero, whatever the encoding.
    const std::string bytes(reinterpret_cast<const char*>(data), cut);
    const CUTF8String raw(bytes.c_str(), -1);
    Expect(String(bytes.c_str()) == Encoded<String>(CodePoints(raw)));
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    if (size == 0) {
        return 0;
    }
    const size_t cut = data[0] % size;
    Check<CTString<CISOEncoding, false>>(data + 1, size - 1, cut);
    Check<CTString<CUTF8Encoding, true>>(data + 1, size - 1, cut);
    Check<CTString<CUTF16Encoding, false>>(data + 1, size - 1, cut);
    Check<CTString<CUTF32Encoding, false>>(data + 1, size - 1, cut);
    return 0;
}
