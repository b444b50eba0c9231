/**
 * The one growth rule of zones, strings and lists.
 */
#pragma once

#include <cstddef>
#include <cstdint>
#include <new>

/** The sum of two sizes; throws std::bad_alloc when it does not fit. */
inline size_t CheckedSum(size_t left, size_t right) {
    size_t sum = 0;
    if (__builtin_add_overflow(left, right, &sum)) {
        throw std::bad_alloc();
    }
    return sum;
}

/**
 * The capacity for `required` elements when `capacity` is too small: exactly `required` when there
 * is no storage yet, otherwise half the old capacity, rounded up, more than is required.
 *
 * It is no doubling: from a capacity of 100, one more element gives 151.
 */
inline size_t GrownCapacity(size_t capacity, size_t required) {
    return capacity == 0 ? required : CheckedSum(capacity / 2 + capacity % 2, required);
}

/** The bytes that `count` elements of `size` bytes take; throws std::bad_alloc when too many. */
inline size_t CheckedBytes(size_t count, size_t size) {
    size_t bytes = 0;
    if (__builtin_mul_overflow(count, size, &bytes) || bytes > PTRDIFF_MAX) {
        throw std::bad_alloc();
    }
    return bytes;
}
