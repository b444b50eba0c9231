/**
 * The parts of a JSON text that hold no others: white space, strings, keys and numbers. Each reader
 * moves the cursor behind what it has taken.
 */
#pragma once

#include "util/js_value.h"

#include <cstddef>
#include <cstring>
#include <string_view>

/** A stretch of text and how far it has been read; the cursor is never behind the end. */
struct CJSText {
    const char*& cursor;
    const char* const end;
    CTZone<char, false> unescaped = {};  // the last string with escapes

    bool AtEnd() const noexcept { return cursor >= end; }
    size_t GetLeft() const noexcept { return static_cast<size_t>(end - cursor); }
    void SkipAll() noexcept { cursor = end; }

    /** The character at the cursor, or zero at the end. */
    char Peek() const noexcept { return AtEnd() ? '\0' : *cursor; }

    /** Steps over a character if it comes next. */
    bool Take(char character) noexcept {
        const bool found = !AtEnd() && *cursor == character;
        cursor += found;
        return found;
    }

    /** Steps over a word if it comes next, whatever follows it. */
    template <size_t size>
    bool TakeWord(const char (&word)[size]) noexcept {
        const bool found = GetLeft() >= size - 1 && std::memcmp(cursor, word, size - 1) == 0;
        cursor += found ? size - 1 : 0;
        return found;
    }
};

/** A string of these units as they are. */
template <class String>
String TextOf(std::string_view units) {
    return String(units.data(), static_cast<ptrdiff_t>(units.size()));
}

inline bool IsJSDigit(char character) { return character >= '0' && character <= '9'; }

/** Skips ASCII white space; bytes from 0x80 on are none. */
inline void SkipJSBlanks(CJSText& text) {
    while (!text.AtEnd() &&
           (*text.cursor == ' ' || (*text.cursor >= '\t' && *text.cursor <= '\r'))) {
        ++text.cursor;
    }
}

/**
 * Reads a string from its opening quote to its closing one; the units stay until the next call.
 *
 * False when a line feed or the end comes first, or the end right behind a backslash. An escape of
 * hexadecimal digits that the end cuts short takes the whole text and makes the string empty.
 */
bool ReadJSString(CJSText& text, std::string_view& units);

/** Reads a key: a string, or an identifier. False when neither is there. */
bool ReadJSKey(CJSText& text, CISOString& key);

/** Reads a number, which begins with a digit. */
CJSValuePtr ReadJSNumber(CJSText& text, CJSPool& pool);
