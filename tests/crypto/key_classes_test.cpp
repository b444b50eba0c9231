#include "crypto/aes_key.h"
#include "support/stanza_file.h"
#include "support/string_print.h"

#include <gtest/gtest.h>

#include <sstream>

/** What a call writes, and behind " !" the bare unsigned long that it throws. */
template <class Call>
static std::string Outcome(Call call) {
    std::ostringstream text;
    try {
        call(text);
    } catch (unsigned long code) {
        text << " !" << std::hex << code;
    }
    return text.str();
}

TEST(KeyClasses, StreamInPieces) {
    FOR_EACH_STANZA(row, ReadStanzas("crypto/key_streams.txt")) {
        CAesKey key(row.Has("key") ? row.Bytes("key") : CByteZone(16, 1));
        key.SetIv(CByteZone(16, 5));
        key.SetIv(CByteZone(8, 6));
        const CByteZone in = row.Bytes("in");
        const bool encrypt = row.Int("encrypt_int") != 0;
        CByteZone room;
        const auto run = [&](std::ostream& text) {
            (key.*(encrypt ? &CKey::EncryptInit : &CKey::DecryptInit))(
                static_cast<int>(row.Int("padding_int")), static_cast<int>(row.Int("mode_int")));
            room.Fill(64, 0xEE);
            size_t taken = 0, done = 0, size = 0;
            std::istringstream steps(row.Text("steps_text"));
            for (std::string step; steps >> step; text << ' ' << size) {
                const bool query = step.back() == '?';
                unsigned char* const out = query ? nullptr : room.GetData() + done;
                if (step[0] == 'e') {
                    (key.*(encrypt ? &CKey::EncryptFinal : &CKey::DecryptFinal))(out, size);
                } else {
                    const size_t piece = std::stoul(step);
                    (key.*(encrypt ? &CKey::EncryptUpdate : &CKey::DecryptUpdate))(
                        in.GetData() + taken, piece, out, size);
                    taken += query ? 0 : piece;
                }
                done += query ? 0 : size;
            }
        };
        EXPECT_EQ(Outcome(run), " " + row.Text("sizes_text"));
        EXPECT_EQ(Outcome(run), " " + row.Text("sizes_text")) << "after another init";
        room.TrimTrailing(0xEE);
        EXPECT_EQ(room, row.Bytes("out"));
    }
}

TEST(KeyClasses, DoAllInOneCall) {
    const CByteZone block(16, 7);
    CByteZone padded = block, out(32, 0xEE);
    padded.FillUpTo(32, 16);
    CAesKey key(block);
    size_t size = 0;
    const CByteZone crypted = key.EncryptFull(block, kPkcs7Padding, kCbcMode);
    key.DecryptInit(kPkcs7Padding, kCbcMode);
    key.Decrypt(crypted.GetData(), crypted.GetSize(), nullptr, size);
    EXPECT_EQ(size, 32U);
    key.Decrypt(crypted.GetData(), crypted.GetSize(), out.GetData(), size);
    EXPECT_EQ(size, 16U);
    EXPECT_EQ(out, padded);
    EXPECT_EQ(key.EncryptFull(CByteZone(), kNoPadding, kEcbMode), CByteZone());

    // What is refused does no init; the blocks come from no more than the buffer has.
    key.EncryptInit(kZeroPadding, kCbcMode);
    key.EncryptUpdate(nullptr, 5, nullptr, size);
    EXPECT_EQ(Outcome([&](auto&) { key.EncryptFull(CByteZone(15, 0), kNoPadding, 0); }), " !21");
    key.EncryptFinal(nullptr, size);
    EXPECT_EQ(size, 16U);
    key.EncryptCBC(out.GetData(), 32);
    EXPECT_EQ(out, CByteZone(32, 0));
}
