#include "crypto/openssl_command.h"
#include "crypto/openssl_wrapper.h"
#include "support/raised.h"
#include "support/stanza_file.h"
#include "support/string_print.h"

#include <gtest/gtest.h>
#include <openssl/err.h>
#include <openssl/rsa.h>

using namespace OpenSSLWrap;

namespace {

const CByteZone kText("a short secret");

CByteZone Plain(const CSecureByteZone& secret) { return {secret.GetData(), secret.GetSize()}; }

CByteZone EncryptOaep(EVP_PKEY* key, const EVP_MD* digest, const CByteZone& label) {
    CByteZone out(GetKeySize(key), 0);
    for (const size_t room : {out.GetSize() - 1, out.GetSize()}) {
        size_t length = room;
        EXPECT_EQ(DoRsaEncryptOAEP(key, out.GetData(), length, kText.GetData(), kText.GetSize(),
                                   digest, EVP_sha1(), label),
                  room == out.GetSize());
    }
    return out;
}

}  // namespace

TEST(RsaOaep, DecryptsThePublishedCases) {
    CTHandle<EVP_PKEY> key;
    FOR_EACH_STANZA(stanza, ReadSharedStanzas("rsa_oaep.txt")) {
        if (stanza.Has("private_key")) {
            key = CreateRsaKeyFromDer(stanza.Bytes("private_key"), true, true);
            continue;
        }
        const CByteZone cipher = stanza.Bytes("cipher");
        const bool valid = stanza.Text("result_text") == "valid";
        const CByteZone plain = valid ? stanza.Bytes("plain") : CByteZone();
        stanza.Skip();
        try {
            const CByteZone text =
                Plain(DecryptRsaOaep(cipher, key.Get(), stanza.Text("digest_text").c_str()));
            EXPECT_TRUE(valid);
            EXPECT_EQ(text, plain);
        } catch (const CException&) {
            EXPECT_FALSE(valid);
        }
        EXPECT_EQ(ERR_peek_error(), 0U);
    }
}

TEST(RsaEncryption, IsSharedWithTheCommand) {
    const COpensslCommand openssl;
    for (const int bits : {2048, 3072}) {
        SCOPED_TRACE(bits);
        const auto exponent = IntToBignum(RSA_F4);
        CTHandle<EVP_PKEY> key;
        ASSERT_EQ(GenerateRsaKey(bits, exponent.Get(), key), 1);
        openssl.Write("key.der", KeyToDer(key.Get(), true, true));
        openssl.Write("text", kText);
        const std::string command = "pkeyutl -keyform DER -inkey key.der ";
        for (const bool labelled : {false, true}) {
            openssl.Write("ours",
                          EncryptOaep(key.Get(), EVP_sha256(), CByteZone(labelled ? "label" : "")));
            ASSERT_TRUE(openssl.Run(command +
                                    "-decrypt -in ours -out back -pkeyopt rsa_padding_mode:oaep "
                                    "-pkeyopt rsa_oaep_md:sha256 -pkeyopt rsa_mgf1_md:sha1" +
                                    (labelled ? " -pkeyopt rsa_oaep_label:6c6162656c" : "")));
            EXPECT_EQ(openssl.Read("back"), kText);
        }
        ASSERT_TRUE(openssl.Run(command + "-encrypt -in text -out theirs -pkeyopt "
                                          "rsa_padding_mode:oaep -pkeyopt rsa_oaep_md:sha1"));
        EXPECT_EQ(Plain(DecryptRsaOaepSha1(openssl.Read("theirs"), key.Get())), kText);
        // Kept: a name that OpenSSL does not know silently means SHA-1.
        EXPECT_EQ(Plain(DecryptRsaOaep(openssl.Read("theirs"), key.Get(), "nosuch")), kText);
        EXPECT_EQ(ERR_peek_error(), 0U);
        EXPECT_RAISED(OPENSSL_FUNCTION_FAILED, "",
                      DecryptRsaOaepSha256(openssl.Read("theirs"), key.Get()));

        CTHandle<EVP_PKEY_CTX> context;
        CByteZone cipher;
        ASSERT_EQ(InitEncrypt(key.Get(), RSA_PKCS1_PADDING, context), 1);
        ASSERT_EQ(Encrypt(context.Get(), kText, cipher), 1);
        openssl.Write("ours", cipher);
        ASSERT_TRUE(openssl.Run(command + "-decrypt -in ours -out back"));
        EXPECT_EQ(openssl.Read("back"), kText);
        CSecureByteZone text;
        ASSERT_TRUE(openssl.Run(command + "-encrypt -in text -out theirs"));
        ASSERT_EQ(InitDecrypt(key.Get(), RSA_PKCS1_PADDING, context), 1);
        EXPECT_EQ(Decrypt(context.Get(), openssl.Read("theirs"), text), 1);
        EXPECT_EQ(Plain(text), kText);
        EXPECT_LE(Decrypt(context.Get(), CByteZone(7, 1), text), 0);
        EXPECT_TRUE(text.IsEmpty());
    }
}
