/**
 * Keys for block-wise work in Cryptoki's style: init, update, final, and calls in two passes.
 */
#pragma once

#include "util/ct_zone.h"

#include <cstddef>

// How the chain of blocks is run.
constexpr int kEcbMode = 0;
constexpr int kCbcMode = 1;

// How the last block is filled.
constexpr int kNoPadding = 0;
constexpr int kPkcs7Padding = 1;  // every added byte holds their number
constexpr int kZeroPadding = 2;   // not taken off again by decryption

/**
 * The root of the keys: what cannot be done is traced and thrown as a bare `unsigned long`, a
 * CK_RV; here that is all but EncryptFull.
 *
 * With a null output the operations set `outLength` to the size that they would write; otherwise
 * the output has room for that much. A key does one operation at a time and has no lock.
 *
 * Modules are built against the order of the virtual operations. Keys are not deleted through this
 * class.
 */
class CKey {
public:
    /** Encrypts the whole of the data. */
    virtual CByteZone EncryptFull(const CByteZone& data, int padding, int mode);

    virtual void EncryptInit(int padding, int mode) = 0;

    /** Update and final in one. */
    virtual void Encrypt(const unsigned char* in, size_t inLength, unsigned char* out,
                         size_t& outLength);
    virtual void EncryptUpdate(const unsigned char* in, size_t inLength, unsigned char* out,
                               size_t& outLength);
    virtual void EncryptFinal(unsigned char* out, size_t& outLength);

    virtual void DecryptInit(int padding, int mode) = 0;
    virtual void Decrypt(const unsigned char* in, size_t inLength, unsigned char* out,
                         size_t& outLength);
    virtual void DecryptUpdate(const unsigned char* in, size_t inLength, unsigned char* out,
                               size_t& outLength);
    virtual void DecryptFinal(unsigned char* out, size_t& outLength);

protected:
    ~CKey() = default;
};
