/**
 * The growable array of things that belong to one owner: entries, sections, children.
 */
#pragma once

#include "util/growth.h"

#include <algorithm>
#include <cstddef>
#include <memory>
#include <new>
#include <type_traits>
#include <utility>

/**
 * Elements in order, destroyed with the array. For objects whose address must stay, the elements
 * are std::unique_ptr.
 *
 * The first allocation holds two elements and a full array doubles. Indices from GetCount() on are
 * out of contract.
 */
template <class Element>
class CTOwnedArray {
    static_assert(std::is_nothrow_move_constructible_v<Element>, "growing moves the elements");

public:
    CTOwnedArray() noexcept = default;
    CTOwnedArray(CTOwnedArray&& other) noexcept
        : items(std::exchange(other.items, nullptr)),
          count(std::exchange(other.count, 0)),
          capacity(std::exchange(other.capacity, 0)) {}
    ~CTOwnedArray() {
        std::destroy_n(items, count);
        ::operator delete(items);
    }
    CTOwnedArray(const CTOwnedArray&) = delete;
    CTOwnedArray& operator=(const CTOwnedArray&) = delete;

    Element& Append(Element element) {
        if (count == capacity) {
            Grow();
        }
        return *new (items + count++) Element(std::move(element));
    }

    /** Removes one element; those behind it move up. */
    void Remove(size_t index) {
        std::move(items + index + 1, items + count, items + index);
        std::destroy_at(items + --count);
    }

    size_t GetCount() const noexcept { return count; }
    size_t GetCapacity() const noexcept { return capacity; }

    Element& operator[](size_t index) noexcept { return items[index]; }
    const Element& operator[](size_t index) const noexcept { return items[index]; }

    Element* begin() noexcept { return items; }
    Element* end() noexcept { return items + count; }
    const Element* begin() const noexcept { return items; }
    const Element* end() const noexcept { return items + count; }

private:
    void Grow() {
        const size_t grown = capacity == 0 ? 2 : CheckedSum(capacity, capacity);
        // NOLINTNEXTLINE(bugprone-sizeof-expression): the elements may be pointers.
        const size_t bytes = CheckedBytes(grown, sizeof(Element));
        auto* const moved = static_cast<Element*>(::operator new(bytes));
        std::uninitialized_move_n(items, count, moved);
        std::destroy_n(items, count);
        ::operator delete(items);
        items = moved;
        capacity = grown;
    }

    Element* items = nullptr;
    size_t count = 0;
    size_t capacity = 0;
};
