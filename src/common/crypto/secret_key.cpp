#include "crypto/secret_key.h"

#include "crypto/key_failures.h"

static constexpr char kNoWholeBlocks[] = "Total input length must be a multiple of block length!";

CSecretKey::CSecretKey(const CSecureByteZone& keyBytes, size_t bytesInBlock)
    : key(keyBytes), blockSize(bytesInBlock) {}

void CSecretKey::EncryptInit(int newPadding, int newMode) {
    buffer.Resize(0);
    pending = 0;
    SetParameters(newPadding, newMode);
}

void CSecretKey::DecryptInit(int newPadding, int newMode) {
    CSecretKey::EncryptInit(newPadding, newMode);
}

void CSecretKey::SetParameters(int newPadding, int newMode) {
    padding = newPadding;
    mode = newMode;
}

/** How many of the bytes are processed now; with `holdLast` a full last block waits for the end. */
size_t CSecretKey::CountWholeBlocks(size_t total, bool holdLast) const {
    const size_t whole = total - total % blockSize;
    return holdLast && whole == total && total > 0 ? whole - blockSize : whole;
}

void CSecretKey::Encrypt(const unsigned char* in, size_t inLength, unsigned char* out,
                         size_t& outLength) {
    size_t first = 0;
    EncryptUpdate(in, inLength, out, first);
    size_t last = 0;
    EncryptFinal(out != nullptr ? out + first : nullptr, last);
    outLength = first + last;
}

void CSecretKey::EncryptUpdate(const unsigned char* in, size_t inLength, unsigned char* out,
                               size_t& outLength) {
    if (out == nullptr) {
        // Kept: a query for the size changes the state; the call that follows puts it right.
        const size_t total = inLength + pending;
        outLength = CountWholeBlocks(total, false);
        pending = total - outLength;
        return;
    }
    buffer.Append(in, inLength);
    if (buffer.GetSize() < blockSize) {
        // Kept: `pending` is left alone. Callers rely on what final calls make of that.
        outLength = 0;
        return;
    }
    outLength = CountWholeBlocks(buffer.GetSize(), false);
    if (mode == kEcbMode) {
        EncryptECB(out, outLength);
    } else {
        EncryptCBC(out, outLength);
    }
    buffer.Erase(0, outLength);
    pending = buffer.GetSize();
}

void CSecretKey::EncryptFinal(unsigned char* out, size_t& outLength) {
    if (padding != kPkcs7Padding && padding != kZeroPadding) {
        if (pending != 0) {
            RAISE_KEY_FAILURE(kNoWholeBlocks, kDataLenRange);
        }
        outLength = 0;
        return;
    }
    outLength = padding == kPkcs7Padding || pending != 0 ? blockSize : 0;
    if (out != nullptr) {
        const size_t added = blockSize - buffer.GetSize();
        const bool zeros = padding == kZeroPadding;
        buffer.FillUpTo(blockSize, zeros ? 0 : static_cast<unsigned char>(added));
        // Kept: CBC in both modes. In ECB mode the chaining value decides what the last block is.
        EncryptCBC(out, outLength);
    }
}

void CSecretKey::Decrypt(const unsigned char* in, size_t inLength, unsigned char* out,
                         size_t& outLength) {
    size_t first = 0;
    DecryptUpdate(in, inLength, out, first);
    size_t last = 0;
    DecryptFinal(out != nullptr ? out + first : nullptr, last);
    outLength = first + last;
}

void CSecretKey::DecryptUpdate(const unsigned char* in, size_t inLength, unsigned char* out,
                               size_t& outLength) {
    const bool holdLast = padding == kPkcs7Padding;
    if (out == nullptr) {
        const size_t total = inLength + pending;
        outLength = CountWholeBlocks(total, holdLast);
        pending = total - outLength;
        return;
    }
    buffer.Append(in, inLength);
    if (buffer.GetSize() < blockSize) {
        outLength = 0;
        return;
    }
    outLength = CountWholeBlocks(buffer.GetSize(), holdLast);
    if (outLength > 0 && mode == kEcbMode) {
        DecryptECB(out, outLength);
    } else if (outLength > 0) {
        DecryptCBC(out, outLength);
    }
    buffer.Erase(0, outLength);
    pending = buffer.GetSize();
}

void CSecretKey::DecryptFinal(unsigned char* out, size_t& outLength) {
    const size_t held = padding == kPkcs7Padding ? blockSize : 0;
    // Queries count into `pending` what may never have come.
    if (pending != held || (out != nullptr && buffer.GetSize() < held)) {
        RAISE_KEY_FAILURE(kNoWholeBlocks, kEncryptedDataLenRange);
    }
    outLength = held;
    if (held == 0 || out == nullptr) {
        return;
    }
    if (mode == kCbcMode) {
        DecryptCBC(out, blockSize);
    } else {
        DecryptECB(out, blockSize);
    }
    // Kept: neither the padding nor that number is checked. A large one wraps, as callers know.
    outLength = blockSize - out[blockSize - 1];
}

void CSecretKey::EncryptECB(unsigned char*, size_t) {
    RAISE_STUB("CSecretKey::EncryptECB must been override");
}

void CSecretKey::DecryptECB(unsigned char*, size_t) {
    RAISE_STUB("CSecretKey::DecryptECB must been override");
}

void CSecretKey::EncryptCBC(unsigned char*, size_t) {
    RAISE_STUB("CSecretKey::EncryptCBC must been override");
}

void CSecretKey::DecryptCBC(unsigned char*, size_t) {
    RAISE_STUB("CSecretKey::DecryptCBC must been override");
}
