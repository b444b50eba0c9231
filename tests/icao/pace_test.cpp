#include "icao/chip_authentication.h"
#include "icao/pace_sides.h"
#include "support/child_process.h"
#include "support/settings_home.h"
#include "support/stanza_file.h"
#include "support/string_print.h"
#include "util/hex.h"

using namespace icao;

namespace {

/** A chip's static key as data group 14 has it. */
CChipAuthenticationPublicKeyInfo StaticKeyInfo(const Key& key, bool isEcdh) {
    const uint32_t arcs[] = {0, 4, 0, 127, 0, 7, 2, 2, 1, isEcdh ? 2U : 1U};
    CChipAuthenticationPublicKeyInfo info;
    info.protocol = std::make_unique<CObjectIdentifier>(arcs, std::size(arcs));
    CByteZone der;
    size_t position = 0;
    OpenSSLWrap::ExportKey(key.Get(), "DER", EVP_PKEY_PUBLIC_KEY, "SubjectPublicKeyInfo", der);
    info.chipAuthenticationPublicKey = CSubjectPublicKeyInfoType::Decode(der, position);
    return info;
}

CByteZone Secret(const CKeyKind& kind, const Key& own, const Key& peer) {
    CSecureByteZone secret;
    kind.processSecret(own.Get(), peer.Get(), secret);
    return {secret.GetData(), secret.GetSize()};
}

Key Received(const CKeyKind& kind, const Key& own, const CByteZone& sent) {
    Key peer;
    kind.setIccKey(own.Get(), sent, peer);
    return peer;
}

/** The chip's key is static; the terminal generates one for it. */
void CheckStaticKey(bool isEcdh, const Key& chip, const CChipAuthenticationPublicKeyInfo& info) {
    const CKeyKind& kind = kKinds[isEcdh];
    Key own, received;
    CByteZone sent;
    if (isEcdh) {
        SetICCKeyECDH(&info, received);
        GenerateIFDKeyECDH(&info, own, sent);
    } else {
        SetICCKeyDH(&info, received);
        GenerateIFDKeyDH(&info, own, sent);
    }
    const CByteZone secret = Secret(kind, own, received);
    EXPECT_EQ(secret, Secret(kind, chip, Received(kind, chip, sent)));
    EXPECT_EQ(secret.GetSize(), isEcdh ? sent.GetSize() / 2 : sent.GetSize());
}

}  // namespace

/** Two sides with fresh keys come to the same, with the chip's key static and with both mapped. */
TEST(Pace, SidesAgreeOnEveryDomain) {
    const CSecureByteZone nonce(16, 0x5A);
    for (const int id : {0, 1, 2, 8, 9, 10, 11, 12, 13, 14, 15, 16, 17, 18}) {
        SCOPED_TRACE(id);
        const bool isEcdh = id > 2;
        const CKeyKind& kind = kKinds[isEcdh];
        Key keys[] = {StandardParameters(id, isEcdh), StandardParameters(id, isEcdh)}, mapped[2];
        CByteZone sent[2];
        for (const int side : {0, 1}) {
            kind.generate(keys[side], sent[side]);
        }
        CheckStaticKey(isEcdh, keys[0], StaticKeyInfo(keys[0], isEcdh));
        for (const int side : {0, 1}) {
            kind.mapGeneric(nonce, keys[side].Get(),
                            Received(kind, keys[side], sent[1 - side]).Get(), mapped[side]);
        }
        for (const int side : {0, 1}) {
            kind.generate(mapped[side], sent[side]);
        }
        // OpenSSL's own arithmetic says so too.
        EXPECT_EQ(isEcdh ? OpenSSLWrap::CheckKey(mapped[0].Get()) : 1, 1);
        EXPECT_EQ(Secret(kind, mapped[0], Received(kind, mapped[0], sent[1])),
                  Secret(kind, mapped[1], Received(kind, mapped[1], sent[0])));
    }
}

TEST(Pace, GivesNoMemoryBackWithASecretInIt) {
    if (kInstrumented) {
        GTEST_SKIP() << "the sanitizer has a heap of its own";
    }
    FOR_EACH_STANZA(run, ReadSharedStanzas("pace_ecdh_gm_aes128_doc9303.txt")) {
        std::vector<std::string> arguments;
        for (const char* key :
             {"k_pi", "z", "ifd_map_private", "icc_map_public", "ifd_private", "icc_public"}) {
            arguments.push_back(run.Text(key));
        }
        for (const char* key : {"s", "k", "k_enc", "k_mac", "h"}) {
            CByteZone secret = run.Bytes(key);
            secret.Erase(0, secret.GetSize() == 65 ? 1 : 0);
            for (size_t i = 0; i < secret.GetSize(); ++i) {
                secret[i] ^= 0xFF;
            }
            arguments.emplace_back(ToHex(secret).GetText());
        }
        const CSettingsHome home;
        CChildProcess child("pace_secrets_child", arguments, home.Environment());
        EXPECT_EQ(child.ReadAll(), "00000000");
        run.Skip();
    }
}
