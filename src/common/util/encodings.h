/**
 * The four text encodings: how code points are read from storage units and written to them.
 *
 * Each encoding has the type `Unit`, a reader
 *
 *     char32_t Read(const Unit* units, size_t length, size_t& index)
 *
 * that decodes at `index`, moves it behind the sequence and gives kEndOfText at the end, and a
 * writer
 *
 *     size_t Write(char32_t codePoint, Unit* units)
 *
 * that stores up to kLongestSequence units and returns their number.
 */
#pragma once

#include <cstddef>
#include <cstdint>

// What every reader returns at the end; comparisons take it for less than any code point.
constexpr char32_t kEndOfText = 0xFFFFFFFF;

// What readers return for a malformed sequence. Writers of 8-bit text turn it into "?".
constexpr char32_t kMalformed = 0xFFFE;

constexpr size_t kLongestSequence = 4;

/** The length of a wide C string, which ends at zero or at a unit of all ones. */
inline size_t WideLength(const wchar_t* text) {
    size_t length = 0;
    while (text[length] != 0 && static_cast<char32_t>(text[length]) != kEndOfText) {
        ++length;
    }
    return length;
}

/** One byte a character, ISO 8859-1. What has no place in it becomes "?". */
struct CISOEncoding {
    using Unit = char;

    static char32_t Read(const char* units, size_t length, size_t& index) {
        return index < length ? static_cast<unsigned char>(units[index++]) : kEndOfText;
    }

    static size_t Write(char32_t codePoint, char* units) {
        *units = codePoint < 0x100 ? static_cast<char>(codePoint) : '?';
        return 1;
    }
};

/**
 * Sequences of one to four bytes (RFC 3629), read without a range check: overlong forms and values
 * above U+10FFFF come through.
 *
 * A lead byte takes its continuation bytes with it whether they are good or not; a sequence that
 * the end cuts off is the end.
 */
struct CUTF8Encoding {
    using Unit = char;

    static char32_t Read(const char* units, size_t length, size_t& index) {
        if (index >= length) {
            return kEndOfText;
        }
        const char32_t lead = reinterpret_cast<const unsigned char*>(units)[index];
        if (lead < 0x80) {
            ++index;
            return lead;
        }
        return ReadSequence(units, length, index, lead);
    }

    static size_t Write(char32_t codePoint, char* units) {
        if (codePoint < 0x80) {
            units[0] = static_cast<char>(codePoint);
            return 1;
        }
        if (codePoint < 0x800) {
            units[0] = static_cast<char>(0xC0 | codePoint >> 6);
            units[1] = Continuation(codePoint);
            return 2;
        }
        if ((codePoint & 0xFFFFF800) == 0xD800 || codePoint == kMalformed || codePoint > 0x1FFFFF) {
            units[0] = '?';
            return 1;
        }
        if (codePoint < 0x10000) {
            units[0] = static_cast<char>(0xE0 | codePoint >> 12);
            units[1] = Continuation(codePoint >> 6);
            units[2] = Continuation(codePoint);
            return 3;
        }
        units[0] = static_cast<char>(0xF0 | codePoint >> 18);
        units[1] = Continuation(codePoint >> 12);
        units[2] = Continuation(codePoint >> 6);
        units[3] = Continuation(codePoint);
        return 4;
    }

private:
    static char Continuation(char32_t bits) { return static_cast<char>(0x80 | (bits & 0x3F)); }

    static size_t Following(char32_t lead) {
        return lead < 0xC0 || lead > 0xF7 ? 0 : lead < 0xE0 ? 1 : lead < 0xF0 ? 2 : 3;
    }

    // The six bits of a continuation byte; more than 0x3F for any other byte.
    static char32_t Tail(char unit) { return static_cast<unsigned char>(unit) ^ 0x80u; }

    static char32_t Joined(char32_t codePoint, char32_t tails) {
        return tails <= 0x3F ? codePoint : kMalformed;
    }

    static char32_t ReadSequence(const char* units, size_t length, size_t& index, char32_t lead) {
        const size_t following = Following(lead);
        if (following == 0) {
            ++index;
            return kMalformed;
        }
        if (length - index <= following) {
            index = length;
            return kEndOfText;
        }
        const char32_t second = Tail(units[index + 1]);
        if (following == 1) {
            index += 2;
            return Joined((lead & 0x1F) << 6 | second, second);
        }
        const char32_t third = Tail(units[index + 2]);
        if (following == 2) {
            index += 3;
            return Joined((lead & 0x0F) << 12 | second << 6 | third, second | third);
        }
        const char32_t fourth = Tail(units[index + 3]);
        index += 4;
        return Joined((lead & 0x07) << 18 | second << 12 | third << 6 | fourth,
                      second | third | fourth);
    }
};

/** UTF-16 in units of 32 bits, the platform's wide character; a unit of all ones ends the text. */
struct CUTF16Encoding {
    using Unit = wchar_t;

    static char32_t Read(const wchar_t* units, size_t length, size_t& index) {
        if (index >= length) {
            return kEndOfText;
        }
        const auto unit = static_cast<char32_t>(units[index]);
        if (unit == kEndOfText) {
            index = length;
            return kEndOfText;
        }
        ++index;
        if (IsLowSurrogate(unit)) {
            return kMalformed;
        }
        return IsHighSurrogate(unit) ? ReadPair(unit, units, length, index) : unit;
    }

    static size_t Write(char32_t codePoint, wchar_t* units) {
        if (codePoint < 0x10000) {
            units[0] = static_cast<wchar_t>(codePoint);
            return 1;
        }
        if (codePoint > 0x10FFFF) {
            units[0] = L'?';
            return 1;
        }
        units[0] = static_cast<wchar_t>(0xD800 | (codePoint - 0x10000) >> 10);
        units[1] = static_cast<wchar_t>(0xDC00 | (codePoint & 0x3FF));
        return 2;
    }

    /** Decodes the code point that ends before `index`, which must not be 0, and moves to it. */
    static char32_t ReadBack(const wchar_t* units, size_t& index) {
        const auto unit = static_cast<char32_t>(units[--index]);
        if (IsHighSurrogate(unit)) {
            return kMalformed;
        }
        if (!IsLowSurrogate(unit)) {
            return unit;
        }
        if (index == 0 || !IsHighSurrogate(static_cast<char32_t>(units[index - 1]))) {
            return kMalformed;
        }
        return Combine(static_cast<char32_t>(units[--index]), unit);
    }

private:
    static bool IsHighSurrogate(char32_t unit) { return (unit & 0xFFFFFC00) == 0xD800; }
    static bool IsLowSurrogate(char32_t unit) { return (unit & 0xFFFFFC00) == 0xDC00; }

    static char32_t Combine(char32_t high, char32_t low) {
        return ((high & 0x3FF) << 10 | (low & 0x3FF)) + 0x10000;
    }

    static char32_t ReadPair(char32_t high, const wchar_t* units, size_t length, size_t& index) {
        if (index >= length || static_cast<char32_t>(units[index]) == kEndOfText) {
            index = length;
            return kEndOfText;
        }
        const auto low = static_cast<char32_t>(units[index++]);
        return IsLowSurrogate(low) ? Combine(high, low) : kMalformed;
    }
};

/** One unit of 32 bits a code point; a unit of all ones ends the text. */
struct CUTF32Encoding {
    using Unit = wchar_t;

    static char32_t Read(const wchar_t* units, size_t length, size_t& index) {
        if (index >= length || static_cast<char32_t>(units[index]) == kEndOfText) {
            index = length;
            return kEndOfText;
        }
        return static_cast<char32_t>(units[index++]);
    }

    static size_t Write(char32_t codePoint, wchar_t* units) {
        *units = static_cast<wchar_t>(codePoint);
        return 1;
    }
};
