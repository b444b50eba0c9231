#include "icao/security_infos.h"

#include "util/hex.h"

namespace icao {

namespace {

// clang-format off
constexpr CFieldRow kSecurityInfoRows[] = {
    MANDATORY_FIELD(CSecurityInfo, protocol,     CObjectIdentifierType),
    MANDATORY_FIELD(CSecurityInfo, requiredData, CAnyType),
    OPTIONAL_FIELD(CSecurityInfo,  optionalData, CAnyType),
};

constexpr CFieldRow kPACEInfoRows[] = {
    MANDATORY_FIELD(CPACEInfo, protocol,    CObjectIdentifierType),
    MANDATORY_FIELD(CPACEInfo, version,     CIntegerType),
    OPTIONAL_FIELD(CPACEInfo,  parameterId, CIntegerType),
};

constexpr CFieldRow kPACEDomainParameterInfoRows[] = {
    MANDATORY_FIELD(CPACEDomainParameterInfo, protocol,        CObjectIdentifierType),
    MANDATORY_FIELD(CPACEDomainParameterInfo, domainParameter, CAlgorithmIdentifierType),
    OPTIONAL_FIELD(CPACEDomainParameterInfo,  parameterId,     CIntegerType),
};

constexpr CFieldRow kSubjectPublicKeyInfoRows[] = {
    MANDATORY_FIELD(CSubjectPublicKeyInfo, algorithm,        CAlgorithmIdentifierType),
    MANDATORY_FIELD(CSubjectPublicKeyInfo, subjectPublicKey, CBitStringType),
};

constexpr CFieldRow kChipAuthenticationPublicKeyInfoRows[] = {
    MANDATORY_FIELD(CChipAuthenticationPublicKeyInfo, protocol, CObjectIdentifierType),
    MANDATORY_FIELD(CChipAuthenticationPublicKeyInfo, chipAuthenticationPublicKey,
                                                                CSubjectPublicKeyInfoType),
    OPTIONAL_FIELD(CChipAuthenticationPublicKeyInfo,  keyId,    CIntegerType),
};
// clang-format on

}  // namespace

void CBitStringType::Print(const CBitString& value, CPrinter& printer) {
    const CUTF8String digits = ToHex(value.bytes);
    if (printer.IsJson()) {
        printer.Emit(CUTF8String("\"") + digits + "\"");
    } else {
        printer.Emit(CUTF8String("BitString 0x") + digits);
        printer.Emit("\n");
    }
}

const CSequenceTable CSecurityInfo::kTable("SecurityInfo", kSecurityInfoRows);
const CSequenceTable CPACEInfo::kTable("PACEInfo", kPACEInfoRows);
const CSequenceTable CPACEDomainParameterInfo::kTable("PACEDomainParameterInfo",
                                                      kPACEDomainParameterInfoRows);
const CSequenceTable CSubjectPublicKeyInfo::kTable("SubjectPublicKeyInfo",
                                                   kSubjectPublicKeyInfoRows);
const CSequenceTable CChipAuthenticationPublicKeyInfo::kTable("ChipAuthenticationPublicKeyInfo",
                                                              kChipAuthenticationPublicKeyInfoRows);

}  // namespace icao
