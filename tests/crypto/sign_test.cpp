#include "crypto/openssl_command.h"
#include "crypto/openssl_wrapper.h"
#include "support/string_print.h"

#include <gtest/gtest.h>
#include <openssl/err.h>
#include <openssl/rsa.h>

using namespace OpenSSLWrap;

namespace {

const CByteZone kDigest(32, 0xA5);

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
    EXPECT_TRUE(openssl.Run("pkeyutl -verify -pubin -inkey public.pem -sigfile ours" + common +
                            saltToVerify));
    ASSERT_TRUE(openssl.Run("pkeyutl -sign -out theirs -inkey " + keyFile + common + saltToSign));
    const bool pss = padding == RSA_PKCS1_PSS_PADDING;
    for (const int saltLength : {32, 20}) {
        ASSERT_EQ(InitVerify(key, padding, EVP_sha256(), pss ? EVP_sha256() : nullptr,
                             pss ? &saltLength : nullptr, context),
                  1);
        EXPECT_EQ(Verify(context.Get(), openssl.Read("theirs"), kDigest), !pss || saltLength == 32);
        EXPECT_LE(Verify(context.Get(), openssl.Read("theirs"), CByteZone(32, 0x5A)), 0);
    }
    EXPECT_EQ(ERR_peek_error(), 0U);
}

}  // namespace

TEST(Signatures, RsaOnesAreSharedWithTheCommand) {
    const COpensslCommand openssl;
    for (const size_t size : {256, 384}) {
        SCOPED_TRACE(size);
        ASSERT_TRUE(openssl.Run("genrsa -out key.pem " + std::to_string(8 * size)));
        const auto key = CreateRsaKeyFromPem(openssl.Read("key.pem"), true, true);
        const std::string salt = " -pkeyopt rsa_pss_saltlen:";
        SignCrosswise(openssl, key.Get(), "key.pem", RSA_PKCS1_PSS_PADDING,
                      " -pkeyopt rsa_padding_mode:pss", salt + "auto", salt + "32");
        SignCrosswise(openssl, key.Get(), "key.pem", RSA_PKCS1_PADDING);

        CTHandle<EVP_PKEY_CTX> context;
        CByteZone recovered;
        ASSERT_EQ(InitVerifyRecover(key.Get(), RSA_PKCS1_PADDING, EVP_sha256(), context), 1);
        EXPECT_EQ(VerifyRecover(context.Get(), openssl.Read("theirs"), recovered), 1);
        EXPECT_EQ(recovered, kDigest);
        ASSERT_EQ(InitVerifyRecover(key.Get(), RSA_NO_PADDING, nullptr, context), 1);
        EXPECT_EQ(VerifyRecover(context.Get(), openssl.Read("theirs"), recovered), 1);
        EXPECT_EQ(recovered.GetSize(), size);
        size_t room = size - 1;
        EXPECT_LE(VerifyRecover(context.Get(), openssl.Read("theirs"), recovered.GetData(), room),
                  0);
    }
}

TEST(Signatures, EcdsaOnesAreSharedWithTheCommand) {
    const COpensslCommand openssl;
    for (const std::string curve : kCurves) {
        SCOPED_TRACE(curve);
        ASSERT_TRUE(openssl.Run("ecparam -outform DER -out parameters -name " + curve));
        auto parameters = CreateEcParamsKeyFromDer(openssl.Read("parameters"));
        EXPECT_EQ(ParamsToDer(parameters.Get()), openssl.Read("parameters"));
        CTHandle<EVP_PKEY> ours;
        ASSERT_EQ(GenerateECKeyFromParametersKey(parameters.Get(), ours), 1);
        openssl.Write("ours.der", KeyToDer(ours.Get(), true, true));
        SignCrosswise(openssl, ours.Get(), "ours.der -keyform DER");

        ASSERT_TRUE(
            openssl.Run("genpkey -algorithm EC -outform DER -out theirs.der -pkeyopt "
                        "ec_paramgen_curve:" +
                        curve));
        CTHandle<EVP_PKEY> theirs;
        ASSERT_EQ(
            CreateKeyFromData(openssl.Read("theirs.der"), "DER", EVP_PKEY_KEYPAIR, "EC", theirs),
            1);
        SignCrosswise(openssl, theirs.Get(), "theirs.der -keyform DER");

        CSecureByteZone secret;
        openssl.Write("public.pem", PublicKeyToPem(ours.Get()));
        ASSERT_TRUE(
            openssl.Run("pkeyutl -derive -keyform DER -inkey theirs.der -peerkey "
                        "public.pem -out secret"));
        EXPECT_EQ(DeriveSecret(ours.Get(), theirs.Get(), secret), 1);
        EXPECT_EQ(CByteZone(secret.GetData(), secret.GetSize()), openssl.Read("secret"));
    }
}
