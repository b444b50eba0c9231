/**
 * Calls of the document protocols, whose words in the log a test reads: pairs of a name and of an
 * argument in hexadecimal. Writes what each gives or throws.
 */
#include "crypto/openssl_wrapper.h"
#include "icao/active_authentication.h"
#include "icao/desfire_errors.h"
#include "icao/icao_errors.h"
#include "icao/icao_exception.h"
#include "icao/mrz.h"
#include "icao/object_ids.h"

#include <iostream>
#include <map>
#include <string>
#include <typeinfo>

using namespace icao;

namespace {

CObjectIdentifier OidOf(const CByteZone& octets) {
    return CObjectIdentifierContent::DecodeData(octets);
}

void IsOfAnyFamily(const CByteZone& argument) {
    const CObjectIdentifier oid = OidOf(argument);
    std::cout << IsPACEAlgoID(oid) << IsPACEDomainParameterID(oid) << IsCAAlgoID(oid)
              << IsCADomainParameterID(oid) << IsTAAlgoID(oid);
}

void NameNumber(const CByteZone& argument) {
    const int32_t number = DecodeInteger(argument);
    for (const auto getName :
         {GetPACEAlgoName, GetPACEDomainParameterName, GetCAAlgoName, GetCADomainParameterName,
          GetPublicKeyTypeName, GetPSAAlgoName, GetPSPublicKeyTypeName, GetMiscAlgoName,
          GetTAAlgoName, GetPasswordTypeName}) {
        CUTF8String name;
        getName(number, name);
        std::cout << name.GetText() << '\n';
    }
    int32_t code = -7;
    std::cout << GetDESFireErrorName(number) << '\n'
              << GetICAOErrorName(number) << '\n'
              << GetICAOErrorText(number).GetText() << '\n'
              << TranslateCryptokiError(static_cast<CK_RV>(number), code) << code;
}

template <class Type>
void Recode(const CByteZone& item) {
    size_t position = 0;
    const auto value = Type::Decode(item, position);
    CPlainPrinter plain;
    CJsonPrinter json;
    Type::Print(*value, plain);
    Type::Print(*value, json);
    CByteZone again(Type::GetEncodedLength(*value), 0);
    Type::Encode(*value, again, position = 0);
    std::cout << plain.text.GetText() << json.text.GetText() << (again == item);
}

void VerifyWithKey(const CByteZone& der) {
    CTHandle<EVP_PKEY> key;
    OpenSSLWrap::CreateKeyFromData(der, "DER", EVP_PKEY_PUBLIC_KEY, nullptr, key);
    VerifyActiveAuthenticationSignature(der, der, nullptr, key.Get());
}

void FindDigest(const CByteZone& infos) {
    size_t position = 0;
    const EVP_MD* digest = EVP_md5();
    GetECDSAPlainSignatureHashFunction(*CSecurityInfosType::Decode(infos, position), digest);
    std::cout << OBJ_nid2sn(EVP_MD_get_type(digest));
}

CByteZone out;
const EVP_MD* found = nullptr;

// clang-format off
#define CALL(name, ...) {#name, [](const CByteZone& argument) { __VA_ARGS__; }}
#define IDENTIFY(name) CALL(name, std::cout << name(OidOf(argument)))
#define RECODE(name) {#name, Recode<C##name##Type>}

const std::map<std::string, void (*)(const CByteZone&)> kCalls{
    IDENTIFY(GetPACEAlgoID), IDENTIFY(GetPACEDomainParameterID), IDENTIFY(GetCAAlgoID),
    IDENTIFY(GetCADomainParameterID), IDENTIFY(GetPublicKeyTypeFromOID), IDENTIFY(GetPSAAlgoID),
    IDENTIFY(GetPSPublicKeyType), IDENTIFY(GetTAAlgoID), IDENTIFY(GetMiscAlgoID),
    {"IsOfAnyFamily", IsOfAnyFamily}, {"NameNumber", NameNumber},
    CALL(GetPasswordType, std::cout << GetPasswordType(argument[0])),
    CALL(GetOIDBytes, GetOIDBytes(OidOf(argument), out); std::cout << (out == argument)),
    RECODE(PACEInfo), RECODE(PACEDomainParameterInfo), RECODE(SubjectPublicKeyInfo),
    RECODE(ChipAuthenticationPublicKeyInfo), RECODE(SecurityInfos),
    CALL(GetMRZInfoFromDG1, GetMRZInfoFromDG1(argument, out)),
    CALL(GetDataFromEMVSignatureMessage,
         GetDataFromEMVSignatureMessage(argument, out, out, found)),
    {"FindDigest", FindDigest}, {"VerifyWithKey", VerifyWithKey},
    CALL(VerifyWithoutKey, VerifyActiveAuthenticationRSASignature(argument, argument, nullptr)),
};
// clang-format on

CByteZone FromHex(const std::string& digits) {
    CByteZone bytes;
    for (size_t i = 0; i + 1 < digits.size(); i += 2) {
        bytes.Append(static_cast<unsigned char>(std::stoi(digits.substr(i, 2), nullptr, 16)));
    }
    return bytes;
}

}  // namespace

int main(int count, char** arguments) {
    for (int i = 1; i + 1 < count; i += 2) {
        try {
            kCalls.at(arguments[i])(FromHex(arguments[i + 1]));
        } catch (const CICAOException& refusal) {
            std::cout << refusal.GetErrorCode() << (refusal.GetMessage().IsEmpty() ? "!" : "?");
        } catch (const CException& failure) {
            std::cout << typeid(failure).name();
        }
        std::cout << '\n';
    }
    return 0;
}
