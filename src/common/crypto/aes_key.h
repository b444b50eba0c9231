/**
 * AES keys.
 */
#pragma once

#include "crypto/secret_key.h"

/**
 * AES with a key of 16, 24 or 32 bytes. A failure of the cipher, also for a key of another size, is
 * only traced: the output is then filled with zeros.
 */
class CAesKey : public CSecretKey {
public:
    explicit CAesKey(const CSecureByteZone& keyBytes);
    explicit CAesKey(const CByteZone& keyBytes);

    /** Throws CKR_DATA_LEN_RANGE when there is no padding and the data is no whole number of
     * blocks. */
    CByteZone EncryptFull(const CByteZone& data, int newPadding, int newMode) override;

    /** Goes back to the first chaining value, too. */
    void SetParameters(int newPadding, int newMode) override;
    void EncryptECB(unsigned char* out, size_t length) override;
    void DecryptECB(unsigned char* out, size_t length) override;
    void EncryptCBC(unsigned char* out, size_t length) override;
    void DecryptCBC(unsigned char* out, size_t length) override;

    virtual ~CAesKey();

    /** The first chaining value of the next init; zeros without it. Other lengths than 16 bytes
     * are ignored. */
    void SetIv(const CByteZone& newIv);

private:
    void Run(bool encrypt, int blockMode, unsigned char* out, size_t length);

    CByteZone iv;
    CByteZone initialIv;
};
