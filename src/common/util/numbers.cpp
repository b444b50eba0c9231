#include "util/numbers.h"

#include "util/raise.h"

#include <limits>
#include <stdexcept>

namespace {

/** Null, or the sentence of the failure. */
template <class Integer, class String>
const char* ParseDecimal(const String& text, Integer& number) {
    constexpr Integer kLargest = std::numeric_limits<Integer>::max();
    auto position = text.Begin();
    char32_t character = text.Next(position);
    if (character == kEndOfText) {
        return "empty string don't contains integer!";
    }
    for (number = 0; character != kEndOfText; character = text.Next(position)) {
        if (character < '0' || character > '9') {
            return "invalid character in integer!";
        }
        const Integer digit = character - '0';
        if (number > kLargest / 10 || (number == kLargest / 10 && digit > kLargest % 10)) {
            return "too big integer!";
        }
        number = number * 10 + digit;
    }
    return nullptr;
}

}  // namespace

template <class Encoding, bool Secure>
uint32_t ToUInt(const CTString<Encoding, Secure>& text) {
    uint32_t number = 0;
    if (const char* const failure = ParseDecimal(text, number)) {
        RAISE(std::runtime_error(failure));
    }
    return number;
}

template <class Encoding, bool Secure>
uint64_t ToULong(const CTString<Encoding, Secure>& text) {
    uint64_t number = 0;
    if (const char* const failure = ParseDecimal(text, number)) {
        RAISE(std::runtime_error(failure));
    }
    return number;
}

#define INSTANTIATE(encoding)                                    \
    template uint32_t ToUInt(const CTString<encoding, false>&);  \
    template uint32_t ToUInt(const CTString<encoding, true>&);   \
    template uint64_t ToULong(const CTString<encoding, false>&); \
    template uint64_t ToULong(const CTString<encoding, true>&)

INSTANTIATE(CISOEncoding);
INSTANTIATE(CUTF8Encoding);
INSTANTIATE(CUTF16Encoding);
INSTANTIATE(CUTF32Encoding);
