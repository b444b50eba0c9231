// Every operation of the OpenSSL family while one call of OpenSSL after the other fails, and with
// arguments without sense. The linker leads the calls listed in wrapped_calls.inc, and those of the
// trace, through here (failure_walk.cmake).
#include "crypto/aes_key.h"
#include "crypto/block_ops.h"
#include "crypto/cipher_table.h"
#include "crypto/cmac.h"
#include "crypto/openssl_wrapper.h"
#include "crypto/retail_mac.h"
#include "support/stanza_file.h"

#include <gmock/gmock.h>
#include <openssl/err.h>
#include <openssl/pem.h>
#include <openssl/rand.h>
#include <openssl/rsa.h>

#include <cstdarg>
#include <cstdio>
#include <iterator>
#include <string>
#include <typeinfo>
#include <vector>

using namespace OpenSSLWrap;
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

CByteZone MakeX942() {
    char name[] = "dh_1024_160";
    OSSL_PARAM group[] = {OSSL_PARAM_construct_utf8_string("group", name, 0),
                          OSSL_PARAM_construct_end()};
    return ParamsToDer(CreateKey("DHX", EVP_PKEY_KEY_PARAMETERS, group).Get());
}

/** What the operations are given, and where their results go. */
struct CBench {
    CTHandle<EVP_PKEY> rsa = Own(EVP_PKEY_Q_keygen(nullptr, nullptr, "RSA", size_t{1024}));
    CTHandle<EVP_PKEY> ec = Own(EVP_PKEY_Q_keygen(nullptr, nullptr, "EC", "P-256"));
    CTHandle<EVP_PKEY> dhParameters = CreateDhParamsKey("dh_1024_160");
    CTHandle<EVP_PKEY> dh = GenerateDhKey(dhParameters.Get());
    CTHandle<BIGNUM> p, g, pub, priv, scalar, number = IntToBignum(65537);
    CByteZone digest{size_t{32}, 0x11}, key16{size_t{16}, 0x22}, tag{size_t{16}, 0};
    CByteZone iv{size_t{16}, 0}, rc2Iv{size_t{8}, 0}, gcmIv{size_t{12}, 0};
    CByteZone rsaPem = PublicKeyToPem(rsa.Get()), x942 = MakeX942();
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
    CTHandle<EVP_PKEY_CTX> context, anyContext = Own(EVP_PKEY_CTX_new(rsa.Get(), nullptr));
    CTHandle<EC_GROUP> group;
    CTHandle<EC_POINT> made;
    CTHandle<BIGNUM> x = Own(BN_new()), y = Own(BN_new());
    CByteZone zone, other;
    CSecureByteZone secret;
    unsigned char buffer[256];
    size_t length = sizeof buffer;
    CAesKey aes{key16};

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

int ComputeMacs(CBench& b) {
    ComputeCMAC(b.key16, b.digest, b.zone);
    ComputeDES3RetailMAC(b.rc2Iv, b.rc2Iv, b.other = b.digest);
    return 1;
}

const int kSaltLength = 20;

/** X9.42 parameters: the first two calls try the other form, and their failures are no one's. */
int ReadX942(CBench& b) {
    callsToFailure += callsToFailure > 0 ? 2 : 0;
    b.key = CreateDhParamsKeyFromDer(b.x942);
    return 1;
}

struct CWalk {
    const char* call;
    int (*run)(CBench& b);
    const char* text;  // how the trace of a refusal begins, null for the usual text
    unsigned long bareCode = 0;
};

// clang-format off
#define CODE(...) {#__VA_ARGS__, [](CBench& b) -> int { \
    return static_cast<void>(b), __VA_ARGS__; }, nullptr}
#define SAYS(text, ...) {#__VA_ARGS__, [](CBench& b) -> int { \
    static_cast<void>(b), static_cast<void>(__VA_ARGS__); return 1; }, text}
#define THROWS(...) SAYS(nullptr, __VA_ARGS__)
#define BARE(code, text, ...) {#__VA_ARGS__, [](CBench& b) -> int { __VA_ARGS__; return 1; }, text, code}
#define STUB(name, ...) BARE(0x63, #name " must been override", b.aes.name(__VA_ARGS__))

const CWalk kOperations[] = {
    THROWS(GenerateRandom(b.buffer, sizeof b.buffer)), CODE(Sha256(b.digest, b.zone)),
    CODE(!Sha1(b.digest).IsEmpty()), CODE(DigestInParts(b)),
    CODE(IsSha256Of(CByteZone(), CByteZone()) && IsSha256Of(b.digest, Sha256(b.digest))),
    THROWS(IntToBignum(-5)), CODE(CheckPublicKey(b.rsa.Get())), CODE(CheckPrivateKey(b.rsa.Get())),
    CODE(CheckKey(b.rsa.Get())), THROWS(GetKeyBitLength(b.rsa.Get())),
    THROWS(GetKeySize(b.rsa.Get())),
    THROWS(SetEncodedPublicKey(b.dh.Get(), GetEncodedPublicKey(b.dh.Get()))),
    CODE(GetKeyNumber(b.rsa.Get(), EKeyNumber::D, b.secret)),
    CODE(SetKeyNumber(b.dh.Get(), EKeyNumber::Pub, b.pub.Get())),
    THROWS(PubExpAndModFromRsaKey(b.rsa.Get(), b.zone, b.zone)),
    THROWS(PEMDataToX509(b.certificatePem)),
    CODE(IsNotAfterValid(b.certificate.Get()) && IsNotBeforeValid(b.certificate.Get())),
    THROWS(b.zone = X509toPEMData(b.certificate.Get())), CODE(CreateEcGroup(b.ec.Get(), b.group)),
    THROWS(GetKeyBitLength(GetCkaEcParams(b.explicitGroup.Get()))),
    THROWS(GetCkaEcParams(NID_brainpoolP256r1)),
    THROWS(GetEcCurveComponents(b.ecParameters, b.zone, b.other)),
    THROWS(GetEcPoint(b.ckaPoint, b.named.Get(), b.made)),
    THROWS(GetUncompressedEcPointData(b.ecParameters, b.ckaPoint, b.zone)),
    THROWS(GetUncompressedEcPointData(b.ecParameters, b.scalarBytes, b.zone)),
    THROWS(GetCkaEcPoint(b.named.Get(), b.point.Get())), THROWS(GetCkaEcPoint(b.digest, b.digest)),
    THROWS(CompressEcPoint(b.named.Get(), b.point.Get(), b.zone)),
    THROWS(CompressEcPoint(b.ec.Get(), b.zone)),
    THROWS(GetEcPointFromPrivateKey(b.named.Get(), b.scalar.Get())),
    CODE(GetAffineCoordinates(b.named.Get(), b.point.Get(), b.x.Get(), b.y.Get())),
    CODE(SetAffineCoordinates(b.named.Get(), b.point.Get(), b.x.Get(), b.y.Get())),
    THROWS(ComputeEcCkaId(b.ec.Get())), THROWS(ComputeEcCkaId(b.ecParameters, b.scalarBytes)),
    THROWS(Der2OctetString(OctetString2Der(b.digest))), THROWS(Der2RawSignature(b.der, b.zone)),
    THROWS(Raw2DerSignature(b.raw, b.zone)), THROWS(CreateEcParamsKey(b.named.Get())),
    THROWS(CreateEcParamsKey(b.explicitGroup.Get())),
    THROWS(CreateEcKey(b.explicitGroup.Get(), b.scalar.Get())),
    THROWS(b.key = CreateRsaPublicKey(b.parts.modulus, b.parts.publicExponent, false)),
    THROWS(b.key = CreateRsaPrivateKey(b.parts)), THROWS(b.key = CreateDhParamsKey("dh_1024_160")),
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
    CODE(GetCipher(ECipher::AesCbc, 16) && GetCipher(ECipher::Rc2Cbc, 16) &&
         GetCipher(ECipher::AesGcm, 16)),
    CODE(RunCipher(ECipher::AesCbc, true, b.key16, b.buffer, b.digest.GetData(), 32, b.iv, false,
                   true)),
    CODE(RunCipher(ECipher::Rc2Cbc, true, b.key16, b.buffer, b.digest.GetData(), 32, b.rc2Iv, true,
                   false)),
    CODE(GcmThereAndBack(b)), THROWS(b.key = CreateRsaKeyFromDer(b.rsaDer, true, true)),
    THROWS(b.key = CreateRsaKeyFromPem(b.rsaPem, false, true)),
    THROWS(b.key = CreateEcParamsKeyFromDer(b.ecParameters)), CODE(ReadX942(b)),
    THROWS(ParamsToDer(b.ec.Get())), THROWS(KeyToDer(b.rsa.Get(), true, true)),
    THROWS(PublicKeyToPem(b.rsa.Get())), CODE(ComputeMacs(b)),
};

// Arguments without sense and data that are something else: 0, or CException with the code 6.
const CByteZone kNothing;
const CWalk kRefused[] = {
    THROWS(GenerateRandom(nullptr, 4)), THROWS(GenerateRandom(b.buffer, 0)),
    CODE(InitDigest(nullptr, EVP_sha1())), CODE(UpdateDigest(nullptr, kNothing)),
    CODE(FinalDigest(nullptr, b.zone)),
    SAYS("BignumToBuffer: invalid parameters.", BignumToBuffer(nullptr, 0)),
    SAYS("BignumToBuffer: desired length must be greater than given BIGNUM bytes length.",
         BignumToBuffer(b.p.Get(), 2)),
    SAYS("BignumToInt: invalid parameters.", BignumToInt(b.p.Get())), CODE(CheckPublicKey(b.noKey)),
    CODE(CheckPrivateKey(b.noKey)), CODE(CheckKey(b.noKey)), THROWS(GetKeyBitLength(b.noKey)),
    THROWS(GetKeySize(nullptr)), THROWS(GetEncodedPublicKey(nullptr)),
    THROWS(SetEncodedPublicKey(b.dh.Get(), kNothing)), THROWS(IsRsa(nullptr)),
    THROWS(IsDsa(nullptr)), THROWS(IsDh(nullptr)), THROWS(IsEc(nullptr)),
    CODE(GetKeyNumber(nullptr, EKeyNumber::P, b.secret)),
    CODE(SetKeyNumber(b.rsa.Get(), EKeyNumber::E, nullptr)),
    THROWS(PubExpAndModFromRsaKey(nullptr, b.zone, b.zone)),
    SAYS("DERDataToX509: invalid parameters.", DERDataToX509(kNothing)),
    SAYS("OpenSSL::d2i_X509 failed: ", DERDataToX509(b.digest)),
    SAYS("PEMDataToX509: invalid parameters.", PEMDataToX509(kNothing)),
    THROWS(X509toPEMData(nullptr)), CODE(IsNotAfterValid(nullptr)), CODE(IsNotBeforeValid(nullptr)),
    THROWS(CreateEcGroup(kNothing)), CODE(CreateEcGroup(b.noKey, b.group)),
    THROWS(GetCkaEcParams(nullptr)), THROWS(GetKeyBitLength(kNothing)),
    THROWS(GetEcCurveComponents(kNothing)), THROWS(GetEcPoint(kNothing, b.named.Get(), b.made)),
    SAYS("OpenSSL::asn1EcPoint failed: ", GetEcPoint(b.digest, b.named.Get(), b.made)),
    THROWS(GetUncompressedEcPointData(b.named.Get(), nullptr)),
    THROWS(GetUncompressedEcPointData(b.ecParameters, kNothing, b.zone)),
    THROWS(GetUncompressedEcPointData(kNothing, b.digest, b.zone)),
    THROWS(GetCkaEcPoint(b.digest, b.key16)), THROWS(GetCkaEcPoint(b.named.Get(), nullptr)),
    THROWS(CompressEcPoint(nullptr, b.point.Get(), b.zone)),
    THROWS(CompressEcPoint(b.noKey, b.zone)),
    THROWS(GetEcPointFromPrivateKey(b.named.Get(), nullptr)),
    CODE(GetAffineCoordinates(nullptr, b.point.Get(), nullptr, nullptr)),
    CODE(SetAffineCoordinates(b.named.Get(), b.point.Get(), nullptr, nullptr)),
    THROWS(ComputeEcCkaId(nullptr)), THROWS(ComputeEcCkaId(b.ecParameters, kNothing)),
    THROWS(ComputeEcCkaId(kNothing, b.digest)),
    THROWS(Der2OctetString(kNothing)), THROWS(OctetString2Der(kNothing)),
    SAYS("OpenSSL::d2i_ASN1_OCTET_STRING failed: ", Der2OctetString(b.digest)),
    THROWS(Der2RawSignature(kNothing, b.zone)), THROWS(Raw2DerSignature(kNothing, b.zone)),
    SAYS("OpenSSLWrap::Raw2DerSignature: raw signature length must be even",
         Raw2DerSignature(CByteZone(3, 1), b.zone)),
    SAYS("OpenSSLWrap::CreateECExplicitParamsKey: invalid parameters.", CreateEcParamsKey(nullptr)),
    SAYS("OpenSSLWrap::GetEcKey: invalid parameters.", CreateEcKey(b.named.Get(), nullptr)),
    THROWS(CreateKey("RSA", EVP_PKEY_KEYPAIR, nullptr)),
    CODE(CreateKey(nullptr, EVP_PKEY_KEYPAIR, nullptr, b.key)),
    THROWS(CreateRsaPublicKey(b.digest, kNothing)), THROWS(CreateRsaPrivateKey({})),
    THROWS(CreateDhParamsKey(nullptr)), THROWS(CreateDhParamsKey(nullptr, nullptr, b.g.Get())),
    THROWS(CreateDhKey(b.p.Get(), nullptr, b.g.Get(), nullptr, nullptr)),
    CODE(GenerateRsaKey(512, nullptr, b.key)), CODE(GenerateECKeyFromParametersKey(nullptr, b.key)),
    THROWS(GenerateDhKey(nullptr)), CODE(DeriveSecret(b.dh.Get(), nullptr, b.secret)),
    CODE(InitSign(nullptr, 0, nullptr, b.context)), CODE(Sign(nullptr, b.digest, b.zone)),
    CODE(InitVerify(nullptr, 0, nullptr, nullptr, nullptr, b.context)),
    CODE(Verify(b.anyContext.Get(), kNothing, b.digest)),
    CODE(InitVerifyRecover(nullptr, 0, nullptr, b.context)),
    CODE(VerifyRecover(nullptr, b.signature, b.zone)), CODE(InitEncrypt(nullptr, 0, b.context)),
    CODE(Encrypt(b.anyContext.Get(), kNothing, b.zone)), CODE(InitDecrypt(nullptr, 0, b.context)),
    CODE(Decrypt(nullptr, b.oaep, b.secret)),
    CODE(DoRsaEncryptOAEP(b.rsa.Get(), nullptr, b.length, b.buffer, 9, nullptr, EVP_sha1(),
                          kNothing)),
    THROWS(DecryptRsaOaep(kNothing, b.rsa.Get(), "sha1")),
    CODE(CreateKeyFromData(kNothing, "DER", 0, nullptr, b.key)),
    CODE(ExportKey(nullptr, "DER", 0, nullptr, b.zone)),
    THROWS(CreateRsaKeyFromPem(kNothing, true, true)),
    THROWS(CreateRsaKeyFromDer(kNothing, true, true)), THROWS(CreateEcParamsKeyFromDer(kNothing)),
    THROWS(CreateDhParamsKeyFromDer(kNothing)), THROWS(ParamsToDer(nullptr)),
    THROWS(KeyToDer(nullptr, true, true)), THROWS(PublicKeyToPem(nullptr)),
    STUB(CKey::Encrypt, nullptr, 0, nullptr, b.length),
    STUB(CKey::EncryptUpdate, nullptr, 0, nullptr, b.length),
    STUB(CKey::EncryptFinal, nullptr, b.length), STUB(CKey::Decrypt, nullptr, 0, nullptr, b.length),
    STUB(CKey::DecryptUpdate, nullptr, 0, nullptr, b.length),
    STUB(CKey::DecryptFinal, nullptr, b.length), STUB(CSecretKey::EncryptECB, nullptr, 0),
    STUB(CSecretKey::DecryptECB, nullptr, 0), STUB(CSecretKey::EncryptCBC, nullptr, 0),
    STUB(CSecretKey::DecryptCBC, nullptr, 0),
    BARE(0x21, "padding is notbut the size of the buffer is not a multiple of a block size",
         b.aes.EncryptFull(CByteZone(15, 1), 0, 1)),
    SAYS("", ComputeCMAC(kNothing, b.digest, b.zone)),
    SAYS("ComputeDES3RetailMAC: output data must be pre-allocated.",
         ComputeDES3RetailMAC(b.rc2Iv, b.rc2Iv, b.zone = kNothing)),
    SAYS("PadISO9797M2: size(9) must be 8 or 16.", PadISO9797M2(b.digest, b.zone, 9)),
    SAYS("UnpadISO9797M2: input data is empty.", UnpadISO9797M2(kNothing, b.zone)),
    SAYS("UnpadISO9797M2: input data must end with 0x80[00...].", UnpadISO9797M2(b.iv, b.zone)),
    SAYS("SetScheduleKeys: key data length(32) must be 16 or 24.",
         SetScheduleKeys(b.digest, b.secret, b.secret, b.secret)),
};
// clang-format on

/** The name in the report of a failure; empty when there is none. */
std::string GetReported() {
    for (const std::string& line : traced) {
        if (line.rfind("OpenSSL::", 0) == 0) {
            return line.substr(9, line.find(" failed: ") - 9);
        }
    }
    return {};
}

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
    } catch (const CCkException& exception) {
        EXPECT_EQ(exception.GetErrorCode(), 6U);
    }
    callsToFailure = 0;
    EXPECT_EQ(ERR_peek_error(), 0U);
    return result;
}

}  // namespace

TEST(FailureWalk, EveryFailingCallIsReported) {
    CBench bench;
    const CWalk* operation = kOperations;
    FOR_EACH_STANZA(row, ReadStanzas("crypto/failing_calls.txt")) {
        ASSERT_NE(operation, std::end(kOperations));
        std::string calls;
        int call = 1;
        int result = RunFailing(*operation, bench, call);
        for (; !failed.empty(); result = RunFailing(*operation, bench, ++call)) {
            const std::string reported = GetReported();
            calls += (call > 1 ? " " : "") + failed + (reported == failed ? "" : "=" + reported);
            EXPECT_EQ(result <= 0, !reported.empty()) << call << ' ' << failed;
        }
        EXPECT_EQ(calls, row.Text("calls_text")) << operation->call;
        EXPECT_GE(result, 1);
        ++operation;
    }
    EXPECT_EQ(operation, std::end(kOperations));
}

TEST(Refusals, AreNamedInTheTrace) {
    CBench bench;
    for (const CWalk& operation : kRefused) {
        SCOPED_TRACE(operation.call);
        const std::string call = operation.call;
        const size_t end = call.find('('), begin = call.find_last_of(".:", end) + 1;
        const std::string name = call.substr(begin, end - begin);
        std::string family;
        unsigned long code = 0;
        traced.clear();
        try {
            EXPECT_EQ(operation.run(bench), 0);
        } catch (const CException& exception) {
            EXPECT_EQ(exception.GetErrorCode(), 6U);
            family = typeid(exception) == typeid(CException)     ? "C"
                     : typeid(exception) == typeid(CCkException) ? "CCk"
                                                                 : "-";
        } catch (unsigned long bare) {
            family = "-";
            code = bare;
        }
        EXPECT_EQ(code, operation.bareCode);
        if (!family.empty()) {
            EXPECT_EQ(traced.back(),
                      "WARNING " + (family == "-" ? "" : family) + "Exception raised in " + name);
            traced.pop_back();
        }
        const std::string usual = "OpenSSLWrap::" + name + ": invalid parameters.";
        EXPECT_THAT(traced.back(), StartsWith(operation.text != nullptr ? operation.text : usual));
        EXPECT_EQ(ERR_peek_error(), 0U);
    }
}
