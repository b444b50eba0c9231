#include "forward.h"

#include <algorithm>
#include <iterator>

static constexpr CK_ULONG kShownNumbers = 8;

static char* Append(char* position, const char* text) {
    while (*text != '\0') {
        *position++ = *text++;
    }
    return position;
}

static char* AppendNumber(char* position, CK_ULONG number, unsigned base) {
    char digits[24];
    char* first = std::end(digits);
    do {
        *--first = "0123456789abcdef"[number % base];
        number /= base;
    } while (number != 0);
    position = Append(position, base == 16 ? "0x" : "");
    return std::copy(first, std::end(digits), position);
}

CNumberText::CNumberText(const CK_ULONG* number, unsigned base) {
    char* end = number != nullptr ? AppendNumber(text, *number, base) : Append(text, "none");
    *end = '\0';
}

CNumbersText::CNumbersText(const CK_ULONG* numbers, const CK_ULONG* count) {
    CK_ULONG all = numbers != nullptr && count != nullptr ? *count : 0;
    char* end = Append(text, all == 0 ? "none" : "");
    for (CK_ULONG i = 0; i < std::min(all, kShownNumbers); i++) {
        end = AppendNumber(Append(end, i > 0 ? " " : ""), numbers[i], 16);
    }
    *Append(end, all > kShownNumbers ? " ..." : "") = '\0';
}
