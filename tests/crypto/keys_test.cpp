#include "crypto/openssl_command.h"
#include "crypto/openssl_wrapper.h"
#include "support/string_print.h"

#include <openssl/err.h>
#include <openssl/rsa.h>

using namespace OpenSSLWrap;

template <class Number>
static Number NumberOf(const CTHandle<EVP_PKEY>& key, EKeyNumber name) {
    Number number;
    EXPECT_EQ(GetKeyNumber(key.Get(), name, number), 1);
    return number;
}

TEST(RsaKey, IsMadeAgainFromItsNumbers) {
    CTHandle<EVP_PKEY> key;
    ASSERT_EQ(GenerateRsaKey(2048, IntToBignum(RSA_F4).Get(), key), 1);
    EXPECT_EQ(GetKeyBitLength(key.Get()), 2048);
    // Kept: the modulus goes to the first zone and the exponent to the second, against the name.
    CByteZone modulus, exponent;
    PubExpAndModFromRsaKey(key.Get(), modulus, exponent);
    const auto secret = [&key](EKeyNumber name) { return NumberOf<CSecureByteZone>(key, name); };
    const CRsaKeyParts parts{modulus,
                             exponent,
                             secret(EKeyNumber::D),
                             secret(EKeyNumber::Factor1),
                             secret(EKeyNumber::Factor2),
                             secret(EKeyNumber::Exponent1),
                             secret(EKeyNumber::Exponent2),
                             secret(EKeyNumber::Coefficient1)};
    const auto again = CreateRsaPrivateKey(parts);
    EXPECT_EQ(KeyToDer(again.Get(), true, true), KeyToDer(key.Get(), true, true));
    const auto half = CreateRsaPublicKey(modulus, exponent);
    EXPECT_EQ(EVP_PKEY_eq(half.Get(), key.Get()), 1);
    EXPECT_LE(CheckPrivateKey(half.Get()), 0);
    EXPECT_EQ(ERR_peek_error(), 0U);
}

TEST(RsaKey, IsReadWhenTheDataHoldWhatIsAskedFor) {
    const COpensslCommand openssl;
    openssl.Run("genrsa -out key.pem 2048");
    openssl.Run("rsa -in key.pem -traditional -out old.pem");
    openssl.Run("rsa -in key.pem -outform DER -out key.der");
    openssl.Run("rsa -in key.pem -aes128 -passout pass:x -traditional -out locked.pem");
    openssl.Run("rsa -in key.pem -RSAPublicKey_out -outform DER -out public.der");
    openssl.Run("rsa -in key.pem -pubout -out public.pem");
    const auto key = CreateRsaKeyFromPem(openssl.Read("key.pem"), true, true);
    // What can be read of it: neither, private, public, both.
    for (const std::string row : {"yyny key.pem", "yyny old.pem", "yyny key.der", "ynyn public.pem",
                                  "ynyn public.der", "nnnn locked.pem"}) {
        const CByteZone data = openssl.Read(row.substr(5));
        const auto read =
            row.back() == 'm' ? CreateRsaKeyFromPem<CByteZone> : CreateRsaKeyFromDer<CByteZone>;
        for (unsigned asked = 0; asked < 4; ++asked) {
            SCOPED_TRACE(row + ' ' + std::to_string(asked));
            const bool withPrivate = (asked & 1) != 0, withPublic = (asked & 2) != 0;
            if (row[asked] == 'y') {
                EXPECT_EQ(EVP_PKEY_eq(read(data, withPrivate, withPublic).Get(), key.Get()), 1);
            } else {
                EXPECT_THROW(read(data, withPrivate, withPublic), OPENSSL_FUNCTION_FAILED);
            }
            EXPECT_EQ(ERR_peek_error(), 0U);
        }
    }
    EXPECT_EQ(KeyToDer(key.Get(), false, true), openssl.Read<CSecureByteZone>("public.der"));
    EXPECT_EQ(PublicKeyToPem(key.Get()), openssl.Read("public.pem"));
}

TEST(DhKey, AgreesWithTheCommand) {
    const COpensslCommand openssl;
    int number = 0;
    for (const std::string group : {"dh_1024_160", "dh_2048_224", "dh_2048_256"}) {
        SCOPED_TRACE(group);
        const auto parameters = CreateDhParamsKey(group.c_str());
        const auto ours = GenerateDhKey(parameters.Get());
        openssl.Run("genpkey -algorithm DH -outform DER -out theirs.der -pkeyopt group:" + group);
        openssl.Write("ours.pem", PublicKeyToPem(ours.Get()));
        openssl.Run("pkeyutl -derive -keyform DER -inkey theirs.der -peerkey ours.pem -out secret");
        CTHandle<EVP_PKEY> theirs;
        ASSERT_EQ(
            CreateKeyFromData(openssl.Read("theirs.der"), "DER", EVP_PKEY_KEYPAIR, "DH", theirs),
            1);
        const auto of = NumberOf<CTHandle<BIGNUM>>;
        const auto p = of(parameters, EKeyNumber::P), q = of(parameters, EKeyNumber::Q),
                   g = of(parameters, EKeyNumber::G), pub = of(theirs, EKeyNumber::Pub),
                   priv = of(theirs, EKeyNumber::Priv);
        const auto half = CreateDhKey(p.Get(), q.Get(), g.Get(), pub.Get(), nullptr);
        const auto again = CreateDhKey(p.Get(), q.Get(), g.Get(), pub.Get(), priv.Get());
        CSecureByteZone secret;
        EVP_PKEY *const own = ours.Get(), *const other = again.Get();
        for (const auto& [key, peer] :
             {std::pair{own, theirs.Get()}, {own, half.Get()}, {other, own}}) {
            EXPECT_EQ(DeriveSecret(key, peer, secret), 1);
            EXPECT_EQ(secret, openssl.Read<CSecureByteZone>("secret"));
        }
        EXPECT_TRUE(DeriveSecret(parameters.Get(), ours.Get(), secret) <= 0 && secret.IsEmpty());
        EXPECT_EQ(GetEncodedPublicKey(half.Get()).GetSize(), size_t(GetKeySize(half.Get())));

        // The same group as X9.42 writes it, q and all, and as PKCS #3 does.
        openssl.Run("genpkey -genparam -algorithm DHX -out x942.pem -pkeyopt dh_rfc5114:" +
                    std::to_string(++number));
        openssl.Run("asn1parse -in x942.pem -noout -out x942.der");
        const auto fromX942 = CreateDhParamsKeyFromDer(openssl.Read("x942.der"));
        EXPECT_EQ(BN_cmp(of(fromX942, EKeyNumber::Q).Get(), q.Get()), 0);
        const auto fromPkcs3 = CreateDhParamsKeyFromDer(ParamsToDer(parameters.Get()));
        EXPECT_EQ(BN_cmp(of(fromPkcs3, EKeyNumber::G).Get(), g.Get()), 0);
        EXPECT_EQ(ERR_peek_error(), 0U);
    }
}
