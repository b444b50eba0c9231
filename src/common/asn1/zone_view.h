/**
 * Bytes that someone else owns: what the codec reads from and writes to.
 */
#pragma once

#include "util/ct_zone.h"

#include <algorithm>
#include <cstddef>
#include <type_traits>

/**
 * A pointer and a size, passed by value. `Byte` is const for what is read and not for what is
 * written; a zone becomes a view by itself, and a writable view becomes a read-only one.
 *
 * The bytes must outlive the view and stay where they are. A view of no bytes always has a null
 * pointer.
 */
template <class Byte>
class CTByteView {
    using Element = std::remove_const_t<Byte>;
    template <bool Secure>
    using Zone = std::conditional_t<std::is_const_v<Byte>, const CTZone<Element, Secure>,
                                    CTZone<Element, Secure>>;

public:
    constexpr CTByteView() noexcept = default;
    constexpr CTByteView(Byte* bytes, size_t length) noexcept
        : data(length > 0 ? bytes : nullptr), size(bytes != nullptr ? length : 0) {}

    CTByteView(Zone<false>& zone) noexcept : CTByteView(zone.GetData(), zone.GetSize()) {}
    CTByteView(Zone<true>& zone) noexcept : CTByteView(zone.GetData(), zone.GetSize()) {}

    constexpr operator CTByteView<const Element>() const noexcept { return {data, size}; }

    constexpr Byte* GetData() const noexcept { return data; }
    constexpr size_t GetSize() const noexcept { return size; }
    constexpr bool IsEmpty() const noexcept { return size == 0; }

    constexpr Byte* begin() const noexcept { return data; }
    constexpr Byte* end() const noexcept { return data + size; }
    constexpr Byte& operator[](size_t position) const noexcept { return data[position]; }

    /** Whether `length` bytes from `position` on lie inside, whatever the two numbers are. */
    constexpr bool Holds(size_t position, size_t length) const noexcept {
        return position <= size && length <= size - position;
    }

    /** Up to `length` bytes from `position` on; what lies behind the end is left out. */
    constexpr CTByteView Sub(size_t position, size_t length = SIZE_MAX) const noexcept {
        const size_t first = std::min(position, size);
        return {data + first, std::min(length, size - first)};
    }

    CTZone<Element, false> ToZone() const { return {data, size}; }

private:
    Byte* data = nullptr;
    size_t size = 0;
};

using CByteView = CTByteView<const unsigned char>;
using CMutableByteView = CTByteView<unsigned char>;

/** Whether two views, or a view and a zone, show the same bytes. */
inline bool operator==(CByteView left, CByteView right) noexcept {
    return std::equal(left.begin(), left.end(), right.begin(), right.end());
}
inline bool operator!=(CByteView left, CByteView right) noexcept { return !(left == right); }
