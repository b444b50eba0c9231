#include "crypto/openssl_wrapper.h"
#include "support/stanza_file.h"
#include "support/string_print.h"

#include <gtest/gtest.h>

TEST(KeyDerivation, IsADigestOfSecretAndCounter) {
    FOR_EACH_STANZA(row, ReadSharedStanzas("kdf.txt")) {
        CByteZone input = row.Bytes("secret");
        input.AppendUInt16BE(0);
        input.AppendUInt16BE(static_cast<uint16_t>(row.Int("counter_int")));
        const long bits = row.Int("key_bits_int");
        CByteZone key = bits == 128 ? OpenSSLWrap::Sha1(input) : OpenSSLWrap::Sha256(input);
        key.Resize(static_cast<size_t>(bits) / 8);
        EXPECT_EQ(key, row.Bytes("key"));
        row.Skip();  // parity bits are for show
    }
}
