#include "crypto/aes_key.h"
#include "support/stanza_file.h"
#include "support/string_print.h"

#include <gtest/gtest.h>

#include <sstream>

/** What a call writes, and behind a "!" the bare unsigned long that it throws. */
template <class Call>
static std::string Outcome(Call call) {
    std::ostringstream text;
    try {
        call(text);
    } catch (unsigned long code) {
        text << '!' << std::hex << code;
    }
    return text.str();
}

TEST(KeyClasses, StreamInPieces) {
    FOR_EACH_STANZA(row, ReadStanzas("crypto/key_streams.txt")) {
        const bool encrypt = row.Int("encrypt_int") != 0;
        const auto update = encrypt ? &CKey::EncryptUpdate : &CKey::DecryptUpdate;
        CAesKey key(CByteZone(16, 1));
        CByteZone in(64, 0x20), room(64, 0);
        std::istringstream pieces(row.Text("pieces_text"));
        const auto run = [&](std::ostream& text) {
            const int padding = static_cast<int>(row.Int("padding_int"));
            (key.*(encrypt ? &CKey::EncryptInit : &CKey::DecryptInit))(padding, kEcbMode);
            size_t size = 0;
            for (size_t piece; pieces >> piece;) {
                if (row.Int("queries_int") != 0) {
                    (key.*update)(in.GetData(), piece, nullptr, size);
                    text << size << '=';
                }
                (key.*update)(in.GetData(), piece, room.GetData(), size);
                text << size << ' ';
            }
            (key.*(encrypt ? &CKey::EncryptFinal : &CKey::DecryptFinal))(nullptr, size);
            text << size;
        };
        EXPECT_EQ(Outcome(run), row.Text("expected_text"));
        row.Skip();
    }
}

TEST(KeyClasses, KeepTheirOddities) {
    CByteZone block(16, 7), out(32, 0xEE);
    CAesKey key(block), unusable(CByteZone(15, 1));
    size_t size = 0;
    EXPECT_EQ(Outcome([&](auto&) { key.EncryptFull(CByteZone(15, 0), kNoPadding, 0); }), "!21");
    EXPECT_EQ(unusable.EncryptFull(block, kNoPadding, kCbcMode), CByteZone(16, 0));

    // The last block of ECB is chained to the first chaining value, and only when encrypting.
    const CByteZone zeroIv = key.EncryptFull(block, kPkcs7Padding, kEcbMode);
    key.SetIv(block);
    const CByteZone otherIv = key.EncryptFull(block, kPkcs7Padding, kEcbMode);
    EXPECT_EQ(CByteZone(zeroIv.GetData(), 16), CByteZone(otherIv.GetData(), 16));
    EXPECT_NE(zeroIv, otherIv);

    // One block with PKCS #7 padding: the size less the last byte, also when that wraps.
    for (const unsigned char last : {1, 16, 17, 255}) {
        const CByteZone crypted = key.EncryptFull(CByteZone(16, last), kNoPadding, kEcbMode);
        key.DecryptInit(kPkcs7Padding, kEcbMode);
        key.Decrypt(crypted.GetData(), 16, out.GetData(), size);
        EXPECT_EQ(size, size_t{16} - last);
    }

    // Outputs are filled as far as the size says, and from no more than the buffer has.
    key.EncryptInit(kZeroPadding, kCbcMode);
    out.Fill(32, 0xEE);
    key.EncryptFinal(out.GetData(), size);
    EXPECT_EQ(out, CByteZone(32, 0xEE));
    key.EncryptCBC(out.GetData(), 32);
    EXPECT_EQ(out, CByteZone(32, 0));
    key.DecryptInit(kPkcs7Padding, kCbcMode);
    key.DecryptUpdate(block.GetData(), 16, nullptr, size);
    EXPECT_EQ(Outcome([&](auto&) { key.DecryptFinal(out.GetData(), size); }), "!41");
}
