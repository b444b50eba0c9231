#include "asn1/asn1_errors.h"
#include "asn1/security_object.h"
#include "crypto/openssl_command.h"
#include "support/raised.h"
#include "support/stanza_file.h"
#include "support/string_print.h"
#include "util/hex.h"

#include <map>
#include <typeinfo>

namespace {

/** The class, without "EASN1", and the words of what a call throws; nothing when it does not. */
template <class Call>
std::string Failure(Call call) {
    try {
        call();
    } catch (const EASN1& failure) {
        const std::string words = WordsOf(failure);
        return (typeid(failure).name() + 7) + (words.empty() ? words : ": " + words);
    }
    return "";
}

template <class Type>
CByteZone Encoded(const typename Type::Value& value, size_t missing = 0) {
    CByteZone item(Type::GetEncodedLength(value) - missing, 0);
    size_t position = 0;
    Type::Encode(value, item, position);
    EXPECT_EQ(position, item.GetSize());
    return item;
}

template <class Type, class Printer>
std::string Printed(const typename Type::Value& value) {
    Printer printer;
    Type::Print(value, printer);
    EXPECT_EQ(printer.indent, 0);
    return ToStd(printer.text);
}

template <class Type>
void Check(const CStanza& row) {
    const CByteZone item = row.Bytes("der");
    CByteZone amid(item.GetSize() + 2, 0xFF);
    std::copy(item.begin(), item.end(), &amid[1]);
    size_t position = 0;
    if (row.Has("fails_text")) {
        EXPECT_EQ(Failure([&] { Type::Decode(item, position); }), row.Text("fails_text"));
        return;
    }
    EXPECT_NO_THROW(Type::Decode(item, position));
    const auto value = Type::Decode(amid, position = 1);
    EXPECT_EQ(position, 1 + item.GetSize());
    const CByteZone again = Encoded<Type>(*value);
    EXPECT_EQ(again, row.Bytes(row.Has("again") ? "again" : "der"));
    for (size_t missing = 1; missing <= again.GetSize(); ++missing) {
        EXPECT_EQ(Failure([&] { Encoded<Type>(*value, missing); }), "BufferTooSmall");
    }
    if (row.Has("plain_text")) {
        EXPECT_EQ((Printed<Type, CPlainPrinter>(*value)), row.Text("plain_text"));
        EXPECT_EQ((Printed<Type, CJsonPrinter>(*value)), row.Text("json_text"));
    }
}

/** What a file EF.SOD says, in the words of the public suites. */
void CheckFile(const CStanza& row) {
    const CByteZone file = row.Bytes("sod");
    size_t position = 0;
    const CByteView content = CTlvHeader::Decode(0x77, file, position);
    const auto object = CDocumentSecurityObjectType::DecodeData(content);
    const CEncapsulatedContentInfo& info =
        *object.documentSecurityObject->signedData->encapContentInfo;
    const auto hashes = CLDSSecurityObjectType::Decode(*info.eContent, position = 0);
    std::string list;
    for (const auto& hash : *hashes->dataGroupHashValues) {
        list += (list.empty() ? "" : ",") + std::to_string(*hash->dataGroupNumber) + ":" +
                ToStd(ToHex(*hash->dataGroupHashValue).ToLower());
    }
    const auto dotted = Printed<CObjectIdentifierType, CJsonPrinter>;
    EXPECT_EQ(row.Text("dg_text"), list);
    EXPECT_EQ(row.Int("lds_version_int"), *hashes->version);
    EXPECT_EQ('"' + row.Text("hash_oid_text") + '"', dotted(*hashes->hashAlgorithm->algorithm));
    EXPECT_EQ('"' + row.Text("content_type_text") + '"', dotted(*info.eContentType));
    EXPECT_TRUE(CByteView(Encoded<CSignedDataType>(*object.documentSecurityObject)) == content);
}

}  // namespace

#define CHECK_OF(type) std::pair(#type, Check<C##type##Type>)

TEST(AsnTypes, DecodeEncodeAndPrint) {
    const std::map<std::string, void (*)(const CStanza&)> checks{
        CHECK_OF(AlgorithmIdentifier),     CHECK_OF(DataGroupHash),     CHECK_OF(LDSVersionInfo),
        CHECK_OF(EncapsulatedContentInfo), CHECK_OF(SignedDataContent), CHECK_OF(SignedData),
        CHECK_OF(LDSSecurityObject)};
    FOR_EACH_STANZA(row, ReadStanzas("asn1/types.txt")) { checks.at(row.Text("type_text"))(row); }
}

TEST(AsnTypes, ValuesThatAreNoRecordOrItem) {
    CAlgorithmIdentifier value;
    const auto encode = [&] { Encoded<CAlgorithmIdentifierType>(value); };
    EXPECT_EQ(Failure(encode), "InconsistentData: Malformed ASN.1 structure to encode");
    value.algorithm = std::make_unique<CObjectIdentifier>(CObjectIdentifier(2, 1));
    for (const char* const bytes : {"", "\x05\x01", "\x05\x01.."}) {
        value.parameters = std::make_unique<CByteZone>(bytes);
        EXPECT_EQ(Failure(encode), *bytes ? "InvalidData" : "InvalidData: Incomplete TLV tag");
    }
}

TEST(SecurityObject, ReadsTheFilesOfRealDocuments) {
    for (const char* const file : {"sod_issued.txt", "sod_specimen.txt", "sod_made.txt"}) {
        FOR_EACH_STANZA(row, ReadSharedStanzas(file)) {
            const std::string failure = Failure([&] { CheckFile(row); });
            EXPECT_EQ(failure.empty(), row.Text("lds_text") == "ok") << failure;
            row.Skip();
        }
    }
}

TEST(SecurityObject, OpensslReadsWhatWeWriteAndTheOtherWayRound) {
    const COpensslCommand openssl;
    size_t position = 0;
    const CByteZone hashes = Encoded<CLDSSecurityObjectType>(
        *CLDSSecurityObjectType::Decode(ReadStanzas("asn1/lds.txt")[0].Bytes("der"), position));
    openssl.Write("lds", hashes);
    openssl.Run("req -x509 -newkey rsa:2048 -nodes -subj /CN=a -keyout key -out pem");
    openssl.Run("x509 -in pem -outform DER -out certificate");
    openssl.Run(
        "cms -sign -binary -nodetach -econtent_type 2.23.136.1.1.1 -signer pem -inkey key -in lds "
        "-outform DER -out made");
    const CByteZone made = openssl.Read("made");
    const auto object = CSignedDataType::Decode(made, position = 0);
    EXPECT_EQ(Encoded<CSignedDataType>(*object), made);
    EXPECT_EQ(*object->signedData->encapContentInfo->eContent, hashes);
    CTList<CByteZone>& certificates = *object->signedData->certificates;
    EXPECT_EQ(*certificates[0], openssl.Read("certificate"));
    certificates.Append(std::make_unique<CByteZone>(*certificates[0]));
    openssl.Write("ours", Encoded<CSignedDataType>(*object));
    openssl.Run("asn1parse -inform DER -in ours");
    openssl.Run("pkcs7 -inform DER -in ours -print_certs");
    openssl.Run("cms -verify -noverify -inform DER -in ours -out content");
    EXPECT_EQ(openssl.Read("content"), hashes);
}
