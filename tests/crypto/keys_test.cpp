#include "crypto/openssl_command.h"
#include "crypto/openssl_wrapper.h"
#include "support/stanza_file.h"
#include "support/string_print.h"

#include <openssl/err.h>
#include <openssl/rsa.h>

using namespace OpenSSLWrap;

namespace {

const CByteZone kDigest(32, 0xA5);

CTHandle<EVP_PKEY> Generate(const std::string& type, const std::string& group, EVP_PKEY* domain) {
    CTHandle<EVP_PKEY> key;
    if (type == "DH") {
        return GenerateDhKey(CreateDhParamsKey(group.c_str()).Get());
    }
    EXPECT_EQ(type == "EC" ? GenerateECKeyFromParametersKey(domain, key)
                           : GenerateRsaKey(std::stoi(group), IntToBignum(RSA_F4).Get(), key),
              1);
    return key;
}

/** One key, whoever made it: each side signs, the other verifies and refuses another digest. */
void SignCrosswise(const COpensslCommand& openssl, EVP_PKEY* key, const CStanza& row) {
    const int padding = static_cast<int>(row.Int("padding_int"));
    const bool pss = padding == RSA_PKCS1_PSS_PADDING;
    CTHandle<EVP_PKEY_CTX> context;
    CByteZone signature;
    ASSERT_EQ(InitSign(key, padding, EVP_sha256(), context), 1);
    ASSERT_EQ(Sign(context.Get(), kDigest, signature), 1);
    openssl.Write("ours", signature);
    const std::string common = " -in digest -pkeyopt digest:sha256" + row.Text("options_text");
    openssl.Run("pkeyutl -verify -pubin -inkey public.pem -sigfile ours" + common);
    openssl.Run("pkeyutl -sign -keyform DER -inkey key.der -out theirs" + common);
    signature = openssl.Read("theirs");
    const int longest = GetKeySize(key) - 32 - 2;
    for (const int saltLength : {longest, 20}) {
        InitVerify(key, padding, EVP_sha256(), pss ? EVP_sha256() : nullptr,
                   padding != RSA_PKCS1_PADDING ? &saltLength : nullptr, context);
        EXPECT_EQ(Verify(context.Get(), signature, kDigest), !pss || saltLength == longest);
        EXPECT_LE(Verify(context.Get(), signature, CByteZone(32, 0x5A)), 0);
    }
    if (padding == RSA_PKCS1_PADDING) {
        InitVerifyRecover(key, padding, EVP_sha256(), context);
        CByteZone recovered(31, 0);
        size_t room = 31;
        EXPECT_LE(VerifyRecover(context.Get(), signature, recovered.GetData(), room), 0);
    }
}

/** What we encrypt for the key the command decrypts, and the other way round. */
void EncryptCrosswise(const COpensslCommand& openssl, EVP_PKEY* key) {
    const std::string oaep =
        " -pkeyopt rsa_padding_mode:oaep -pkeyopt rsa_oaep_md:sha256 -pkeyopt rsa_mgf1_md:sha1";
    CByteZone out(GetKeySize(key), 0);
    const auto expectReadable = [&](const std::string& options) {
        openssl.Write("ours", out);
        openssl.Run("pkeyutl -decrypt -in ours -out back -keyform DER -inkey key.der" + options);
        EXPECT_EQ(openssl.Read("back"), kDigest);
    };
    for (const std::string label : {"", "label"}) {
        for (const int missing : {1, 0}) {
            size_t room = out.GetSize() - missing;
            EXPECT_EQ(DoRsaEncryptOAEP(key, out.GetData(), room, kDigest.GetData(), 32,
                                       EVP_sha256(), EVP_sha1(), CByteZone(label.c_str())),
                      1 - missing);
        }
        expectReadable(oaep + (label.empty() ? "" : " -pkeyopt rsa_oaep_label:6c6162656c"));
    }
    CTHandle<EVP_PKEY_CTX> context;
    CSecureByteZone text;
    InitEncrypt(key, RSA_PKCS1_PADDING, context);
    Encrypt(context.Get(), kDigest, out);
    expectReadable("");
    openssl.Run("pkeyutl -encrypt -in digest -out theirs -pubin -inkey public.pem");
    InitDecrypt(key, RSA_PKCS1_PADDING, context);
    EXPECT_EQ(Decrypt(context.Get(), openssl.Read("theirs"), text), 1);
    EXPECT_EQ(text, CSecureByteZone(32, 0xA5));
    EXPECT_TRUE(Decrypt(context.Get(), CByteZone(7, 1), text) <= 0 && text.IsEmpty());
}

}  // namespace

TEST(Keys, AreSharedWithTheCommand) {
    const COpensslCommand openssl;
    openssl.Write("digest", kDigest);
    FOR_EACH_STANZA(row, ReadStanzas("crypto/shared_keys.txt")) {
        const std::string type = row.Text("type_text"), group = row.Text("group_text");
        openssl.Run("genpkey -outform DER -out theirs.der -algorithm " + type + " -pkeyopt " +
                    row.Text("option_text") + ":" + group);
        CTHandle<EVP_PKEY> theirs;
        CreateKeyFromData(openssl.Read("theirs.der"), "DER", EVP_PKEY_KEYPAIR, type.c_str(),
                          theirs);
        const auto ours = Generate(type, group, theirs.Get());
        EXPECT_EQ(GetKeyBitLength(ours.Get()), GetKeyBitLength(theirs.Get()));
        for (EVP_PKEY* const key : {theirs.Get(), ours.Get()}) {
            openssl.Write("key.der", KeyToDer(key, true, true));
            openssl.Write("public.pem", PublicKeyToPem(key));
            type != "DH" ? SignCrosswise(openssl, key, row) : void();
        }
        if (type == "RSA") {
            EncryptCrosswise(openssl, ours.Get());
            continue;
        }
        openssl.Run("pkeyutl -derive -keyform DER -inkey theirs.der -peerkey public.pem -out s");
        CSecureByteZone secret;
        EXPECT_EQ(DeriveSecret(ours.Get(), theirs.Get(), secret), 1);
        EXPECT_EQ(secret, openssl.Read<CSecureByteZone>("s"));
        if (type == "DH") {
            // The same group as X9.42 writes it, q and all, and as PKCS #3 does.
            openssl.Run("genpkey -genparam -algorithm DHX -out x942.pem -pkeyopt dh_rfc5114:" +
                        row.Text("rfc5114_text"));
            openssl.Run("asn1parse -in x942.pem -noout -out x942.der");
            for (const CByteZone& der : {openssl.Read("x942.der"), ParamsToDer(ours.Get())}) {
                const auto read = CreateDhParamsKeyFromDer(der);
                CTHandle<BIGNUM> q;
                EXPECT_EQ(EVP_PKEY_parameters_eq(read.Get(), ours.Get()), 1);
                EXPECT_EQ(GetKeyNumber(read.Get(), EKeyNumber::Q, q), 1);
            }
        }
        EXPECT_EQ(ERR_peek_error(), 0U);
    }
}

TEST(RsaOaep, DecryptsThePublishedCases) {
    CTHandle<EVP_PKEY> key;
    FOR_EACH_STANZA(row, ReadSharedStanzas("rsa_oaep.txt")) {
        row.Skip();
        if (row.Has("private_key")) {
            key = CreateRsaKeyFromDer(row.Bytes("private_key"), true, true);
            continue;
        }
        // Kept: a name that OpenSSL does not know silently means SHA-1.
        const std::string digest = row.Text("digest_text");
        const char* const name = digest == "sha1" ? "nosuch" : digest.c_str();
        try {
            const auto text = DecryptRsaOaep(row.Bytes("cipher"), key.Get(), name);
            const CByteZone plain = row.Bytes("plain");
            EXPECT_EQ(text, CSecureByteZone(plain.GetData(), plain.GetSize()));
            EXPECT_EQ(row.Text("result_text"), "valid");
        } catch (const CException&) {
            EXPECT_EQ(row.Text("result_text"), "invalid");
        }
        EXPECT_EQ(ERR_peek_error(), 0U);
    }
}

TEST(RsaKeys, AreMadeFromTheirNumbersAndReadFromFiles) {
    const COpensslCommand openssl;
    const auto key = Generate("RSA", "2048", nullptr);
    // Kept: the modulus goes to the first zone and the exponent to the second, against the name.
    CRsaKeyParts parts;
    PubExpAndModFromRsaKey(key.Get(), parts.modulus, parts.publicExponent);
    auto name = static_cast<int>(EKeyNumber::D);
    for (CSecureByteZone* const part : {&parts.privateExponent, &parts.prime1, &parts.prime2,
                                        &parts.exponent1, &parts.exponent2, &parts.coefficient}) {
        EXPECT_EQ(GetKeyNumber(key.Get(), static_cast<EKeyNumber>(name++), *part), 1);
    }
    const CSecureByteZone der = KeyToDer(key.Get(), true, true);
    EXPECT_EQ(KeyToDer(CreateRsaPrivateKey(parts).Get(), true, true), der);
    const auto half = CreateRsaPublicKey(parts.modulus, parts.publicExponent);
    EXPECT_EQ(EVP_PKEY_eq(half.Get(), key.Get()), 1);
    EXPECT_LE(CheckPrivateKey(half.Get()), 0);

    openssl.Write("key.der", der);
    FOR_EACH_STANZA(row, ReadStanzas("crypto/rsa_files.txt")) {
        const std::string options = row.Text("options_text"), reads = row.Text("reads_text");
        openssl.Run("rsa -in key.der -inform DER -out out " + options);
        const CByteZone data = openssl.Read("out");
        const auto read =
            options.back() == 'M' ? CreateRsaKeyFromPem<CByteZone> : CreateRsaKeyFromDer<CByteZone>;
        for (unsigned asked = 0; asked < 4; ++asked) {
            CTHandle<EVP_PKEY> again;
            try {
                again = read(data, (asked & 1) != 0, (asked & 2) != 0);
            } catch (const OPENSSL_FUNCTION_FAILED&) {
            }
            EXPECT_EQ(again && EVP_PKEY_eq(again.Get(), key.Get()) == 1, reads[asked] == 'y');
        }
        EXPECT_EQ(ERR_peek_error(), 0U);
    }
}
