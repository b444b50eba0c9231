#include "crypto/key.h"

#include "crypto/key_failures.h"

CByteZone CKey::EncryptFull(const CByteZone& data, int padding, int mode) {
    EncryptInit(padding, mode);
    size_t size = 0;
    Encrypt(data.GetData(), data.GetSize(), nullptr, size);
    CByteZone out(nullptr, size);
    Encrypt(data.GetData(), data.GetSize(), out.GetData(), size);
    out.Resize(size);
    return out;
}

void CKey::Encrypt(const unsigned char*, size_t, unsigned char*, size_t&) {
    RAISE_STUB("CKey::Encrypt must been override");
}

void CKey::EncryptUpdate(const unsigned char*, size_t, unsigned char*, size_t&) {
    RAISE_STUB("CKey::EncryptUpdate must been override");
}

void CKey::EncryptFinal(unsigned char*, size_t&) {
    RAISE_STUB("CKey::EncryptFinal must been override");
}

void CKey::Decrypt(const unsigned char*, size_t, unsigned char*, size_t&) {
    RAISE_STUB("CKey::Decrypt must been override");
}

void CKey::DecryptUpdate(const unsigned char*, size_t, unsigned char*, size_t&) {
    RAISE_STUB("CKey::DecryptUpdate must been override");
}

void CKey::DecryptFinal(unsigned char*, size_t&) {
    RAISE_STUB("CKey::DecryptFinal must been override");
}
