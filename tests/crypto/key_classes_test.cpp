#include "crypto/aes_key.h"
#include "support/stanza_file.h"
#include "support/string_print.h"

#include <gtest/gtest.h>

#include <sstream>

/** The sizes that the steps of a row give, and "!" with the bare unsigned long that ends them. */
static std::string Stream(CAesKey& key, const CStanza& row, CByteZone& room) {
    const bool encrypt = row.Int("encrypt_int") != 0;
    const auto all = encrypt ? &CKey::Encrypt : &CKey::Decrypt;
    const auto update = encrypt ? &CKey::EncryptUpdate : &CKey::DecryptUpdate;
    const CByteZone in = row.Bytes("in");
    std::ostringstream sizes;
    std::istringstream steps(row.Text("steps_text"));
    size_t taken = 0, done = 0, size = 0;
    try {
        (key.*(encrypt ? &CKey::EncryptInit : &CKey::DecryptInit))(
            static_cast<int>(row.Int("padding_int")), static_cast<int>(row.Int("mode_int")));
        for (std::string step; steps >> step; sizes << ' ' << size) {
            const bool query = step.back() == '?';
            unsigned char* const out = query ? nullptr : room.GetData() + done;
            if (step[0] == 'e') {
                (key.*(encrypt ? &CKey::EncryptFinal : &CKey::DecryptFinal))(out, size);
            } else {
                const size_t piece = step[0] == 'a' ? in.GetSize() : std::stoul(step);
                (key.*(step[0] == 'a' ? all : update))(in.GetData() + taken, piece, out, size);
                taken += query ? 0 : piece;
            }
            done += query ? 0 : size;
        }
    } catch (unsigned long code) {
        sizes << " !" << std::hex << code;
    }
    return sizes.str();
}

TEST(KeyClasses, StreamInPieces) {
    FOR_EACH_STANZA(row, ReadStanzas("crypto/key_streams.txt")) {
        CAesKey key(row.Has("key") ? row.Bytes("key") : CByteZone(16, 1));
        key.SetIv(CByteZone(16, 5));
        key.SetIv(CByteZone(8, 6));
        CByteZone room;
        for (const char* init : {"first", "another"}) {
            room.Fill(64, 0xEE);
            EXPECT_EQ(Stream(key, row, room), " " + row.Text("sizes_text")) << init;
        }
        room.TrimTrailing(0xEE);
        EXPECT_EQ(room, row.Bytes("out"));
    }
}

TEST(KeyClasses, DoAllInOneCall) {
    CAesKey key(CByteZone(16, 1));
    CByteZone out(32, 0xEE);
    size_t size = 0;
    EXPECT_EQ(key.EncryptFull(CByteZone(16, 7), kPkcs7Padding, kCbcMode).GetSize(), 32U);
    EXPECT_EQ(key.EncryptFull(CByteZone(), kNoPadding, kEcbMode), CByteZone());

    // What is refused does no init; the blocks come from no more than the buffer has.
    key.EncryptInit(kZeroPadding, kCbcMode);
    key.EncryptUpdate(nullptr, 5, nullptr, size);
    EXPECT_THROW(key.EncryptFull(CByteZone(15, 0), kNoPadding, kEcbMode), unsigned long);
    key.EncryptFinal(nullptr, size);
    EXPECT_EQ(size, 16U);
    key.EncryptCBC(out.GetData(), 32);
    EXPECT_EQ(out, CByteZone(32, 0));
}
