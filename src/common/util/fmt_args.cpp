#include "util/fmt_args.h"

#include <algorithm>
#include <charconv>
#include <cstdio>
#include <cstring>
#include <iterator>

namespace {

// Beyond this, width and precision change nothing in the characters that come out.
constexpr int kLargestField = 128;

struct CIntegerSpec {
    char flags[8] = {};
    int width = 0;
    int precision = -1;
    unsigned bits = 32;
    char conversion = 0;

    bool IsSigned() const { return std::strchr("di", conversion) != nullptr; }
};

void ReadFlags(const char*& text, CIntegerSpec& spec) {
    size_t count = 0;
    for (; *text != 0 && std::strchr("-+ #0'", *text) != nullptr; ++text) {
        if (std::strchr(spec.flags, *text) == nullptr) {
            spec.flags[count++] = *text;
        }
    }
}

int ReadField(const char*& text) {
    int value = 0;
    for (; *text >= '0' && *text <= '9'; ++text) {
        value = std::min(value * 10 + (*text - '0'), kLargestField);
    }
    return value;
}

/** The bits of the type that a length modifier names, or 0 when there is none. */
unsigned ReadLengthModifier(const char*& text) {
    const char modifier = *text;
    if (modifier == 0 || std::strchr("hljzt", modifier) == nullptr) {
        return 0;
    }
    const bool isDoubled = *++text == modifier && (modifier == 'h' || modifier == 'l');
    text += isDoubled;
    return modifier != 'h' ? 64 : isDoubled ? 8 : 16;
}

/** False when the text is no conversion of an integer. */
bool ReadSpec(const char* text, CIntegerSpec& spec) {
    ReadFlags(text, spec);
    spec.width = ReadField(text);
    if (*text == '.') {
        spec.precision = ReadField(++text);
    }
    const unsigned bits = ReadLengthModifier(text);
    spec.bits = bits != 0 ? bits : spec.bits;
    spec.conversion = *text;
    const char* const known = bits != 0 ? "dioxXu" : "dioxXuc";
    return spec.conversion != 0 && std::strchr(known, spec.conversion) != nullptr && text[1] == 0;
}

/** Writes the printf format of a conversion: "%-*.*llX". */
void WriteFormat(const CIntegerSpec& spec, char* format) {
    *format++ = '%';
    format = stpcpy(stpcpy(format, spec.flags), spec.conversion == 'c' ? "*.*" : "*.*ll");
    *format++ = spec.conversion;
    *format = 0;
}

template <class Integer>
void WriteInteger(Integer value, const CIntegerSpec& spec, char* text, size_t limit) {
    char format[24];
    WriteFormat(spec, format);
    const auto bits = static_cast<uint64_t>(value) << (64 - spec.bits);
    if (spec.conversion == 'c') {
        std::snprintf(text, limit, format, spec.width, spec.precision, static_cast<int>(value));
    } else if (spec.IsSigned()) {
        std::snprintf(text, limit, format, spec.width, spec.precision,
                      static_cast<long long>(static_cast<int64_t>(bits) >> (64 - spec.bits)));
    } else {
        std::snprintf(text, limit, format, spec.width, spec.precision,
                      static_cast<unsigned long long>(bits >> (64 - spec.bits)));
    }
}

}  // namespace

template <class Encoding, class Integer>
auto CTIntFmtArg<Encoding, Integer>::GetText() const -> Text {
    char digits[24];
    const auto end = std::to_chars(std::begin(digits), std::end(digits), value).ptr;
    return Text(digits, end - digits);
}

template <class Encoding, class Integer>
auto CTIntFmtArg<Encoding, Integer>::GetText(const Text& spec) const -> Text {
    CIntegerSpec integerSpec;
    if (!ReadSpec(spec.GetText(), integerSpec)) {
        return {};
    }
    // Kept: 38 characters come out at most. Texts of modules are cut there.
    char text[40];
    WriteInteger(value, integerSpec, text, sizeof(text) - 1);
    return integerSpec.conversion == 'c' ? Text(CISOString(text, -1)) : Text(text, -1);
}

template class CTIntFmtArg<CISOEncoding, int>;
template class CTIntFmtArg<CUTF8Encoding, int>;
template class CTIntFmtArg<CISOEncoding, unsigned long>;
