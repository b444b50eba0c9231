/**
 * The object identifiers of travel documents and identity cards (BSI TR-03110 part 3, Doc 9303 part
 * 11), and the small numbers that the protocols use for them.
 *
 * Each family has a function from the identifier to its number and one from the number to its name.
 * The former, unless the identifier is one of the family, traces why not and throws CICAOException
 * with ICAO_ERR_FUNCTION_FAILED; the latter never throws, and the name of any other number is
 * "undefined". All are free of state.
 */
#pragma once

#include "asn1/object_identifier.h"
#include "util/ct_string.h"

#include <cstdint>

namespace icao {

/** Protocol, mapping, cipher and key length. DH comes before ECDH, against the arcs. */
enum EPACEAlgo : int32_t {
    id_PACE_DH_GM_3DES_CBC_CBC,
    id_PACE_DH_GM_AES_CBC_CMAC_128,
    id_PACE_DH_GM_AES_CBC_CMAC_192,
    id_PACE_DH_GM_AES_CBC_CMAC_256,
    id_PACE_DH_IM_3DES_CBC_CBC,
    id_PACE_DH_IM_AES_CBC_CMAC_128,
    id_PACE_DH_IM_AES_CBC_CMAC_192,
    id_PACE_DH_IM_AES_CBC_CMAC_256,
    id_PACE_ECDH_GM_3DES_CBC_CBC,
    id_PACE_ECDH_GM_AES_CBC_CMAC_128,
    id_PACE_ECDH_GM_AES_CBC_CMAC_192,
    id_PACE_ECDH_GM_AES_CBC_CMAC_256,
    id_PACE_ECDH_IM_3DES_CBC_CBC,
    id_PACE_ECDH_IM_AES_CBC_CMAC_128,
    id_PACE_ECDH_IM_AES_CBC_CMAC_192,
    id_PACE_ECDH_IM_AES_CBC_CMAC_256,
    id_PACE_ECDH_CAM_AES_CBC_CMAC_128,
    id_PACE_ECDH_CAM_AES_CBC_CMAC_192,
    id_PACE_ECDH_CAM_AES_CBC_CMAC_256,
};

/** The families, in the order of their arcs. */
enum EPACEDomainParameter : int32_t {
    id_PACE_DH_GM,
    id_PACE_ECDH_GM,
    id_PACE_DH_IM,
    id_PACE_ECDH_IM,
    id_PACE_ECDH_CAM,
};

enum ECAAlgo : int32_t {
    id_CA_DH_3DES_CBC_CBC,
    id_CA_DH_AES_CBC_CMAC_128,
    id_CA_DH_AES_CBC_CMAC_192,
    id_CA_DH_AES_CBC_CMAC_256,
    id_CA_ECDH_3DES_CBC_CBC,
    id_CA_ECDH_AES_CBC_CMAC_128,
    id_CA_ECDH_AES_CBC_CMAC_192,
    id_CA_ECDH_AES_CBC_CMAC_256,
};

enum ECADomainParameter : int32_t {
    id_CA_DH,
    id_CA_ECDH,
};

enum EPublicKeyType : int32_t {
    id_PK_DH,
    id_PK_ECDH,
};

enum EPSAAlgo : int32_t {
    id_PSA_ECDH_ECSchnorr_SHA_256,
    id_PSA_ECDH_ECSchnorr_SHA_384,
    id_PSA_ECDH_ECSchnorr_SHA_512,
};

enum EPSPublicKeyType : int32_t {
    id_PS_PK_ECDH_ECSchnorr,
};

enum EMiscAlgo : int32_t {
    id_icao_mrtd_security_aaProtocolObject,
    id_standardizedDomainParameters,
    id_TA,
};

enum ETAAlgo : int32_t {
    id_TA_RSA,
    id_TA_RSA_v1_5_SHA_1,
    id_TA_RSA_v1_5_SHA_256,
    id_TA_RSA_PSS_SHA_1,
    id_TA_RSA_PSS_SHA_256,
    id_TA_RSA_v1_5_SHA_512,
    id_TA_RSA_PSS_SHA_512,
    id_TA_ECDSA,
    id_TA_ECDSA_SHA_1,
    id_TA_ECDSA_SHA_224,
    id_TA_ECDSA_SHA_256,
    id_TA_ECDSA_SHA_384,
    id_TA_ECDSA_SHA_512,
};

/** What is printed on a document or known to its holder. */
enum EPasswordType : int32_t {
    MRZ = 1,
    CAN,
    PIN,
    PUK,
};

int32_t GetPACEAlgoID(const CObjectIdentifier& oid);
int32_t GetPACEDomainParameterID(const CObjectIdentifier& oid);
int32_t GetCAAlgoID(const CObjectIdentifier& oid);
int32_t GetCADomainParameterID(const CObjectIdentifier& oid);
int32_t GetPublicKeyTypeFromOID(const CObjectIdentifier& oid);
int32_t GetPSAAlgoID(const CObjectIdentifier& oid);
int32_t GetPSPublicKeyType(const CObjectIdentifier& oid);
int32_t GetMiscAlgoID(const CObjectIdentifier& oid);
int32_t GetTAAlgoID(const CObjectIdentifier& oid);

/** Checks a number that came from outside. */
int32_t GetPasswordType(int32_t value);

void GetPACEAlgoName(int32_t id, CUTF8String& name);
void GetPACEDomainParameterName(int32_t id, CUTF8String& name);
void GetCAAlgoName(int32_t id, CUTF8String& name);
void GetCADomainParameterName(int32_t id, CUTF8String& name);
void GetPublicKeyTypeName(int32_t id, CUTF8String& name);
void GetPSAAlgoName(int32_t id, CUTF8String& name);
void GetPSPublicKeyTypeName(int32_t id, CUTF8String& name);
void GetMiscAlgoName(int32_t id, CUTF8String& name);
void GetTAAlgoName(int32_t id, CUTF8String& name);
void GetPasswordTypeName(int32_t id, CUTF8String& name);

// Whether an identifier is one of a family. A "no" leaves the lines of the refusal in the log.
bool IsPACEAlgoID(const CObjectIdentifier& oid) noexcept;
bool IsPACEDomainParameterID(const CObjectIdentifier& oid) noexcept;
bool IsCAAlgoID(const CObjectIdentifier& oid) noexcept;
bool IsCADomainParameterID(const CObjectIdentifier& oid) noexcept;
bool IsTAAlgoID(const CObjectIdentifier& oid) noexcept;

/**
 * The value octets of an identifier, without tag and length; the buffer is replaced. Throws
 * EASN1InvalidData for arcs that cannot be encoded.
 */
void GetOIDBytes(const CObjectIdentifier& oid, CByteZone& buffer);

/** For the log: each arc as eight hexadecimal digits, with blanks between them. */
CUTF8String GetOIDText(const CObjectIdentifier& oid);

}  // namespace icao
