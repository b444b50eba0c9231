/**
 * The document security object of travel documents: a CMS SignedData (RFC 5652) whose content lists
 * the hashes of the document's data groups (Doc 9303 part 10, 4.6.2).
 *
 * Certificates and signer infos stay whole items: signatures are checked on the bytes of the file,
 * not on these records. Fields without a remark are mandatory.
 */
#pragma once

#include "asn1/sequence.h"

#include <cstdint>
#include <memory>

/** An algorithm and what belongs to it, of any type. */
struct CAlgorithmIdentifier {
    std::unique_ptr<CObjectIdentifier> algorithm;
    std::unique_ptr<CByteZone> parameters;  // optional

    static const CSequenceTable kTable;
};

/** What is signed; here the bytes of a CLDSSecurityObject. */
struct CEncapsulatedContentInfo {
    std::unique_ptr<CObjectIdentifier> eContentType;
    std::unique_ptr<CByteZone> eContent;

    static const CSequenceTable kTable;
};

struct CSignedDataContent {
    std::unique_ptr<int32_t> version;
    std::unique_ptr<CTList<CAlgorithmIdentifier>> digestAlgorithms;
    std::unique_ptr<CEncapsulatedContentInfo> encapContentInfo;
    std::unique_ptr<CTList<CByteZone>> certificates;  // optional
    std::unique_ptr<CTList<CByteZone>> crls;          // optional
    std::unique_ptr<CTList<CByteZone>> signerInfos;

    static const CSequenceTable kTable;
};

struct CSignedData {
    std::unique_ptr<CObjectIdentifier> algorithm;
    std::unique_ptr<CSignedDataContent> signedData;

    static const CSequenceTable kTable;
};

/** The value of EF.SOD's tag 0x77. It has no sequence of its own and no name to print. */
struct CDocumentSecurityObject {
    std::unique_ptr<CSignedData> documentSecurityObject;

    static const CSequenceTable kTable;
};

struct CDataGroupHash {
    std::unique_ptr<int32_t> dataGroupNumber;
    std::unique_ptr<CByteZone> dataGroupHashValue;

    static const CSequenceTable kTable;
};

/**
 * Kept: both are UTF8String only. Documents that have them as PrintableString are refused, with
 * "Inconsistent ASN.1 data: unexpected tag found".
 */
struct CLDSVersionInfo {
    std::unique_ptr<CUTF8String> ldsVersion;
    std::unique_ptr<CUTF8String> unicodeVersion;

    static const CSequenceTable kTable;
};

/** The hashes. Not printed. */
struct CLDSSecurityObject {
    std::unique_ptr<int32_t> version;
    std::unique_ptr<CAlgorithmIdentifier> hashAlgorithm;
    std::unique_ptr<CTList<CDataGroupHash>> dataGroupHashValues;
    std::unique_ptr<CLDSVersionInfo> ldsVersionInfo;  // optional

    static const CSequenceTable kTable;
};

using CAlgorithmIdentifierType = CTSequenceType<CAlgorithmIdentifier>;
using CEncapsulatedContentInfoType = CTSequenceType<CEncapsulatedContentInfo>;
using CSignedDataContentType = CTSequenceType<CSignedDataContent>;
using CSignedDataType = CTSequenceType<CSignedData>;
using CDocumentSecurityObjectType = CTSequenceType<CDocumentSecurityObject>;
using CDataGroupHashType = CTSequenceType<CDataGroupHash>;
using CLDSVersionInfoType = CTSequenceType<CLDSVersionInfo>;
using CLDSSecurityObjectType = CTSequenceType<CLDSSecurityObject>;
