#include "asn1/security_object.h"

namespace {

using CAlgorithmIdentifiers = CTSequenceOfType<CAlgorithmIdentifierType, kSetTag>;
using CWrappedOctets = CTExplicitType<COctetStringType, kContext0Tag>;
using CWrappedContent = CTExplicitType<CSignedDataContentType, kContext0Tag>;
using CDataGroupHashes = CTSequenceOfType<CDataGroupHashType>;

template <uint32_t tag>
using CTItems = CTSequenceOfType<CAnyType, tag>;

// clang-format off
constexpr CFieldRow kAlgorithmIdentifierRows[] = {
    MANDATORY_FIELD(CAlgorithmIdentifier, algorithm,  CObjectIdentifierType),
    OPTIONAL_FIELD(CAlgorithmIdentifier,  parameters, CAnyType),
};

constexpr CFieldRow kEncapsulatedContentInfoRows[] = {
    MANDATORY_FIELD(CEncapsulatedContentInfo, eContentType, CObjectIdentifierType),
    MANDATORY_FIELD(CEncapsulatedContentInfo, eContent,     CWrappedOctets),
};

constexpr CFieldRow kSignedDataContentRows[] = {
    MANDATORY_FIELD(CSignedDataContent, version,          CIntegerType),
    MANDATORY_FIELD(CSignedDataContent, digestAlgorithms, CAlgorithmIdentifiers),
    MANDATORY_FIELD(CSignedDataContent, encapContentInfo, CEncapsulatedContentInfoType),
    OPTIONAL_FIELD(CSignedDataContent,  certificates,     CTItems<kContext0Tag>),
    OPTIONAL_FIELD(CSignedDataContent,  crls,             CTItems<kContext1Tag>),
    MANDATORY_FIELD(CSignedDataContent, signerInfos,      CTItems<kSetTag>),
};

constexpr CFieldRow kSignedDataRows[] = {
    MANDATORY_FIELD(CSignedData, algorithm,  CObjectIdentifierType),
    MANDATORY_FIELD(CSignedData, signedData, CWrappedContent),
};

constexpr CFieldRow kDocumentSecurityObjectRows[] = {
    MANDATORY_FIELD(CDocumentSecurityObject, documentSecurityObject, CSignedDataType),
};

constexpr CFieldRow kDataGroupHashRows[] = {
    MANDATORY_FIELD(CDataGroupHash, dataGroupNumber,    CIntegerType),
    MANDATORY_FIELD(CDataGroupHash, dataGroupHashValue, COctetStringType),
};

constexpr CFieldRow kLDSVersionInfoRows[] = {
    MANDATORY_FIELD(CLDSVersionInfo, ldsVersion,     CUTF8StringType),
    MANDATORY_FIELD(CLDSVersionInfo, unicodeVersion, CUTF8StringType),
};

constexpr CFieldRow kLDSSecurityObjectRows[] = {
    MANDATORY_FIELD(CLDSSecurityObject, version,             CIntegerType),
    MANDATORY_FIELD(CLDSSecurityObject, hashAlgorithm,       CAlgorithmIdentifierType),
    MANDATORY_FIELD(CLDSSecurityObject, dataGroupHashValues, CDataGroupHashes),
    OPTIONAL_FIELD(CLDSSecurityObject,  ldsVersionInfo,      CLDSVersionInfoType),
};
// clang-format on

}  // namespace

const CSequenceTable CAlgorithmIdentifier::kTable("AlgorithmIdentifier", kAlgorithmIdentifierRows);
const CSequenceTable CEncapsulatedContentInfo::kTable("EncapsulatedContentInfo",
                                                      kEncapsulatedContentInfoRows);
const CSequenceTable CSignedDataContent::kTable("SignedDataContent", kSignedDataContentRows);
const CSequenceTable CSignedData::kTable("SignedData", kSignedDataRows);
const CSequenceTable CDocumentSecurityObject::kTable(nullptr, kDocumentSecurityObjectRows);
const CSequenceTable CDataGroupHash::kTable("DataGroupHash", kDataGroupHashRows);
const CSequenceTable CLDSVersionInfo::kTable("LDSVersionInfo", kLDSVersionInfoRows);
const CSequenceTable CLDSSecurityObject::kTable(nullptr, kLDSSecurityObjectRows);
