/**
 * Fast steps over 8-bit text that the code point rules of strings build on.
 */
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>

/** Eight bytes from any address, in the machine's order. */
inline uint64_t LoadWord(const char* bytes) {
    uint64_t word = 0;
    std::memcpy(&word, bytes, sizeof(word));
    return word;
}

constexpr uint64_t kHighBits = 0x8080808080808080;

/** IsAscii for texts of any length. */
bool IsAsciiText(const char* text, size_t length) noexcept;

/** Whether no byte has its high bit set. */
inline bool IsAscii(const char* text, size_t length) noexcept {
    if (length - 8 <= 8) {
        return ((LoadWord(text) | LoadWord(text + length - 8)) & kHighBits) == 0;
    }
    return IsAsciiText(text, length);
}

/** The number of leading bytes that two texts share, at most `length`. */
size_t CommonPrefix(const char* left, const char* right, size_t length) noexcept;

/**
 * The largest index up to `index` that surely begins a UTF-8 sequence: no lead byte stands so close
 * before it that it could take bytes from there on with it.
 */
size_t SequenceStart(const char* text, size_t index) noexcept;

/** The first place of `wanted`, or null. Both are followed by a zero byte and may hold others. */
const char* FindBytes(const char* text, size_t length, const char* wanted,
                      size_t wantedLength) noexcept;
