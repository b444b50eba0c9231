/**
 * The bodies of CTString that make and change strings; included where the eight string types are
 * instantiated.
 */
#pragma once

#include "util/byte_search.h"
#include "util/ct_string.h"

#include <algorithm>
#include <charconv>
#include <cstring>
#include <iterator>
#include <string>

template <class Encoding, bool Secure>
CTString<Encoding, Secure>::CTString(const Unit* units, ptrdiff_t length) {
    if (units != nullptr) {
        AppendUnits(units, length >= 0 ? static_cast<size_t>(length)
                                       : std::char_traits<Unit>::length(units));
    }
}

template <class Encoding, bool Secure>
CTString<Encoding, Secure> CTString<Encoding, Secure>::FromCodePoint(char32_t codePoint) {
    CTString result;
    result.Append(codePoint);
    return result;
}

template <class Encoding, bool Secure>
CTString<Encoding, Secure> CTString<Encoding, Secure>::FromZeroUnits(size_t length) {
    CTString result;
    std::fill_n(result.MakeRoom(length), length, Unit{});
    return result;
}

template <class Encoding, bool Secure>
CTString<Encoding, Secure> CTString<Encoding, Secure>::FromUInt(uint64_t value) {
    char digits[24];
    *std::to_chars(std::begin(digits), std::end(digits) - 1, value).ptr = 0;
    return CTString(digits);
}

template <class Encoding, bool Secure>
CTString<Encoding, Secure> CTString<Encoding, Secure>::FromDouble(double value) {
    char digits[64];
    *std::to_chars(std::begin(digits), std::end(digits) - 1, value).ptr = 0;
    return CTString(digits);
}

template <class Encoding, bool Secure>
CTString<Encoding, Secure> CTString<Encoding, Secure>::FromBool(bool value) {
    return CTString(value ? "true" : "false");
}

template <class Encoding, bool Secure>
bool CTString<Encoding, Secure>::Owns(const void* address) const noexcept {
    if (buffer == nullptr) {
        return false;
    }
    const auto at = reinterpret_cast<uintptr_t>(address);
    const auto first = reinterpret_cast<uintptr_t>(buffer->data);
    return at >= first && at < first + buffer->size * sizeof(Unit);
}

template <class Encoding, bool Secure>
void CTString<Encoding, Secure>::SetLength(size_t length) noexcept {
    buffer->size = length + 1;
    buffer->data[length] = 0;
}

template <class Encoding, bool Secure>
void CTString<Encoding, Secure>::Separate(size_t capacity) {
    Buffer* const copy = Buffer::Create(capacity);
    std::memcpy(copy->data, buffer->data, buffer->size * sizeof(Unit));
    copy->size = buffer->size;
    --buffer->count;
    buffer = copy;
}

/** A buffer of one holder, of this length, whose units beyond the old length are not set. */
template <class Encoding, bool Secure>
auto CTString<Encoding, Secure>::MakeRoom(size_t length) -> Unit* {
    const size_t required = CheckedSum(length, 1);
    if (buffer == nullptr) {
        buffer = Buffer::Create(required);
    } else if (buffer->count > 1) {
        Separate(required > buffer->size ? GrownCapacity(buffer->size, required) : buffer->size);
    } else if (required > buffer->capacity) {
        buffer = Buffer::Regrow(buffer, GrownCapacity(buffer->capacity, required));
    }
    SetLength(length);
    return buffer->data;
}

template <class Encoding, bool Secure>
auto CTString<Encoding, Secure>::GetWritableBuffer() -> Unit* {
    return buffer != nullptr ? MakeRoom(GetLength()) : nullptr;
}

template <class Encoding, bool Secure>
inline bool CTString<Encoding, Secure>::AppendShort(const Unit* units, size_t count) {
    const size_t bytes = count * sizeof(Unit);
    if (bytes > kShortText || !HasRoom(count)) {
        return false;
    }
    Unit* const end = buffer->data + buffer->size - 1;
    buffer->size += count;
    CopyShortText(end, units, bytes);
    end[count] = 0;
    return true;
}

template <class Encoding, bool Secure>
void CTString<Encoding, Secure>::AppendUnits(const Unit* units, size_t count) {
    if (!AppendShort(units, count)) {
        AppendAny(units, count);
    }
}

template <class Encoding, bool Secure>
void CTString<Encoding, Secure>::AppendAny(const Unit* units, size_t count) {
    if (count == 0) {
        return;
    }
    const bool own = Owns(units);
    const size_t offset = own ? static_cast<size_t>(units - buffer->data) : 0;
    const size_t length = GetLength();
    Unit* const room = MakeRoom(CheckedSum(length, count));
    // Own units may reach over the old terminator, which lies in the new room.
    std::memmove(room + length, own ? room + offset : units, count * sizeof(Unit));
}

template <class Encoding, bool Secure>
auto CTString<Encoding, Secure>::AppendCodePoint(char32_t codePoint) -> CTString& {
    Unit units[kLongestSequence];
    const size_t count = Encoding::Write(codePoint, units);
    const size_t length = GetLength();
    std::copy_n(units, count, MakeRoom(length + count) + length);
    return *this;
}

template <class Encoding, bool Secure>
void CTString<Encoding, Secure>::AppendUtf8(const char* text, size_t length) {
    if constexpr (sizeof(Unit) == 1) {
        if (length - 8 <= 8 && IsAscii(text, length) && AppendShort(text, length)) {
            return;
        }
    }
    AppendAnyUtf8(text, length);
}

template <class Encoding, bool Secure>
void CTString<Encoding, Secure>::AppendAnyUtf8(const char* text, size_t length) {
    if constexpr (sizeof(Unit) == 1) {
        if (IsAscii(text, length)) {
            return AppendUnits(text, length);
        }
    }
    AppendConverted<CUTF8Encoding>(text, length);
}

template <class Encoding, bool Secure>
void CTString<Encoding, Secure>::AppendUtf16(const wchar_t* text, size_t length) {
    AppendConverted<CUTF16Encoding>(text, length);
}

template <class Encoding, bool Secure>
void CTString<Encoding, Secure>::InsertUnits(size_t index, const Unit* units, size_t count) {
    if (count == 0) {
        return;
    }
    if (Owns(units)) {
        const CTString copy(units, static_cast<ptrdiff_t>(count));
        InsertUnits(index, copy.buffer->data, count);
        return;
    }
    const size_t length = GetLength();
    Unit* const room = MakeRoom(CheckedSum(length, count));
    std::memmove(room + index + count, room + index, (length - index) * sizeof(Unit));
    std::memcpy(room + index, units, count * sizeof(Unit));
}

template <class Encoding, bool Secure>
auto CTString<Encoding, Secure>::Insert(const CIterator& position, const CTString& text)
    -> CTString& {
    if (Accepts(position)) {
        InsertUnits(position.index, text.GetBuffer(), text.GetLength());
    }
    return *this;
}

template <class Encoding, bool Secure>
auto CTString<Encoding, Secure>::Insert(const CIterator& position, const char* text) -> CTString& {
    return Insert(position, CTString(text));
}

template <class Encoding, bool Secure>
auto CTString<Encoding, Secure>::Insert(const CIterator& position, const wchar_t* text)
    -> CTString& {
    return Insert(position, CTString(text));
}

template <class Encoding, bool Secure>
auto CTString<Encoding, Secure>::Insert(const CIterator& position, char32_t codePoint)
    -> CTString& {
    if (Accepts(position)) {
        Unit units[kLongestSequence];
        InsertUnits(position.index, units, Encoding::Write(codePoint, units));
    }
    return *this;
}

template <class Encoding, bool Secure>
void CTString<Encoding, Secure>::Remove(size_t first, size_t last) {
    const size_t length = GetLength();
    if (first == 0 && last >= length) {
        *this = CTString();
        return;
    }
    if (first >= last || first >= length) {
        return;
    }
    Unit* const units = MakeRoom(length);
    const size_t tail = length - std::min(last, length);
    std::memmove(units + first, units + length - tail, tail * sizeof(Unit));
    SetLength(first + tail);
}

template <class Encoding, bool Secure>
auto CTString<Encoding, Secure>::TrimLeft(char32_t codePoint) -> CTString& {
    CIterator kept = Begin();
    for (CIterator at = kept; Next(at) == codePoint && codePoint != kEndOfText;) {
        kept = at;
    }
    Remove(0, kept.index);
    return *this;
}

template <class Encoding, bool Secure>
auto CTString<Encoding, Secure>::TrimRight(char32_t codePoint) -> CTString& {
    size_t kept = 0;
    CIterator at = Begin();
    for (CIterator next = at;; at = next) {
        const char32_t read = Next(next);
        if (read == kEndOfText) {
            break;
        }
        kept = read == codePoint ? kept : next.index;
    }
    // A tail that no reader comes to is no reason to cut.
    if (kept < at.index) {
        Remove(kept, GetLength());
    }
    return *this;
}

template <class Encoding, bool Secure>
auto CTString<Encoding, Secure>::Trim(char32_t codePoint) -> CTString& {
    return TrimLeft(codePoint).TrimRight(codePoint);
}

template <class Encoding, bool Secure>
auto CTString<Encoding, Secure>::Truncate(size_t length) -> CTString& {
    if (length == 0) {
        *this = CTString();
    } else {
        Remove(length, GetLength());
    }
    return *this;
}

template <class Encoding, bool Secure>
auto CTString<Encoding, Secure>::Erase(const CIterator& first) -> CTString& {
    if (Accepts(first)) {
        Remove(first.index, GetLength());
    }
    return *this;
}

template <class Encoding, bool Secure>
auto CTString<Encoding, Secure>::Erase(ptrdiff_t first, ptrdiff_t last) -> CTString& {
    if (last > 0) {
        Remove(first < 0 ? 0 : static_cast<size_t>(first), static_cast<size_t>(last));
    }
    return *this;
}

template <class Encoding, bool Secure>
auto CTString<Encoding, Secure>::PadLeft(size_t width, char32_t codePoint) -> CTString& {
    CTString padding;
    while (GetLength() + padding.GetLength() < width) {
        padding.Append(codePoint);
    }
    return Insert(Begin(), padding);
}

template <class Encoding, bool Secure>
auto CTString<Encoding, Secure>::PadRight(size_t width, char32_t codePoint) -> CTString& {
    while (GetLength() < width) {
        Append(codePoint);
    }
    return *this;
}
