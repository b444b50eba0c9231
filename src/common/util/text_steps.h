/**
 * Comparing and searching texts code point by code point, and by bytes where that is the same.
 */
#pragma once

#include "util/byte_search.h"
#include "util/encodings.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cwctype>
#include <type_traits>

/** Where a text was found, in storage units; kNotFound when it was not. */
struct CTextRange {
    static constexpr size_t kNotFound = SIZE_MAX;

    size_t first = kNotFound;
    size_t last = kNotFound;
};

namespace text_steps {

template <class Encoding>
constexpr bool kIsBytes = sizeof(typename Encoding::Unit) == 1;

/** The end sorts before every code point. */
inline int64_t Rank(char32_t codePoint) {
    return codePoint == kEndOfText ? -1 : static_cast<int64_t>(codePoint);
}

inline char32_t Same(char32_t codePoint) { return codePoint; }

inline char32_t Lower(char32_t codePoint) {
    return static_cast<char32_t>(towlower(static_cast<wint_t>(codePoint)));
}

inline char32_t Upper(char32_t codePoint) {
    return static_cast<char32_t>(towupper(static_cast<wint_t>(codePoint)));
}

/** Compares two texts that are equal before `start`, each code point mapped first. */
template <class Left, class Right, class Mapping>
int Compare(const typename Left::Unit* left, size_t leftLength, const typename Right::Unit* right,
            size_t rightLength, size_t start, Mapping map) {
    for (size_t leftIndex = start, rightIndex = start;;) {
        const char32_t a = map(Left::Read(left, leftLength, leftIndex));
        const char32_t b = map(Right::Read(right, rightLength, rightIndex));
        if (a != b) {
            return Rank(a) < Rank(b) ? -1 : 1;
        }
        if (a == kEndOfText) {
            return 0;
        }
    }
}

/** Where two texts of one encoding may begin to differ: a sequence starts there in both. */
template <class Encoding>
size_t SharedStart(const typename Encoding::Unit* left, const typename Encoding::Unit* right,
                   size_t length) {
    if constexpr (kIsBytes<Encoding>) {
        return SequenceStart(left, CommonPrefix(left, right, length));
    } else {
        return 0;
    }
}

/** The last place of a code point, reading forward. */
template <class Encoding>
size_t FindLast(const typename Encoding::Unit* units, size_t length, char32_t codePoint) {
    size_t last = CTextRange::kNotFound;
    for (size_t index = 0;;) {
        const size_t at = index;
        const char32_t read = Encoding::Read(units, length, index);
        if (read == kEndOfText) {
            return last;
        }
        last = read == codePoint ? at : last;
    }
}

/** The last place of a code point in UTF-16, reading backward from where readers end. */
inline size_t FindLastInUtf16(const wchar_t* units, size_t length, char32_t codePoint) {
    const wchar_t* const end = std::find(units, units + length, static_cast<wchar_t>(kEndOfText));
    for (auto index = static_cast<size_t>(end - units); index > 0;) {
        if (CUTF16Encoding::ReadBack(units, index) == codePoint) {
            return index;
        }
    }
    return CTextRange::kNotFound;
}

/** Where the text at `index` has gone on as `wanted` does from `rest` to its end, or kNotFound. */
template <class Encoding>
size_t MatchEnd(const typename Encoding::Unit* units, size_t length, size_t index,
                const typename Encoding::Unit* wanted, size_t wantedLength, size_t rest) {
    for (;;) {
        const size_t matched = index;
        const char32_t expected = Encoding::Read(wanted, wantedLength, rest);
        if (expected == kEndOfText) {
            return matched;
        }
        if (Encoding::Read(units, length, index) != expected) {
            return CTextRange::kNotFound;
        }
    }
}

/** Finds a text by its code points; on a mismatch it goes on one code point after the candidate. */
template <class Encoding>
CTextRange FindCodePoints(const typename Encoding::Unit* units, size_t length, size_t from,
                          const typename Encoding::Unit* wanted, size_t wantedLength) {
    size_t rest = 0;
    const char32_t head = Encoding::Read(wanted, wantedLength, rest);
    for (size_t index = from;;) {
        const size_t candidate = index;
        const char32_t read = Encoding::Read(units, length, index);
        if (read == kEndOfText) {
            return {};
        }
        if (read == head) {
            const size_t end = MatchEnd<Encoding>(units, length, index, wanted, wantedLength, rest);
            if (end != CTextRange::kNotFound) {
                return {candidate, end};
            }
        }
    }
}

/**
 * Finds an 8-bit text by its bytes and says whether that is the answer: it is when each byte is a
 * character, and when what is wanted and all before it is ASCII.
 */
template <class Encoding>
bool FindAsBytes(const char* text, size_t length, size_t from, const char* wanted,
                 size_t wantedLength, CTextRange& range) {
    constexpr bool kByteIsCharacter = std::is_same_v<Encoding, CISOEncoding>;
    if (!kByteIsCharacter && !IsAscii(wanted, wantedLength)) {
        return false;
    }
    const char* const found = FindBytes(text + from, length - from, wanted, wantedLength);
    const size_t first = found != nullptr ? static_cast<size_t>(found - text) : length;
    if (!kByteIsCharacter && !IsAscii(text + from, first - from)) {
        return false;
    }
    range = found != nullptr ? CTextRange{first, first + wantedLength} : CTextRange{};
    return true;
}

/** The first place of a text that is not empty, from an index on. */
template <class Encoding>
CTextRange FindText(const typename Encoding::Unit* units, size_t length, size_t from,
                    const typename Encoding::Unit* wanted, size_t wantedLength) {
    if constexpr (kIsBytes<Encoding>) {
        CTextRange range;
        if (FindAsBytes<Encoding>(units, length, from, wanted, wantedLength, range)) {
            return range;
        }
    }
    return FindCodePoints<Encoding>(units, length, from, wanted, wantedLength);
}

}  // namespace text_steps
