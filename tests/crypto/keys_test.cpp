#include "crypto/openssl_command.h"
#include "crypto/openssl_wrapper.h"
#include "support/raised.h"
#include "support/string_print.h"

#include <gtest/gtest.h>
#include <openssl/err.h>
#include <openssl/rsa.h>

using namespace OpenSSLWrap;

namespace {

CTHandle<BIGNUM> HandleOf(const CTHandle<EVP_PKEY>& key, EKeyNumber name) {
    CTHandle<BIGNUM> number;
    EXPECT_EQ(GetKeyNumber(key.Get(), name, number), 1);
    return number;
}

}  // namespace

TEST(RsaKey, IsMadeAgainFromItsNumbers) {
    CTHandle<EVP_PKEY> key;
    ASSERT_EQ(GenerateRsaKey(2048, IntToBignum(RSA_F4).Get(), key), 1);
    EXPECT_EQ(GetKeyBitLength(key.Get()), 2048);
    EXPECT_EQ(GetKeySize(key.Get()), 256);
    CRsaKeyParts parts;
    EXPECT_EQ(GetKeyNumber(key.Get(), EKeyNumber::N, parts.modulus), 1);
    EXPECT_EQ(GetKeyNumber(key.Get(), EKeyNumber::E, parts.publicExponent), 1);
    const struct {
        EKeyNumber name;
        CSecureByteZone& bytes;
    } rows[] = {
        {EKeyNumber::D, parts.privateExponent},   {EKeyNumber::Factor1, parts.prime1},
        {EKeyNumber::Factor2, parts.prime2},      {EKeyNumber::Exponent1, parts.exponent1},
        {EKeyNumber::Exponent2, parts.exponent2}, {EKeyNumber::Coefficient1, parts.coefficient}};
    for (const auto& row : rows) {
        EXPECT_EQ(GetKeyNumber(key.Get(), row.name, row.bytes), 1);
    }
    for (const bool blinding : {true, false}) {
        const auto again = CreateRsaPrivateKey(parts, blinding);
        EXPECT_EQ(KeyToDer(again.Get(), true, true), KeyToDer(key.Get(), true, true));
        EXPECT_EQ(CheckKey(again.Get()), 1);
        const auto half = CreateRsaPublicKey(parts.modulus, parts.publicExponent, blinding);
        EXPECT_EQ(EVP_PKEY_eq(half.Get(), key.Get()), 1);
        EXPECT_EQ(CheckPublicKey(half.Get()), 1);
        EXPECT_LE(CheckPrivateKey(half.Get()), 0);
    }
    // Kept: the modulus goes to the first zone and the exponent to the second, against the name.
    CByteZone first;
    CByteZone second;
    PubExpAndModFromRsaKey(key.Get(), first, second);
    EXPECT_EQ(first, parts.modulus);
    EXPECT_EQ(second, parts.publicExponent);
    EXPECT_EQ(ERR_peek_error(), 0U);
}

TEST(RsaKey, IsReadWhenTheDataHoldWhatIsAskedFor) {
    const COpensslCommand openssl;
    ASSERT_TRUE(
        openssl.Run("genrsa -out key.pem 2048") &&
        openssl.Run("rsa -in key.pem -traditional -out old.pem") &&
        openssl.Run("rsa -in key.pem -outform DER -out key.der") &&
        openssl.Run("rsa -in key.pem -aes128 -passout pass:x -traditional -out locked.pem") &&
        openssl.Run("rsa -in key.pem -RSAPublicKey_out -outform DER -out public.der") &&
        openssl.Run("rsa -in key.pem -pubout -out public.pem"));
    const auto key = CreateRsaKeyFromPem(openssl.Read("key.pem"), true, true);
    const struct {
        const char* file;
        const char* readable;  // neither, private, public, both
    } rows[] = {{"key.pem", "yyny"},    {"old.pem", "yyny"},    {"key.der", "yyny"},
                {"public.pem", "ynyn"}, {"public.der", "ynyn"}, {"locked.pem", "nnnn"}};
    for (const auto& row : rows) {
        SCOPED_TRACE(row.file);
        const CByteZone data = openssl.Read(row.file);
        const bool pem = std::string(row.file).find(".pem") != std::string::npos;
        for (int asked = 0; asked < 4; ++asked) {
            const auto read = [&](const CByteZone& from) {
                return pem ? CreateRsaKeyFromPem(from, (asked & 1) != 0, (asked & 2) != 0)
                           : CreateRsaKeyFromDer(from, (asked & 1) != 0, (asked & 2) != 0);
            };
            if (row.readable[asked] == 'y') {
                EXPECT_EQ(EVP_PKEY_eq(read(data).Get(), key.Get()), 1) << asked;
            } else {
                EXPECT_RAISED(OPENSSL_FUNCTION_FAILED, "", read(data)) << asked;
            }
            const CByteZone cut(data.GetData(), data.GetSize() / 2);
            EXPECT_RAISED(OPENSSL_FUNCTION_FAILED, "", read(cut)) << asked;
            EXPECT_EQ(ERR_peek_error(), 0U);
        }
    }
    openssl.Write("ours", KeyToDer(key.Get(), false, true));
    EXPECT_EQ(openssl.Read("ours"), openssl.Read("public.der"));
    EXPECT_EQ(PublicKeyToPem(key.Get()), openssl.Read("public.pem"));
    EXPECT_RAISED(OPENSSL_FUNCTION_FAILED, "", KeyToDer(key.Get(), false, false));
}

TEST(DhKey, AgreesWithTheCommand) {
    const COpensslCommand openssl;
    int number = 0;
    for (const std::string group : {"dh_1024_160", "dh_2048_224", "dh_2048_256"}) {
        SCOPED_TRACE(group);
        const auto parameters = CreateDhParamsKey(group.c_str());
        const auto ours = GenerateDhKey(parameters.Get());
        ASSERT_TRUE(openssl.Run("genpkey -algorithm DH -pkeyopt group:" + group +
                                " -outform DER -out theirs.der"));
        openssl.Write("ours.pem", PublicKeyToPem(ours.Get()));
        ASSERT_TRUE(
            openssl.Run("pkeyutl -derive -keyform DER -inkey theirs.der -peerkey ours.pem "
                        "-out secret"));
        CTHandle<EVP_PKEY> theirs;
        ASSERT_EQ(
            CreateKeyFromData(openssl.Read("theirs.der"), "DER", EVP_PKEY_KEYPAIR, "DH", theirs),
            1);
        CSecureByteZone secret;
        ASSERT_EQ(DeriveSecret(ours.Get(), theirs.Get(), secret), 1);
        EXPECT_EQ(CByteZone(secret.GetData(), secret.GetSize()), openssl.Read("secret"));

        const auto p = HandleOf(parameters, EKeyNumber::P);
        const auto q = HandleOf(parameters, EKeyNumber::Q);
        const auto g = HandleOf(parameters, EKeyNumber::G);
        const auto pub = HandleOf(theirs, EKeyNumber::Pub);
        const auto priv = HandleOf(theirs, EKeyNumber::Priv);
        const auto again = CreateDhKey(p.Get(), q.Get(), g.Get(), pub.Get(), priv.Get());
        const auto half = CreateDhKey(p.Get(), q.Get(), g.Get(), pub.Get(), nullptr);
        const CSecureByteZone before = secret;
        ASSERT_EQ(DeriveSecret(ours.Get(), half.Get(), secret), 1);
        EXPECT_EQ(secret, before);
        ASSERT_EQ(DeriveSecret(again.Get(), ours.Get(), secret), 1);
        EXPECT_EQ(secret, before);
        EXPECT_LE(DeriveSecret(parameters.Get(), ours.Get(), secret), 0);
        EXPECT_TRUE(secret.IsEmpty());
        const CByteZone encoded = GetEncodedPublicKey(half.Get());
        EXPECT_EQ(encoded.GetSize(), static_cast<size_t>(GetKeySize(half.Get())));
        auto copy = CreateDhParamsKey(p.Get(), q.Get(), g.Get());
        SetEncodedPublicKey(copy.Get(), encoded);
        EXPECT_EQ(GetEncodedPublicKey(copy.Get()), encoded);

        // The same group as X9.42 writes it, q and all, and as PKCS #3 does.
        ASSERT_TRUE(
            openssl.Run("genpkey -genparam -algorithm DHX -out x942.pem -pkeyopt dh_rfc5114:" +
                        std::to_string(++number)) &&
            openssl.Run("asn1parse -in x942.pem -noout -out x942.der"));
        const auto fromX942 = CreateDhParamsKeyFromDer(openssl.Read("x942.der"));
        EXPECT_TRUE(IsDh(fromX942.Get()));
        EXPECT_EQ(BN_cmp(HandleOf(fromX942, EKeyNumber::Q).Get(), q.Get()), 0);
        const auto fromPkcs3 = CreateDhParamsKeyFromDer(ParamsToDer(parameters.Get()));
        EXPECT_EQ(BN_cmp(HandleOf(fromPkcs3, EKeyNumber::G).Get(), g.Get()), 0);
        EXPECT_EQ(ERR_peek_error(), 0U);
    }
}
