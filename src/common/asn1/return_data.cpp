#include "asn1/return_data.h"

#include "util/exception.h"
#include "util/raise.h"

#include <algorithm>

namespace {

constexpr unsigned long kArgumentsBad = 7;      // CKR_ARGUMENTS_BAD
constexpr unsigned long kBufferTooSmall = 336;  // CKR_BUFFER_TOO_SMALL

}  // namespace

bool ReturnData(unsigned char* destination, unsigned long* destinationLength,
                const unsigned char* data, size_t length) {
    if (destinationLength == nullptr) {
        RAISE(CException(kArgumentsBad));
    }
    if (destination == nullptr) {
        *destinationLength = length;
        return false;
    }
    if (*destinationLength < length) {
        *destinationLength = length;
        RAISE(CException(kBufferTooSmall));
    }
    std::copy_n(data, length, destination);
    return true;
}
