// Every operation of the OpenSSL family while one call of OpenSSL after the other fails, and with
// arguments without sense. The linker leads the calls listed in wrapped_calls.inc, and those of the
// trace, through here (failure_walk.cmake).
#include "crypto/openssl_wrapper.h"

#include <gmock/gmock.h>
#include <openssl/err.h>
#include <openssl/pem.h>
#include <openssl/rand.h>
#include <openssl/rsa.h>

#include <cstdarg>
#include <cstdio>
#include <map>
#include <string>
#include <vector>

using namespace OpenSSLWrap;
using testing::Contains;
using testing::HasSubstr;
using testing::StartsWith;

namespace {

int callsToFailure = 0;  // 0 lets none fail
std::string failed;
std::vector<std::string> traced;

bool IsToFail(const char* name) {
    if (callsToFailure == 0 || --callsToFailure > 0) {
        return false;
    }
    failed = name;
    ERR_raise(ERR_LIB_USER, ERR_R_INTERNAL_ERROR);
    return true;
}

template <class Call, class Function>
struct CTWrapped;
template <class Call, class Result, class... Arguments>
struct CTWrapped<Call, Result(Arguments...)> {
    static Result Run(Arguments... arguments) {
        return IsToFail(Call::kName) ? Result{} : Call::kReal(arguments...);
    }
};

}  // namespace

// Each __wrap_ function is resolved to the template's member, which spells no parameters.
#define WRAPPED(name)                                                                      \
    extern "C" decltype(name) __real_##name;                                               \
    struct CCall_##name {                                                                  \
        static constexpr const char* kName = #name;                                        \
        static constexpr auto kReal = &__real_##name;                                      \
    };                                                                                     \
    extern "C" __attribute__((                                                             \
        no_sanitize("address", "undefined", "thread"))) decltype(name)* Resolve_##name() { \
        return &CTWrapped<CCall_##name, decltype(name)>::Run;                              \
    }                                                                                      \
    extern "C" __attribute__((ifunc("Resolve_" #name))) decltype(name) __wrap_##name;
#include "crypto/wrapped_calls.inc"

extern "C" void __wrap_TraceString0(const char* text) noexcept { traced.emplace_back(text); }
extern "C" void __wrap_TraceString(const char* format, ...) noexcept {
    char line[1024];
    va_list arguments;
    va_start(arguments, format);
    std::vsnprintf(line, sizeof line, format, arguments);
    va_end(arguments);
    traced.emplace_back(line);
}
// TraceLine as the linker knows it
extern "C" void __wrap__Z9TraceLinePKcmS0_(const char* label, unsigned long,
                                           const char* function) noexcept {
    traced.push_back(std::string(label) + " in " + function);
}

namespace {

/** What the operations are given, and where their results go. */
struct CBench {
    CTHandle<EVP_PKEY> rsa = Own(EVP_PKEY_Q_keygen(nullptr, nullptr, "RSA", size_t{1024}));
    CTHandle<EVP_PKEY> ec = Own(EVP_PKEY_Q_keygen(nullptr, nullptr, "EC", "P-256"));
    CTHandle<EVP_PKEY> dhParameters = CreateDhParamsKey("dh_1024_160");
    CTHandle<EVP_PKEY> dh = GenerateDhKey(dhParameters.Get());
    CTHandle<BIGNUM> p, g, pub, priv, scalar, number = IntToBignum(65537);
    CByteZone digest = CByteZone(32, 0x11);
    CByteZone key16 = CByteZone(16, 0x22);
    CByteZone iv = CByteZone(16, 0);
    CByteZone rc2Iv = CByteZone(8, 0);
    CByteZone gcmIv = CByteZone(12, 0);
    CByteZone tag = CByteZone(16, 0);
    CByteZone rsaPem = PublicKeyToPem(rsa.Get());
    CSecureByteZone rsaDer = KeyToDer(rsa.Get(), true, true);
    CByteZone ecParameters = ParamsToDer(ec.Get());
    CByteZone signature, oaep, ckaPoint, certificatePem, der, raw, scalarBytes;
    CRsaKeyParts parts;
    CTHandle<X509> certificate = Own(X509_new());
    CTHandle<EC_GROUP> named = CreateEcGroup(ecParameters);
    CTHandle<EC_GROUP> explicitGroup = Own(EC_GROUP_dup(named.Get()));
    CTHandle<EC_POINT> point = Own(EC_POINT_new(named.Get()));

    EVP_PKEY* const noKey = nullptr;
    CTHandle<EVP_PKEY> key;
    CTHandle<EVP_PKEY_CTX> context;
    CTHandle<EVP_PKEY_CTX> anyContext = Own(EVP_PKEY_CTX_new(rsa.Get(), nullptr));
    CTHandle<EC_GROUP> group;
    CTHandle<EC_POINT> made;
    CTHandle<BIGNUM> x = Own(BN_new()), y = Own(BN_new());
    CByteZone zone, other;
    CSecureByteZone secret;
    unsigned char buffer[256];
    size_t length = sizeof buffer;

    CBench() {
        GetKeyNumber(rsa.Get(), EKeyNumber::N, parts.modulus);
        GetKeyNumber(rsa.Get(), EKeyNumber::E, parts.publicExponent);
        const CSecureByteZone any(64, 1);  // numbers are not looked at while a key is made
        parts = {parts.modulus, parts.publicExponent, any, any, any, any, any, any};
        GetKeyNumber(dh.Get(), EKeyNumber::P, p);
        GetKeyNumber(dh.Get(), EKeyNumber::G, g);
        GetKeyNumber(dh.Get(), EKeyNumber::Pub, pub);
        GetKeyNumber(dh.Get(), EKeyNumber::Priv, priv);
        GetKeyNumber(ec.Get(), EKeyNumber::Priv, scalar);
        scalarBytes = BignumToBuffer(scalar.Get(), 32);
        InitSign(rsa.Get(), RSA_PKCS1_PADDING, EVP_sha256(), context);
        Sign(context.Get(), digest, signature);
        InitEncrypt(rsa.Get(), RSA_PKCS1_OAEP_PADDING, context);
        Encrypt(context.Get(), digest, oaep);
        InitSign(ec.Get(), 0, nullptr, context);
        Sign(context.Get(), digest, der);
        Der2RawSignature(der, raw);
        EC_POINT_mul(named.Get(), point.Get(), scalar.Get(), nullptr, nullptr, nullptr);
        EC_GROUP_set_generator(explicitGroup.Get(), point.Get(), EC_GROUP_get0_order(named.Get()),
                               BN_value_one());
        ckaPoint = GetCkaEcPoint(named.Get(), point.Get());
        X509_gmtime_adj(X509_getm_notBefore(certificate.Get()), -60);
        X509_gmtime_adj(X509_getm_notAfter(certificate.Get()), 3600);
        X509_set_pubkey(certificate.Get(), ec.Get());
        X509_sign(certificate.Get(), ec.Get(), EVP_sha256());
        certificatePem = X509toPEMData(certificate.Get());
    }
};

int DigestInParts(CBench& b) {
    const auto context = NewDigest();
    return context && InitDigest(context.Get(), EVP_sha256()) > 0 &&
           UpdateDigest(context.Get(), b.digest) > 0 && FinalDigest(context.Get(), b.zone) > 0;
}

int GcmThereAndBack(CBench& b) {
    const auto run = [&b](bool encrypt) {
        return RunAesGcm(encrypt, b.key16, b.buffer, encrypt ? b.digest.GetData() : b.buffer, 32,
                         b.gcmIv, b.tag);
    };
    return run(true) > 0 && run(false) > 0;
}

const int kSaltLength = 20;

struct CWalk {
    const char* name;
    int (*run)(CBench& b);
};

// clang-format off
#define CODE(...) {#__VA_ARGS__, [](CBench& b) -> int { return __VA_ARGS__; }}
#define THROWS(...) {#__VA_ARGS__, [](CBench& b) -> int { \
    static_cast<void>(b), static_cast<void>(__VA_ARGS__); return 1; }}

const CWalk kOperations[] = {
    THROWS(GenerateRandom(b.buffer, sizeof b.buffer)),
    CODE(Sha256(b.digest, b.zone)),
    CODE(!Sha1(b.digest).IsEmpty()),
    CODE(DigestInParts(b)),
    CODE(IsSha256Of(CByteZone(), CByteZone()) && IsSha256Of(b.digest, Sha256(b.digest))),
    THROWS(IntToBignum(-5)),
    CODE(CheckPublicKey(b.rsa.Get())),
    CODE(CheckPrivateKey(b.rsa.Get())),
    CODE(CheckKey(b.rsa.Get())),
    THROWS(GetKeyBitLength(b.rsa.Get())),
    THROWS(GetKeySize(b.rsa.Get())),
    THROWS(SetEncodedPublicKey(b.dh.Get(), GetEncodedPublicKey(b.dh.Get()))),
    CODE(GetKeyNumber(b.rsa.Get(), EKeyNumber::D, b.secret)),
    CODE(SetKeyNumber(b.dh.Get(), EKeyNumber::Pub, b.pub.Get())),
    THROWS(PubExpAndModFromRsaKey(b.rsa.Get(), b.zone, b.zone)),
    THROWS(PEMDataToX509(b.certificatePem)),
    CODE(IsNotAfterValid(b.certificate.Get()) && IsNotBeforeValid(b.certificate.Get())),
    THROWS(b.zone = X509toPEMData(b.certificate.Get())),
    CODE(CreateEcGroup(b.ec.Get(), b.group)),
    THROWS(GetKeyBitLength(GetCkaEcParams(b.explicitGroup.Get()))),
    THROWS(GetCkaEcParams(NID_brainpoolP256r1)),
    THROWS(GetEcCurveComponents(b.ecParameters, b.zone, b.other)),
    THROWS(GetEcPoint(b.ckaPoint, b.named.Get(), b.made)),
    THROWS(GetUncompressedEcPointData(b.ecParameters, b.ckaPoint, b.zone)),
    THROWS(GetUncompressedEcPointData(b.ecParameters, b.scalarBytes, b.zone)),
    THROWS(GetCkaEcPoint(b.named.Get(), b.point.Get())),
    THROWS(GetCkaEcPoint(b.digest, b.digest)),
    THROWS(CompressEcPoint(b.named.Get(), b.point.Get(), b.zone)),
    THROWS(CompressEcPoint(b.ec.Get(), b.zone)),
    THROWS(GetEcPointFromPrivateKey(b.named.Get(), b.scalar.Get())),
    CODE(GetAffineCoordinates(b.named.Get(), b.point.Get(), b.x.Get(), b.y.Get())),
    CODE(SetAffineCoordinates(b.named.Get(), b.point.Get(), b.x.Get(), b.y.Get())),
    THROWS(ComputeEcCkaId(b.ec.Get())),
    THROWS(ComputeEcCkaId(b.ecParameters, b.scalarBytes)),
    THROWS(Der2OctetString(OctetString2Der(b.digest))),
    THROWS(Der2RawSignature(b.der, b.zone)),
    THROWS(Raw2DerSignature(b.raw, b.zone)),
    THROWS(CreateEcParamsKey(b.named.Get())),
    THROWS(CreateEcParamsKey(b.explicitGroup.Get())),
    THROWS(CreateEcKey(b.explicitGroup.Get(), b.scalar.Get())),
    THROWS(b.key = CreateRsaPublicKey(b.parts.modulus, b.parts.publicExponent, false)),
    THROWS(b.key = CreateRsaPrivateKey(b.parts)),
    THROWS(b.key = CreateDhParamsKey("dh_1024_160")),
    THROWS(b.key = CreateDhParamsKey(b.p.Get(), nullptr, b.g.Get())),
    THROWS(b.key = CreateDhKey(b.p.Get(), nullptr, b.g.Get(), b.pub.Get(), b.priv.Get())),
    CODE(GenerateRsaKey(512, b.number.Get(), b.key)),
    CODE(GenerateECKeyFromParametersKey(b.ec.Get(), b.key)),
    THROWS(b.key = GenerateDhKey(b.dhParameters.Get())),
    CODE(DeriveSecret(b.dh.Get(), b.dh.Get(), b.secret)),
    CODE(InitSign(b.rsa.Get(), RSA_PKCS1_PADDING, EVP_sha256(), b.context)),
    CODE(Sign(b.context.Get(), b.digest, b.zone)),
    CODE(InitVerify(b.rsa.Get(), RSA_PKCS1_PSS_PADDING, EVP_sha256(), EVP_sha1(), &kSaltLength,
                    b.context)),
    CODE(InitVerify(b.rsa.Get(), 0, EVP_sha256(), nullptr, nullptr, b.context)),
    CODE(Verify(b.context.Get(), b.signature, b.digest)),
    CODE(InitVerifyRecover(b.rsa.Get(), RSA_PKCS1_PADDING, EVP_sha256(), b.context)),
    CODE(VerifyRecover(b.context.Get(), b.signature, b.zone)),
    CODE(InitEncrypt(b.rsa.Get(), RSA_PKCS1_PADDING, b.context)),
    CODE(Encrypt(b.context.Get(), b.digest, b.zone)),
    CODE(InitDecrypt(b.rsa.Get(), RSA_PKCS1_OAEP_PADDING, b.context)),
    CODE(Decrypt(b.context.Get(), b.oaep, b.secret)),
    CODE(DoRsaEncryptOAEP(b.rsa.Get(), b.buffer, b.length, b.digest.GetData(), 32, EVP_sha1(),
                          EVP_sha1(), b.digest)),
    THROWS(b.secret = DecryptRsaOaepSha1(b.oaep, b.rsa.Get())),
    CODE(RunCipher(ECipher::AesCbc, true, b.key16, b.buffer, b.digest.GetData(), 32, b.iv, false,
                   true)),
    CODE(RunCipher(ECipher::Rc2Cbc, true, b.key16, b.buffer, b.digest.GetData(), 32, b.rc2Iv, true,
                   false)),
    CODE(GcmThereAndBack(b)),
    THROWS(b.key = CreateRsaKeyFromDer(b.rsaDer, true, true)),
    THROWS(b.key = CreateRsaKeyFromPem(b.rsaPem, false, true)),
    THROWS(b.key = CreateEcParamsKeyFromDer(b.ecParameters)),
    THROWS(b.zone = ParamsToDer(b.ec.Get())),
    THROWS(b.secret = KeyToDer(b.rsa.Get(), true, true)),
    THROWS(b.zone = PublicKeyToPem(b.rsa.Get())),
};

// Arguments without sense, by the words that are traced. Every one is 0 or CException with code 6.
#define INVALID(name, ...) \
    {"OpenSSLWrap::" #name ": invalid parameters.", \
     [](CBench& b) -> int { return static_cast<void>(b), static_cast<void>(__VA_ARGS__), 0; }}
#define ZERO(name, ...) \
    {"OpenSSLWrap::" #name ": invalid parameters.", \
     [](CBench& b) -> int { return static_cast<void>(b), (__VA_ARGS__) == 0 ? 0 : 1; }}
const CByteZone kNothing;
const CWalk kInvalid[] = {
    INVALID(GenerateRandom, GenerateRandom(nullptr, 4)),
    ZERO(CheckPublicKey, CheckPublicKey(b.noKey)),
    INVALID(GetKeyBitLength, GetKeyBitLength(b.noKey)),
    INVALID(SetEncodedPublicKey, SetEncodedPublicKey(b.dh.Get(), kNothing)),
    INVALID(IsRsa, IsRsa(nullptr)),
    ZERO(GetKeyNumber, GetKeyNumber(nullptr, EKeyNumber::P, b.secret)),
    INVALID(CreateKey, CreateKey("RSA", EVP_PKEY_KEYPAIR, nullptr)),
    ZERO(CreateKey, CreateKey(nullptr, EVP_PKEY_KEYPAIR, nullptr, b.key)),
    INVALID(CreateRsaPublicKey, CreateRsaPublicKey(b.digest, kNothing)),
    INVALID(CreateDhKey, CreateDhKey(b.p.Get(), nullptr, b.g.Get(), nullptr, nullptr)),
    ZERO(GenerateRsaKey, GenerateRsaKey(512, nullptr, b.key)),
    ZERO(DeriveSecret, DeriveSecret(b.dh.Get(), nullptr, b.secret)),
    ZERO(Sign, Sign(nullptr, b.digest, b.zone)),
    ZERO(Verify, Verify(b.anyContext.Get(), kNothing, b.digest)),
    ZERO(Encrypt, Encrypt(b.anyContext.Get(), kNothing, b.zone)),
    ZERO(DoRsaEncryptOAEP, DoRsaEncryptOAEP(b.rsa.Get(), nullptr, b.length, b.buffer, 9, nullptr,
                                            EVP_sha1(), kNothing)),
    INVALID(DecryptRsaOaep, DecryptRsaOaepSha1(kNothing, b.rsa.Get())),
    ZERO(CreateKeyFromData, CreateKeyFromData(kNothing, "DER", 0, nullptr, b.key)),
    ZERO(ExportKey, ExportKey(nullptr, "DER", 0, nullptr, b.zone)),
    INVALID(CreateRsaKeyFromPem, CreateRsaKeyFromPem(kNothing, true, true)),
    INVALID(KeyToDer, KeyToDer(nullptr, true, true)),
    INVALID(PublicKeyToPem, PublicKeyToPem(nullptr)),
};
// clang-format on

// Calls that are reported under another name.
const std::map<std::string, std::string> kReportedAs = {
    {"BIO_ctrl", "BIO_get_mem_data"},
    {"EVP_CIPHER_CTX_ctrl", "EVP_CTRL_GCM_"},
    {"EVP_CIPHER_CTX_get_updated_iv", "EVP_CIPHER_CTX_get_original_iv"},
    {"EVP_PKEY_set_bn_param", "EVP_PKEY_get_bn_param"},
    {"d2i_ASN1_OCTET_STRING", ""},
};

/** The operation's result, 0 for an exception of the right kind; the trace and `failed` are new. */
int RunFailing(const CWalk& operation, CBench& bench, int call) {
    traced.clear();
    failed.clear();
    callsToFailure = call;
    int result = 0;
    try {
        result = operation.run(bench);
    } catch (const OPENSSL_FUNCTION_FAILED& exception) {
        EXPECT_FALSE(exception.HasMessage());
        EXPECT_THAT(traced.back(), StartsWith("WARNING Exception raised in "));
    }
    callsToFailure = 0;
    EXPECT_EQ(ERR_peek_error(), 0U);
    return result;
}

}  // namespace

TEST(FailureWalk, EveryFailingCallIsReported) {
    CBench bench;
    for (const CWalk& operation : kOperations) {
        SCOPED_TRACE(operation.name);
        int call = 1;
        int result = RunFailing(operation, bench, call);
        for (; !failed.empty(); result = RunFailing(operation, bench, ++call)) {
            if (failed == "EVP_PKEY_CTX_ctrl_str" || failed == "EVP_PKEY_get_octet_string_param") {
                continue;  // their failures are no one's
            }
            EXPECT_LE(result, 0) << call << ' ' << failed;
            const auto other = kReportedAs.find(failed);
            EXPECT_THAT(traced, Contains(StartsWith("OpenSSL::" + (other != kReportedAs.end()
                                                                       ? other->second
                                                                       : failed + " failed: "))));
        }
        EXPECT_GE(result, 1);
        EXPECT_GT(call, 1) << "no call of this operation can fail";
    }
}

TEST(InvalidParameters, AreNamedInTheTrace) {
    CBench bench;
    for (const CWalk& operation : kInvalid) {
        SCOPED_TRACE(operation.name);
        traced.clear();
        try {
            EXPECT_EQ(operation.run(bench), 0);
            EXPECT_EQ(traced.back(), operation.name);
        } catch (const CException& exception) {
            EXPECT_EQ(exception.GetErrorCode(), 6U);
            EXPECT_THAT(traced.back(), HasSubstr("xception raised in "));
            EXPECT_THAT(traced, Contains(operation.name));
        }
        EXPECT_EQ(ERR_peek_error(), 0U);
    }
}
