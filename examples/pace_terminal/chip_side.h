/**
 * The chip's side of PACE, on the calls of OpenSSL alone: it shares no code with the terminal's
 * side, so that neither repeats a mistake of the other.
 *
 * A chip for showing the protocol, not for keeping secrets: nothing is done against timing.
 */
#pragma once

#include "chip_group.h"

/** A variant of the protocol, as the last two arcs of its identifier (Doc 9303 part 11, 9.2.5). */
struct CPaceVariant {
    bool IsEcdh() const { return family == 2 || family == 4 || family == 6; }
    bool IsIntegrated() const { return family == 3 || family == 4; }
    bool IsAes() const { return cipher != 1; }
    size_t GetKeySize() const { return cipher < 3 ? 16 : cipher == 3 ? 24 : 32; }
    size_t GetNonceSize() const { return cipher < 3 ? 16 : 32; }

    unsigned family;  // 1, 2: generic, 3, 4: integrated, 6: chip authentication mapping
    unsigned cipher;  // 1: triple DES, 2 to 4: AES of 128, 192 and 256 bits
};

/**
 * One run of the protocol, in the order of its operations. What fails, or breaks the rules of the
 * protocol, is a std::runtime_error.
 */
class CChipSide {
public:
    CChipSide(const CPaceVariant& announced, int domainId);

    /** Draws the nonce and encrypts it with the password's key (4.4.3.3). */
    COctets EncryptNonce(const COctets& password);

    /** Generic mapping: the chip's public value for the terminal's. */
    COctets MapGenerically(const COctets& terminalValue);
    /** Integrated mapping: with the terminal's nonce. */
    void MapIntegrated(const COctets& terminalNonce);

    /** The agreement on the mapped generator. */
    COctets Agree(const COctets& terminalValue);

    /** Compares the terminal's token. */
    bool IsRight(const COctets& terminalToken) const;
    /** The chip's token, which is sent only to terminals whose own was right. */
    COctets MakeToken() const;

    const COctets& GetGenerator() const { return generator; }
    const COctets& GetEncryptionKey() const { return encryptionKey; }
    const COctets& GetMacKey() const { return macKey; }

private:
    /** A fresh public value on the generator, and the member shared with the terminal's. */
    COctets Exchange(const COctets& terminalValue, COctets& shared) const;
    /** E of Doc 9303: CBC from zeros, or from `iv`, without padding. */
    COctets Encrypt(const COctets& key, const COctets& data, const COctets& iv = {}) const;
    COctets Derive(COctets secret, unsigned char counter) const;
    COctets MakeToken(const COctets& publicValue) const;

    const CPaceVariant variant;
    const std::unique_ptr<CChipGroup> group;
    COctets nonce, generator, ownValue, peerValue, encryptionKey, macKey;
};
