/**
 * The bodies of CTString that read strings; included where the eight string types are instantiated.
 */
#pragma once

#include "util/byte_search.h"
#include "util/ct_string.h"
#include "util/string_list.h"
#include "util/text_steps.h"

#include <algorithm>
#include <cstring>
#include <type_traits>

template <class Encoding, bool Secure>
size_t CTString<Encoding, Secure>::GetCharCount() const {
    size_t count = 0;
    for (CIterator at = Begin(); Next(at) != kEndOfText;) {
        ++count;
    }
    return count;
}

template <class Encoding, bool Secure>
auto CTString<Encoding, Secure>::Find(char32_t codePoint) const -> CIterator {
    if constexpr (text_steps::kIsBytes<Encoding>) {
        const char* const found = codePoint < 0x80 && buffer != nullptr
                                      ? static_cast<const char*>(std::memchr(
                                            buffer->data, static_cast<int>(codePoint), GetLength()))
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
    size_t index = CTextRange::kNotFound;
    if constexpr (std::is_same_v<Encoding, CUTF16Encoding>) {
        index = text_steps::FindLastInUtf16(GetText(), GetLength(), codePoint);
    } else {
        index = text_steps::FindLast<Encoding>(GetText(), GetLength(), codePoint);
    }
    return index == CTextRange::kNotFound ? CIterator() : CIterator(*this, index);
}

template <class Encoding, bool Secure>
CTextRange CTString<Encoding, Secure>::FindText(const CTString& text, size_t from) const {
    if (GetLength() == 0 || text.GetLength() == 0) {
        return {};
    }
    return text_steps::FindText<Encoding>(buffer->data, GetLength(), from, text.buffer->data,
                                          text.GetLength());
}

template <class Encoding, bool Secure>
bool CTString<Encoding, Secure>::StartsWith(const CTString& prefix) const {
    const size_t length = prefix.GetLength();
    return length <= GetLength() && (length == 0 || std::memcmp(GetBuffer(), prefix.GetBuffer(),
                                                                length * sizeof(Unit)) == 0);
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
    if (buffer == other.buffer ||
        (GetLength() == other.GetLength() && std::memcmp(GetText(), other.GetText(), bytes) == 0)) {
        return 0;
    }
    const size_t start = text_steps::SharedStart<Encoding>(
        GetText(), other.GetText(), std::min(GetLength(), other.GetLength()));
    return text_steps::Compare<Encoding, Encoding>(GetText(), GetLength(), other.GetText(),
                                                   other.GetLength(), start, text_steps::Same);
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
    return text_steps::Compare<Encoding, CUTF8Encoding>(buffer->data, GetLength(), text,
                                                        std::strlen(text), 0, text_steps::Same);
}

template <class Encoding, bool Secure>
int CTString<Encoding, Secure>::Compare(const wchar_t* text) const {
    if (buffer == nullptr || text == nullptr) {
        return static_cast<int>(buffer != nullptr) - static_cast<int>(text != nullptr);
    }
    return text_steps::Compare<Encoding, CUTF16Encoding>(buffer->data, GetLength(), text,
                                                         WideLength(text), 0, text_steps::Same);
}

template <class Encoding, bool Secure>
int CTString<Encoding, Secure>::CompareNoCase(const CTString& other) const {
    if (buffer == nullptr || other.buffer == nullptr) {
        return static_cast<int>(buffer != nullptr) - static_cast<int>(other.buffer != nullptr);
    }
    return text_steps::Compare<Encoding, Encoding>(buffer->data, GetLength(), other.buffer->data,
                                                   other.GetLength(), 0, text_steps::Lower);
}

template <class Encoding, bool Secure>
int CTString<Encoding, Secure>::CompareNoCase(const char* text) const {
    if (buffer == nullptr || text == nullptr) {
        return static_cast<int>(buffer != nullptr) - static_cast<int>(text != nullptr);
    }
    return text_steps::Compare<Encoding, CUTF8Encoding>(buffer->data, GetLength(), text,
                                                        std::strlen(text), 0, text_steps::Lower);
}

template <class Encoding, bool Secure>
int CTString<Encoding, Secure>::CompareNoCase(const wchar_t* text) const {
    if (buffer == nullptr || text == nullptr) {
        return static_cast<int>(buffer != nullptr) - static_cast<int>(text != nullptr);
    }
    return text_steps::Compare<Encoding, CUTF16Encoding>(buffer->data, GetLength(), text,
                                                         WideLength(text), 0, text_steps::Lower);
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
CTString<Encoding, Secure> CTString<Encoding, Secure>::ToUpper() const {
    CTString upper;
    CIterator at = Begin();
    for (char32_t read; (read = Next(at)) != kEndOfText;) {
        upper.Append(text_steps::Upper(read));
    }
    return upper;
}

template <class Encoding, bool Secure>
CTString<Encoding, Secure> CTString<Encoding, Secure>::ToLower() const {
    CTString lower;
    CIterator at = Begin();
    for (char32_t read; (read = Next(at)) != kEndOfText;) {
        lower.Append(text_steps::Lower(read));
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
