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
#include "crypto/walked_operations.inc"
};

// Arguments without sense and data that are something else: 0, or CException with the code 6.
const CByteZone kNothing;
const CWalk kRefused[] = {
#include "crypto/refused_operations.inc"
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
