#include "crypto/openssl_wrapper.h"
#include "support/stanza_file.h"
#include "support/string_print.h"

#include <gtest/gtest.h>
#include <openssl/err.h>

#include <map>

using namespace OpenSSLWrap;

static const std::map<std::string, ECipher> kFamilies = {
    {"AES-ECB", ECipher::AesEcb},    {"AES-CBC", ECipher::AesCbc},
    {"AES-GCM", ECipher::AesGcm},    {"DES-EDE3-CBC", ECipher::DesEde3Cbc},
    {"DES-CBC", ECipher::DesCbc},    {"DES-EDE3-ECB", ECipher::DesEde3Ecb},
    {"DES-ECB", ECipher::DesEcb},    {"RC2-ECB", ECipher::Rc2Ecb},
    {"RC2-CBC", ECipher::Rc2Cbc},    {"RC2-64-CBC", ECipher::Rc2Cbc},
    {"RC2-40-CBC", ECipher::Rc2Cbc}, {"RC4", ECipher::Rc4},
    {"RC4-40", ECipher::Rc4}};

/** Runs one way; the output is cut to the expected one's size, and gone after a failure. */
static CByteZone RunWhole(const std::string& family, bool encrypt, const CStanza& row,
                          const CByteZone& in, size_t size) {
    CByteZone out(in.GetSize() + 16, 0xEE), iv = row.Has("iv") ? row.Bytes("iv") : CByteZone();
    const bool padding = row.Has("padding_text") && row.Text("padding_text") == "pkcs7";
    const int result = RunCipher(kFamilies.at(family), encrypt, row.Bytes("key"), out.GetData(),
                                 in.GetData(), in.GetSize(), iv, padding, false);
    EXPECT_EQ(ERR_peek_error(), 0u);
    out.Resize(result >= 1 ? size : 0);
    return out;
}

TEST(Ciphers, MatchPublicVectors) {
    for (const char* file : {"aes.txt", "des_rc.txt"}) {
        FOR_EACH_STANZA(row, ReadSharedStanzas(file)) {
            const std::string family = row.Has("mode_text") ? "AES-" + row.Text("mode_text")
                                                            : row.Text("cipher_name_text");
            const CByteZone plain = row.Bytes("plain"), crypted = row.Bytes("cipher");
            EXPECT_EQ(RunWhole(family, true, row, plain, crypted.GetSize()), crypted);
            EXPECT_EQ(RunWhole(family, false, row, crypted, plain.GetSize()), plain);
        }
    }
}

TEST(Ciphers, RefuseWhatDoesNotFit) {
    FOR_EACH_STANZA(row, ReadStanzas("crypto/ciphers_refused.txt")) {
        EXPECT_EQ(RunWhole(row.Text("family_text"), true, row, row.Bytes("in"), 1), CByteZone());
    }
    const auto cipher = Own(EVP_CIPHER_fetch(nullptr, "AES-128-CBC", nullptr));
    CByteZone key(16, 0), iv = key, none;
    unsigned char* const out = key.GetData();
    EXPECT_EQ(DoCipher(key, out, nullptr, 16, true, cipher.Get(), iv, true, false, none), 0);
    EXPECT_EQ(DoCipher(key, out, out, size_t{1} << 32, true, cipher.Get(), iv, true, true, none),
              0);
}

TEST(Ciphers, GcmFillsAndChecksTags) {
    FOR_EACH_STANZA(row, ReadSharedStanzas("aes_gcm.txt")) {
        const bool valid = row.Text("result_text") == "valid";
        const CByteZone key = row.Bytes("key"), plain = row.Bytes("plain");
        CByteZone iv = row.Bytes("iv"), tag = row.Bytes("tag"), made(16, 0), none, out = plain;
        const size_t size = plain.GetSize();
        const auto run = [&](bool encrypt, const CByteZone& in, CByteZone& withTag) {
            return RunAesGcm(encrypt, key, out.GetData(), in.GetData(), size, iv, withTag);
        };
        const CByteZone crypted = row.Bytes("cipher");
        EXPECT_EQ(run(true, plain, made), 1);
        EXPECT_EQ(out, crypted);
        EXPECT_EQ(made == tag, valid);
        EXPECT_EQ(run(false, crypted, none), 0);
        EXPECT_EQ(out, CByteZone(size, 0)) << "nor of what nobody vouches for";
        EXPECT_EQ(run(false, crypted, tag), valid ? 1 : 0);
        EXPECT_EQ(out, valid ? plain : CByteZone(size, 0)) << "nothing stays of a forgery";
        EXPECT_EQ(ERR_peek_error(), 0u);
    }
}

TEST(Digests, MatchPublicVectors) {
    static const std::map<std::string, int (*)(const CByteZone&, CByteZone&)> kByName = {
        {"SHA1", Sha1},       {"SHA2-224", Sha224}, {"SHA2-256", Sha256},
        {"SHA2-384", Sha384}, {"SHA2-512", Sha512}, {"MD5", Md5}};
    FOR_EACH_STANZA(row, ReadSharedStanzas("digests.txt")) {
        const CByteZone data = row.Bytes("data");
        for (const auto& [name, digest] : kByName) {
            const auto type = Own(EVP_MD_fetch(nullptr, name.c_str(), nullptr));
            const auto context = NewDigest();
            CByteZone inParts, atOnce = data;
            InitDigest(context.Get(), type.Get());
            UpdateDigest(context.Get(), data);
            EXPECT_EQ(FinalDigest(context.Get(), inParts), 1);
            EXPECT_EQ(digest(atOnce, atOnce), 1);
            EXPECT_EQ(atOnce, row.Text("digest_name_text") == name ? row.Bytes("digest") : inParts);
            EXPECT_EQ(inParts, atOnce);
            EXPECT_EQ(IsSha256Of(data, inParts), name == "SHA2-256");
        }
    }
}
