#include "crypto/block_ops.h"
#include "crypto/cmac.h"
#include "crypto/retail_mac.h"
#include "support/log_capture.h"
#include "support/stanza_file.h"
#include "support/string_print.h"
#include "util/exception.h"

#include <gtest/gtest.h>
#include <openssl/evp.h>

/** Runs one operation; `out` comes with the size that it has beforehand. */
static void RunBlockOp(const std::string& op, const CByteZone& a, const CByteZone& b, size_t number,
                       CByteZone& out) {
    CSecureByteZone k1, k2, k3;
    op == "xor"       ? ComputeXor(a, b, out)
    : op == "shift"   ? BitLeftShift(a, number, out)
    : op == "pad"     ? PadISO9797M2(a, out, number)
    : op == "unpad"   ? UnpadISO9797M2(a, out)
    : op == "split"   ? SetScheduleKeys(a, k1, k2, k3)
    : op == "retail"  ? ComputeDES3RetailMAC(b, b, out = a)
    : op == "cmac"    ? ComputeCMAC(b, out, a, out)
    : op == "subkeys" ? GenerateCmacSubkeys(b, out, out)
    : op == "ecb"     ? EncryptAesEcb(a, b, out)
    : op == "cbc"     ? EncryptAesCbc(a, b, CByteZone(number, 0), out)
                      : DecryptAesCbc(a, b, CByteZone(number, 0), out);
    for (const CSecureByteZone& key : {k1, k2, k3}) {
        out.Append(key.GetData(), key.GetSize());
    }
}

TEST(BlockOps, GiveBytesOrCodes) {
    FOR_EACH_STANZA(row, ReadStanzas("crypto/block_ops.txt")) {
        const CByteZone b = row.Has("b") ? row.Bytes("b") : CByteZone();
        CByteZone out = row.Has("room") ? row.Bytes("room") : CByteZone();
        const size_t number = row.Has("number_int") ? size_t(row.Int("number_int")) : 0;
        try {
            RunBlockOp(row.Text("op_text"), row.Bytes("a"), b, number, out);
            EXPECT_EQ(out, row.Bytes("out"));
        } catch (const CCkException& exception) {
            EXPECT_EQ(exception.GetErrorCode(), row.Int("code_int"));
        }
    }
}

TEST(Cmac, MatchesPublicVectors) {
    FOR_EACH_STANZA(row, ReadSharedStanzas("cmac.txt")) {
        CByteZone k1, k2, mac;
        const CByteZone key = row.Bytes("key");
        GenerateCmacSubkeys(key, k1, k2);
        ComputeCMAC(key, row.Has("mac") ? row.Bytes("message") : CByteZone(), mac);
        EXPECT_EQ(mac, row.Has("mac") ? row.Bytes("mac") : mac);
        EXPECT_EQ(k1, row.Has("k1") ? row.Bytes("k1") : k1);
        EXPECT_EQ(k2, row.Has("k2") ? row.Bytes("k2") : k2);
        row.Skip();  // what comes before the subkeys
    }
}

TEST(Cmac, IsTheSameForAnyLength) {
    const CByteZone key(24, 9);
    for (const size_t size : {4112, 4113, 4128, 8209, 100000}) {
        CByteZone data(size, 0xA5), mac(16, 0), ours;
        data[size / 2] = 1;
        EVP_Q_mac(nullptr, "CMAC", nullptr, "AES-192-CBC", nullptr, key.GetData(), 24,
                  data.GetData(), size, mac.GetData(), 16, nullptr);
        ComputeCMAC(key, data, ours);
        EXPECT_EQ(ours, mac) << size;
    }
}

TEST(RetailMac, MatchesPublicVectors) {
    FOR_EACH_STANZA(row, ReadSharedStanzas("retail_mac.txt")) {
        CSecureByteZone k1, k2, k3;
        SetScheduleKeys(row.Bytes("key"), k1, k2, k3);
        CByteZone data = row.Bytes("padded");
        ComputeDES3RetailMAC(k1, k2, data);
        EXPECT_EQ(data, row.Bytes("mac"));
        row.Skip();  // how the data were padded
    }
}

TEST(BlockOps, MatchPublicPaddingVectors) {
    FOR_EACH_STANZA(row, ReadSharedStanzas("padding.txt")) {
        CByteZone out = row.Bytes("padded");
        if (row.Has("result_text")) {
            EXPECT_THROW(UnpadISO9797M2(out, out), CCkException);
            row.Skip();
            continue;
        }
        UnpadISO9797M2(out, out);
        EXPECT_EQ(out, row.Bytes("data"));
        if (row.Has("block_int")) {
            PadISO9797M2(out, out, static_cast<size_t>(row.Int("block_int")));
            EXPECT_EQ(out, row.Bytes("padded"));
        }
    }
}

TEST(Crypto, LeavesHostLogAndMemoryAsItShould) {
    CLogHome home;
    // The host's context, the key while it is held and afterwards.
    EXPECT_EQ(home.Run("cipher_child", {}), "100110 20\n10\n");
    const std::string log = home.BodyText();
    FOR_EACH_STANZA(row, ReadStanzas("crypto/mac_log.txt")) {
        EXPECT_NE(log.find(row.Text("lines_text")), std::string::npos);
    }
}
