/**
 * PACE with a chip that is not ours: OpenPACE's, through every variant and domain that it has too.
 */
#include "icao/object_ids.h"
#include "icao/pace_sides.h"
#include "support/string_print.h"

#include <gtest/gtest.h>
#include <openssl/objects.h>

#include <eac/pace.h>

using namespace icao;

inline CTHandle<EAC_CTX> Own(EAC_CTX* context) { return {context, EAC_CTX_clear_free}; }
inline CTHandle<PACE_SEC> Own(PACE_SEC* password) { return {password, PACE_SEC_clear_free}; }
inline CTHandle<BUF_MEM> Own(BUF_MEM* bytes) { return {bytes, BUF_MEM_clear_free}; }

namespace {

CByteZone Bytes(const BUF_MEM* held) {
    return {reinterpret_cast<const unsigned char*>(held->data), held->length};
}
CByteZone Bytes(const CSecureByteZone& zone) { return {zone.GetData(), zone.GetSize()}; }

constexpr char kMrzInformation[] = "T22000129364081251010318";
constexpr char kPrintedMrz[] =
    "IDD<<T220001293<<<<<<<<<<<<<<<"
    "6408125<1010318D<<<<<<<<<<<<<4"
    "MUSTERMANN<<ERIKA<<<<<<<<<<<<<";

/** What a call of the peer has made. */
CByteZone Taken(BUF_MEM* made) {
    const auto held = Own(made);
    return held ? Bytes(held.Get()) : CByteZone();
}

CTHandle<BUF_MEM> ToPeer(const CByteZone& bytes) {
    auto held = Own(BUF_MEM_new());
    BUF_MEM_grow(held.Get(), bytes.GetSize());
    memcpy(held.Get()->data, bytes.GetData(), bytes.GetSize());
    return held;
}

/**
 * What a token is made of: numbers go into it without leading zeros, though they are sent with them
 * (BSI TR-03110 part 3, D.2.1.1).
 */
CByteZone ForToken(const CByteZone& publicKey) {
    return OpenSSLWrap::BignumToBuffer(ToNumber(publicKey).Get(), 0);
}

/** A run up to the tokens: ours as the terminal, the peer as the chip. */
struct CRun {
    CRun(uint32_t family, uint32_t cipher, int domainId, int type, const char* ours,
         const char* chips);
    void Start(const char* ours, const char* chips);
    void Map();
    void Agree();

    const int domain, passwordType;
    CObjectIdentifier oid;
    bool isEcdh = false, isAes = false;
    int mapping = 0, keyBits = 0;
    CTHandle<EAC_CTX> chip = Own(EAC_CTX_new());
    CSecureByteZone nonce, secret, encKey, macKey;
    Key key;
    CByteZone token, chipToken, sent, received;
};

CRun::CRun(uint32_t family, uint32_t cipher, int domainId, int type, const char* ours,
           const char* chips)
    : domain(domainId), passwordType(type) {
    const uint32_t arcs[] = {0, 4, 0, 127, 0, 7, 2, 2, 4, family, cipher};
    oid = CObjectIdentifier(arcs, std::size(arcs));
    GetPACEParametersFromOID(oid, isEcdh, mapping, isAes, keyBits);
    const std::string name =
        "0.4.0.127.0.7.2.2.4." + std::to_string(family) + "." + std::to_string(cipher);
    EXPECT_EQ(EAC_CTX_init_pace(chip.Get(), OBJ_txt2nid(name.c_str()), domain), 1);
    Start(ours, chips);
    Map();
    Agree();
}

void CRun::Start(const char* ours, const char* chips) {
    const auto password = Own(PACE_SEC_new(chips, strlen(chips), s_type(passwordType)));
    const CByteZone encrypted = Taken(PACE_STEP1_enc_nonce(chip.Get(), password.Get()));
    CSecureByteZone passwordKey;
    DerivePasswordKey(passwordType, CByteZone(ours), keyBits, passwordKey);
    DecryptNonce(passwordKey, isAes, encrypted, nonce);
}

void CRun::Map() {
    Key own = StandardParameters(domain, isEcdh), peer;
    const CKeyKind& kind = kKinds[isEcdh];
    kind.generate(own, sent);
    kind.setIccKey(own.Get(), Taken(PACE_STEP3A_generate_mapping_data(chip.Get())), peer);
    kind.mapGeneric(nonce, own.Get(), peer.Get(), key);
    ASSERT_EQ(PACE_STEP3A_map_generator(chip.Get(), ToPeer(sent).Get()), 1);
}

void CRun::Agree() {
    const CKeyKind& kind = kKinds[isEcdh];
    Key peer;
    received = Taken(PACE_STEP3B_generate_ephemeral_key(chip.Get()));
    kind.generate(key, sent);
    kind.setIccKey(key.Get(), received, peer);
    kind.processSecret(key.Get(), peer.Get(), secret);
    DeriveKeys(secret, keyBits, encKey, macKey);
    ComputeAuthenticationToken(oid, ForToken(received), macKey, token);
    ASSERT_EQ(PACE_STEP3B_compute_shared_secret(chip.Get(), ToPeer(sent).Get()), 1);
    ASSERT_EQ(PACE_STEP3C_derive_keys(chip.Get()), 1);
    chipToken = Taken(PACE_STEP3D_compute_authentication_token(chip.Get(), ToPeer(sent).Get()));
}

/** A run; another one when the peer would take a DH secret without its leading zeros. */
template <class... Arguments>
CRun RunBoth(Arguments... arguments) {
    CRun run(arguments...);
    return run.isEcdh || run.secret[0] != 0 ? std::move(run) : RunBoth(arguments...);
}

/** Whether both have come to the same, as all they have tells: never to a part of it. */
void ExpectAgreed(const CRun& run, bool agreed) {
    const KA_CTX& theirs = *run.chip.Get()->pace_ctx->ka_ctx;
    CByteZone expected;
    ComputeAuthenticationToken(run.oid, ForToken(run.sent), run.macKey, expected);
    EXPECT_EQ(Bytes(run.nonce) == Bytes(run.chip.Get()->pace_ctx->nonce), agreed);
    EXPECT_EQ(Bytes(run.encKey) == Bytes(theirs.k_enc), agreed);
    EXPECT_EQ(Bytes(run.macKey) == Bytes(theirs.k_mac), agreed);
    EXPECT_EQ(run.chipToken == expected, agreed);
    const auto token = ToPeer(run.token);
    EXPECT_EQ(PACE_STEP3D_verify_authentication_token(run.chip.Get(), token.Get()) == 1, agreed);
    EXPECT_EQ(run.token.GetSize(), 8U);
}

}  // namespace

TEST(Pace, AgreesWithAnotherChip) {
    EAC_init();
    // The peer has no integrated mapping here, and knows nothing of chip authentication mapping.
    for (const uint32_t family : {1U, 2U}) {
        const bool isEcdh = family == 2;
        for (uint32_t cipher = 1; cipher <= 4; ++cipher) {
            for (int domain = isEcdh ? 8 : 0; domain <= (isEcdh ? 18 : 2); ++domain) {
                SCOPED_TRACE(testing::Message() << family << '.' << cipher << " on " << domain);
                ExpectAgreed(RunBoth(family, cipher, domain, CAN, "123456", "123456"), true);
            }
        }
        const int domain = isEcdh ? 13 : 0;
        for (const int type : {MRZ, CAN, PIN, PUK}) {
            SCOPED_TRACE(testing::Message() << family << " with password type " << type);
            // The chip takes the lines of the MRZ as printed, and picks from them what it needs.
            const char* const chips = type == MRZ ? kPrintedMrz : kMrzInformation;
            ExpectAgreed(RunBoth(family, 2, domain, type, kMrzInformation, chips), true);
            ExpectAgreed(RunBoth(family, 2, domain, type, "T22000129364081251010319", chips),
                         false);
        }
    }
    EAC_cleanup();
}
