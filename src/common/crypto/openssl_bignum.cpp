#include "crypto/openssl_wrapper.h"
#include "crypto/raise_openssl.h"

namespace OpenSSLWrap {

namespace {

constexpr int kMostBits = 32;

template <class Zone>
Zone ToBytes(const BIGNUM* number, size_t size) {
    const auto natural = static_cast<size_t>(BN_num_bytes(number));
    Zone bytes(nullptr, size);
    if (natural > 0) {
        BN_bn2bin(number, bytes.GetData() + (size - natural));
    }
    return bytes;
}

/** The size of the bytes, checked; throws under the name that the log knows. */
size_t BignumToBuffer(const BIGNUM* number, size_t length, size_t natural) {
    if (number == nullptr) {
        TraceString0("BignumToBuffer: invalid parameters.");
        RAISE(ARGUMENT_INVALID());
    }
    if (length != 0 && length < natural) {
        TraceString0(
            "BignumToBuffer: desired length must be greater than given BIGNUM bytes length.");
        RAISE(ARGUMENT_INVALID());
    }
    return length != 0 ? length : natural;
}

size_t GetByteCount(const BIGNUM* number) {
    return number != nullptr ? static_cast<size_t>(BN_num_bytes(number)) : 0;
}

}  // namespace

CByteZone BignumToBuffer(const BIGNUM* number, size_t length) {
    return ToBytes<CByteZone>(number, BignumToBuffer(number, length, GetByteCount(number)));
}

CSecureByteZone BignumToSecureBuffer(const BIGNUM* number, size_t length) {
    return ToBytes<CSecureByteZone>(number, BignumToBuffer(number, length, GetByteCount(number)));
}

int32_t BignumToInt(const BIGNUM* number) {
    if (number == nullptr || BN_num_bits(number) > kMostBits) {
        TraceString0("BignumToInt: invalid parameters.");
        RAISE(ARGUMENT_INVALID());
    }
    uint32_t value = 0;
    for (const unsigned char byte : BignumToBuffer(number, 0)) {
        value = value << 8 | byte;
    }
    return static_cast<int32_t>(BN_is_negative(number) == 1 ? 0 - value : value);
}

CTHandle<BIGNUM> IntToBignum(int32_t value) {
    const auto bits = static_cast<uint32_t>(value);
    const uint32_t absolute = value < 0 ? 0 - bits : bits;
    const unsigned char bytes[] = {
        static_cast<unsigned char>(absolute >> 24), static_cast<unsigned char>(absolute >> 16),
        static_cast<unsigned char>(absolute >> 8), static_cast<unsigned char>(absolute)};
    auto number = Own(BN_bin2bn(bytes, sizeof(bytes), nullptr));
    if (!number) {
        RAISE_OPENSSL("BN_bin2bn");
    }
    BN_set_negative(number.Get(), value < 0 ? 1 : 0);
    return number;
}

}  // namespace OpenSSLWrap
