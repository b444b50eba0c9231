#include "icao/object_ids.h"

#include "icao/icao_exception.h"
#include "icao/object_id_table.h"

#include <cstdio>

namespace icao {

namespace {

struct CObjectIdRow {
    CConstantArcs arcs;
    int32_t id;
    const char* name;
};

#define BSI_ROW(name, ...) \
    { kBsiArcs<__VA_ARGS__>, name, #name }
#define ARCS_ROW(name, ...) \
    { kArcs<__VA_ARGS__>, name, #name }

// Ids are row numbers.
// clang-format off
constexpr CObjectIdRow kPACEAlgos[] = {
    BSI_ROW(id_PACE_DH_GM_3DES_CBC_CBC,        2, 2, 4, 1, 1),
    BSI_ROW(id_PACE_DH_GM_AES_CBC_CMAC_128,    2, 2, 4, 1, 2),
    BSI_ROW(id_PACE_DH_GM_AES_CBC_CMAC_192,    2, 2, 4, 1, 3),
    BSI_ROW(id_PACE_DH_GM_AES_CBC_CMAC_256,    2, 2, 4, 1, 4),
    BSI_ROW(id_PACE_DH_IM_3DES_CBC_CBC,        2, 2, 4, 3, 1),
    BSI_ROW(id_PACE_DH_IM_AES_CBC_CMAC_128,    2, 2, 4, 3, 2),
    BSI_ROW(id_PACE_DH_IM_AES_CBC_CMAC_192,    2, 2, 4, 3, 3),
    BSI_ROW(id_PACE_DH_IM_AES_CBC_CMAC_256,    2, 2, 4, 3, 4),
    BSI_ROW(id_PACE_ECDH_GM_3DES_CBC_CBC,      2, 2, 4, 2, 1),
    BSI_ROW(id_PACE_ECDH_GM_AES_CBC_CMAC_128,  2, 2, 4, 2, 2),
    BSI_ROW(id_PACE_ECDH_GM_AES_CBC_CMAC_192,  2, 2, 4, 2, 3),
    BSI_ROW(id_PACE_ECDH_GM_AES_CBC_CMAC_256,  2, 2, 4, 2, 4),
    BSI_ROW(id_PACE_ECDH_IM_3DES_CBC_CBC,      2, 2, 4, 4, 1),
    BSI_ROW(id_PACE_ECDH_IM_AES_CBC_CMAC_128,  2, 2, 4, 4, 2),
    BSI_ROW(id_PACE_ECDH_IM_AES_CBC_CMAC_192,  2, 2, 4, 4, 3),
    BSI_ROW(id_PACE_ECDH_IM_AES_CBC_CMAC_256,  2, 2, 4, 4, 4),
    BSI_ROW(id_PACE_ECDH_CAM_AES_CBC_CMAC_128, 2, 2, 4, 6, 2),
    BSI_ROW(id_PACE_ECDH_CAM_AES_CBC_CMAC_192, 2, 2, 4, 6, 3),
    BSI_ROW(id_PACE_ECDH_CAM_AES_CBC_CMAC_256, 2, 2, 4, 6, 4),
};

constexpr CObjectIdRow kPACEDomainParameters[] = {
    BSI_ROW(id_PACE_DH_GM,    2, 2, 4, 1),
    BSI_ROW(id_PACE_ECDH_GM,  2, 2, 4, 2),
    BSI_ROW(id_PACE_DH_IM,    2, 2, 4, 3),
    BSI_ROW(id_PACE_ECDH_IM,  2, 2, 4, 4),
    BSI_ROW(id_PACE_ECDH_CAM, 2, 2, 4, 6),
};

constexpr CObjectIdRow kCAAlgos[] = {
    BSI_ROW(id_CA_DH_3DES_CBC_CBC,       2, 2, 3, 1, 1),
    BSI_ROW(id_CA_DH_AES_CBC_CMAC_128,   2, 2, 3, 1, 2),
    BSI_ROW(id_CA_DH_AES_CBC_CMAC_192,   2, 2, 3, 1, 3),
    BSI_ROW(id_CA_DH_AES_CBC_CMAC_256,   2, 2, 3, 1, 4),
    BSI_ROW(id_CA_ECDH_3DES_CBC_CBC,     2, 2, 3, 2, 1),
    BSI_ROW(id_CA_ECDH_AES_CBC_CMAC_128, 2, 2, 3, 2, 2),
    BSI_ROW(id_CA_ECDH_AES_CBC_CMAC_192, 2, 2, 3, 2, 3),
    BSI_ROW(id_CA_ECDH_AES_CBC_CMAC_256, 2, 2, 3, 2, 4),
};

constexpr CObjectIdRow kCADomainParameters[] = {
    BSI_ROW(id_CA_DH,   2, 2, 3, 1),
    BSI_ROW(id_CA_ECDH, 2, 2, 3, 2),
};

constexpr CObjectIdRow kPublicKeyTypes[] = {
    BSI_ROW(id_PK_DH,   2, 2, 1, 1),
    BSI_ROW(id_PK_ECDH, 2, 2, 1, 2),
};

constexpr CObjectIdRow kPSAAlgos[] = {
    BSI_ROW(id_PSA_ECDH_ECSchnorr_SHA_256, 2, 2, 11, 1, 2, 3),
    BSI_ROW(id_PSA_ECDH_ECSchnorr_SHA_384, 2, 2, 11, 1, 2, 4),
    BSI_ROW(id_PSA_ECDH_ECSchnorr_SHA_512, 2, 2, 11, 1, 2, 5),
};

constexpr CObjectIdRow kPSPublicKeyTypes[] = {
    BSI_ROW(id_PS_PK_ECDH_ECSchnorr, 2, 2, 1, 3, 2),
};

constexpr CObjectIdRow kMiscAlgos[] = {
    ARCS_ROW(id_icao_mrtd_security_aaProtocolObject, 2, 23, 136, 1, 1, 5),
    BSI_ROW(id_standardizedDomainParameters,         1, 2),
    BSI_ROW(id_TA,                                   2, 2, 2),
};

constexpr CObjectIdRow kTAAlgos[] = {
    BSI_ROW(id_TA_RSA,              2, 2, 2, 1),
    BSI_ROW(id_TA_RSA_v1_5_SHA_1,   2, 2, 2, 1, 1),
    BSI_ROW(id_TA_RSA_v1_5_SHA_256, 2, 2, 2, 1, 2),
    BSI_ROW(id_TA_RSA_PSS_SHA_1,    2, 2, 2, 1, 3),
    BSI_ROW(id_TA_RSA_PSS_SHA_256,  2, 2, 2, 1, 4),
    BSI_ROW(id_TA_RSA_v1_5_SHA_512, 2, 2, 2, 1, 5),
    BSI_ROW(id_TA_RSA_PSS_SHA_512,  2, 2, 2, 1, 6),
    BSI_ROW(id_TA_ECDSA,            2, 2, 2, 2),
    BSI_ROW(id_TA_ECDSA_SHA_1,      2, 2, 2, 2, 1),
    BSI_ROW(id_TA_ECDSA_SHA_224,    2, 2, 2, 2, 2),
    BSI_ROW(id_TA_ECDSA_SHA_256,    2, 2, 2, 2, 3),
    BSI_ROW(id_TA_ECDSA_SHA_384,    2, 2, 2, 2, 4),
    BSI_ROW(id_TA_ECDSA_SHA_512,    2, 2, 2, 2, 5),
};
// clang-format on

constexpr const char* kPasswordTypes[] = {"MRZ", "CAN", "PIN", "PUK"};

template <size_t count>
constexpr bool AreIdsRowNumbers(const CObjectIdRow (&rows)[count]) {
    for (size_t row = 0; row < count; ++row) {
        if (rows[row].id != static_cast<int32_t>(row)) {
            return false;
        }
    }
    return true;
}
static_assert(AreIdsRowNumbers(kPACEAlgos) && AreIdsRowNumbers(kPACEDomainParameters));
static_assert(AreIdsRowNumbers(kCAAlgos) && AreIdsRowNumbers(kCADomainParameters));
static_assert(AreIdsRowNumbers(kPublicKeyTypes) && AreIdsRowNumbers(kPSAAlgos));
static_assert(AreIdsRowNumbers(kPSPublicKeyTypes) && AreIdsRowNumbers(kMiscAlgos));
static_assert(AreIdsRowNumbers(kTAAlgos));

const char* NameOf(const CObjectIdRow& row) { return row.name; }
const char* NameOf(const char* name) { return name; }

template <class Row, size_t count>
CUTF8String FindName(const Row (&rows)[count], int64_t row) {
    return row >= 0 && row < static_cast<int64_t>(count) ? NameOf(rows[row]) : "undefined";
}

bool Takes(int32_t (*getId)(const CObjectIdentifier&), const CObjectIdentifier& oid) noexcept {
    try {
        getId(oid);
        return true;
    } catch (...) {
        return false;
    }
}

}  // namespace

int32_t GetPACEAlgoID(const CObjectIdentifier& oid) {
    if (const CObjectIdRow* row = FindByArcs(kPACEAlgos, oid)) {
        return row->id;
    }
    REJECT_ICAO(ICAO_ERR_FUNCTION_FAILED, "Given OID (%s) is not a PACE OID.",
                GetOIDText(oid).GetText());
}

int32_t GetPACEDomainParameterID(const CObjectIdentifier& oid) {
    if (const CObjectIdRow* row = FindByArcs(kPACEDomainParameters, oid)) {
        return row->id;
    }
    REJECT_ICAO(ICAO_ERR_FUNCTION_FAILED, "Given OID (%s) is not a PACE Domain Parameter ID.",
                GetOIDText(oid).GetText());
}

int32_t GetCAAlgoID(const CObjectIdentifier& oid) {
    if (const CObjectIdRow* row = FindByArcs(kCAAlgos, oid)) {
        return row->id;
    }
    REJECT_ICAO(ICAO_ERR_FUNCTION_FAILED, "given OID is not a CA OID.");
}

int32_t GetCADomainParameterID(const CObjectIdentifier& oid) {
    if (const CObjectIdRow* row = FindByArcs(kCADomainParameters, oid)) {
        return row->id;
    }
    REJECT_ICAO(ICAO_ERR_FUNCTION_FAILED, "given OID is not a CA Domain Parameter ID");
}

int32_t GetPublicKeyTypeFromOID(const CObjectIdentifier& oid) {
    if (const CObjectIdRow* row = FindByArcs(kPublicKeyTypes, oid)) {
        return row->id;
    }
    REJECT_ICAO(ICAO_ERR_FUNCTION_FAILED, "Given OID (%s) is not a PK OID.",
                GetOIDText(oid).GetText());
}

int32_t GetPSAAlgoID(const CObjectIdentifier& oid) {
    if (const CObjectIdRow* row = FindByArcs(kPSAAlgos, oid)) {
        return row->id;
    }
    REJECT_ICAO(ICAO_ERR_FUNCTION_FAILED, "given OID is not a PSA OID.");
}

int32_t GetPSPublicKeyType(const CObjectIdentifier& oid) {
    if (const CObjectIdRow* row = FindByArcs(kPSPublicKeyTypes, oid)) {
        return row->id;
    }
    REJECT_ICAO(ICAO_ERR_FUNCTION_FAILED, "given OID is not a PS Public Key type OID.");
}

int32_t GetMiscAlgoID(const CObjectIdentifier& oid) {
    if (const CObjectIdRow* row = FindByArcs(kMiscAlgos, oid)) {
        return row->id;
    }
    REJECT_ICAO(ICAO_ERR_FUNCTION_FAILED, "given OID is not recognized.");
}

int32_t GetTAAlgoID(const CObjectIdentifier& oid) {
    if (const CObjectIdRow* row = FindByArcs(kTAAlgos, oid)) {
        return row->id;
    }
    // Kept: id_TA_RSA and id_TA_ECDSA, which name no algorithm in full, are taken all the same.
    REJECT_ICAO(ICAO_ERR_FUNCTION_FAILED, "given OID is not a TA OID or is not explicit.");
}

int32_t GetPasswordType(int32_t value) {
    if (value < MRZ || value > PUK) {
        REJECT_ICAO(ICAO_ERR_FUNCTION_FAILED, "unknown password type");
    }
    return value;
}

void GetPACEAlgoName(int32_t id, CUTF8String& name) { name = FindName(kPACEAlgos, id); }
void GetPACEDomainParameterName(int32_t id, CUTF8String& name) {
    name = FindName(kPACEDomainParameters, id);
}
void GetCAAlgoName(int32_t id, CUTF8String& name) { name = FindName(kCAAlgos, id); }
void GetCADomainParameterName(int32_t id, CUTF8String& name) {
    name = FindName(kCADomainParameters, id);
}
void GetPublicKeyTypeName(int32_t id, CUTF8String& name) { name = FindName(kPublicKeyTypes, id); }
void GetPSAAlgoName(int32_t id, CUTF8String& name) { name = FindName(kPSAAlgos, id); }
void GetPSPublicKeyTypeName(int32_t id, CUTF8String& name) {
    name = FindName(kPSPublicKeyTypes, id);
}
void GetMiscAlgoName(int32_t id, CUTF8String& name) { name = FindName(kMiscAlgos, id); }
void GetTAAlgoName(int32_t id, CUTF8String& name) { name = FindName(kTAAlgos, id); }
void GetPasswordTypeName(int32_t id, CUTF8String& name) {
    name = FindName(kPasswordTypes, int64_t{id} - MRZ);
}

bool IsPACEAlgoID(const CObjectIdentifier& oid) noexcept { return Takes(GetPACEAlgoID, oid); }
bool IsPACEDomainParameterID(const CObjectIdentifier& oid) noexcept {
    return Takes(GetPACEDomainParameterID, oid);
}
bool IsCAAlgoID(const CObjectIdentifier& oid) noexcept { return Takes(GetCAAlgoID, oid); }
bool IsCADomainParameterID(const CObjectIdentifier& oid) noexcept {
    return Takes(GetCADomainParameterID, oid);
}
bool IsTAAlgoID(const CObjectIdentifier& oid) noexcept { return Takes(GetTAAlgoID, oid); }

void GetOIDBytes(const CObjectIdentifier& oid, CByteZone& buffer) {
    buffer.Fill(CObjectIdentifierContent::GetEncodedDataLength(oid), 0);
    CObjectIdentifierContent::EncodeData(oid, buffer);
}

CUTF8String GetOIDText(const CObjectIdentifier& oid) {
    CUTF8String text;
    for (const uint32_t arc : oid) {
        char digits[sizeof " FFFFFFFF"];
        std::snprintf(digits, sizeof digits, text.IsEmpty() ? "%08X" : " %08X", arc);
        text.Append(digits);
    }
    return text;
}

}  // namespace icao
