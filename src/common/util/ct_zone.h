/**
 * Owning contiguous arrays of plain elements: the type of all binary data.
 */
#pragma once

#include "util/growth.h"
#include "util/secure_heap.h"

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <new>
#include <type_traits>
#include <utility>

/** Where the elements of a zone come from: the C heap, or the heap that wipes. */
template <bool Secure>
struct CTZoneStorage {
    static void* Allocate(size_t bytes) {
        void* const block = std::malloc(bytes);
        if (block == nullptr) {
            throw std::bad_alloc();
        }
        return block;
    }
    static void* Regrow(void* old, size_t /*used*/, size_t bytes) {
        void* const block = std::realloc(old, bytes);
        if (block == nullptr) {
            throw std::bad_alloc();
        }
        return block;
    }
    static void Release(void* block) noexcept { std::free(block); }
};

template <>
struct CTZoneStorage<true> {
    static void* Allocate(size_t bytes) { return CSecureHeap::Instance().Allocate(bytes); }
    static void* Regrow(void* old, size_t used, size_t bytes) {
        void* const block = Allocate(bytes);
        if (used > 0) {
            std::memcpy(block, old, used);
        }
        Release(old);
        return block;
    }
    static void Release(void* block) noexcept { CSecureHeap::Instance().Release(block); }
};

/**
 * An array of plain elements with deep copy; `Secure` ones are wiped when their storage is
 * released.
 *
 * A zone that never held anything has a null pointer. Sizes and positions are in elements. Storage
 * grows by the rule of growth.h and never shrinks, except through Clear. A zone belongs to one
 * thread at a time. Arguments may point into the zone itself. Out of memory is std::bad_alloc; no
 * operation reports anything else: a position behind the end is ignored or counts as the end.
 */
template <class Element, bool Secure>
class CTZone {
    static_assert(std::is_trivially_copyable_v<Element>, "elements are moved as bytes");
    using Storage = CTZoneStorage<Secure>;

public:
    CTZone() noexcept = default;

    /** Copies `length` elements; a null pointer gives that many zero elements. */
    CTZone(const Element* elements, size_t length) {
        if (elements != nullptr) {
            Append(elements, length);
        } else if (length > 0) {
            Resize(length);
            std::memset(static_cast<void*>(data), 0, length * sizeof(Element));
        }
    }

    /** The bytes of a C string without its terminator; null gives an empty zone. */
    explicit CTZone(const char* text)
        : CTZone(reinterpret_cast<const Element*>(text), text != nullptr ? std::strlen(text) : 0) {
        static_assert(sizeof(Element) == 1, "only zones of bytes are made from C strings");
    }

    /** `count` elements of one value. */
    CTZone(size_t count, Element value) { Fill(count, value); }

    CTZone(const CTZone& other) { Append(other.data, other.size); }

    CTZone(CTZone&& other) noexcept
        : data(std::exchange(other.data, nullptr)),
          size(std::exchange(other.size, 0)),
          capacity(std::exchange(other.capacity, 0)) {}

    CTZone& operator=(const CTZone& other) {
        if (this != &other) {
            Assign(other.data, other.size);
        }
        return *this;
    }

    CTZone& operator=(CTZone&& other) noexcept {
        if (this != &other) {
            Clear();
            data = std::exchange(other.data, nullptr);
            size = std::exchange(other.size, 0);
            capacity = std::exchange(other.capacity, 0);
        }
        return *this;
    }

    ~CTZone() { Storage::Release(data); }

    const Element* GetData() const noexcept { return data; }
    Element* GetData() noexcept { return data; }
    size_t GetSize() const noexcept { return size; }
    size_t GetCapacity() const noexcept { return capacity; }
    bool IsEmpty() const noexcept { return size == 0; }
    const Element* GetEnd() const noexcept { return data + size; }
    Element* GetEnd() noexcept { return data + size; }

    const Element* begin() const noexcept { return data; }
    const Element* end() const noexcept { return data + size; }
    const Element& operator[](size_t position) const noexcept { return data[position]; }
    Element& operator[](size_t position) noexcept { return data[position]; }

    bool operator==(const CTZone& other) const noexcept {
        return size == other.size &&
               (size == 0 || std::memcmp(data, other.data, size * sizeof(Element)) == 0);
    }
    bool operator!=(const CTZone& other) const noexcept { return !(*this == other); }

    /** Sets the size; new elements are not cleared. */
    void Resize(size_t count) {
        if (count > capacity) {
            SetCapacity(GrownCapacity(capacity, count));
        }
        size = count;
    }

    /** Makes room for `count` elements and leaves the size alone. */
    void Reserve(size_t count) {
        if (count > capacity) {
            SetCapacity(GrownCapacity(capacity, count));
        }
    }

    /** Releases the storage; the zone is as if it had never held anything. */
    void Clear() noexcept {
        Storage::Release(data);
        data = nullptr;
        size = 0;
        capacity = 0;
    }

    /** Replaces the content. A null pointer or no elements clear the zone. */
    void Assign(const Element* elements, size_t length) {
        if (elements == nullptr || length == 0) {
            Clear();
        } else if (Owns(elements)) {
            std::memmove(data, elements, length * sizeof(Element));
            size = length;
        } else {
            Resize(length);
            std::memcpy(data, elements, length * sizeof(Element));
        }
    }

    void Assign(const CTZone& other) { *this = other; }

    /** Sets the size to `count` and every element to `value`. */
    void Fill(size_t count, Element value) {
        Resize(count);
        std::fill_n(data, count, value);
    }

    /** Extends the zone to `count` elements, the new ones of one value; a longer one stays as is.
     */
    void FillUpTo(size_t count, Element value) {
        if (count > size) {
            const size_t first = size;
            Resize(count);
            std::fill_n(data + first, count - first, value);
        }
    }

    void Append(Element value) {
        Resize(CheckedSum(size, 1));
        data[size - 1] = value;
    }

    /** A null pointer is ignored. */
    void Append(const Element* elements, size_t length) {
        if (elements == nullptr || length == 0) {
            return;
        }
        const bool own = Owns(elements);
        const size_t offset = own ? static_cast<size_t>(elements - data) : 0;
        const size_t first = size;
        Resize(CheckedSum(size, length));
        std::memcpy(data + first, own ? data + offset : elements, length * sizeof(Element));
    }

    void Append(const CTZone& other) { Append(other.data, other.size); }

    /** Appends 16 bits, high byte first. */
    void AppendUInt16BE(uint16_t value) {
        Append(static_cast<Element>(value >> 8));
        Append(static_cast<Element>(value & 0xFF));
    }

    /** Appends 16 bits, low byte first. */
    void AppendUInt16LE(uint16_t value) {
        Append(static_cast<Element>(value & 0xFF));
        Append(static_cast<Element>(value >> 8));
    }

    void Insert(size_t position, Element value) { Insert(position, size_t{1}, value); }

    /** Inserts before `position`; one behind the end, or a null pointer, is ignored. */
    void Insert(size_t position, const Element* elements, size_t length) {
        if (position > size || elements == nullptr || length == 0) {
            return;
        }
        if (Owns(elements)) {
            const CTZone copy(elements, length);
            Insert(position, copy.data, length);
            return;
        }
        OpenGap(position, length);
        std::memcpy(data + position, elements, length * sizeof(Element));
    }

    void Insert(size_t position, const CTZone& other) { Insert(position, other.data, other.size); }

    void Insert(size_t position, size_t count, Element value) {
        if (position > size || count == 0) {
            return;
        }
        OpenGap(position, count);
        std::fill_n(data + position, count, value);
    }

    /** Removes up to `count` elements from `position` on. */
    void Erase(size_t position, size_t count) {
        if (position >= size) {
            return;
        }
        const size_t removed = count < size - position ? count : size - position;
        std::memmove(data + position, data + position + removed,
                     (size - position - removed) * sizeof(Element));
        size -= removed;
    }

    /** Removes zero elements from the front: the form of big integers. */
    void TrimLeadingZeros() {
        size_t zeros = 0;
        while (zeros < size && data[zeros] == 0) {
            ++zeros;
        }
        Erase(0, zeros);
    }

    /** Removes elements equal to `value` from the end. */
    void TrimTrailing(Element value) {
        while (size > 0 && data[size - 1] == value) {
            --size;
        }
    }

    /** Removes `count` elements from the end, all of them when there are fewer. */
    void DropLast(size_t count) { size -= count < size ? count : size; }

    void Reverse() {
        for (size_t low = 0, high = size; low + 1 < high; ++low) {
            std::swap(data[low], data[--high]);
        }
    }

private:
    bool Owns(const Element* elements) const noexcept {
        const auto address = reinterpret_cast<uintptr_t>(elements);
        const auto first = reinterpret_cast<uintptr_t>(data);
        return data != nullptr && address >= first && address < first + size * sizeof(Element);
    }

    void SetCapacity(size_t count) {
        const size_t bytes = CheckedBytes(count, sizeof(Element));
        data = static_cast<Element*>(data == nullptr
                                         ? Storage::Allocate(bytes)
                                         : Storage::Regrow(data, size * sizeof(Element), bytes));
        capacity = count;
    }

    void OpenGap(size_t position, size_t length) {
        const size_t tail = size - position;
        Resize(CheckedSum(size, length));
        std::memmove(data + position + length, data + position, tail * sizeof(Element));
    }

    Element* data = nullptr;
    uint64_t size = 0;
    uint64_t capacity = 0;
};

using CByteZone = CTZone<unsigned char, false>;
using CSecureByteZone = CTZone<unsigned char, true>;

static_assert(sizeof(CByteZone) == 24, "modules rely on pointer, size, capacity");
