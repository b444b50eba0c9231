/**
 * The security infos of travel documents (Doc 9303 part 11, 9.2): what a chip says, in
 * EF.CardAccess and data group 14, of the protocols that it knows.
 *
 * Records with tables of rows, as those of asn1/security_object.h. Fields without a remark are
 * mandatory.
 */
#pragma once

#include "asn1/security_object.h"
#include "asn1/sequence.h"

#include <cstdint>
#include <memory>

namespace icao {

/** A bit string. Printed as its bytes; how many bits of the last one count does not show. */
struct CBitStringType : CTTaggedType<CBitStringContent, 0x03> {
    static void Print(const CBitString& value, CPrinter& printer);
};

/** What all infos have in common: the rest of any of them, as whole items. */
struct CSecurityInfo {
    std::unique_ptr<CObjectIdentifier> protocol;
    std::unique_ptr<CByteZone> requiredData;
    std::unique_ptr<CByteZone> optionalData;  // optional

    static const CSequenceTable kTable;
};

struct CPACEInfo {
    std::unique_ptr<CObjectIdentifier> protocol;
    std::unique_ptr<int32_t> version;
    std::unique_ptr<int32_t> parameterId;  // optional

    static const CSequenceTable kTable;
};

/** Domain parameters that are not among the standardized ones. */
struct CPACEDomainParameterInfo {
    std::unique_ptr<CObjectIdentifier> protocol;
    std::unique_ptr<CAlgorithmIdentifier> domainParameter;
    std::unique_ptr<int32_t> parameterId;  // optional

    static const CSequenceTable kTable;
};

/** A public key as X.509 has it (RFC 5280, 4.1.2.7). */
struct CSubjectPublicKeyInfo {
    std::unique_ptr<CAlgorithmIdentifier> algorithm;
    std::unique_ptr<CBitString> subjectPublicKey;

    static const CSequenceTable kTable;
};

struct CChipAuthenticationPublicKeyInfo {
    std::unique_ptr<CObjectIdentifier> protocol;
    std::unique_ptr<CSubjectPublicKeyInfo> chipAuthenticationPublicKey;
    std::unique_ptr<int32_t> keyId;  // optional

    static const CSequenceTable kTable;
};

using CSecurityInfoType = CTSequenceType<CSecurityInfo>;
using CPACEInfoType = CTSequenceType<CPACEInfo>;
using CPACEDomainParameterInfoType = CTSequenceType<CPACEDomainParameterInfo>;
using CSubjectPublicKeyInfoType = CTSequenceType<CSubjectPublicKeyInfo>;
using CChipAuthenticationPublicKeyInfoType = CTSequenceType<CChipAuthenticationPublicKeyInfo>;

/** The value of EF.CardAccess, and what data group 14 holds in its tag 0x6E. */
using CSecurityInfosType = CTSequenceOfType<CSecurityInfoType, kSetTag>;

}  // namespace icao
