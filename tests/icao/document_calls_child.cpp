/**
 * Calls of the document protocols: an operation's name and words for what it takes. Writes what it
 * throws, what it returns, and its outputs, be it that they were left as they had been.
 */
#include "icao/active_authentication.h"
#include "icao/chip_authentication.h"
#include "icao/desfire_errors.h"
#include "icao/icao_errors.h"
#include "icao/icao_exception.h"
#include "icao/integrated_mapping.h"
#include "icao/mrz.h"
#include "icao/object_ids.h"
#include "icao/pace_sides.h"
#include "support/string_print.h"
#include "util/hex.h"

#include <openssl/err.h>

#include <deque>
#include <functional>
#include <iostream>
#include <map>
#include <sstream>
#include <typeinfo>

using namespace icao;

namespace {

/** Of hexadecimal digits, as far as there are any. */
CByteZone BytesOf(const std::string& word) {
    CByteZone bytes;
    for (size_t i = 0; i + 1 < word.size() && isxdigit(word[i]); i += 2) {
        bytes.Append(static_cast<unsigned char>(std::stoi(word.substr(i, 2), nullptr, 16)));
    }
    return bytes;
}

template <class Type>
auto Decode(const std::string& word) {
    size_t position = 0;
    return Type::Decode(BytesOf(word), position);
}

/**
 * "13": parameters of a domain; "13:05": a key pair on them; the DER of a public key; or a name:
 * what a call before has left there, or no key.
 */
Key& KeyOf(const std::string& word) {
    static std::map<std::string, Key> keys;
    Key& key = keys[word];
    const size_t colon = word.find(':');
    CByteZone value;
    if (colon != std::string::npos) {
        key = MakeKey(KeyOf(word.substr(0, colon)), BytesOf(word.substr(colon + 1)), value);
    } else if (isdigit(word[0]) && word.size() < 3) {
        key = StandardParameters(std::stoi(word), std::stoi(word) > 2);
    } else if (word.rfind("30", 0) == 0) {
        OpenSSLWrap::CreateKeyFromData(BytesOf(word), "DER", EVP_PKEY_PUBLIC_KEY, nullptr, key);
    } else if (word == "no-q") {
        const CDhDomain domain(KeyOf("0").Get());
        key = OpenSSLWrap::CreateDhParamsKey(domain.p.Get(), nullptr, BN_value_one());
    }
    return key;
}

/** What a word stands for where a call takes it: a number, bytes, a key or one of the records. */
struct CWord {
    const std::string& word;

    /** Null for "-", a record without any part for "empty". */
    template <class Type>
    typename Type::Value* ToRecord() const {
        using Record = typename Type::Value;
        static std::unique_ptr<Record> record;
        record = word == "-"       ? nullptr
                 : word == "empty" ? std::make_unique<Record>()
                                   : Decode<Type>(word);
        return record.get();
    }
    CByteZone ToBytes() const { return BytesOf(word); }

    template <class Number>
    void Get(Number& number) const {
        number = static_cast<Number>(std::stol(word));
    }
    void Get(bool& isAes) const { isAes = word == "AES"; }
    void Get(CByteZone& bytes) const { bytes = ToBytes(); }
    void Get(CSecureByteZone& bytes) const {
        bytes.Assign(ToBytes().GetData(), ToBytes().GetSize());
    }
    void Get(CByteView& bytes) const {
        static std::deque<CByteZone> kept;
        bytes = kept.emplace_back(ToBytes());
    }
    void Get(CObjectIdentifier& oid) const {
        oid = CObjectIdentifierContent::DecodeData(ToBytes());
    }
    void Get(EVP_PKEY*& key) const { key = KeyOf(word).Get(); }
    void Get(const EVP_PKEY*& key) const { key = KeyOf(word).Get(); }
    void Get(const EVP_MD*& digest) const { digest = EVP_get_digestbyname(word.c_str()); }
    void Get(const EC_POINT*& point) const { point = nullptr; }
    void Get(const EC_GROUP*& group) const {
        static CTHandle<EC_GROUP> kept;
        kept = GetKeyGroup(KeyOf(word).Get());
        group = kept.Get();
    }
    void Get(const BIGNUM*& number) const {
        static CTHandle<BIGNUM> kept;
        kept = word == "-" ? CTHandle<BIGNUM>() : ToNumber(ToBytes());
        number = kept.Get();
    }
    void Get(const CPACEInfo*& info) const { info = ToRecord<CPACEInfoType>(); }
    void Get(const CPACEDomainParameterInfo*& info) const {
        info = ToRecord<CPACEDomainParameterInfoType>();
    }
    void Get(const CSubjectPublicKeyInfo*& info) const {
        info = ToRecord<CSubjectPublicKeyInfoType>();
    }
    /** With "!key" or "!bits" behind for a part that is taken out. */
    void Get(const CChipAuthenticationPublicKeyInfo*& info) const {
        auto* const record = ToRecord<CChipAuthenticationPublicKeyInfoType>();
        if (word.find("!bits") != std::string::npos) {
            record->chipAuthenticationPublicKey->subjectPublicKey.reset();
        } else if (word.find("!key") != std::string::npos) {
            record->chipAuthenticationPublicKey.reset();
        }
        info = record;
    }
};

std::string said;

void Write(const char* text) { said += (said.empty() ? "" : " ") + std::string(text); }
void Write(const CUTF8String& text) { Write(text.GetText()); }
void Write(int64_t number) { Write(std::to_string(number).c_str()); }
void Write(CByteView bytes) {
    Write(bytes.IsEmpty() ? "-" : ToHex(bytes.GetData(), bytes.GetSize()).GetText());
}
void Write(const EVP_MD* digest) { Write(digest ? OBJ_nid2sn(EVP_MD_get_type(digest)) : "none"); }
template <class Object>
void Write(const CTHandle<Object>&) {}

// What outputs are before the call.
template <class Type>
void Use(Type&) {}
void Use(int32_t& number) { number = -7; }
void Use(CByteZone& bytes) { bytes = CByteZone("!"); }
void Use(const EVP_MD*& digest) { digest = EVP_md5(); }

/** An argument of a call: made from a word, or an output, which takes none. */
template <class Type>
struct CTArgument {
    using Value = std::remove_cv_t<std::remove_reference_t<Type>>;
    static constexpr bool kIsOutput =
        std::is_lvalue_reference_v<Type> && !std::is_const_v<std::remove_reference_t<Type>>;

    explicit CTArgument(std::istream& words) {
        if constexpr (kIsOutput) {
            Use(value);
        } else {
            std::string word;
            words >> word;
            CWord{word}.Get(value);
        }
    }
    Value& Get() { return value; }
    void Tell() const {
        if constexpr (kIsOutput) {
            Write(value);
        }
    }
    Value value{};
};

/** A key by its name, which a call may set. */
template <>
struct CTArgument<Key&> {
    explicit CTArgument(std::istream& words) : key((words >> word, KeyOf(word))) {}
    Key& Get() { return key; }
    void Tell() const {}
    std::string word;
    Key& key;
};
template <>
struct CTArgument<const Key&> : CTArgument<Key&> {
    using CTArgument<Key&>::CTArgument;
};

template <class Call>
void Try(Call call) {
    try {
        call();
    } catch (const CICAOException& refusal) {
        Write(("!" + std::to_string(refusal.GetErrorCode())).c_str());
        said += refusal.GetMessage().GetText();
    } catch (const CException& failure) {
        Write((std::string("!") + typeid(failure).name()).c_str());
    }
}

template <class Result, class... Types>
std::function<void(std::istream&)> Bind(Result (*call)(Types...)) {
    return [call](std::istream& words) {
        std::tuple<CTArgument<Types>...> arguments{CTArgument<Types>(words)...};
        const auto run = [&](auto&... argument) {
            Try([&] {
                if constexpr (std::is_void_v<Result>) {
                    call(argument.Get()...);
                } else {
                    Write(call(argument.Get()...));
                }
            });
            (argument.Tell(), ...);
        };
        std::apply(run, arguments);
    };
}

void NameNumber(int32_t number) {
    for (const auto getName :
         {GetPACEAlgoName, GetPACEDomainParameterName, GetCAAlgoName, GetCADomainParameterName,
          GetPublicKeyTypeName, GetPSAAlgoName, GetPSPublicKeyTypeName, GetMiscAlgoName,
          GetTAAlgoName, GetPasswordTypeName}) {
        CUTF8String name;
        getName(number, name);
        Write(name);
    }
    Write(GetDESFireErrorName(number));
    Write(GetICAOErrorName(number));
    Write(GetICAOErrorText(number));
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
    said += ToStd(plain.text) + ToStd(json.text) + std::to_string(again == item);
}

void FindDigest(const CByteZone& infos, const EVP_MD*& digest) {
    size_t position = 0;
    GetECDSAPlainSignatureHashFunction(*CSecurityInfosType::Decode(infos, position), digest);
}

/** The key of a counter. */
void DeriveKey(int counter, CByteView secret, int keyBits, CSecureByteZone& key) {
    CSecureByteZone keys[3];
    DeriveKeys(secret, keyBits, keys[0], keys[1]);
    DerivePasswordKey(CAN, secret, keyBits, keys[2]);
    key = keys[counter - 1];
}

// clang-format off
#define CALL(name) {#name, Bind(name)}
#define OVERLOAD(name, ...) Bind<void, __VA_ARGS__>(name)
#define KINDS(name) CALL(name##DH), CALL(name##ECDH)

const std::map<std::string, std::function<void(std::istream&)>> kCalls{
    CALL(GetPACEAlgoID), CALL(GetPACEDomainParameterID), CALL(GetCAAlgoID),
    CALL(GetCADomainParameterID), CALL(GetPublicKeyTypeFromOID), CALL(GetPSAAlgoID),
    CALL(GetPSPublicKeyType), CALL(GetTAAlgoID), CALL(GetMiscAlgoID), CALL(IsPACEAlgoID),
    CALL(IsPACEDomainParameterID), CALL(IsCAAlgoID), CALL(IsCADomainParameterID),
    CALL(IsTAAlgoID), CALL(GetPasswordType), CALL(GetOIDBytes), CALL(TranslateCryptokiError),
    CALL(NameNumber), CALL(GetPACEParametersFromOID), CALL(GetCAParametersFromOID),
    {"PACEInfo", Bind(Recode<CPACEInfoType>)},
    {"PACEDomainParameterInfo", Bind(Recode<CPACEDomainParameterInfoType>)},
    {"SubjectPublicKeyInfo", Bind(Recode<CSubjectPublicKeyInfoType>)},
    {"ChipAuthenticationPublicKeyInfo", Bind(Recode<CChipAuthenticationPublicKeyInfoType>)},
    {"SecurityInfos", Bind(Recode<CSecurityInfosType>)},
    CALL(GetMRZInfoFromDG1), CALL(GetDataFromEMVSignatureMessage), CALL(FindDigest),
    CALL(VerifyActiveAuthenticationSignature), CALL(VerifyActiveAuthenticationRSASignature),
    CALL(GetECDHCurveFromStandardizedParameter), CALL(GetDHCurveFromStandardizedParameter),
    KINDS(SetIFDKeyParameters), CALL(DeriveKey), CALL(DeriveKeys), CALL(DerivePasswordKey),
    CALL(DecryptNonce), CALL(GeneratorOf), KINDS(DoGenericMapping), KINDS(DoIntegratedMapping),
    CALL(PseudoRandom), KINDS(ProcessSharedSecret), CALL(ComputeAuthenticationToken),
    CALL(GetSubjectPublicKey), CALL(EVP_PKEY_parameters_eq),
    {"GenerateIFDKeyDH", OVERLOAD(GenerateIFDKeyDH, Key&)},
    {"GenerateIFDKeyECDH", OVERLOAD(GenerateIFDKeyECDH, Key&)},
    {"GenerateForStaticDH", OVERLOAD(GenerateIFDKeyDH, const CChipAuthenticationPublicKeyInfo*)},
    {"GenerateForStaticECDH", OVERLOAD(GenerateIFDKeyECDH, const CChipAuthenticationPublicKeyInfo*)},
    {"SetICCKeyDH", OVERLOAD(SetICCKeyDH, const EVP_PKEY*)},
    {"SetICCKeyECDH", OVERLOAD(SetICCKeyECDH, const EVP_PKEY*, const CByteZone&)},
    {"SetStaticDH", OVERLOAD(SetICCKeyDH, const CChipAuthenticationPublicKeyInfo*)},
    {"SetStaticECDH", OVERLOAD(SetICCKeyECDH, const CChipAuthenticationPublicKeyInfo*)},
    {"DoKeyAgreementDH", OVERLOAD(DoKeyAgreement, const EVP_PKEY*, const EVP_PKEY*, CTHandle<BIGNUM>&)},
    {"DoKeyAgreementECDH", OVERLOAD(DoKeyAgreement, const EVP_PKEY*, const EVP_PKEY*, CTHandle<EC_POINT>&)},
    {"MapGeneratorDH", OVERLOAD(MapGenerator, const EVP_PKEY*)},
    {"MapGeneratorECDH", OVERLOAD(MapGenerator, const EC_GROUP*)},
    {"PseudoRandomModPDH", OVERLOAD(PseudoRandomModP, CByteView, CByteView, bool, const EVP_PKEY*)},
    {"PseudoRandomModPECDH", OVERLOAD(PseudoRandomModP, CByteView, CByteView, bool, const EC_GROUP*)},
    {"MappingGeneratorDH", OVERLOAD(ProcessIntegratedMappingGenerator, const EVP_PKEY*)},
    {"MappingGeneratorECDH", OVERLOAD(ProcessIntegratedMappingGenerator, const EC_GROUP*)},
};
// clang-format on

}  // namespace

int main(int count, char** arguments) {
    for (int i = 1; i < count; ++i) {
        std::istringstream words(arguments[i]);
        std::string name;
        words >> name;
        said.clear();
        kCalls.at(name)(words);
        std::cout << said << (ERR_peek_error() == 0 ? "" : " errors are left") << '\n';
        ERR_clear_error();
    }
    return 0;
}
