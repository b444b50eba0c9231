#include "crypto/key_parameters.h"
#include "crypto/openssl_wrapper.h"
#include "crypto/raise_openssl.h"

#include <openssl/core_names.h>

namespace OpenSSLWrap {

namespace {

constexpr char kEc[] = "EC";

/** Everything that makes up a group without a name. Null after a reported failure. */
CTHandle<OSSL_PARAM> DescribeGroup(const EC_GROUP* group) {
    const auto p = Own(BN_new());
    const auto a = Own(BN_new());
    const auto b = Own(BN_new());
    if (!p || !a || !b) {
        ReportOpenSSLError("BN_new");
        return {};
    }
    if (EC_GROUP_get_curve(group, p.Get(), a.Get(), b.Get(), nullptr) != 1) {
        ReportOpenSSLError("EC_GROUP_get_curve");
        return {};
    }
    const EC_POINT* const point = EC_GROUP_get0_generator(group);
    if (point == nullptr) {
        ReportOpenSSLError("EC_GROUP_get0_generator");
        return {};
    }
    const CByteZone generator = GetUncompressedEcPointData(group, point);
    CKeyParameters parameters;
    parameters.Push(OSSL_PKEY_PARAM_EC_ENCODING, OSSL_PKEY_EC_ENCODING_EXPLICIT);
    parameters.Push(OSSL_PKEY_PARAM_EC_COFACTOR, EC_GROUP_get0_cofactor(group));
    parameters.Push(OSSL_PKEY_PARAM_EC_ORDER, EC_GROUP_get0_order(group));
    parameters.PushOctets(OSSL_PKEY_PARAM_EC_GENERATOR, generator);
    parameters.Push(OSSL_PKEY_PARAM_EC_P, p.Get());
    parameters.Push(OSSL_PKEY_PARAM_EC_A, a.Get());
    parameters.Push(OSSL_PKEY_PARAM_EC_B, b.Get());
    parameters.Push(OSSL_PKEY_PARAM_EC_FIELD_TYPE, OBJ_nid2sn(EC_GROUP_get_field_type(group)));
    return parameters.Build();
}

CTHandle<OSSL_PARAM> NameGroup(int curve) {
    CKeyParameters parameters;
    parameters.Push(OSSL_PKEY_PARAM_GROUP_NAME, OSSL_EC_curve_nid2name(curve));
    return parameters.Build();
}

CTHandle<OSSL_PARAM> DescribeKey(const BIGNUM* privateKey, const CByteZone& point) {
    CKeyParameters parameters;
    parameters.Push(OSSL_PKEY_PARAM_PRIV_KEY, privateKey);
    parameters.PushOctets(OSSL_PKEY_PARAM_PUB_KEY, point);
    return parameters.Build();
}

}  // namespace

CTHandle<EVP_PKEY> CreateEcParamsKey(const EC_GROUP* group) {
    if (group == nullptr) {
        // Kept: the name of another operation. Logs are matched on it.
        RAISE_INVALID("OpenSSLWrap::CreateECExplicitParamsKey: invalid parameters.");
    }
    const int curve = EC_GROUP_check_named_curve(group, 0, nullptr);
    const auto parameters = curve > NID_undef ? NameGroup(curve) : DescribeGroup(group);
    if (!parameters) {
        RAISE(OPENSSL_FUNCTION_FAILED());
    }
    return CreateKey(kEc, EVP_PKEY_KEY_PARAMETERS, parameters.Get());
}

CTHandle<EVP_PKEY> CreateEcKey(const EC_GROUP* group, const BIGNUM* privateKey,
                               const EC_POINT* publicKey) {
    if (group == nullptr || (privateKey == nullptr && publicKey == nullptr)) {
        // Kept: the name of another operation. Logs are matched on it.
        RAISE_INVALID("OpenSSLWrap::GetEcKey: invalid parameters.");
    }
    CTHandle<EC_POINT> computed;
    if (publicKey == nullptr) {
        computed = GetEcPointFromPrivateKey(group, privateKey);
        publicKey = computed.Get();
    }
    const auto parameters = CreateEcParamsKey(group);
    return CreateEcKeyFromParameters(parameters.Get(), privateKey,
                                     GetUncompressedEcPointData(group, publicKey));
}

CTHandle<EVP_PKEY> CreateEcKeyFromParameters(const EVP_PKEY* parameters, const BIGNUM* privateKey,
                                             const CByteZone& publicKey) {
    if (parameters == nullptr || publicKey.IsEmpty()) {
        RAISE_INVALID_PARAMETERS();
    }
    OSSL_PARAM* made = nullptr;
    if (EVP_PKEY_todata(parameters, EVP_PKEY_KEY_PARAMETERS, &made) <= 0) {
        RAISE_OPENSSL("EVP_PKEY_todata");
    }
    const auto domain = Own(made);
    const auto numbers = DescribeKey(privateKey, publicKey);
    if (!numbers) {
        RAISE(OPENSSL_FUNCTION_FAILED());
    }
    // A shallow merge: both lists stay until the key is made. OPENSSL_free frees the result alone.
    const auto merged = Own(OSSL_PARAM_merge(domain.Get(), numbers.Get()));
    if (!merged) {
        RAISE_OPENSSL("OSSL_PARAM_merge");
    }
    return CreateKey(kEc, EVP_PKEY_KEYPAIR, merged.Get());
}

}  // namespace OpenSSLWrap
