#include "forward.h"

#include <algorithm>

static constexpr CK_ULONG kShownNumbers = 8;

static char* Append(char* position, const char* text) {
    while (*text != '\0') {
        *position++ = *text++;
    }
    return position;
}

static char* AppendHex(char* position, CK_ULONG number) {
    constexpr int kBitsPerDigit = 4;
    int shift = 0;
    while (shift + kBitsPerDigit < 8 * static_cast<int>(sizeof number) &&
           number >> (shift + kBitsPerDigit) != 0) {
        shift += kBitsPerDigit;
    }
    position = Append(position, "0x");
    for (; shift >= 0; shift -= kBitsPerDigit) {
        *position++ = "0123456789abcdef"[number >> shift & 0xF];
    }
    return position;
}

CNumberText::CNumberText(const CK_ULONG* number) {
    *(number != nullptr ? AppendHex(text, *number) : Append(text, "none")) = '\0';
}

CNumbersText::CNumbersText(const CK_ULONG* numbers, const CK_ULONG* count) {
    CK_ULONG all = numbers != nullptr && count != nullptr ? *count : 0;
    char* end = Append(text, all == 0 ? "none" : "");
    for (CK_ULONG i = 0; i < std::min(all, kShownNumbers); i++) {
        end = AppendHex(Append(end, i > 0 ? " " : ""), numbers[i]);
    }
    *Append(end, all > kShownNumbers ? " ..." : "") = '\0';
}
