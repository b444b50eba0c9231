#include "icao/active_authentication.h"

#include "crypto/openssl_wrapper.h"
#include "icao/icao_exception.h"
#include "support/stanza_file.h"
#include "support/string_print.h"

#include <openssl/err.h>

using namespace icao;

namespace {

const EVP_MD* DigestOf(const CStanza& row) {
    return EVP_get_digestbyname(row.Text("digest_text").c_str());
}

/** In the words of the vectors. */
template <class Call>
std::string Verdict(Call call) {
    try {
        return call() ? "valid" : "invalid";
    } catch (const CICAOException&) {
    } catch (const CException&) {
    }
    return "error";
}

/** Checks the parts of a message, or that it has none. */
void CheckMessage(const CStanza& row, const CByteZone& message) {
    CByteZone part, value;
    const EVP_MD* digest = nullptr;
    EXPECT_EQ(Verdict([&] {
                  GetDataFromEMVSignatureMessage(message, part, value, digest);
                  return true;
              }),
              row.Has("m1") ? "valid" : "error");
    EXPECT_EQ(digest, row.Has("m1") ? DigestOf(row) : nullptr);
    EXPECT_EQ(part, row.Has("m1") ? row.Bytes("m1") : CByteZone());
    EXPECT_EQ(value, row.Has("m1") ? row.Bytes("digest_value") : CByteZone());
}

void CheckRsa(const CStanza& row) {
    CTHandle<EVP_PKEY> key;
    OpenSSLWrap::CreateKeyFromData(row.Bytes("public_key"), "DER", EVP_PKEY_PUBLIC_KEY, nullptr,
                                   key);
    const CByteZone challenge = row.Bytes("challenge");
    CByteZone signature = row.Bytes("signature");
    const auto verify = [&] {
        return VerifyActiveAuthenticationSignature(challenge, signature, nullptr, key.Get());
    };
    EXPECT_EQ(Verdict(verify), row.Text("result_text"));
    CheckMessage(row, row.Bytes("recovered"));
    signature[5] ^= 1;
    EXPECT_NE(Verdict(verify), "valid");
    signature.Append(0);
    EXPECT_THROW(verify(), OPENSSL_FUNCTION_FAILED);
    EXPECT_EQ(ERR_peek_error(), 0UL);
}

}  // namespace

TEST(ActiveAuthentication, SignaturesOfRsaKeys) {
    FOR_EACH_STANZA(row, ReadStanzas("icao/aa_rsa.txt")) { CheckRsa(row); }
    for (const CStanza& row : ReadSharedStanzas("aa_rsa.txt")) {
        CheckRsa(row);
    }
}

TEST(ActiveAuthentication, MessagesOfRsaSignatures) {
    FOR_EACH_STANZA(row, ReadSharedStanzas("aa_message.txt")) {
        CheckMessage(row, row.Bytes("message"));
        row.Skip();
    }
}

TEST(ActiveAuthentication, SignaturesOfEcKeys) {
    FOR_EACH_STANZA(row, ReadSharedStanzas("aa_ecdsa.txt")) {
        const int curve = OBJ_txt2nid(row.Text("curve_text").c_str());
        const auto key =
            OpenSSLWrap::CreateEcParamsKey(Own(EC_GROUP_new_by_curve_name(curve)).Get());
        OpenSSLWrap::SetEncodedPublicKey(key.Get(), row.Bytes("public_point"));
        const CByteZone challenge = row.Bytes("challenge"), signature = row.Bytes("signature");
        const auto verify = [&](const CByteZone& signedData, const CByteZone& octets) {
            return Verdict([&] {
                return VerifyActiveAuthenticationSignature(signedData, octets, DigestOf(row),
                                                           key.Get());
            });
        };
        EXPECT_EQ(verify(challenge, signature), row.Text("result_text"));
        EXPECT_NE(verify(signature, signature), "valid");
        // Two octets are r and s, of a wrong length for any curve.
        EXPECT_EQ(verify(challenge, CByteZone("\x01\x02")), "invalid");
        EXPECT_EQ(verify(challenge, {}) + verify({}, signature), "errorerror");
        EXPECT_EQ(ERR_peek_error(), 0UL);
        row.Skip();
    }
}
