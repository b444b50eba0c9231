#include "crypto/openssl_command.h"
#include "crypto/openssl_wrapper.h"
#include "support/stanza_file.h"
#include "support/string_print.h"

#include <openssl/err.h>
#include <openssl/rsa.h>

using namespace OpenSSLWrap;

namespace {

const CByteZone kDigest(32, 0xA5);
const CSecureByteZone kSecretDigest(32, 0xA5);

/** One key, whoever made it: each side signs, the other verifies and refuses another digest. */
void SignCrosswise(const COpensslCommand& openssl, EVP_PKEY* key, const std::string& keyFile,
                   int padding = 0, const std::string& options = "",
                   const std::string& saltToVerify = "", const std::string& saltToSign = "") {
    CTHandle<EVP_PKEY_CTX> context;
    CByteZone signature;
    ASSERT_EQ(InitSign(key, padding, EVP_sha256(), context), 1);
    ASSERT_EQ(Sign(context.Get(), kDigest, signature), 1);
    openssl.Write("digest", kDigest);
    openssl.Write("ours", signature);
    openssl.Write("public.pem", PublicKeyToPem(key));
    const std::string common = " -in digest -pkeyopt digest:sha256" + options;
    openssl.Run("pkeyutl -verify -pubin -inkey public.pem -sigfile ours" + common + saltToVerify);
    openssl.Run("pkeyutl -sign -out theirs -inkey " + keyFile + common + saltToSign);
    const bool pss = padding == RSA_PKCS1_PSS_PADDING;
    for (const int saltLength : {32, 20}) {
        InitVerify(key, padding, EVP_sha256(), pss ? EVP_sha256() : nullptr,
                   pss ? &saltLength : nullptr, context);
        EXPECT_EQ(Verify(context.Get(), openssl.Read("theirs"), kDigest), !pss || saltLength == 32);
        EXPECT_LE(Verify(context.Get(), openssl.Read("theirs"), CByteZone(32, 0x5A)), 0);
    }
    EXPECT_EQ(ERR_peek_error(), 0U);
}

/** Each side encrypts for the key, the other decrypts. */
void EncryptCrosswise(const COpensslCommand& openssl, EVP_PKEY* key, const std::string& keyFile) {
    const std::string decrypt = "pkeyutl -decrypt -in ours -out back -inkey " + keyFile;
    const std::string encrypt = "pkeyutl -encrypt -in digest -out theirs -inkey " + keyFile;
    const std::string oaep = " -pkeyopt rsa_padding_mode:oaep -pkeyopt rsa_oaep_md:sha";
    CByteZone out(GetKeySize(key), 0);
    for (const std::string label : {"", "label"}) {
        for (const int missing : {1, 0}) {
            size_t room = out.GetSize() - missing;
            EXPECT_EQ(DoRsaEncryptOAEP(key, out.GetData(), room, kDigest.GetData(), 32,
                                       EVP_sha256(), EVP_sha1(), CByteZone(label.c_str())),
                      1 - missing);
        }
        openssl.Write("ours", out);
        openssl.Run(decrypt + oaep + "256 -pkeyopt rsa_mgf1_md:sha1" +
                    (label.empty() ? "" : " -pkeyopt rsa_oaep_label:6c6162656c"));
        EXPECT_EQ(openssl.Read("back"), kDigest);
    }
    openssl.Run(encrypt + oaep + "1");
    // Kept: a name that OpenSSL does not know silently means SHA-1.
    for (const char* digest : {"SHA1", "nosuch"}) {
        EXPECT_EQ(DecryptRsaOaep(openssl.Read("theirs"), key, digest), kSecretDigest);
    }
    EXPECT_THROW(DecryptRsaOaepSha256(openssl.Read("theirs"), key), OPENSSL_FUNCTION_FAILED);

    CTHandle<EVP_PKEY_CTX> context;
    CSecureByteZone text;
    InitEncrypt(key, RSA_PKCS1_PADDING, context);
    Encrypt(context.Get(), kDigest, out);
    openssl.Write("ours", out);
    openssl.Run(decrypt);
    EXPECT_EQ(openssl.Read("back"), kDigest);
    openssl.Run(encrypt);
    InitDecrypt(key, RSA_PKCS1_PADDING, context);
    EXPECT_EQ(Decrypt(context.Get(), openssl.Read("theirs"), text), 1);
    EXPECT_EQ(text, kSecretDigest);
    EXPECT_TRUE(Decrypt(context.Get(), CByteZone(7, 1), text) <= 0 && text.IsEmpty());
    EXPECT_EQ(ERR_peek_error(), 0U);
}

}  // namespace

TEST(RsaOaep, DecryptsThePublishedCases) {
    CTHandle<EVP_PKEY> key;
    FOR_EACH_STANZA(row, ReadSharedStanzas("rsa_oaep.txt")) {
        row.Skip();
        if (row.Has("private_key")) {
            key = CreateRsaKeyFromDer(row.Bytes("private_key"), true, true);
            continue;
        }
        const bool valid = row.Text("result_text") == "valid";
        try {
            const CSecureByteZone text =
                DecryptRsaOaep(row.Bytes("cipher"), key.Get(), row.Text("digest_text").c_str());
            const CByteZone plain = row.Bytes("plain");
            EXPECT_TRUE(valid && text == CSecureByteZone(plain.GetData(), plain.GetSize()));
        } catch (const CException&) {
            EXPECT_FALSE(valid);
        }
        EXPECT_EQ(ERR_peek_error(), 0U);
    }
}

TEST(RsaKeys, AreSharedWithTheCommand) {
    const COpensslCommand openssl;
    for (const int bits : {2048, 3072}) {
        CTHandle<EVP_PKEY> key;
        ASSERT_EQ(GenerateRsaKey(bits, IntToBignum(RSA_F4).Get(), key), 1);
        openssl.Write("key.der", KeyToDer(key.Get(), true, true));
        const std::string file = "key.der -keyform DER", salt = " -pkeyopt rsa_pss_saltlen:";
        SignCrosswise(openssl, key.Get(), file, RSA_PKCS1_PSS_PADDING,
                      " -pkeyopt rsa_padding_mode:pss", salt + "auto", salt + "32");
        SignCrosswise(openssl, key.Get(), file, RSA_PKCS1_PADDING);
        CTHandle<EVP_PKEY_CTX> context;
        CByteZone recovered;
        InitVerifyRecover(key.Get(), RSA_PKCS1_PADDING, EVP_sha256(), context);
        VerifyRecover(context.Get(), openssl.Read("theirs"), recovered);
        EXPECT_EQ(recovered, kDigest);
        size_t room = 31;
        EXPECT_LE(VerifyRecover(context.Get(), openssl.Read("theirs"), recovered.GetData(), room),
                  0);
        EncryptCrosswise(openssl, key.Get(), file);
    }
}

TEST(EcKeys, AreSharedWithTheCommand) {
    const COpensslCommand openssl;
    for (const std::string curve : kCurves) {
        SCOPED_TRACE(curve);
        openssl.Run("ecparam -outform DER -out parameters -name " + curve);
        const auto parameters = CreateEcParamsKeyFromDer(openssl.Read("parameters"));
        EXPECT_EQ(ParamsToDer(parameters.Get()), openssl.Read("parameters"));
        openssl.Run("ecparam -genkey -noout -outform DER -out theirs.der -name " + curve);
        CTHandle<EVP_PKEY> ours, theirs;
        ASSERT_EQ(GenerateECKeyFromParametersKey(parameters.Get(), ours), 1);
        ASSERT_EQ(
            CreateKeyFromData(openssl.Read("theirs.der"), "DER", EVP_PKEY_KEYPAIR, "EC", theirs),
            1);
        openssl.Write("ours.der", KeyToDer(ours.Get(), true, true));
        SignCrosswise(openssl, theirs.Get(), "theirs.der -keyform DER");
        SignCrosswise(openssl, ours.Get(), "ours.der -keyform DER");
        CSecureByteZone secret;
        openssl.Run("pkeyutl -derive -keyform DER -inkey theirs.der -peerkey public.pem -out out");
        EXPECT_EQ(DeriveSecret(ours.Get(), theirs.Get(), secret), 1);
        EXPECT_EQ(secret, openssl.Read<CSecureByteZone>("out"));
    }
}
