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
    "pace_ecdh_gm_aes128_doc9303.txt",       "pace_ecdh_im_aes128_doc9303.txt",
    "pace_dh_gm_aes128_doc9303.txt",         "pace_ecdh_gm_aes128_pin_bsi.txt",
    "pace_ecdh_gm_aes256_brainpoolp384.txt", "pace_ecdh_gm_aes256_p256.txt",
    "pace_ecdh_cam_aes128_capture.txt",      "pace_computed.txt",
};

CByteZone Plain(const CSecureByteZone& zone) { return {zone.GetData(), zone.GetSize()}; }
CSecureByteZone Secure(const CByteZone& zone) { return {zone.GetData(), zone.GetSize()}; }

/** What a variant says of itself. */
struct CVariant {
    explicit CVariant(const CObjectIdentifier& identifier) : oid(identifier) {
        GetPACEParametersFromOID(oid, isEcdh, mapping, isAes, keyBits);
    }
    const CKeyKind& Kind() const { return kKinds[isEcdh]; }

    CObjectIdentifier oid;
    bool isEcdh = false, isAes = false;
    int mapping = 0, keyBits = 0;
};

/** One side with a mapping key; the mapped parameters that it comes to. */
Key MapGenerically(const CVariant& variant, const Key& own, const CByteZone& peer,
                   const CSecureByteZone& nonce) {
    Key peerKey, mapped;
    variant.Kind().setIccKey(own.Get(), peer, peerKey);
    variant.Kind().mapGeneric(nonce, own.Get(), peerKey.Get(), mapped);
    return mapped;
}

/** A side's secret, the session keys and the token that it sends: all that the run ends with. */
struct CSession {
    CSession(const CVariant& variant, const Key& own, const CByteZone& peer) {
        Key peerKey;
        variant.Kind().setIccKey(own.Get(), peer, peerKey);
        variant.Kind().processSecret(own.Get(), peerKey.Get(), secret);
        DeriveKeys(secret, variant.keyBits, encKey, macKey);
        ComputeAuthenticationToken(variant.oid, peer, macKey, token);
    }
    CSecureByteZone secret, encKey, macKey;
    CByteZone token;
};

CByteZone SharedValue(const CVariant& variant, const Key& own, const CByteZone& peer) {
    Key peerKey;
    variant.Kind().setIccKey(own.Get(), peer, peerKey);
    if (!variant.isEcdh) {
        CTHandle<BIGNUM> number;
        DoKeyAgreement(own.Get(), peerKey.Get(), number);
        return OpenSSLWrap::BignumToBuffer(number.Get(), peer.GetSize());
    }
    CTHandle<EC_POINT> point;
    DoKeyAgreement(own.Get(), peerKey.Get(), point);
    return OpenSSLWrap::GetUncompressedEcPointData(GetKeyGroup(own.Get()).Get(), point.Get());
}

CSecureByteZone CheckNonce(const CStanza& run, const CVariant& variant) {
    CSecureByteZone password = Secure(run.Bytes("k_pi")), nonce;
    if (run.Has("password_text")) {
        const CByteZone text(run.Text("password_text").c_str());
        DerivePasswordKey(int(run.Int("password_type_int")), text, variant.keyBits, password);
        EXPECT_EQ(Plain(password), run.Bytes("k_pi"));
    }
    DecryptNonce(password, variant.isAes, run.Bytes("z"), nonce);
    EXPECT_EQ(Plain(nonce), run.Bytes("s"));
    return nonce;
}

Key CheckGenericMapping(const CStanza& run, const CVariant& variant, const Key& parameters,
                        const CSecureByteZone& nonce) {
    CByteZone sent;
    const Key own = MakeKey(parameters, run.Bytes("ifd_map_private"), sent);
    const CByteZone peer = run.Bytes("icc_map_public");
    EXPECT_EQ(sent, run.Bytes("ifd_map_public"));
    EXPECT_EQ(SharedValue(variant, own, peer), run.Bytes("h"));
    if (run.Has("icc_map_private")) {
        const Key chip = MakeKey(parameters, run.Bytes("icc_map_private"), sent);
        EXPECT_EQ(sent, peer);
        const CByteZone received = run.Bytes("ifd_map_public");
        EXPECT_EQ(GeneratorOf(MapGenerically(variant, chip, received, nonce)),
                  run.Bytes("g_mapped"));
    }
    return MapGenerically(variant, own, peer, nonce);
}

Key CheckIntegratedMapping(const CStanza& run, const CVariant& variant, const Key& parameters,
                           const CSecureByteZone& nonce) {
    const CByteZone t = run.Bytes("t");
    CSecureByteZone random;
    CTHandle<BIGNUM> number;
    Key mapped;
    PseudoRandom(OpenSSLWrap::GetKeyBitLength(parameters.Get()), nonce, t, variant.isAes, random);
    EXPECT_EQ(Plain(random), run.Bytes("prf"));
    if (variant.isEcdh) {
        PseudoRandomModP(nonce, t, variant.isAes, GetKeyGroup(parameters.Get()).Get(), number);
    } else {
        PseudoRandomModP(nonce, t, variant.isAes, parameters.Get(), number);
    }
    EXPECT_EQ(BN_cmp(number.Get(), ToNumber(run.Bytes("prf_mod_p")).Get()), 0);
    variant.Kind().mapIntegrated(nonce, t, variant.isAes, parameters.Get(), mapped);
    return mapped;
}

void CheckSession(const CStanza& run, const CVariant& variant, const Key& mapped) {
    CByteZone sent;
    const Key own = MakeKey(mapped, run.Bytes("ifd_private"), sent);
    EXPECT_EQ(sent, run.Bytes("ifd_public"));
    const CSession session(variant, own, run.Bytes("icc_public"));
    EXPECT_EQ(Plain(session.secret), run.Bytes("k"));
    EXPECT_EQ(Plain(session.encKey), run.Bytes("k_enc"));
    EXPECT_EQ(Plain(session.macKey), run.Bytes("k_mac"));
    EXPECT_EQ(session.token, run.Bytes("t_ifd"));
    CByteZone fromChip;
    ComputeAuthenticationToken(variant.oid, sent, session.macKey, fromChip);
    EXPECT_EQ(fromChip, run.Bytes("t_icc"));
    if (run.Has("icc_private")) {
        const CSession chip(variant, MakeKey(mapped, run.Bytes("icc_private"), fromChip), sent);
        EXPECT_EQ(fromChip, run.Bytes("icc_public"));
        EXPECT_EQ(chip.token, run.Bytes("t_icc"));
    }
}

}  // namespace

TEST(Pace, MatchesPublishedRuns) {
    for (const char* const file : kRuns) {
        FOR_EACH_STANZA(run, ReadSharedStanzas(file)) {
            const CVariant variant(CObjectIdentifierContent::DecodeData(run.Bytes("oid")));
            EXPECT_EQ(variant.keyBits, run.Int("key_bits_int"));
            EXPECT_EQ(variant.isAes, run.Text("cipher_text") == "AES");
            EXPECT_EQ(variant.isEcdh, run.Has("curve_text"));
            constexpr const char* kNames[] = {"generic", "integrated", "chip authentication"};
            EXPECT_EQ(run.Text("mapping_text"), kNames[variant.mapping]);
            const Key parameters = StandardParameters(int(run.Int("domain_int")), variant.isEcdh);
            const CSecureByteZone nonce = CheckNonce(run, variant);
            const Key mapped = variant.mapping == kIntegratedMapping
                                   ? CheckIntegratedMapping(run, variant, parameters, nonce)
                                   : CheckGenericMapping(run, variant, parameters, nonce);
            EXPECT_EQ(GeneratorOf(mapped), run.Bytes("g_mapped"));
            CheckSession(run, variant, mapped);
            run.Skip();  // the rest says once more what these are made of
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
    constexpr uint32_t kFamilies[] = {1, 2, 3, 4, 6};
    for (const uint32_t family : kFamilies) {
        for (uint32_t cipher = family == 6 ? 2 : 1; cipher <= 4; ++cipher) {
            const uint32_t arcs[] = {0, 4, 0, 127, 0, 7, 2, 2, 4, family, cipher};
            const CVariant variant(CObjectIdentifier(arcs, std::size(arcs)));
            const size_t keySize = size_t(variant.keyBits) / 8;
            const CSecureByteZone nonce(keySize == 16 ? 16 : 32, 0x5A);
            for (int domain = variant.isEcdh ? 8 : 0; domain <= (variant.isEcdh ? 18 : 2);
                 ++domain) {
                SCOPED_TRACE(testing::Message() << family << '.' << cipher << " on " << domain);
                Key mapped[2], keys[2];
                CByteZone sent[2];
                if (variant.mapping == kIntegratedMapping) {
                    const auto map = [&](Key& made) {
                        variant.Kind().mapIntegrated(
                            nonce, CByteZone(keySize, 7), variant.isAes,
                            StandardParameters(domain, variant.isEcdh).Get(), made);
                    };
                    if (domain == 10) {  // its prime is 1 modulo 4
                        EXPECT_THROW(map(mapped[0]), CICAOException);
                        continue;
                    }
                    map(mapped[0]);
                    map(mapped[1]);
                } else {
                    for (int side : {0, 1}) {
                        keys[side] = StandardParameters(domain, variant.isEcdh);
                        variant.Kind().generate(keys[side], sent[side]);
                    }
                    mapped[0] = MapGenerically(variant, keys[0], sent[1], nonce);
                    mapped[1] = MapGenerically(variant, keys[1], sent[0], nonce);
                }
                variant.Kind().generate(mapped[0], sent[0]);
                variant.Kind().generate(mapped[1], sent[1]);
                // OpenSSL's own arithmetic says so too.
                EXPECT_EQ(variant.isEcdh ? OpenSSLWrap::CheckKey(mapped[0].Get()) : 1, 1);
                const CSession ifd(variant, mapped[0], sent[1]), icc(variant, mapped[1], sent[0]);
                EXPECT_EQ(Plain(ifd.secret), Plain(icc.secret));
                EXPECT_NE(ifd.token, icc.token);
                CByteZone expected;
                ComputeAuthenticationToken(variant.oid, sent[0], ifd.macKey, expected);
                EXPECT_EQ(icc.token, expected);
            }
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
        for (const char* key : {"oid", "k_pi", "z", "ifd_map_private", "icc_map_public",
                                "ifd_private", "icc_public"}) {
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
        EXPECT_EQ(child.ReadAll(), "11110 00000\n");
        run.Skip();
    }
}
