/**
 * The bodies of CTString; included where the eight string types are instantiated.
 */
#pragma once

#include <cwctype>

#include <algorithm>
#include <charconv>
#include <iterator>

#include "util/byte_search.h"
#include "util/ct_string.h"
#include "util/string_list.h"

namespace string_impl {

template <class Encoding>
constexpr bool kIsBytes = sizeof(typename Encoding::Unit) == 1;

inline int64_t Rank(char32_t codePoint) {
    return codePoint == kEndOfText ? -1 : static_cast<int64_t>(codePoint);
}

inline char32_t Same(char32_t codePoint) { return codePoint; }

inline char32_t Lower(char32_t codePoint) {
    return static_cast<char32_t>(towlower(static_cast<wint_t>(codePoint)));
}

template <class Left, class Right, class Mapping>
int CompareFrom(const typename Left::Unit* left, size_t leftLength, size_t leftIndex,
                const typename Right::Unit* right, size_t rightLength, size_t rightIndex,
                Mapping map) {
    for (;;) {
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

/** The length up to which a reader comes: wide texts end at a unit of all ones. */
template <class Unit>
size_t ReadableLength(const Unit* units, size_t length) {
    if constexpr (sizeof(Unit) == 1) {
        return length;
    } else {
        return static_cast<size_t>(
            std::find(units, units + length, static_cast<Unit>(kEndOfText)) - units);
    }
}

template <class Encoding>
size_t FindLastIndex(const typename Encoding::Unit* units, size_t length, char32_t codePoint) {
    if constexpr (std::is_same_v<Encoding, CUTF16Encoding>) {
        for (size_t index = ReadableLength(units, length); index > 0;) {
            if (Encoding::ReadBack(units, index) == codePoint) {
                return index;
            }
        }
        return CTextRange::kNotFound;
    } else {
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
}

}  // namespace string_impl

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
size_t CTString<Encoding, Secure>::GetCharCount() const {
    size_t count = 0;
    for (CIterator at = Begin(); Next(at) != kEndOfText;) {
        ++count;
    }
    return count;
}

template <class Encoding, bool Secure>
auto CTString<Encoding, Secure>::GetWritableBuffer() -> Unit* {
    return buffer != nullptr ? MakeRoom(GetLength()) : nullptr;
}

template <class Encoding, bool Secure>
auto CTString<Encoding, Secure>::Find(char32_t codePoint) const -> CIterator {
    if constexpr (string_impl::kIsBytes<Encoding>) {
        const char* const found =
            codePoint < 0x80 && buffer != nullptr
                ? static_cast<const char*>(
                      std::memchr(buffer->data, static_cast<int>(codePoint), GetLength()))
                : nullptr;
        if (found != nullptr && IsAscii(buffer->data, static_cast<size_t>(found - buffer->data))) {
            return {*this, static_cast<size_t>(found - buffer->data)};
        }
    }
    for (CIterator at = Begin();;) {
        const CIterator candidate = at;
        const char32_t read = Next(at);
        if (read == kEndOfText) {
            return {};
        }
        if (read == codePoint) {
            return candidate;
        }
    }
}

template <class Encoding, bool Secure>
auto CTString<Encoding, Secure>::Find(const CTString& text, CIterator& start) const -> CIterator {
    // Kept: a start without owner is moved to the beginning; callers go on from it.
    if (start.owner == nullptr) {
        start = Begin();
    }
    if (!Accepts(start)) {
        return {};
    }
    const CTextRange found = FindText(text, start.index);
    return found.first == CTextRange::kNotFound ? CIterator() : CIterator(*this, found.first);
}

template <class Encoding, bool Secure>
auto CTString<Encoding, Secure>::FindLast(char32_t codePoint) const -> CIterator {
    if (codePoint == kEndOfText || buffer == nullptr) {
        return {};
    }
    const size_t index =
        string_impl::FindLastIndex<Encoding>(buffer->data, GetLength(), codePoint);
    return index == CTextRange::kNotFound ? CIterator() : CIterator(*this, index);
}

template <class Encoding, bool Secure>
CTextRange CTString<Encoding, Secure>::FindText(const CTString& text, size_t from) const {
    if (GetLength() == 0 || text.GetLength() == 0) {
        return {};
    }
    const Unit* const units = buffer->data;
    const Unit* const wanted = text.buffer->data;
    if constexpr (string_impl::kIsBytes<Encoding>) {
        // Equal bytes are equal code points where all before them is ASCII, or one byte a character.
        const char* const found =
            FindBytes(units + from, GetLength() - from, wanted, text.GetLength());
        const size_t first = found != nullptr ? static_cast<size_t>(found - units) : GetLength();
        if (std::is_same_v<Encoding, CISOEncoding> || IsAscii(units + from, first - from)) {
            const bool whole = found != nullptr && (std::is_same_v<Encoding, CISOEncoding> ||
                                                    IsAscii(wanted, text.GetLength()));
            if (whole || found == nullptr) {
                return whole ? CTextRange{first, first + text.GetLength()} : CTextRange{};
            }
        }
    }
    size_t wantedRest = 0;
    const char32_t head = Encoding::Read(wanted, text.GetLength(), wantedRest);
    for (size_t index = from; head != kEndOfText;) {
        const size_t candidate = index;
        const char32_t read = Encoding::Read(units, GetLength(), index);
        if (read == kEndOfText) {
            break;
        }
        if (read != head) {
            continue;
        }
        for (size_t end = index, rest = wantedRest;;) {
            const size_t matched = end;
            const char32_t expected = Encoding::Read(wanted, text.GetLength(), rest);
            if (expected == kEndOfText) {
                return {candidate, matched};
            }
            if (Encoding::Read(units, GetLength(), end) != expected) {
                break;
            }
        }
    }
    return {};
}

template <class Encoding, bool Secure>
bool CTString<Encoding, Secure>::StartsWith(const CTString& prefix) const {
    const size_t length = prefix.GetLength();
    return length <= GetLength() &&
           (length == 0 || std::memcmp(GetBuffer(), prefix.GetBuffer(), length * sizeof(Unit)) == 0);
}

template <class Encoding, bool Secure>
bool CTString<Encoding, Secure>::EndsWith(const CTString& suffix) const {
    const size_t length = suffix.GetLength();
    return length <= GetLength() &&
           (length == 0 || std::memcmp(GetBuffer() + GetLength() - length, suffix.GetBuffer(),
                                       length * sizeof(Unit)) == 0);
}

template <class Encoding, bool Secure>
int CTString<Encoding, Secure>::Compare(const CTString& other) const {
    const size_t bytes = GetLength() * sizeof(Unit);
    if (buffer == other.buffer || (GetLength() == other.GetLength() &&
                                   std::memcmp(GetText(), other.GetText(), bytes) == 0)) {
        return 0;
    }
    const size_t start = string_impl::SharedStart<Encoding>(
        GetText(), other.GetText(), std::min(GetLength(), other.GetLength()));
    return string_impl::CompareFrom<Encoding, Encoding>(GetText(), GetLength(), start,
                                                        other.GetText(), other.GetLength(), start,
                                                        string_impl::Same);
}

template <class Encoding, bool Secure>
int CTString<Encoding, Secure>::Compare(const char* text) const {
    if (text == nullptr) {
        return buffer == nullptr ? 0 : 1;
    }
    // Kept: only here does a null string equal "". Every other form takes it for less.
    if (buffer == nullptr) {
        return *text == 0 ? 0 : -1;
    }
    return string_impl::CompareFrom<Encoding, CUTF8Encoding>(
        buffer->data, GetLength(), 0, text, std::strlen(text), 0, string_impl::Same);
}

template <class Encoding, bool Secure>
int CTString<Encoding, Secure>::Compare(const wchar_t* text) const {
    if (buffer == nullptr || text == nullptr) {
        return static_cast<int>(buffer != nullptr) - static_cast<int>(text != nullptr);
    }
    return string_impl::CompareFrom<Encoding, CUTF16Encoding>(
        buffer->data, GetLength(), 0, text, wcslen(text), 0, string_impl::Same);
}

template <class Encoding, bool Secure>
int CTString<Encoding, Secure>::CompareNoCase(const CTString& other) const {
    if (buffer == nullptr || other.buffer == nullptr) {
        return static_cast<int>(buffer != nullptr) - static_cast<int>(other.buffer != nullptr);
    }
    return string_impl::CompareFrom<Encoding, Encoding>(buffer->data, GetLength(), 0,
                                                        other.buffer->data, other.GetLength(), 0,
                                                        string_impl::Lower);
}

template <class Encoding, bool Secure>
int CTString<Encoding, Secure>::CompareNoCase(const char* text) const {
    if (buffer == nullptr || text == nullptr) {
        return static_cast<int>(buffer != nullptr) - static_cast<int>(text != nullptr);
    }
    return string_impl::CompareFrom<Encoding, CUTF8Encoding>(
        buffer->data, GetLength(), 0, text, std::strlen(text), 0, string_impl::Lower);
}

template <class Encoding, bool Secure>
int CTString<Encoding, Secure>::CompareNoCase(const wchar_t* text) const {
    if (buffer == nullptr || text == nullptr) {
        return static_cast<int>(buffer != nullptr) - static_cast<int>(text != nullptr);
    }
    return string_impl::CompareFrom<Encoding, CUTF16Encoding>(
        buffer->data, GetLength(), 0, text, wcslen(text), 0, string_impl::Lower);
}

template <class Encoding, bool Secure>
CTString<Encoding, Secure> CTString<Encoding, Secure>::Part(size_t first, size_t last) const {
    if (first >= last) {
        return {};
    }
    if (first == 0 && last == GetLength()) {
        return *this;
    }
    return CTString(buffer->data + first, static_cast<ptrdiff_t>(last - first));
}

template <class Encoding, bool Secure>
CTString<Encoding, Secure> CTString<Encoding, Secure>::Left(const CIterator& end) const {
    return Accepts(end) ? Part(0, end.index) : CTString();
}

template <class Encoding, bool Secure>
CTString<Encoding, Secure> CTString<Encoding, Secure>::Right(const CIterator& begin) const {
    return Accepts(begin) ? Part(begin.index, GetLength()) : CTString();
}

template <class Encoding, bool Secure>
CTString<Encoding, Secure> CTString<Encoding, Secure>::Right(ptrdiff_t index) const {
    const auto length = static_cast<ptrdiff_t>(GetLength());
    const ptrdiff_t first = index >= 0 ? index : index < -length ? 0 : index + length;
    return Part(static_cast<size_t>(first), GetLength());
}

template <class Encoding, bool Secure>
CTString<Encoding, Secure> CTString<Encoding, Secure>::Mid(const CIterator& begin,
                                                           const CIterator& end) const {
    return Accepts(begin) && Accepts(end) ? Part(begin.index, end.index) : CTString();
}

template <class Encoding, bool Secure>
CTString<Encoding, Secure> CTString<Encoding, Secure>::Mid(ptrdiff_t index, ptrdiff_t count) const {
    const auto length = static_cast<ptrdiff_t>(GetLength());
    if (index < 0 || index >= length || count <= 0) {
        return {};
    }
    const auto first = static_cast<size_t>(index);
    return Part(first, first + static_cast<size_t>(std::min(count, length - index)));
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
void CTString<Encoding, Secure>::AppendUnits(const Unit* units, size_t count) {
    const size_t bytes = count * sizeof(Unit);
    if (bytes > kShortText || !HasRoom(count)) {
        return AppendAny(units, count);
    }
    Unit* const end = buffer->data + buffer->size - 1;
    buffer->size += count;
    CopyShortText(end, units, bytes);
    end[count] = 0;
}

template <class Encoding, bool Secure>
auto CTString<Encoding, Secure>::AppendCodePoint(char32_t codePoint) -> CTString& {
    Unit units[kLongestSequence];
    AppendUnits(units, Encoding::Write(codePoint, units));
    return *this;
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
    std::memcpy(room + length, own ? room + offset : units, count * sizeof(Unit));
}

template <class Encoding, bool Secure>
void CTString<Encoding, Secure>::AppendUtf8(const char* text, size_t length) {
    if constexpr (string_impl::kIsBytes<Encoding>) {
        if (length - 8 <= 8 && IsAscii(text, length)) {
            return AppendUnits(text, length);
        }
    }
    AppendAnyUtf8(text, length);
}

template <class Encoding, bool Secure>
void CTString<Encoding, Secure>::AppendAnyUtf8(const char* text, size_t length) {
    if constexpr (string_impl::kIsBytes<Encoding>) {
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
void CTString<Encoding, Secure>::Remove(size_t first, size_t last) {
    const size_t length = GetLength();
    if (first >= last || first >= length) {
        return;
    }
    if (first == 0 && last >= length) {
        *this = CTString();
        return;
    }
    Unit* const units = MakeRoom(length);
    const size_t tail = length - std::min(last, length);
    std::memmove(units + first, units + length - tail, tail * sizeof(Unit));
    SetLength(first + tail);
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
    for (char32_t read; (read = Next(at)) != kEndOfText;) {
        kept = read == codePoint ? kept : at.index;
    }
    Remove(kept, GetLength());
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

template <class Encoding, bool Secure>
CTString<Encoding, Secure> CTString<Encoding, Secure>::ToUpper() const {
    CTString upper;
    CIterator at = Begin();
    for (char32_t read; (read = Next(at)) != kEndOfText;) {
        upper.Append(static_cast<char32_t>(towupper(static_cast<wint_t>(read))));
    }
    return upper;
}

template <class Encoding, bool Secure>
CTString<Encoding, Secure> CTString<Encoding, Secure>::ToLower() const {
    CTString lower;
    CIterator at = Begin();
    for (char32_t read; (read = Next(at)) != kEndOfText;) {
        lower.Append(string_impl::Lower(read));
    }
    return lower;
}

template <class Encoding, bool Secure>
auto CTString<Encoding, Secure>::Split(const CTString& separator) const -> CTStringList<CTString> {
    CTStringList<CTString> pieces;
    size_t from = 0;
    for (CTextRange found; (found = FindText(separator, from)).first != CTextRange::kNotFound;) {
        pieces.Append(Part(from, found.first));
        from = found.last;
    }
    pieces.Append(Part(from, GetLength()));
    return pieces;
}
