/**
 * Block ciphers: buffering and padding, for all of them alike.
 */
#pragma once

#include "crypto/key.h"

/**
 * Gathers input to whole blocks and fills the last one; a concrete cipher adds the operations on
 * blocks, which here throw.
 *
 * Encryption and decryption share the buffer, and every init empties it. A call that has an output
 * but less than a block of input leaves `pending` alone: without a size query before it, a final
 * call then knows nothing of that input. Callers in two passes never see that.
 *
 * Decryption with PKCS #7 padding takes the last byte as the number of bytes to drop and checks
 * nothing; a number above the block's size makes `outLength` wrap.
 */
class CSecretKey : public CKey {
public:
    CSecretKey(const CSecureByteZone& keyBytes, size_t bytesInBlock);

    void EncryptInit(int newPadding, int newMode) override;
    void Encrypt(const unsigned char* in, size_t inLength, unsigned char* out,
                 size_t& outLength) override;
    void EncryptUpdate(const unsigned char* in, size_t inLength, unsigned char* out,
                       size_t& outLength) override;
    void EncryptFinal(unsigned char* out, size_t& outLength) override;
    void DecryptInit(int newPadding, int newMode) override;
    void Decrypt(const unsigned char* in, size_t inLength, unsigned char* out,
                 size_t& outLength) override;
    void DecryptUpdate(const unsigned char* in, size_t inLength, unsigned char* out,
                       size_t& outLength) override;
    void DecryptFinal(unsigned char* out, size_t& outLength) override;

    virtual void SetParameters(int newPadding, int newMode);

    // These take the first `length` bytes of the buffer, whole blocks, to `out`.
    virtual void EncryptECB(unsigned char* out, size_t length);
    virtual void DecryptECB(unsigned char* out, size_t length);
    virtual void EncryptCBC(unsigned char* out, size_t length);
    virtual void DecryptCBC(unsigned char* out, size_t length);

protected:
    ~CSecretKey() = default;

    CSecureByteZone key;
    CByteZone buffer;  // input not yet processed
    size_t pending = 0;
    int mode = kEcbMode;
    int padding = kNoPadding;
    size_t blockSize;

private:
    size_t CountWholeBlocks(size_t total, bool holdLast) const;
};
