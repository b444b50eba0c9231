/**
 * What PACE is run with (Doc 9303 part 11, 9.5): the variants of the protocol and the standardized
 * domain parameters.
 */
#pragma once

#include "crypto/openssl_handle.h"
#include "icao/security_infos.h"

namespace icao {

/** How the nonce becomes a generator. */
enum EPACEMapping : int {
    kGenericMapping,
    kIntegratedMapping,
    kChipAuthenticationMapping,
};

/**
 * Reads a variant from its identifier. `mapping` is one of EPACEMapping; `keyBits` is 128, 192 or
 * 256, and 128 for triple DES with its two keys.
 *
 * Throws CICAOException with ICAO_ERR_FUNCTION_FAILED for other identifiers.
 */
void GetPACEParametersFromOID(const CObjectIdentifier& oid, bool& isEcdh, int& mapping, bool& isAes,
                              int& keyBits);

/**
 * The curve of the ids 8 to 18; null, and nothing reported, when OpenSSL does not make it. Other
 * ids throw CICAOException with ICAO_ERR_FUNCTION_NOT_SUPPORTED.
 */
CTHandle<EC_GROUP> GetECDHCurveFromStandardizedParameter(int id);

/** The same for the groups of the ids 0 to 2, as a key of domain parameters only. */
CTHandle<EVP_PKEY> GetDHCurveFromStandardizedParameter(int id);

/**
 * Puts the domain parameters that the chip has announced into an empty key: those of the
 * domainParameterInfo when there is one, otherwise those that paceInfo names. One of the two may be
 * null.
 *
 * Throws CICAOException, with ICAO_ERR_FUNCTION_NOT_SUPPORTED for ids of the other kind or reserved
 * ones, with ICAO_ERR_FUNCTION_FAILED when nothing tells the parameters, and
 * OPENSSL_FUNCTION_FAILED for explicit parameters that are malformed. The key is then left alone.
 */
void SetIFDKeyParametersECDH(const CPACEInfo* paceInfo,
                             const CPACEDomainParameterInfo* domainParameterInfo,
                             CTHandle<EVP_PKEY>& key);
void SetIFDKeyParametersDH(const CPACEInfo* paceInfo,
                           const CPACEDomainParameterInfo* domainParameterInfo,
                           CTHandle<EVP_PKEY>& key);

}  // namespace icao
