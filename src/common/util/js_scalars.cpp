#include "util/js_scalars.h"

#include "util/byte_search.h"

#include <endian.h>

#include <algorithm>
#include <charconv>
#include <cstring>
#include <limits>
#include <system_error>

namespace {

constexpr uint64_t kOnes = 0x0101010101010101;

/** Marks the first byte of a word that is `character`; marks behind it mean nothing. */
uint64_t MarkFirst(uint64_t word, char character) {
    const uint64_t different = word ^ kOnes * static_cast<unsigned char>(character);
    return (different - kOnes) & ~different & kHighBits;
}

/** The first quote, backslash or line feed, or the end. */
const char* FindSpecial(const char* at, const char* end) {
    for (; end - at >= 8; at += 8) {
        const uint64_t word = le64toh(LoadWord(at));
        const uint64_t marks = MarkFirst(word, '"') | MarkFirst(word, '\\') | MarkFirst(word, '\n');
        if (marks != 0) {
            return at + __builtin_ctzll(marks) / 8;
        }
    }
    while (at != end && *at != '"' && *at != '\\' && *at != '\n') {
        ++at;
    }
    return at;
}

bool IsHexDigit(char character) {
    const char lower = static_cast<char>(character | 0x20);
    return IsJSDigit(character) || (lower >= 'a' && lower <= 'f');
}

/** The characters that stand for another one behind a backslash, and which. */
struct CEscape {
    char name;
    char character;
};

constexpr CEscape kEscapes[] = {
    {'"', '"'},  {'\'', '\''}, {'\\', '\\'}, {'/', '/'},  {'b', '\b'},
    {'f', '\f'}, {'n', '\n'},  {'r', '\r'},  {'t', '\t'}, {'v', '\v'},
};

/** Up to three octal digits. */
char32_t ReadOctal(CJSText& text) {
    char32_t codePoint = 0;
    for (int count = 0; count < 3 && text.Peek() >= '0' && text.Peek() <= '7'; ++count) {
        codePoint = codePoint << 3 | static_cast<char32_t>(*text.cursor++ - '0');
    }
    return codePoint;
}

/** The digits of an escape of hexadecimal digits, or 0. */
size_t CountHexDigits(char name) { return name == 'x' ? 2 : name == 'u' ? 4 : 0; }

void AppendCodePoint(CJSText& text, char32_t codePoint) {
    char units[kLongestSequence];
    text.unescaped.Append(units, CUTF8Encoding::Write(codePoint, units));
}

/** A code point from so many hexadecimal digits; without them nothing comes of the characters. */
void ReadHexEscape(CJSText& text, size_t digits) {
    const char* const first = std::exchange(text.cursor, text.cursor + digits);
    uint32_t codePoint = 0;
    if (std::from_chars(first, text.cursor, codePoint, 16).ptr == text.cursor) {
        AppendCodePoint(text, codePoint);
    }
}

/** Reads what stands behind a backslash. What is unknown is left out. */
void ReadEscape(CJSText& text) {
    if (*text.cursor >= '0' && *text.cursor <= '7') {
        AppendCodePoint(text, ReadOctal(text));
        return;
    }
    const char name = *text.cursor++;
    if (CountHexDigits(name) > 0) {
        ReadHexEscape(text, CountHexDigits(name));
    } else if (name == '\n' || name == '\r') {
        text.Take(name == '\n' ? '\r' : '\n');
    }
    for (const CEscape& escape : kEscapes) {
        if (escape.name == name) {
            text.unescaped.Append(escape.character);
        }
    }
}

/** Takes a string up to its next quote, backslash, line feed or end. */
std::string_view ReadPlain(CJSText& text) {
    const char* const first = std::exchange(text.cursor, FindSpecial(text.cursor, text.end));
    return {first, static_cast<size_t>(text.cursor - first)};
}

/** Reads the rest of a string that begins with these units and goes on with an escape. */
bool ReadUnescaped(CJSText& text, std::string_view units) {
    text.unescaped.Resize(0);
    text.unescaped.Append(units.data(), units.size());
    while (!text.Take('"')) {
        if (!text.Take('\\') || text.AtEnd()) {
            return false;
        }
        if (text.GetLeft() <= CountHexDigits(*text.cursor)) {
            text.SkipAll();
            text.unescaped.Resize(0);
            return true;
        }
        ReadEscape(text);
        units = ReadPlain(text);
        text.unescaped.Append(units.data(), units.size());
    }
    return true;
}

bool IsNameStart(char character) {
    const char lower = static_cast<char>(character | 0x20);
    return (lower >= 'a' && lower <= 'z') || character == '$' || character == '_';
}

/** What strtod gives for a number that is no double: infinity, or zero when it is below one. */
double OutOfRange(const char* first, const char* last) {
    const char* const digit = std::find_if(first, last, [](char at) { return at != '0'; });
    const bool isAboveOne = digit != last && IsJSDigit(*digit);
    return isAboveOne ? std::numeric_limits<double>::infinity() : 0.0;
}

/** Reads a double up to its second point, if there is one. */
double ToDouble(const char* first, const char* last) {
    double value = 0;
    const auto [end, error] = std::from_chars(first, last, value, std::chars_format::fixed);
    return error == std::errc::result_out_of_range ? OutOfRange(first, last) : value;
}

/** The low 32 bits; a number of more than 64 has them all set. */
int32_t ToInteger(const char* first, const char* last, int base) {
    uint64_t value = 0;
    if (std::from_chars(first, last, value, base).ec == std::errc::result_out_of_range) {
        value = UINT64_MAX;
    }
    return static_cast<int32_t>(static_cast<uint32_t>(value));
}

}  // namespace

bool ReadJSString(CJSText& text, std::string_view& units) {
    ++text.cursor;
    units = ReadPlain(text);
    if (text.Take('"')) {
        return true;
    }
    const bool read = ReadUnescaped(text, units);
    units = {text.unescaped.GetData(), text.unescaped.GetSize()};
    return read;
}

bool ReadJSKey(CJSText& text, CISOString& key) {
    const char* const first = text.cursor;
    if (*first == '"') {
        std::string_view units;
        const bool read = ReadJSString(text, units);
        key = TextOf<CISOString>(units);
        if (!IsAscii(units.data(), units.size())) {
            key = CISOString(TextOf<CUTF8String>(units));
        }
        return read;
    }
    if (!IsNameStart(*first)) {
        return false;
    }
    while (IsNameStart(text.Peek()) || IsJSDigit(text.Peek())) {
        ++text.cursor;
    }
    key = TextOf<CISOString>({first, static_cast<size_t>(text.cursor - first)});
    return true;
}

CJSValuePtr ReadJSNumber(CJSText& text, CJSPool& pool) {
    const bool isHex = text.TakeWord("0x");
    const char* const first = text.cursor;
    bool isDouble = false;
    for (; !text.AtEnd(); ++text.cursor) {
        const bool isPoint = !isHex && *text.cursor == '.';
        isDouble |= isPoint;
        if (!isPoint && !(isHex ? IsHexDigit(*text.cursor) : IsJSDigit(*text.cursor))) {
            break;
        }
    }
    if (isDouble) {
        return CJSValuePtr(new (pool) CJSDouble(ToDouble(first, text.cursor)));
    }
    return CJSValuePtr(new (pool) CJSInteger(ToInteger(first, text.cursor, isHex ? 16 : 10)));
}
