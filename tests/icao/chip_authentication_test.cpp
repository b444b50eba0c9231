#include "icao/chip_authentication.h"

#include "icao/pace_sides.h"
#include "support/stanza_file.h"
#include "support/string_print.h"

#include <gtest/gtest.h>

using namespace icao;

namespace {

template <class Type>
auto Decode(const CByteZone& der) {
    size_t position = 0;
    return Type::Decode(der, position);
}

/** The info in data group 14. */
CChipAuthenticationPublicKeyInfo FindInfo(const CByteZone& dg14) {
    size_t position = 0;
    const auto infos =
        Decode<CSecurityInfosType>(CTlvHeader::Decode(0x6E, dg14, position).ToZone());
    for (const auto& info : *infos) {
        if (info->protocol->GetSize() == 10 && (*info->protocol)[8] == 1) {
            CByteZone item(nullptr, CSecurityInfoType::GetEncodedLength(*info));
            CSecurityInfoType::Encode(*info, item, position = 0);
            return std::move(*Decode<CChipAuthenticationPublicKeyInfoType>(item));
        }
    }
    return {};
}

}  // namespace

TEST(ChipAuthentication, MatchesPublishedExchanges) {
    FOR_EACH_STANZA(row, ReadSharedStanzas("ca.txt")) {
        bool isEcdh = false, isAes = false;
        int keyBits = 0;
        GetCAParametersFromOID(CObjectIdentifierContent::DecodeData(row.Bytes("oid")), isEcdh,
                               isAes, keyBits);
        EXPECT_TRUE(isEcdh);
        EXPECT_EQ(isAes, row.Text("cipher_text") == "AES");
        EXPECT_EQ(keyBits, row.Int("key_bits_int"));

        Key chip, subject;
        CByteZone sent;
        if (row.Has("dg14")) {
            const auto info = FindInfo(row.Bytes("dg14"));
            SetICCKeyECDH(&info, chip);
            GetSubjectPublicKey(
                Decode<CSubjectPublicKeyInfoType>(row.Bytes("subject_public_key_info")).get(),
                subject);
            EXPECT_EQ(EVP_PKEY_eq(chip.Get(), subject.Get()), 1);
        } else {
            chip = MakeKey(StandardParameters(13, true), row.Bytes("icc_private"), sent);
        }
        EXPECT_EQ(OpenSSLWrap::GetEncodedPublicKey(chip.Get()), row.Bytes("icc_public"));
        const Key own = MakeKey(chip, row.Bytes("ifd_private"), sent);
        EXPECT_EQ(sent, row.Bytes("ifd_public"));

        CSecureByteZone secret, encKey, macKey;
        ProcessSharedSecretECDH(own.Get(), chip.Get(), secret);
        EXPECT_TRUE(CByteView(secret) == row.Bytes("k"));
        DeriveKeys(row.Bytes(row.Has("kdf_input") ? "kdf_input" : "k"), keyBits, encKey, macKey);
        EXPECT_TRUE(CByteView(encKey) == row.Bytes("k_enc"));
        EXPECT_TRUE(CByteView(macKey) == row.Bytes("k_mac"));
        row.Skip();  // the rest is of the exchange's second version
    }
}

/** A chip with a key of each kind and the terminal come to one secret; DH as PKCS #3 and X9.42. */
TEST(ChipAuthentication, SidesAgree) {
    for (const int domain : {1, 2, 10, 12, 14, 18}) {
        SCOPED_TRACE(domain);
        const bool isEcdh = domain > 2;
        Key chip = StandardParameters(domain, isEcdh), chipsOwn, own, received;
        CByteZone value, sent;
        kKinds[isEcdh].generate(chip, value);
        const auto info =
            domain == 2 ? StaticKeyInfo(ToX942(chip, EVP_PKEY_PUBLIC_KEY)) : StaticKeyInfo(chip);
        if (isEcdh) {
            SetICCKeyECDH(&info, received);
            GenerateIFDKeyECDH(&info, own, sent);
        } else {
            SetICCKeyDH(&info, received);
            GenerateIFDKeyDH(&info, own, sent);
        }
        kKinds[isEcdh].setIccKey(chip.Get(), sent, chipsOwn);
        CSecureByteZone secrets[2];
        kKinds[isEcdh].processSecret(own.Get(), received.Get(), secrets[0]);
        kKinds[isEcdh].processSecret(chip.Get(), chipsOwn.Get(), secrets[1]);
        EXPECT_TRUE(secrets[0] == secrets[1]);
        EXPECT_EQ(secrets[0].GetSize(), isEcdh ? value.GetSize() / 2 : value.GetSize());
    }
}

TEST(ChipAuthentication, ReadsVariantsAndRsaKeys) {
    for (uint32_t row = 0; row < 8; ++row) {
        const uint32_t arcs[] = {0, 4, 0, 127, 0, 7, 2, 2, 3, 1 + row / 4, 1 + row % 4};
        bool isEcdh = false, isAes = false;
        int keyBits = 0;
        GetCAParametersFromOID(CObjectIdentifier(arcs, std::size(arcs)), isEcdh, isAes, keyBits);
        EXPECT_EQ(isEcdh, row >= 4);
        EXPECT_EQ(isAes, row % 4 > 0);
        EXPECT_EQ(keyBits, row % 4 < 2 ? 128 : 64 + row % 4 * 64);
    }
    Key rsa, read;
    OpenSSLWrap::GenerateRsaKey(1024, OpenSSLWrap::IntToBignum(65537).Get(), rsa);
    GetSubjectPublicKey(StaticKeyInfo(rsa).chipAuthenticationPublicKey.get(), read);
    EXPECT_EQ(EVP_PKEY_eq(rsa.Get(), read.Get()), 1);
}
