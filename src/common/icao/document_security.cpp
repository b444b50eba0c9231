#include "icao/document_security.h"

#include "asn1/asn1_errors.h"
#include "asn1/security_object.h"
#include "asn1/tlv.h"
#include "asn1/tlv_data.h"
#include "crypto/openssl_handle.h"
#include "crypto/raise_openssl.h"
#include "icao/icao_exception.h"

#include <openssl/err.h>
#include <openssl/pkcs7.h>
#include <openssl/x509_vfy.h>

namespace icao {

namespace {

constexpr uint32_t kSecurityObjectTag = MakeConstructedTag(0x57);

enum class ESigned { Sod, CardSecurity };

/** One run of PKCS7_verify, and what its failure is called. */
struct CVerification {
    ESigned file;
    int flags;
    const char* name;
    ICAOError code;
};

// The signature has to come before the chain, whose check takes forged signatures. EF.CardSecurity
// must be signed by a signer of EF.SOD: for one whose certificate it brings along, nobody vouches.
// clang-format off
constexpr CVerification kVerifications[] = {
    {ESigned::Sod, PKCS7_NOVERIFY,
     "PKCS7_verify (EF.SOD signature)", ICAO_ERR_AUTHENTICATION_FAILED},
    {ESigned::CardSecurity, PKCS7_NOVERIFY | PKCS7_NOINTERN,
     "PKCS7_verify (EF.CardSecurity signature)", ICAO_ERR_AUTHENTICATION_FAILED},
    {ESigned::Sod, PKCS7_NOSIGS | PKCS7_NOCHAIN,
     "PKCS7_verify (certificate chain)", ICAO_ERR_VERIFY_CERTIFICATE_FAILED},
    {ESigned::Sod, 0,
     "PKCS7_verify", ICAO_ERR_VERIFY_CERTIFICATE_FAILED},
};
// clang-format on

CTHandle<PKCS7> ReadPkcs7(CByteView der) {
    const unsigned char* at = der.GetData();
    return Own(d2i_PKCS7(nullptr, &at, static_cast<long>(der.GetSize())));
}

CTHandle<X509> ReadX509(CByteView der) {
    const unsigned char* at = der.GetData();
    return Own(d2i_X509(nullptr, &at, static_cast<long>(der.GetSize())));
}

/**
 * Signers have their curve's parameters written out (Doc 9303 part 12), which OpenSSL forbids in
 * chains. What the anchor has signed holds the parameters, so they are as good as it is.
 */
int TakeExplicitCurves(int fine, X509_STORE_CTX* context) {
    if (fine == 0 && X509_STORE_CTX_get_error(context) == X509_V_ERR_EC_KEY_EXPLICIT_PARAMS) {
        X509_STORE_CTX_set_error(context, X509_V_OK);
        return 1;
    }
    return fine;
}

/** The certificates of the signers, which belong to the object; null when one is not in it. */
CTHandle<STACK_OF(X509)> FindSigners(PKCS7* object) {
    ERR_set_mark();
    CTHandle<STACK_OF(X509)> signers(PKCS7_get0_signers(object, nullptr, 0),
                                     [](STACK_OF(X509) * stack) { sk_X509_free(stack); });
    ERR_pop_to_mark();
    return signers;
}

/** The value of an item. Named after the operation whose failures it traces. */
CByteView GetEncapContentInfo(uint32_t tag, CByteView zone) {
    size_t position = 0;
    if (DecodeTag(zone, position) != tag) {
        RAISE(EASN1InconsistentData("Inconsistent ASN.1 data: wrong tag"));
    }
    const size_t length = DecodeLength(zone, position);
    if (!zone.Holds(position, length)) {
        RAISE(EASN1InvalidData());
    }
    return zone.Sub(position, length);
}

/** What was signed: the list as it stands in the file. Named as above. */
CByteZone GetEncapContentInfo(CByteView sod) {
    const auto root =
        CDocumentSecurityObjectType::DecodeData(GetEncapContentInfo(kSecurityObjectTag, sod));
    const CSignedData* const object = root.documentSecurityObject.get();
    const CSignedDataContent* const content =
        object != nullptr ? object->signedData.get() : nullptr;
    if (content == nullptr || content->encapContentInfo == nullptr ||
        content->encapContentInfo->eContent == nullptr) {
        REJECT_ICAO(ICAO_ERR_FUNCTION_FAILED, "DocumentSecurityObject to use is not complete.");
    }
    return std::move(*content->encapContentInfo->eContent);
}

/** OpenSSL's own digest of that name; null when it has none. Named as above. */
const EVP_MD* GetEncapContentInfo(const CObjectIdentifier& algorithm) {
    CByteZone octets(CObjectIdentifierContent::GetEncodedDataLength(algorithm), 0);
    CObjectIdentifierContent::EncodeData(algorithm, octets);
    const CByteZone item = EncodeTLV(kObjectIdentifierTag, octets);
    const unsigned char* at = item.GetData();
    const auto object = Own(d2i_ASN1_OBJECT(nullptr, &at, static_cast<long>(item.GetSize())));
    if (!object) {
        RAISE_OPENSSL("d2i_ASN1_OBJECT");
    }
    return EVP_get_digestbyname(OBJ_nid2sn(OBJ_obj2nid(object.Get())));
}

}  // namespace

void CheckSecurityObjectDocument(const CByteZone& sod, const CByteZone& cardSecurity,
                                 const CByteZone& cscaCertificate, const CByteZone& dsCertificate) {
    if (sod.IsEmpty() || cscaCertificate.IsEmpty()) {
        // Kept: the name that the operation once had. Logs are matched on these words.
        REJECT_ICAO(ICAO_ERR_FUNCTION_FAILED, "VerifySecurityObjectDocument: invalid parameters.");
    }
    const auto object = ReadPkcs7(CTlvData(sod).GetNext(kSecurityObjectTag).GetData());
    if (!object) {
        RAISE_OPENSSL("d2i_PKCS7");
    }
    CTHandle<PKCS7> card;
    if (!cardSecurity.IsEmpty() && !(card = ReadPkcs7(cardSecurity))) {
        RAISE_OPENSSL("d2i_PKCS7");
    }
    const auto csca = ReadX509(cscaCertificate);
    if (!csca) {
        RAISE_OPENSSL("d2i_X509");
    }
    const auto store = Own(X509_STORE_new());
    if (!store || X509_STORE_add_cert(store.Get(), csca.Get()) != 1) {
        RAISE_OPENSSL("X509_STORE_add_cert");
    }
    X509_STORE_set_verify_cb(store.Get(), TakeExplicitCurves);
    const auto signers = FindSigners(object.Get());
    if (!signers) {
        if (!dsCertificate.IsEmpty() && !ReadX509(dsCertificate)) {
            RAISE_OPENSSL("d2i_X509");
        }
        REJECT_ICAO(ICAO_ERR_FUNCTION_FAILED, "no DS certificate.");
    }
    for (const CVerification& run : kVerifications) {
        PKCS7* const checked = run.file == ESigned::Sod ? object.Get() : card.Get();
        if (checked != nullptr &&
            PKCS7_verify(checked, signers.Get(), store.Get(), nullptr, nullptr, run.flags) != 1) {
            ReportOpenSSLError(run.name);
            RAISE_ICAO(CICAOException(run.code));
        }
    }
}

void GetEncapContentInfo(const CByteZone& sod, const EVP_MD*& digest,
                         std::vector<int32_t>& dataGroupNumbers,
                         std::vector<CByteZone>& dataGroupHashes) {
    digest = nullptr;
    dataGroupNumbers.clear();
    dataGroupHashes.clear();
    if (sod.IsEmpty()) {
        REJECT_ICAO(ICAO_ERR_FUNCTION_FAILED, "GetEncapContentInfo: invalid parameters.");
    }
    CByteZone eContent;
    try {
        eContent = GetEncapContentInfo(sod);
    } catch (...) {
        TraceString0("Fail to retrieve eContent from DocumentSecurityObject");
        RERAISE();
    }
    try {
        const auto list =
            CLDSSecurityObjectType::DecodeData(GetEncapContentInfo(kSequenceTag, eContent));
        const EVP_MD* const found = GetEncapContentInfo(*list.hashAlgorithm->algorithm);
        std::vector<int32_t> numbers;
        std::vector<CByteZone> hashes;
        for (const auto& entry : *list.dataGroupHashValues) {
            numbers.push_back(*entry->dataGroupNumber);
            hashes.push_back(std::move(*entry->dataGroupHashValue));
        }
        digest = found;
        dataGroupNumbers.swap(numbers);
        dataGroupHashes.swap(hashes);
    } catch (...) {
        TraceString0("Fail to retrieve data from eContent");
        RERAISE();
    }
}

}  // namespace icao
