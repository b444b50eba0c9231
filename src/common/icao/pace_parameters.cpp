#include "icao/pace_parameters.h"

#include "asn1/types.h"
#include "crypto/openssl_wrapper.h"
#include "crypto/raise_openssl.h"
#include "icao/icao_exception.h"
#include "icao/object_id_table.h"
#include "icao/object_ids.h"

#include <iterator>

using OpenSSLWrap::CreateDhParamsKey;
using OpenSSLWrap::CreateDhParamsKeyFromDer;
using OpenSSLWrap::CreateEcGroup;
using OpenSSLWrap::CreateEcParamsKey;

namespace icao {

namespace {

constexpr CConstantArcs kStandardizedDomainParameters = kBsiArcs<1, 2>;

struct CPACERow {
    bool isEcdh;
    bool isAes;
    EPACEMapping mapping;
    int keyBits;
};

// In the order of EPACEAlgo.
constexpr CPACERow kPACERows[] = {
    {false, false, kGenericMapping, 128},
    {false, true, kGenericMapping, 128},
    {false, true, kGenericMapping, 192},
    {false, true, kGenericMapping, 256},
    {false, false, kIntegratedMapping, 128},
    {false, true, kIntegratedMapping, 128},
    {false, true, kIntegratedMapping, 192},
    {false, true, kIntegratedMapping, 256},
    {true, false, kGenericMapping, 128},
    {true, true, kGenericMapping, 128},
    {true, true, kGenericMapping, 192},
    {true, true, kGenericMapping, 256},
    {true, false, kIntegratedMapping, 128},
    {true, true, kIntegratedMapping, 128},
    {true, true, kIntegratedMapping, 192},
    {true, true, kIntegratedMapping, 256},
    {true, true, kChipAuthenticationMapping, 128},
    {true, true, kChipAuthenticationMapping, 192},
    {true, true, kChipAuthenticationMapping, 256},
};

constexpr const char* kDhGroups[] = {"dh_1024_160", "dh_2048_224", "dh_2048_256"};

constexpr int kFirstCurve = 8;
constexpr int kCurves[] = {
    NID_X9_62_prime192v1, NID_brainpoolP192r1, NID_secp224r1,       NID_brainpoolP224r1,
    NID_X9_62_prime256v1, NID_brainpoolP256r1, NID_brainpoolP320r1, NID_secp384r1,
    NID_brainpoolP384r1,  NID_brainpoolP512r1, NID_secp521r1,
};

/** What the chip has announced. Neither an id nor explicit parameters: nothing that can be used. */
struct CAnnouncedDomain {
    bool isStandardized = false;
    std::unique_ptr<int32_t> id;
    const CByteZone* explicitParameters = nullptr;
};

CAnnouncedDomain ReadDomain(const CAlgorithmIdentifier& domain) {
    CAnnouncedDomain read;
    read.isStandardized = kStandardizedDomainParameters.Equals(*domain.algorithm);
    if (!read.isStandardized) {
        read.explicitParameters = domain.parameters.get();
    } else if (domain.parameters) {
        size_t position = 0;
        read.id = CIntegerType::Decode(*domain.parameters, position);
    }
    return read;
}

CAnnouncedDomain ReadDomain(const CPACEInfo* paceInfo,
                            const CPACEDomainParameterInfo* domainParameterInfo,
                            const CTHandle<EVP_PKEY>& key) {
    CAnnouncedDomain read;
    if (paceInfo == nullptr && key) {
        return read;
    }
    if (domainParameterInfo != nullptr) {
        const CAlgorithmIdentifier* const domain = domainParameterInfo->domainParameter.get();
        return domain != nullptr && domain->algorithm ? ReadDomain(*domain) : CAnnouncedDomain();
    }
    if (paceInfo != nullptr && paceInfo->parameterId) {
        read.id = std::make_unique<int32_t>(*paceInfo->parameterId);
    }
    return read;
}

/** Why a domain cannot be used, as the log says it. */
const char* DescribeUnusable(const CAnnouncedDomain& domain) {
    return domain.isStandardized ? "Fail to get standardized domain id from PACEDomainParameterInfo"
                                 : "GenerateIFDKey: invalid parameters.";
}

}  // namespace

void GetPACEParametersFromOID(const CObjectIdentifier& oid, bool& isEcdh, int& mapping, bool& isAes,
                              int& keyBits) {
    const auto id = static_cast<size_t>(GetPACEAlgoID(oid));
    if (id >= std::size(kPACERows)) {
        RAISE_ICAO(CICAOException(ICAO_ERR_FUNCTION_FAILED));
    }
    const CPACERow& row = kPACERows[id];
    isEcdh = row.isEcdh;
    mapping = row.mapping;
    isAes = row.isAes;
    keyBits = row.keyBits;
}

CTHandle<EC_GROUP> GetECDHCurveFromStandardizedParameter(int id) {
    if (id < kFirstCurve || id >= kFirstCurve + static_cast<int>(std::size(kCurves))) {
        REJECT_ICAO(ICAO_ERR_FUNCTION_NOT_SUPPORTED,
                    "Domain parameters %d is not supported as an ECDH domain.", id);
    }
    return Own(EC_GROUP_new_by_curve_name(kCurves[id - kFirstCurve]));
}

CTHandle<EVP_PKEY> GetDHCurveFromStandardizedParameter(int id) {
    if (id < 0 || id >= static_cast<int>(std::size(kDhGroups))) {
        REJECT_ICAO(ICAO_ERR_FUNCTION_NOT_SUPPORTED,
                    "Domain parameters %d is not supported as a DH domain.", id);
    }
    return CreateDhParamsKey(kDhGroups[id]);
}

void SetIFDKeyParametersECDH(const CPACEInfo* paceInfo,
                             const CPACEDomainParameterInfo* domainParameterInfo,
                             CTHandle<EVP_PKEY>& key) {
    const CAnnouncedDomain domain = ReadDomain(paceInfo, domainParameterInfo, key);
    CTHandle<EC_GROUP> group;
    if (domain.id) {
        group = GetECDHCurveFromStandardizedParameter(*domain.id);
        if (!group) {
            RAISE_OPENSSL("EC_GROUP_new_by_curve_name");
        }
    } else if (domain.explicitParameters != nullptr) {
        group = CreateEcGroup(*domain.explicitParameters);
    } else {
        REJECT_ICAO(ICAO_ERR_FUNCTION_FAILED, "%s", DescribeUnusable(domain));
    }
    key = CreateEcParamsKey(group.Get());
}

void SetIFDKeyParametersDH(const CPACEInfo* paceInfo,
                           const CPACEDomainParameterInfo* domainParameterInfo,
                           CTHandle<EVP_PKEY>& key) {
    const CAnnouncedDomain domain = ReadDomain(paceInfo, domainParameterInfo, key);
    if (domain.id) {
        key = GetDHCurveFromStandardizedParameter(*domain.id);
    } else if (domain.explicitParameters != nullptr) {
        key = CreateDhParamsKeyFromDer(*domain.explicitParameters);
    } else {
        REJECT_ICAO(ICAO_ERR_FUNCTION_FAILED, "%s", DescribeUnusable(domain));
    }
}

}  // namespace icao
