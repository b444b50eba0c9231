/**
 * The growable array of strings that splitting a text gives.
 */
#pragma once

#include "util/ct_string.h"
#include "util/ct_zone.h"
#include "util/growth.h"

#include <cstddef>
#include <cstdint>
#include <memory>
#include <new>
#include <utility>

/**
 * Strings in order, owned. Grows by the rule of growth.h; indices from GetCount() on are out of
 * contract. Copies share the strings' buffers, so a list and its copies belong to one thread.
 */
template <class String>
class CTStringList {
public:
    CTStringList() noexcept = default;
    CTStringList(const CTStringList& other) : CTStringList() {
        for (const String& item : other) {
            Append(item);
        }
    }
    CTStringList(CTStringList&& other) noexcept
        : capacity(std::exchange(other.capacity, 0)),
          count(std::exchange(other.count, 0)),
          items(std::exchange(other.items, nullptr)) {}
    CTStringList& operator=(CTStringList other) noexcept {
        std::swap(capacity, other.capacity);
        std::swap(count, other.count);
        std::swap(items, other.items);
        return *this;
    }
    ~CTStringList() {
        std::destroy_n(items, count);
        CTZoneStorage<false>::Release(items);
    }

    void Append(String item) {
        if (count == capacity) {
            Grow();
        }
        new (items + count) String(std::move(item));
        ++count;
    }

    size_t GetCount() const noexcept { return count; }
    size_t GetCapacity() const noexcept { return capacity; }
    const String& operator[](size_t index) const noexcept { return items[index]; }

    const String* begin() const noexcept { return items; }
    const String* end() const noexcept { return items + count; }

private:
    void Grow() {
        const size_t grown = GrownCapacity(capacity, count + 1);
        auto* const moved = static_cast<String*>(
            CTZoneStorage<false>::Allocate(CheckedBytes(grown, sizeof(String))));
        for (size_t i = 0; i < count; ++i) {
            new (moved + i) String(std::move(items[i]));
            items[i].~String();
        }
        CTZoneStorage<false>::Release(items);
        items = moved;
        capacity = grown;
    }

    uint64_t capacity = 0;
    uint64_t count = 0;
    String* items = nullptr;
};

using CStringList = CTStringList<CUTF8String>;
