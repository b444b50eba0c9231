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

#include <algorithm>
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

/** What the operations are given, and where their results go. */
struct CBench {
    CTHandle<EVP_PKEY> rsa = Own(EVP_PKEY_Q_keygen(nullptr, nullptr, "RSA", size_t{1024}));
    CTHandle<EVP_PKEY> ec = Own(EVP_PKEY_Q_keygen(nullptr, nullptr, "EC", "P-256"));
    CTHandle<EVP_PKEY> dhParameters = CreateDhParamsKey("dh_1024_160");
    CTHandle<EVP_PKEY> dh = GenerateDhKey(dhParameters.Get());
    CTHandle<BIGNUM> scalar, number = IntToBignum(65537);
    CByteZone digest{size_t{32}, 0x11}, key16{size_t{16}, 0x22}, tag{size_t{16}, 0};
    CByteZone iv{size_t{16}, 0}, rc2Iv{size_t{8}, 0}, gcmIv{size_t{12}, 0}, raw{size_t{64}, 1};
    CSecureByteZone any{size_t{64}, 1};  // numbers are not looked at while a key is made
    CRsaKeyParts parts{digest, digest, any, any, any, any, any, any};
    CByteZone rsaPem = PublicKeyToPem(rsa.Get()), ecParameters = ParamsToDer(ec.Get());
    CSecureByteZone rsaDer = KeyToDer(rsa.Get(), true, true);
    const CStanza data = std::move(ReadStanzas("crypto/walked_data.txt").front());
    CByteZone x942 = data.Bytes("x942"), ckaPoint, der;
    CByteZone certificatePem{data.Text("certificate_text").c_str()};
    CTHandle<X509> certificate = PEMDataToX509(certificatePem);
    CTHandle<EC_GROUP> named = CreateEcGroup(ecParameters);
    CTHandle<EC_GROUP> explicitGroup = Own(EC_GROUP_dup(named.Get()));
    CTHandle<EC_POINT> point;

    EVP_PKEY* const noKey = nullptr;
    CTHandle<EVP_PKEY> key;
    CTHandle<EVP_PKEY_CTX> context, anyContext = Own(EVP_PKEY_CTX_new(rsa.Get(), nullptr));
    CTHandle<EVP_MD_CTX> hash;
    CTHandle<EC_GROUP> group;
    CTHandle<EC_POINT> made;
    CTHandle<BIGNUM> x = Own(BN_new()), y = Own(BN_new());
    CByteZone zone, other, signature, oaep;
    CSecureByteZone secret;
    unsigned char buffer[256], plain[32];
    size_t length = sizeof buffer;
    CAesKey aes{key16};

    CBench() {
        GetKeyNumber(ec.Get(), EKeyNumber::Priv, scalar);
        point = GetEcPointFromPrivateKey(named.Get(), scalar.Get());
        ckaPoint = GetCkaEcPoint(named.Get(), point.Get());
        EC_GROUP_set_generator(explicitGroup.Get(), point.Get(), EC_GROUP_get0_order(named.Get()),
                               BN_value_one());
        Raw2DerSignature(raw, der);
    }
};

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
    const auto line = std::find_if(traced.begin(), traced.end(), [](const std::string& text) {
        return text.rfind("OpenSSL::", 0) == 0;
    });
    return line != traced.end() ? line->substr(9, line->find(" failed: ") - 9) : "";
}

/**
 * The operation's result, 0 for an exception, whose label in the trace goes to `label`. The trace
 * and `failed` are those of this run.
 */
int RunOne(const CWalk& operation, CBench& bench, int call, std::string& label) {
    traced.clear();
    failed.clear();
    label.clear();
    callsToFailure = call;
    int result = 0;
    try {
        result = operation.run(bench);
    } catch (const CException& exception) {
        const auto& type = typeid(exception);
        label = type == typeid(CException)     ? "WARNING CException"
                : type == typeid(CCkException) ? "WARNING CCkException"
                                               : "WARNING Exception";
        EXPECT_EQ(exception.GetErrorCode(), 6U);
        EXPECT_FALSE(type == typeid(OPENSSL_FUNCTION_FAILED) && exception.HasMessage());
        EXPECT_THAT(traced.back(), StartsWith(label + " raised in "));
    } catch (unsigned long bare) {
        label = "WARNING Exception";
        EXPECT_EQ(bare, operation.bareCode);
    }
    callsToFailure = 0;
    EXPECT_EQ(ERR_peek_error(), 0U);
    return result;
}

}  // namespace

TEST(FailureWalk, EveryFailingCallIsReported) {
    CBench bench;
    const CWalk* operation = kOperations;
    std::string label;
    FOR_EACH_STANZA(row, ReadStanzas("crypto/failing_calls.txt")) {
        ASSERT_NE(operation, std::end(kOperations));
        std::string calls;
        int call = 1;
        int result = RunOne(*operation, bench, call, label);
        for (; !failed.empty(); result = RunOne(*operation, bench, ++call, label)) {
            const std::string reported = GetReported();
            calls += (call > 1 ? " " : "") + failed + (reported == failed ? "" : "=" + reported);
            EXPECT_EQ(result <= 0, !reported.empty()) << call << ' ' << failed;
            EXPECT_NE(label, "WARNING CException");
        }
        EXPECT_EQ(calls, row.Text("calls_text")) << operation->call;
        EXPECT_GE(result, 1);
        ++operation;
    }
    EXPECT_EQ(operation, std::end(kOperations));
}

TEST(Refusals, AreNamedInTheTrace) {
    CBench bench;
    std::string label;
    for (const CWalk& operation : kRefused) {
        SCOPED_TRACE(operation.call);
        const std::string call = operation.call;
        const size_t end = call.find('('), begin = call.find_last_of(".:", end) + 1;
        const std::string name = call.substr(begin, end - begin);
        EXPECT_EQ(RunOne(operation, bench, 0, label), 0);
        if (!label.empty()) {
            EXPECT_EQ(traced.back(), label + " raised in " + name);
            traced.pop_back();
        }
        const std::string usual = "OpenSSLWrap::" + name + ": invalid parameters.";
        EXPECT_THAT(traced.back(), StartsWith(operation.text != nullptr ? operation.text : usual));
    }
}
