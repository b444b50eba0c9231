/**
 * Text in one of four encodings, shared on copy and separated on the first write.
 */
#pragma once

#include "util/encodings.h"
#include "util/string_buffer.h"

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <utility>

template <class String>
class CTStringList;

struct CTextRange;

/**
 * A text string: one pointer to a buffer with a reference count, null for the empty string.
 *
 * Lengths and indices are in storage units (bytes, or 32-bit units of the wide encodings); what is
 * compared and searched is code points. Storage ends with a zero unit, so it serves as a C string,
 * and may hold zero units inside. `const char*` arguments are UTF-8 whatever the encoding, and
 * malformed sequences in them become "?"; `const wchar_t*` arguments are UTF-16 in 32-bit units.
 * Only pointer and length take storage units as they are. Arguments may point into the string
 * itself.
 *
 * The count is not atomic: strings that share a buffer belong to one thread at a time, for reading
 * too, since a copy writes the count. `Secure` buffers are wiped when they are released.
 *
 * No operation reports a failure: positions out of range are ignored or clamped, and only running
 * out of memory throws std::bad_alloc.
 */
template <class Encoding, bool Secure>
class CTString {
public:
    using Unit = typename Encoding::Unit;
    using Buffer = CTStringBuffer<Unit, Secure>;

    /** A position in a string: it holds an index, so it survives writes. Null when not found. */
    class CIterator {
    public:
        CIterator() noexcept = default;
        CIterator(const CTString& string, size_t position) noexcept
            : owner(&string), index(position) {}

        bool IsNull() const noexcept { return owner == nullptr; }
        size_t GetIndex() const noexcept { return index; }
        bool BelongsTo(const CTString& string) const noexcept { return owner == &string; }

        bool operator==(const CIterator& other) const noexcept {
            return owner == other.owner && index == other.index;
        }
        bool operator!=(const CIterator& other) const noexcept { return !(*this == other); }

    private:
        friend class CTString;

        const CTString* owner = nullptr;
        size_t index = 0;
    };

    CTString() noexcept = default;
    CTString(const char* text) {
        if (text != nullptr) {
            AppendUtf8(text, __builtin_strlen(text));
        }
    }
    CTString(const wchar_t* text) {
        if (text != nullptr) {
            AppendUtf16(text, WideLength(text));
        }
    }

    /** Copies storage units as they are; a length of -1 means up to the first zero unit. */
    CTString(const Unit* units, ptrdiff_t length);

    CTString(const CTString& other) noexcept : buffer(other.buffer) { AddReference(); }
    CTString(CTString&& other) noexcept : buffer(std::exchange(other.buffer, nullptr)) {}

    /** Reads the code points of a string of another type and writes them in this encoding. */
    template <class OtherEncoding, bool OtherSecure>
    explicit CTString(const CTString<OtherEncoding, OtherSecure>& other) {
        Append(other);
    }

    static CTString FromCodePoint(char32_t codePoint);

    /** A string of `length` zero units, for a formatter to write into. */
    static CTString FromZeroUnits(size_t length);

    /** Decimal digits. */
    static CTString FromUInt(uint64_t value);

    /** The shortest decimal text that reads back as the same number, whatever the locale. */
    static CTString FromDouble(double value);

    /** "true" or "false". */
    static CTString FromBool(bool value);

    ~CTString() { Release(); }

    CTString& operator=(const CTString& other) noexcept {
        if (this != &other) {
            other.AddReference();
            Release();
            buffer = other.buffer;
        }
        return *this;
    }
    CTString& operator=(CTString&& other) noexcept {
        if (this != &other) {
            Release();
            buffer = std::exchange(other.buffer, nullptr);
        }
        return *this;
    }
    template <class OtherEncoding, bool OtherSecure>
    CTString& operator=(const CTString<OtherEncoding, OtherSecure>& other) {
        return *this = CTString(other);
    }

    /** The length in storage units. */
    size_t GetLength() const noexcept { return buffer != nullptr ? buffer->size - 1 : 0; }

    /** The number of code points; a malformed sequence counts as one, a cut-off tail as none. */
    size_t GetCharCount() const;

    /**
     * Whether the string is null. A buffer of no units, as FromZeroUnits(0) makes it, is not null:
     * ask GetLength() == 0 for emptiness.
     */
    bool IsEmpty() const noexcept { return buffer == nullptr; }

    /** The storage, ended by a zero unit, or null when the string is null. */
    const Unit* GetBuffer() const noexcept { return buffer != nullptr ? buffer->data : nullptr; }

    /** The storage, or an empty text when the string is null: for printf and its like. */
    const Unit* GetText() const noexcept { return buffer != nullptr ? buffer->data : &kNoText; }

    /** The storage after separating it from other holders, or null when the string is null. */
    Unit* GetWritableBuffer();

    CIterator Begin() const noexcept { return {*this, 0}; }
    CIterator End() const noexcept { return {*this, GetLength()}; }

    /** Decodes one code point, moves the iterator behind it; kEndOfText at the end. */
    char32_t Next(CIterator& iterator) const {
        if (iterator.owner != this || buffer == nullptr) {
            return kEndOfText;
        }
        return Encoding::Read(buffer->data, buffer->size - 1, iterator.index);
    }

    /** The first place of a code point, or the null iterator. */
    CIterator Find(char32_t codePoint) const;

    /**
     * The first place of a text from `start` on, or the null iterator, also when either is empty.
     *
     * A null `start` means the beginning, and is set to it.
     */
    CIterator Find(const CTString& text, CIterator& start) const;

    /** The first place of a text, or the null iterator. */
    CIterator Find(const CTString& text) const {
        CIterator start;
        return Find(text, start);
    }

    /** The last place of a code point, or the null iterator. */
    CIterator FindLast(char32_t codePoint) const;

    /** Whether the storage begins with that of another string. */
    bool StartsWith(const CTString& prefix) const;
    bool EndsWith(const CTString& suffix) const;

    /**
     * Compares code point by code point: negative, 0 or positive.
     *
     * A null string equals a null `const char*` and "". Against wide texts, and in every form of
     * CompareNoCase, it is less than any pointer that is not null.
     */
    int Compare(const CTString& other) const;
    int Compare(const char* text) const;
    int Compare(const wchar_t* text) const;

    /** As Compare, over towlower of both code points. */
    int CompareNoCase(const CTString& other) const;
    int CompareNoCase(const char* text) const;
    int CompareNoCase(const wchar_t* text) const;

    /** The part before an iterator, or from it on; empty when it belongs to another string. */
    CTString Left(const CIterator& end) const;
    CTString Right(const CIterator& begin) const;

    /** The part from an index on; a negative one counts from the end. */
    CTString Right(ptrdiff_t index) const;

    CTString Mid(const CIterator& begin, const CIterator& end) const;
    CTString Mid(ptrdiff_t index, ptrdiff_t count) const;

    CTString& Append(const CTString& other) {
        AppendUnits(other.GetBuffer(), other.GetLength());
        return *this;
    }
    CTString& Append(const char* text) {
        if (text != nullptr) {
            AppendUtf8(text, __builtin_strlen(text));
        }
        return *this;
    }
    CTString& Append(const wchar_t* text) {
        if (text != nullptr) {
            AppendUtf16(text, WideLength(text));
        }
        return *this;
    }
    CTString& Append(char32_t codePoint) {
        if (codePoint < 0x80 && HasRoom(1)) {
            // NOLINTNEXTLINE(clang-analyzer-core.NullDereference): HasRoom has looked.
            StoreLast(buffer->data + buffer->size++ - 1, codePoint);
            return *this;
        }
        return AppendCodePoint(codePoint);
    }
    template <class OtherEncoding, bool OtherSecure>
    CTString& Append(const CTString<OtherEncoding, OtherSecure>& other) {
        AppendConverted<OtherEncoding>(other.GetBuffer(), other.GetLength());
        return *this;
    }

    /** Appends storage units as they are. */
    CTString& AppendRaw(const Unit* units, size_t length) {
        AppendUnits(units, length);
        return *this;
    }

    template <class Text>
    CTString& operator+=(const Text& text) {
        return Append(text);
    }

    /** Inserts before an iterator; one of another string, or behind the end, is ignored. */
    CTString& Insert(const CIterator& position, const CTString& text);
    CTString& Insert(const CIterator& position, const char* text);
    CTString& Insert(const CIterator& position, const wchar_t* text);
    CTString& Insert(const CIterator& position, char32_t codePoint);

    /** Removes a repeated code point from the front, the end or both. */
    CTString& TrimLeft(char32_t codePoint);
    CTString& TrimRight(char32_t codePoint);
    CTString& Trim(char32_t codePoint);

    /** Cuts the string to `length` units; 0 releases the buffer. */
    CTString& Truncate(size_t length);

    /** Removes everything from the iterator on. */
    CTString& Erase(const CIterator& first);

    /** Removes the units from `first` up to, not including, `last`; both are clamped. */
    CTString& Erase(ptrdiff_t first, ptrdiff_t last);

    /** Repeats a code point in front or behind until the length reaches `width` units. */
    CTString& PadLeft(size_t width, char32_t codePoint);
    CTString& PadRight(size_t width, char32_t codePoint);

    /** A copy with each code point passed through towupper or towlower. */
    CTString ToUpper() const;
    CTString ToLower() const;

    /**
     * The pieces between separators. An empty text or separator gives one item; adjacent or
     * trailing separators give empty ones. Needs util/string_list.h.
     */
    CTStringList<CTString> Split(const CTString& separator) const;

private:
    static constexpr Unit kNoText{};

    void AddReference() const noexcept {
        if (buffer != nullptr) {
            ++buffer->count;
        }
    }
    void Release() noexcept {
        if (buffer != nullptr && --buffer->count == 0) {
            Buffer::Destroy(buffer);
        }
    }

    /** Whether `count` more units go into the buffer as it is. */
    bool HasRoom(size_t count) const noexcept {
        return buffer != nullptr && buffer->count == 1 && count <= buffer->capacity - buffer->size;
    }

    bool Owns(const void* address) const noexcept;
    bool Accepts(const CIterator& position) const noexcept {
        return position.owner == this && position.index <= GetLength();
    }

    Unit* MakeRoom(size_t length);
    void Separate(size_t capacity);
    void SetLength(size_t length) noexcept;
    // The steps of appending: a short text that finds room, and whatever that leaves over.
    [[gnu::always_inline]] inline bool AppendShort(const Unit* units, size_t count);
    void AppendUnits(const Unit* units, size_t count);
    void AppendAny(const Unit* units, size_t count);
    CTString& AppendCodePoint(char32_t codePoint);
    void AppendUtf8(const char* text, size_t length);
    [[gnu::noinline]] void AppendAnyUtf8(const char* text, size_t length);
    void AppendUtf16(const wchar_t* text, size_t length);
    template <class Source>
    [[gnu::noinline]] void AppendConverted(const typename Source::Unit* units, size_t length);

    CTString Part(size_t first, size_t last) const;
    void Remove(size_t first, size_t last);
    void InsertUnits(size_t index, const Unit* units, size_t count);
    CTextRange FindText(const CTString& text, size_t from) const;

    Buffer* buffer = nullptr;
};

template <class Encoding, bool Secure>
template <class Source>
void CTString<Encoding, Secure>::AppendConverted(const typename Source::Unit* units,
                                                 size_t length) {
    CTString converted;
    size_t index = 0;
    for (char32_t codePoint; (codePoint = Source::Read(units, length, index)) != kEndOfText;) {
        converted.Append(codePoint);
    }
    if (buffer == nullptr) {
        *this = std::move(converted);
    } else {
        Append(converted);
    }
}

template <class Encoding, bool Secure, class Text>
CTString<Encoding, Secure> operator+(const CTString<Encoding, Secure>& left, const Text& right) {
    CTString<Encoding, Secure> sum(left);
    sum.Append(right);
    return sum;
}

template <class Encoding, bool Secure, class Text>
CTString<Encoding, Secure> operator+(CTString<Encoding, Secure>&& left, const Text& right) {
    left.Append(right);
    return std::move(left);
}

template <class Encoding, bool Secure, class Text>
bool operator==(const CTString<Encoding, Secure>& left, const Text& right) {
    return left.Compare(right) == 0;
}
template <class Encoding, bool Secure, class Text>
bool operator!=(const CTString<Encoding, Secure>& left, const Text& right) {
    return left.Compare(right) != 0;
}
template <class Encoding, bool Secure, class Text>
bool operator<(const CTString<Encoding, Secure>& left, const Text& right) {
    return left.Compare(right) < 0;
}
template <class Encoding, bool Secure, class Text>
bool operator<=(const CTString<Encoding, Secure>& left, const Text& right) {
    return left.Compare(right) <= 0;
}
template <class Encoding, bool Secure, class Text>
bool operator>(const CTString<Encoding, Secure>& left, const Text& right) {
    return left.Compare(right) > 0;
}
template <class Encoding, bool Secure, class Text>
bool operator>=(const CTString<Encoding, Secure>& left, const Text& right) {
    return left.Compare(right) >= 0;
}

extern template class CTString<CISOEncoding, false>;
extern template class CTString<CISOEncoding, true>;
extern template class CTString<CUTF8Encoding, false>;
extern template class CTString<CUTF8Encoding, true>;
extern template class CTString<CUTF16Encoding, false>;
extern template class CTString<CUTF16Encoding, true>;
extern template class CTString<CUTF32Encoding, false>;
extern template class CTString<CUTF32Encoding, true>;

using CUTF8String = CTString<CUTF8Encoding, false>;
using CISOString = CTString<CISOEncoding, false>;

static_assert(sizeof(CUTF8String) == sizeof(void*), "a string is passed as one pointer");
