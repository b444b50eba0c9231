#include "trace/name_table.h"
#include <qorvs/ck_names.h>

#include <cstdio>
#include <cstring>

// The mechanisms of PKCS #11 2.11, and from 2.20 the SHA-2, PSS and AES ones that tokens offer. Of
// two names for one number the newer one stands here.
static constexpr CNameRow kMechanismRows[] = {
    // RSA
    NAME_ROW(CKM_RSA_PKCS_KEY_PAIR_GEN),
    NAME_ROW(CKM_RSA_PKCS),
    NAME_ROW(CKM_RSA_9796),
    NAME_ROW(CKM_RSA_X_509),
    NAME_ROW(CKM_MD2_RSA_PKCS),
    NAME_ROW(CKM_MD5_RSA_PKCS),
    NAME_ROW(CKM_SHA1_RSA_PKCS),
    NAME_ROW(CKM_RIPEMD128_RSA_PKCS),
    NAME_ROW(CKM_RIPEMD160_RSA_PKCS),
    NAME_ROW(CKM_RSA_PKCS_OAEP),
    NAME_ROW(CKM_RSA_X9_31_KEY_PAIR_GEN),
    NAME_ROW(CKM_RSA_X9_31),
    NAME_ROW(CKM_SHA1_RSA_X9_31),
    NAME_ROW(CKM_RSA_PKCS_PSS),
    NAME_ROW(CKM_SHA1_RSA_PKCS_PSS),

    // DSA and Diffie-Hellman
    NAME_ROW(CKM_DSA_KEY_PAIR_GEN),
    NAME_ROW(CKM_DSA),
    NAME_ROW(CKM_DSA_SHA1),
    NAME_ROW(CKM_DH_PKCS_KEY_PAIR_GEN),
    NAME_ROW(CKM_DH_PKCS_DERIVE),
    NAME_ROW(CKM_X9_42_DH_KEY_PAIR_GEN),
    NAME_ROW(CKM_X9_42_DH_DERIVE),
    NAME_ROW(CKM_X9_42_DH_HYBRID_DERIVE),
    NAME_ROW(CKM_X9_42_MQV_DERIVE),

    // RSA with SHA-2
    NAME_ROW(CKM_SHA256_RSA_PKCS),
    NAME_ROW(CKM_SHA384_RSA_PKCS),
    NAME_ROW(CKM_SHA512_RSA_PKCS),
    NAME_ROW(CKM_SHA256_RSA_PKCS_PSS),
    NAME_ROW(CKM_SHA384_RSA_PKCS_PSS),
    NAME_ROW(CKM_SHA512_RSA_PKCS_PSS),

    // ciphers: RC2, RC4, DES, CDMF
    NAME_ROW(CKM_RC2_KEY_GEN),
    NAME_ROW(CKM_RC2_ECB),
    NAME_ROW(CKM_RC2_CBC),
    NAME_ROW(CKM_RC2_MAC),
    NAME_ROW(CKM_RC2_MAC_GENERAL),
    NAME_ROW(CKM_RC2_CBC_PAD),
    NAME_ROW(CKM_RC4_KEY_GEN),
    NAME_ROW(CKM_RC4),
    NAME_ROW(CKM_DES_KEY_GEN),
    NAME_ROW(CKM_DES_ECB),
    NAME_ROW(CKM_DES_CBC),
    NAME_ROW(CKM_DES_MAC),
    NAME_ROW(CKM_DES_MAC_GENERAL),
    NAME_ROW(CKM_DES_CBC_PAD),
    NAME_ROW(CKM_DES2_KEY_GEN),
    NAME_ROW(CKM_DES3_KEY_GEN),
    NAME_ROW(CKM_DES3_ECB),
    NAME_ROW(CKM_DES3_CBC),
    NAME_ROW(CKM_DES3_MAC),
    NAME_ROW(CKM_DES3_MAC_GENERAL),
    NAME_ROW(CKM_DES3_CBC_PAD),
    NAME_ROW(CKM_CDMF_KEY_GEN),
    NAME_ROW(CKM_CDMF_ECB),
    NAME_ROW(CKM_CDMF_CBC),
    NAME_ROW(CKM_CDMF_MAC),
    NAME_ROW(CKM_CDMF_MAC_GENERAL),
    NAME_ROW(CKM_CDMF_CBC_PAD),

    // digests
    NAME_ROW(CKM_MD2),
    NAME_ROW(CKM_MD2_HMAC),
    NAME_ROW(CKM_MD2_HMAC_GENERAL),
    NAME_ROW(CKM_MD5),
    NAME_ROW(CKM_MD5_HMAC),
    NAME_ROW(CKM_MD5_HMAC_GENERAL),
    NAME_ROW(CKM_SHA_1),
    NAME_ROW(CKM_SHA_1_HMAC),
    NAME_ROW(CKM_SHA_1_HMAC_GENERAL),
    NAME_ROW(CKM_RIPEMD128),
    NAME_ROW(CKM_RIPEMD128_HMAC),
    NAME_ROW(CKM_RIPEMD128_HMAC_GENERAL),
    NAME_ROW(CKM_RIPEMD160),
    NAME_ROW(CKM_RIPEMD160_HMAC),
    NAME_ROW(CKM_RIPEMD160_HMAC_GENERAL),
    NAME_ROW(CKM_SHA256),
    NAME_ROW(CKM_SHA256_HMAC),
    NAME_ROW(CKM_SHA384),
    NAME_ROW(CKM_SHA384_HMAC),
    NAME_ROW(CKM_SHA512),
    NAME_ROW(CKM_SHA512_HMAC),

    // ciphers: CAST, RC5, IDEA
    NAME_ROW(CKM_CAST_KEY_GEN),
    NAME_ROW(CKM_CAST_ECB),
    NAME_ROW(CKM_CAST_CBC),
    NAME_ROW(CKM_CAST_MAC),
    NAME_ROW(CKM_CAST_MAC_GENERAL),
    NAME_ROW(CKM_CAST_CBC_PAD),
    NAME_ROW(CKM_CAST3_KEY_GEN),
    NAME_ROW(CKM_CAST3_ECB),
    NAME_ROW(CKM_CAST3_CBC),
    NAME_ROW(CKM_CAST3_MAC),
    NAME_ROW(CKM_CAST3_MAC_GENERAL),
    NAME_ROW(CKM_CAST3_CBC_PAD),
    NAME_ROW(CKM_CAST128_KEY_GEN),
    NAME_ROW(CKM_CAST128_ECB),
    NAME_ROW(CKM_CAST128_CBC),
    NAME_ROW(CKM_CAST128_MAC),
    NAME_ROW(CKM_CAST128_MAC_GENERAL),
    NAME_ROW(CKM_CAST128_CBC_PAD),
    NAME_ROW(CKM_RC5_KEY_GEN),
    NAME_ROW(CKM_RC5_ECB),
    NAME_ROW(CKM_RC5_CBC),
    NAME_ROW(CKM_RC5_MAC),
    NAME_ROW(CKM_RC5_MAC_GENERAL),
    NAME_ROW(CKM_RC5_CBC_PAD),
    NAME_ROW(CKM_IDEA_KEY_GEN),
    NAME_ROW(CKM_IDEA_ECB),
    NAME_ROW(CKM_IDEA_CBC),
    NAME_ROW(CKM_IDEA_MAC),
    NAME_ROW(CKM_IDEA_MAC_GENERAL),
    NAME_ROW(CKM_IDEA_CBC_PAD),

    // generic secrets
    NAME_ROW(CKM_GENERIC_SECRET_KEY_GEN),
    NAME_ROW(CKM_CONCATENATE_BASE_AND_KEY),
    NAME_ROW(CKM_CONCATENATE_BASE_AND_DATA),
    NAME_ROW(CKM_CONCATENATE_DATA_AND_BASE),
    NAME_ROW(CKM_XOR_BASE_AND_DATA),
    NAME_ROW(CKM_EXTRACT_KEY_FROM_KEY),

    // SSL and TLS
    NAME_ROW(CKM_SSL3_PRE_MASTER_KEY_GEN),
    NAME_ROW(CKM_SSL3_MASTER_KEY_DERIVE),
    NAME_ROW(CKM_SSL3_KEY_AND_MAC_DERIVE),
    NAME_ROW(CKM_SSL3_MASTER_KEY_DERIVE_DH),
    NAME_ROW(CKM_TLS_PRE_MASTER_KEY_GEN),
    NAME_ROW(CKM_TLS_MASTER_KEY_DERIVE),
    NAME_ROW(CKM_TLS_KEY_AND_MAC_DERIVE),
    NAME_ROW(CKM_TLS_MASTER_KEY_DERIVE_DH),
    NAME_ROW(CKM_SSL3_MD5_MAC),
    NAME_ROW(CKM_SSL3_SHA1_MAC),

    // key derivation and passwords
    NAME_ROW(CKM_MD5_KEY_DERIVATION),
    NAME_ROW(CKM_MD2_KEY_DERIVATION),
    NAME_ROW(CKM_SHA1_KEY_DERIVATION),
    NAME_ROW(CKM_PBE_MD2_DES_CBC),
    NAME_ROW(CKM_PBE_MD5_DES_CBC),
    NAME_ROW(CKM_PBE_MD5_CAST_CBC),
    NAME_ROW(CKM_PBE_MD5_CAST3_CBC),
    NAME_ROW(CKM_PBE_MD5_CAST128_CBC),
    NAME_ROW(CKM_PBE_SHA1_CAST128_CBC),
    NAME_ROW(CKM_PBE_SHA1_RC4_128),
    NAME_ROW(CKM_PBE_SHA1_RC4_40),
    NAME_ROW(CKM_PBE_SHA1_DES3_EDE_CBC),
    NAME_ROW(CKM_PBE_SHA1_DES2_EDE_CBC),
    NAME_ROW(CKM_PBE_SHA1_RC2_128_CBC),
    NAME_ROW(CKM_PBE_SHA1_RC2_40_CBC),
    NAME_ROW(CKM_PKCS5_PBKD2),
    NAME_ROW(CKM_PBA_SHA1_WITH_SHA1_HMAC),

    // key wrapping
    NAME_ROW(CKM_KEY_WRAP_LYNKS),
    NAME_ROW(CKM_KEY_WRAP_SET_OAEP),

    // Skipjack, KEA, Fortezza, Baton
    NAME_ROW(CKM_SKIPJACK_KEY_GEN),
    NAME_ROW(CKM_SKIPJACK_ECB64),
    NAME_ROW(CKM_SKIPJACK_CBC64),
    NAME_ROW(CKM_SKIPJACK_OFB64),
    NAME_ROW(CKM_SKIPJACK_CFB64),
    NAME_ROW(CKM_SKIPJACK_CFB32),
    NAME_ROW(CKM_SKIPJACK_CFB16),
    NAME_ROW(CKM_SKIPJACK_CFB8),
    NAME_ROW(CKM_SKIPJACK_WRAP),
    NAME_ROW(CKM_SKIPJACK_PRIVATE_WRAP),
    NAME_ROW(CKM_SKIPJACK_RELAYX),
    NAME_ROW(CKM_KEA_KEY_PAIR_GEN),
    NAME_ROW(CKM_KEA_KEY_DERIVE),
    NAME_ROW(CKM_FORTEZZA_TIMESTAMP),
    NAME_ROW(CKM_BATON_KEY_GEN),
    NAME_ROW(CKM_BATON_ECB128),
    NAME_ROW(CKM_BATON_ECB96),
    NAME_ROW(CKM_BATON_CBC128),
    NAME_ROW(CKM_BATON_COUNTER),
    NAME_ROW(CKM_BATON_SHUFFLE),
    NAME_ROW(CKM_BATON_WRAP),

    // elliptic curves
    NAME_ROW(CKM_EC_KEY_PAIR_GEN),
    NAME_ROW(CKM_ECDSA),
    NAME_ROW(CKM_ECDSA_SHA1),
    NAME_ROW(CKM_ECDH1_DERIVE),
    NAME_ROW(CKM_ECDH1_COFACTOR_DERIVE),
    NAME_ROW(CKM_ECMQV_DERIVE),

    // Juniper, Fasthash
    NAME_ROW(CKM_JUNIPER_KEY_GEN),
    NAME_ROW(CKM_JUNIPER_ECB128),
    NAME_ROW(CKM_JUNIPER_CBC128),
    NAME_ROW(CKM_JUNIPER_COUNTER),
    NAME_ROW(CKM_JUNIPER_SHUFFLE),
    NAME_ROW(CKM_JUNIPER_WRAP),
    NAME_ROW(CKM_FASTHASH),

    // AES
    NAME_ROW(CKM_AES_KEY_GEN),
    NAME_ROW(CKM_AES_ECB),
    NAME_ROW(CKM_AES_CBC),
    NAME_ROW(CKM_AES_MAC),
    NAME_ROW(CKM_AES_MAC_GENERAL),
    NAME_ROW(CKM_AES_CBC_PAD),
    NAME_ROW(CKM_AES_ECB_ENCRYPT_DATA),
    NAME_ROW(CKM_AES_CBC_ENCRYPT_DATA),

    // domain parameters
    NAME_ROW(CKM_DSA_PARAMETER_GEN),
    NAME_ROW(CKM_DH_PKCS_PARAMETER_GEN),
    NAME_ROW(CKM_X9_42_DH_PARAMETER_GEN),
};
static_assert(CountRows(kMechanismRows) == 188);

constexpr CNameTable kMechanismTypeNames = MakeNameTable<kMechanismRows>();

static constexpr size_t kPrefixLength = 4;  // "CKM_"

static constexpr uint64_t Letter(const char* letters, unsigned index) {
    return uint64_t{static_cast<unsigned char>(letters[index])} << (8 * index);
}

// Written out so that it becomes one load.
static constexpr uint64_t ReadEight(const char* letters) {
    return Letter(letters, 0) | Letter(letters, 1) | Letter(letters, 2) | Letter(letters, 3) |
           Letter(letters, 4) | Letter(letters, 5) | Letter(letters, 6) | Letter(letters, 7);
}

static constexpr uint64_t HashShortName(const char* name, size_t length) {
    uint64_t word = 0;
    for (unsigned i = 0; i < length; ++i) {
        word |= Letter(name, i);
    }
    return SpreadKey(word);
}

// Names differ in their length, their last eight letters and the eight behind the prefix. Few of
// them agree in all three.
static constexpr uint64_t HashName(const char* name, size_t length) {
    if (length < 8) {
        return HashShortName(name, length);
    }
    const uint64_t tail = SpreadKey(ReadEight(name + length - 8) + length);
    return length < kPrefixLength + 8 ? tail : SpreadKey(tail ^ ReadEight(name + kPrefixLength));
}

namespace {

struct CByName {
    static constexpr uint64_t Hash(const CNameRow& row) {
        return HashName(row.text, __builtin_strlen(row.text));
    }
};

}  // namespace

const char* GetCkMechanismTypeString(CK_MECHANISM_TYPE type) noexcept {
    if (const char* name = kMechanismTypeNames.Find(type)) {
        return name;
    }
    static thread_local char unknown[128];
    snprintf(unknown, sizeof(unknown), "unknown (0x%08lX)", type);
    return unknown;
}

CK_MECHANISM_TYPE GetCkMechanismTypeFromString(const char* name) noexcept {
    constexpr CK_MECHANISM_TYPE kNotFound = static_cast<CK_MECHANISM_TYPE>(-1);
    if (name == nullptr) {
        return kNotFound;
    }
    constexpr CRowIndex kByName = MakeRowIndex<kMechanismRows, CByName>();
    const CNameRow* row = kByName.Find(
        HashName(name, strlen(name)),
        [name](const CNameRow& candidate) { return strcmp(candidate.text, name) == 0; });
    return row != nullptr ? row->value : kNotFound;
}
