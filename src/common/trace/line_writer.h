/**
 * The raw writer of the log: gathers the bytes of one call and writes them at once.
 */
#pragma once

#include "util/ct_zone.h"

#include <cstdarg>
#include <cstddef>
#include <cstdint>
#include <cstring>

/**
 * A buffer of text for one file descriptor. Not locked: whoever writes holds the log's lock.
 *
 * Nothing is thrown. Text for which there is no memory is lost, together with the rest of what has
 * been gathered since the last flush, so that no half line reaches the file.
 */
class CLineWriter {
public:
    void Append(const char* text, size_t length) noexcept {
        if (char* const room = Extend(length)) {
            std::memcpy(room, text, length);
        }
    }
    void Append(const char* text) noexcept { Append(text, std::strlen(text)); }
    void Append(char character) noexcept { Append(&character, 1); }

    /** Appends a number in decimal, as "%d" does. */
    void AppendDecimal(int number) noexcept;

    /** Appends a number as "0x" and at least `digits` upper-case hexadecimal digits. */
    void AppendHexNumber(uint64_t number, int digits) noexcept;

    /** Appends two upper-case hexadecimal digits a byte. */
    void AppendHex(const unsigned char* bytes, size_t length) noexcept;

    /** Appends what printf makes of the format; of a failing conversion, what came before it. */
    void AppendFormat(const char* format, ...) noexcept __attribute__((format(printf, 2, 3)));
    void AppendFormat(const char* format, va_list arguments) noexcept
        __attribute__((format(printf, 2, 0)));

    /** Room for `length` bytes, which the caller fills; null when there is no memory. */
    char* Extend(size_t length) noexcept {
        const size_t size = gathered.GetSize();
        if (length > gathered.GetCapacity() - size && !Grow(length)) {
            return nullptr;
        }
        gathered.Resize(size + length);
        return gathered.GetData() + size;
    }

    /** What was gathered; ended by a zero byte only if one was appended. */
    const char* GetText() const noexcept { return gathered.GetData(); }

    /**
     * Writes all that was gathered, in one call of the system, and mirrors it; failures are
     * ignored.
     */
    void Flush(int file) noexcept;

    /** Forgets what was gathered. */
    void Discard() noexcept;

    /** Lets nothing of the present line come out: there was no memory for a part of it. */
    void Lose() noexcept { lost = true; }
    bool IsLost() const noexcept { return lost; }

private:
    bool Grow(size_t length) noexcept;

    CTZone<char, false> gathered;
    bool lost = false;
};
