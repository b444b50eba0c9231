#include "util/byte_search.h"

#include <cstdint>
#include <cstring>

namespace {

constexpr size_t kCompareBlock = 256;

bool IsLead(char unit) { return static_cast<unsigned char>(unit) >= 0xC0; }

// Sixteen bytes that the processor takes at once.
using Vector = uint64_t __attribute__((vector_size(16)));

Vector LoadVector(const char* bytes) {
    Vector vector;
    std::memcpy(&vector, bytes, sizeof(vector));
    return vector;
}

}  // namespace

bool IsAsciiText(const char* text, size_t length) noexcept {
    size_t i = 0;
    for (; i + 64 <= length; i += 64) {
        const Vector all = (LoadVector(text + i) | LoadVector(text + i + 16)) |
                           (LoadVector(text + i + 32) | LoadVector(text + i + 48));
        if (((all[0] | all[1]) & kHighBits) != 0) {
            return false;
        }
    }
    uint64_t rest = 0;
    for (; i + 8 <= length; i += 8) {
        rest |= LoadWord(text + i);
    }
    for (; i < length; ++i) {
        rest |= static_cast<unsigned char>(text[i]);
    }
    return (rest & kHighBits) == 0;
}

size_t CommonPrefix(const char* left, const char* right, size_t length) noexcept {
    size_t i = 0;
    while (i < length) {
        const size_t block = length - i < kCompareBlock ? length - i : kCompareBlock;
        if (std::memcmp(left + i, right + i, block) != 0) {
            break;
        }
        i += block;
    }
    while (i + 8 <= length && LoadWord(left + i) == LoadWord(right + i)) {
        i += 8;
    }
    while (i < length && left[i] == right[i]) {
        ++i;
    }
    return i;
}

size_t SequenceStart(const char* text, size_t index) noexcept {
    for (; index > 0; --index) {
        const bool reached = IsLead(text[index - 1]) || (index > 1 && IsLead(text[index - 2])) ||
                             (index > 2 && IsLead(text[index - 3]));
        if (!reached) {
            break;
        }
    }
    return index;
}

const char* FindBytes(const char* text, size_t length, const char* wanted,
                      size_t wantedLength) noexcept {
    if (std::memchr(wanted, 0, wantedLength) != nullptr) {
        return static_cast<const char*>(memmem(text, length, wanted, wantedLength));
    }
    const char* const end = text + length;
    while (static_cast<size_t>(end - text) >= wantedLength) {
        // Both are ended by a zero byte, and the C library searches short words faster than bytes.
        if (const char* const found = std::strstr(text, wanted)) {
            return found;
        }
        text += std::strlen(text) + 1;
        if (text > end) {
            break;
        }
    }
    return nullptr;
}
