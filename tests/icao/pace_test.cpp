#include "icao/icao_exception.h"
#include "icao/integrated_mapping.h"
#include "icao/object_ids.h"
#include "icao/pace_sides.h"
#include "support/child_process.h"
#include "support/log_capture.h"
#include "support/stanza_file.h"
#include "support/string_print.h"
#include "util/hex.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <map>

using namespace icao;

namespace {

constexpr const char* kRuns[] = {
    "pace_ecdh_gm_aes128_doc9303.txt",  "pace_ecdh_im_aes128_doc9303.txt",
    "pace_dh_gm_aes128_doc9303.txt",    "pace_ecdh_gm_aes128_pin_bsi.txt",
    "pace_ecdh_cam_aes128_capture.txt", "pace_ecdh_gm_aes256_brainpoolp384.txt",
    "pace_ecdh_gm_aes256_p256.txt",     "pace_computed.txt",
};

CByteZone Plain(const CSecureByteZone& zone) { return {zone.GetData(), zone.GetSize()}; }

/** What a variant says of itself. */
struct CVariant {
    explicit CVariant(const CObjectIdentifier& identifier) : oid(identifier) {
        GetPACEParametersFromOID(oid, isEcdh, mapping, isAes, keyBits);
    }
    const CKeyKind* operator->() const { return &kKinds[isEcdh]; }

    CObjectIdentifier oid;
    bool isEcdh, isAes;
    int mapping, keyBits;
};

/** A side's mapped parameters: from its own mapping key, or from both nonces. */
Key Map(const CVariant& variant, const Key& own, const CByteZone& peer,
        const CSecureByteZone& nonce) {
    Key peerKey, mapped;
    if (variant.mapping == kIntegratedMapping) {
        variant->mapIntegrated(nonce, peer, variant.isAes, own.Get(), mapped);
    } else {
        variant->setIccKey(own.Get(), peer, peerKey);
        variant->mapGeneric(nonce, own.Get(), peerKey.Get(), mapped);
    }
    return mapped;
}

/** A side's secret, the session keys and the token that it sends: all that the run ends with. */
struct CSession {
    CSession(const CVariant& variant, const Key& own, const CByteZone& peer) {
        Key peerKey;
        variant->setIccKey(own.Get(), peer, peerKey);
        variant->processSecret(own.Get(), peerKey.Get(), secret);
        DeriveKeys(secret, variant.keyBits, encKey, macKey);
        ComputeAuthenticationToken(variant.oid, peer, macKey, token);
    }
    CSecureByteZone secret, encKey, macKey;
    CByteZone token;
};

CSecureByteZone CheckNonce(const CStanza& run, const CVariant& variant) {
    const CByteZone given = run.Bytes("k_pi");
    CSecureByteZone password(given.GetData(), given.GetSize()), nonce;
    if (run.Has("password_text")) {
        const CByteZone text(run.Text("password_text").c_str());
        DerivePasswordKey(int(run.Int("password_type_int")), text, variant.keyBits, password);
        EXPECT_EQ(Plain(password), given);
    }
    DecryptNonce(password, variant.isAes, run.Bytes("z"), nonce);
    EXPECT_EQ(Plain(nonce), run.Bytes("s"));
    return nonce;
}

/** The terminal's mapping, and the chip's where its key is known. */
Key CheckMapping(const CStanza& run, const CVariant& variant, const CSecureByteZone& nonce) {
    const Key parameters = StandardParameters(int(run.Int("domain_int")), variant.isEcdh);
    if (variant.mapping == kIntegratedMapping) {
        CSecureByteZone random;
        PseudoRandom(OpenSSLWrap::GetKeyBitLength(parameters.Get()), nonce, run.Bytes("t"),
                     variant.isAes, random);
        EXPECT_EQ(Plain(random), run.Bytes("prf"));
        return Map(variant, parameters, run.Bytes("t"), nonce);
    }
    CByteZone sent;
    const Key own = MakeKey(parameters, run.Bytes("ifd_map_private"), sent);
    EXPECT_EQ(sent, run.Bytes("ifd_map_public"));
    if (run.Has("icc_map_private")) {
        const Key chip = MakeKey(parameters, run.Bytes("icc_map_private"), sent);
        EXPECT_EQ(GeneratorOf(Map(variant, chip, run.Bytes("ifd_map_public"), nonce)),
                  run.Bytes("g_mapped"));
    }
    return Map(variant, own, run.Bytes("icc_map_public"), nonce);
}

}  // namespace

TEST(Pace, MatchesPublishedRuns) {
    for (const char* const file : kRuns) {
        FOR_EACH_STANZA(run, ReadSharedStanzas(file)) {
            const CVariant variant(CObjectIdentifierContent::DecodeData(run.Bytes("oid")));
            EXPECT_EQ(variant.keyBits, run.Int("key_bits_int"));
            EXPECT_EQ(variant.isAes, run.Text("cipher_text") == "AES");
            EXPECT_EQ(variant.isEcdh, run.Has("curve_text"));
            EXPECT_EQ(run.Text("mapping_text")[0], "gic"[variant.mapping]);
            const Key mapped = CheckMapping(run, variant, CheckNonce(run, variant));
            EXPECT_EQ(GeneratorOf(mapped), run.Bytes("g_mapped"));
            CByteZone sent, fromChip;
            const Key own = MakeKey(mapped, run.Bytes("ifd_private"), sent);
            EXPECT_EQ(sent, run.Bytes("ifd_public"));
            const CSession session(variant, own, run.Bytes("icc_public"));
            ComputeAuthenticationToken(variant.oid, sent, session.macKey, fromChip);
            EXPECT_EQ(Plain(session.secret), run.Bytes("k"));
            EXPECT_EQ(Plain(session.encKey), run.Bytes("k_enc"));
            EXPECT_EQ(Plain(session.macKey), run.Bytes("k_mac"));
            EXPECT_EQ(session.token, run.Bytes("t_ifd"));
            EXPECT_EQ(fromChip, run.Bytes("t_icc"));
            run.Skip();  // the rest is what these are made of
        }
    }
}

/** By id, by an info with the id, and in full. */
TEST(Pace, ReadsAnnouncedDomains) {
    FOR_EACH_STANZA(row, ReadStanzas("icao/pace_domains.txt")) {
        const auto id = static_cast<unsigned char>(row.Int("id_int"));
        const bool isEcdh = id > 2;
        const Key key = StandardParameters(id, isEcdh);
        char name[32];
        size_t size = 0;
        EXPECT_EQ(EVP_PKEY_get_group_name(key.Get(), name, sizeof(name), &size), 1);
        EXPECT_EQ(name, row.Text("name_text"));
        const unsigned char integer[] = {2, 1, id};
        CByteZone forms[] = {{integer, 3}, OpenSSLWrap::ParamsToDer(key.Get()), {}};
        if (isEcdh) {
            const auto group = GetKeyGroup(key.Get());
            EC_GROUP_set_asn1_flag(group.Get(), OPENSSL_EC_EXPLICIT_CURVE);
            forms[2] = OpenSSLWrap::GetCkaEcParams(group.Get());
        } else {
            forms[2] = OpenSSLWrap::ParamsToDer(ToX942(key, EVP_PKEY_KEY_PARAMETERS).Get());
        }
        for (const CByteZone& form : forms) {
            Key read;
            SetFrom(isEcdh, &form == forms ? kStandardizedOid : kEcPublicKeyOid, form, read);
            EXPECT_EQ(EVP_PKEY_parameters_eq(read.Get(), key.Get()), 1);
        }
    }
}

TEST(KeyDerivation, MatchesPublishedKeys) {
    FOR_EACH_STANZA(row, ReadSharedStanzas("kdf.txt")) {
        const CByteZone secret = row.Bytes("secret");
        CSecureByteZone keys[3];
        DeriveKeys(secret, int(row.Int("key_bits_int")), keys[0], keys[1]);
        DerivePasswordKey(CAN, secret, int(row.Int("key_bits_int")), keys[2]);
        EXPECT_EQ(Plain(keys[row.Int("counter_int") - 1]), row.Bytes("key"));
        row.Skip();
    }
}

/** Every variant on every domain of its kind: two sides with fresh keys come to the same. */
TEST(Pace, SidesAgreeOnEveryDomain) {
    for (uint32_t row = 0; row < 20; ++row) {
        const uint32_t family = row < 16 ? row / 4 + 1 : 6;
        const uint32_t arcs[] = {0, 4, 0, 127, 0, 7, 2, 2, 4, family, row % 4 + 1};
        const CObjectIdentifier oid(arcs, std::size(arcs));
        if (row == 16) {  // chip authentication mapping has no triple DES
            EXPECT_THROW(CVariant{oid}, CICAOException);
            continue;
        }
        const CVariant variant(oid);
        const CSecureByteZone nonce(variant.keyBits == 128 ? 16 : 32, 0x5A);
        for (int domain = variant.isEcdh ? 8 : 0; domain <= (variant.isEcdh ? 18 : 2); ++domain) {
            SCOPED_TRACE(testing::Message() << row << " on " << domain);
            Key keys[] = {StandardParameters(domain, variant.isEcdh),
                          StandardParameters(domain, variant.isEcdh)};
            CByteZone sent[2];
            if (variant.mapping == kIntegratedMapping) {
                sent[0] = sent[1] = CByteZone(size_t(variant.keyBits) / 8, 7);
                if (domain == 10) {  // its prime is 1 modulo 4
                    EXPECT_THROW(Map(variant, keys[0], sent[1], nonce), CICAOException);
                    continue;
                }
            } else {
                variant->generate(keys[0], sent[0]);
                variant->generate(keys[1], sent[1]);
            }
            for (const int side : {0, 1}) {
                keys[side] = Map(variant, keys[side], sent[1 - side], nonce);
            }
            variant->generate(keys[0], sent[0]);
            variant->generate(keys[1], sent[1]);
            // OpenSSL's own arithmetic says so too.
            EXPECT_EQ(variant.isEcdh ? OpenSSLWrap::CheckKey(keys[0].Get()) : 1, 1);
            const CSession ifd(variant, keys[0], sent[1]), icc(variant, keys[1], sent[0]);
            CByteZone expected;
            ComputeAuthenticationToken(variant.oid, sent[0], ifd.macKey, expected);
            EXPECT_EQ(icc.token, expected);
            EXPECT_NE(icc.token, ifd.token);
        }
    }
}

namespace {

/** What each refusal left, by its name: lines without their numbers and OpenSSL's own words. */
std::map<std::string, std::string> ReadRefusals(const CLogHome& home) {
    std::map<std::string, std::string> left;
    std::string* current = &left[""];
    for (std::string line : home.Body()) {
        line = line.rfind("1..", 0) == 0 ? line.substr(line.find_first_not_of("1. ")) : "";
        line.resize(std::min({line.size(), line.find(" failed: "), line.find(", line ")}));
        if (line[0] == '[') {
            current = &left[line.substr(1, line.size() - 2)];
        } else if (!line.empty()) {
            *current += current->empty() ? line : "; " + line;
        }
    }
    left.erase("");
    return left;
}

}  // namespace

TEST(Pace, RefusalsLeaveTheirWords) {
    CLogHome home;
    home.Run("pace_child", {});
    auto left = ReadRefusals(home);
    FOR_EACH_STANZA(row, ReadStanzas("icao/pace_refusals.txt")) {
        const std::string name = row.Name().substr(0, row.Name().find(" ("));
        EXPECT_EQ(left[name], row.Text("left_text"));
        left.erase(name);
    }
    EXPECT_THAT(left, testing::IsEmpty());
}

/** The secrets of a published run, masked: in memory while it lasts, and none of them afterwards.
 */
TEST(Pace, WipesItsSecrets) {
    if (kInstrumented) {
        GTEST_SKIP() << "there is too much memory to be read";
    }
    FOR_EACH_STANZA(run, ReadSharedStanzas(kRuns[0])) {
        std::vector<std::string> arguments;
        for (const char* key :
             {"k_pi", "z", "ifd_map_private", "icc_map_public", "ifd_private", "icc_public"}) {
            arguments.push_back(run.Text(key));
        }
        for (const char* key : {"s", "k", "k_enc", "k_mac", "h"}) {
            CByteZone masked = run.Bytes(key);
            masked.Erase(0, masked.GetSize() == 65 ? 1 : 0);
            masked.Resize(std::min<size_t>(masked.GetSize(), 32));
            std::for_each(masked.GetData(), masked.GetEnd(),
                          [](unsigned char& byte) { byte ^= 0xFF; });
            arguments.emplace_back(ToHex(masked).GetText());
        }
        CSettingsHome home;
        CChildProcess child("pace_child", arguments, home.Environment());
        EXPECT_EQ(child.ReadAll(), "11110\n00000\n");
        run.Skip();
    }
}
