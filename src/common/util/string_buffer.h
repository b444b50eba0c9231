/**
 * The shared buffer behind a string: the fields of a zone, then the count of its holders.
 */
#pragma once

#include "util/ct_zone.h"
#include "util/growth.h"

#include <endian.h>

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <new>

/** Copies one to two words in two steps that may overlap. */
template <class Word>
[[gnu::always_inline]] inline void CopyBothEnds(void* target, const void* source, size_t bytes) {
    auto* const to = static_cast<unsigned char*>(target);
    const auto* const from = static_cast<const unsigned char*>(source);
    Word first;
    Word last;
    std::memcpy(&first, from, sizeof(Word));
    std::memcpy(&last, from + bytes - sizeof(Word), sizeof(Word));
    std::memcpy(to, &first, sizeof(Word));
    std::memcpy(to + bytes - sizeof(Word), &last, sizeof(Word));
}

/** Stores a unit and a zero unit behind it; the bytes in one step, as appending them is hot. */
inline void StoreLast(char* to, char32_t unit) {
    const uint16_t both = htole16(static_cast<uint16_t>(unit));
    std::memcpy(to, &both, sizeof(both));
}
inline void StoreLast(wchar_t* to, char32_t unit) {
    to[0] = static_cast<wchar_t>(unit);
    to[1] = 0;
}

constexpr size_t kShortText = 32;

/** memcpy for up to kShortText bytes, where a call of the C library costs more than the copy. */
[[gnu::always_inline]] inline void CopyShortText(void* to, const void* from, size_t bytes) {
    using Vector = uint64_t __attribute__((vector_size(16)));
    if (bytes >= 16) {
        CopyBothEnds<Vector>(to, from, bytes);
    } else if (bytes >= 8) {
        CopyBothEnds<uint64_t>(to, from, bytes);
    } else if (bytes >= 4) {
        CopyBothEnds<uint32_t>(to, from, bytes);
    } else if (bytes >= 2) {
        CopyBothEnds<uint16_t>(to, from, bytes);
    } else if (bytes == 1) {
        std::memcpy(to, from, 1);
    }
}

/**
 * A record of storage pointer, size, capacity and reference count, in this order.
 *
 * `size` counts a terminating zero unit. The record is always an ordinary heap object. A plain
 * buffer has its storage behind the record, in one block, so that a string costs one allocation; a
 * secure one has it in the secure heap.
 */
template <class Unit, bool Secure>
struct CTStringBuffer {
    Unit* data;
    uint64_t size;
    uint64_t capacity;
    int32_t count;

    /** A buffer for `capacity` units with one holder and the size 0. */
    static CTStringBuffer* Create(size_t capacity) {
        const size_t bytes = CheckedBytes(capacity, sizeof(Unit));
        auto* const buffer = static_cast<CTStringBuffer*>(CTZoneStorage<false>::Allocate(
            Secure ? sizeof(CTStringBuffer) : CheckedSum(bytes, sizeof(CTStringBuffer))));
        if constexpr (Secure) {
            try {
                buffer->data = static_cast<Unit*>(CTZoneStorage<true>::Allocate(bytes));
            } catch (...) {
                std::free(buffer);
                throw;
            }
        } else {
            buffer->data = reinterpret_cast<Unit*>(buffer + 1);
        }
        buffer->size = 0;
        buffer->capacity = capacity;
        buffer->count = 1;
        return buffer;
    }

    /** Grows the storage of a buffer with one holder; the record may move. */
    static CTStringBuffer* Regrow(CTStringBuffer* buffer, size_t capacity) {
        const size_t bytes = CheckedBytes(capacity, sizeof(Unit));
        if constexpr (Secure) {
            buffer->data = static_cast<Unit*>(
                CTZoneStorage<true>::Regrow(buffer->data, buffer->size * sizeof(Unit), bytes));
        } else {
            buffer = static_cast<CTStringBuffer*>(
                CTZoneStorage<false>::Regrow(buffer, 0, CheckedSum(bytes, sizeof(CTStringBuffer))));
            buffer->data = reinterpret_cast<Unit*>(buffer + 1);
        }
        buffer->capacity = capacity;
        return buffer;
    }

    /** Frees the buffer, and wipes it first when it is secure. */
    static void Destroy(CTStringBuffer* buffer) noexcept {
        if constexpr (Secure) {
            CTZoneStorage<true>::Release(buffer->data);
        }
        std::free(buffer);
    }
};

static_assert(sizeof(CTStringBuffer<char, false>) == 32, "modules rely on zone, then count");
