#include "util/hex.h"

CUTF8String ToHex(const unsigned char* bytes, size_t length) {
    static constexpr char kDigits[] = "0123456789ABCDEF";
    CUTF8String text;
    if (length == 0) {
        return text;
    }
    text = CUTF8String::FromZeroUnits(CheckedBytes(length, 2));
    char* digit = text.GetWritableBuffer();
    for (size_t i = 0; i < length; ++i) {
        *digit++ = kDigits[bytes[i] >> 4];
        *digit++ = kDigits[bytes[i] & 0xF];
    }
    return text;
}
