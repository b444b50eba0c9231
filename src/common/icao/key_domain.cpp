#include "icao/key_domain.h"

#include "crypto/openssl_error.h"
#include "crypto/openssl_wrapper.h"

#include <openssl/core_names.h>
#include <openssl/err.h>

#include <utility>

using OpenSSLWrap::CreateEcGroup;
using OpenSSLWrap::CreateEcKeyFromParameters;
using OpenSSLWrap::EKeyNumber;
using OpenSSLWrap::GetEcPointFromPrivateKey;
using OpenSSLWrap::GetKeyNumber;
using OpenSSLWrap::GetUncompressedEcPointData;

namespace icao {

namespace {

/** A number that may be lacking; nothing is reported. */
CTHandle<BIGNUM> FindNumber(const EVP_PKEY* key, const char* name) {
    BIGNUM* read = nullptr;
    ERR_set_mark();
    EVP_PKEY_get_bn_param(key, name, &read);
    ERR_pop_to_mark();
    return OwnSecret(read);
}

/** The public value as it is sent, points uncompressed; empty, and nothing reported, without one.
 */
CByteZone FindPublicOctets(const EVP_PKEY* key) {
    constexpr char kName[] = OSSL_PKEY_PARAM_ENCODED_PUBLIC_KEY;
    CByteZone octets;
    size_t size = 0;
    ERR_set_mark();
    if (EVP_PKEY_get_octet_string_param(key, kName, nullptr, 0, &size) == 1) {
        octets.Resize(size);
        if (EVP_PKEY_get_octet_string_param(key, kName, octets.GetData(), size, &size) != 1) {
            octets.Clear();
        }
    }
    ERR_pop_to_mark();
    return octets;
}

/** The curves with arithmetic of their own, by their primes. */
struct CTunedCurve {
    const BIGNUM* (*prime)();
    int id;
};

constexpr CTunedCurve kTunedCurves[] = {
    {BN_get0_nist_prime_224, NID_secp224r1},
    {BN_get0_nist_prime_256, NID_X9_62_prime256v1},
    {BN_get0_nist_prime_521, NID_secp521r1},
};

CTHandle<OSSL_PARAM> ExportParameters(const EVP_PKEY* key) {
    OSSL_PARAM* made = nullptr;
    ERR_set_mark();
    EVP_PKEY_todata(key, EVP_PKEY_KEY_PARAMETERS, &made);
    ERR_pop_to_mark();
    return Own(made);
}

bool IsNumber(const OSSL_PARAM* parameters, const char* name, const BIGNUM* expected) {
    const OSSL_PARAM* const found = OSSL_PARAM_locate_const(parameters, name);
    BIGNUM* read = nullptr;
    const bool isRead = found != nullptr && OSSL_PARAM_get_BN(found, &read) == 1;
    const auto number = Own(read);
    return isRead && expected != nullptr && BN_cmp(number.Get(), expected) == 0;
}

/** The curve whose arithmetic explicit parameters may lack; null for others and for named ones. */
const CTunedCurve* FindTunedCurve(const OSSL_PARAM* parameters) {
    if (parameters == nullptr ||
        OSSL_PARAM_locate_const(parameters, OSSL_PKEY_PARAM_GROUP_NAME) != nullptr) {
        return nullptr;
    }
    for (const CTunedCurve& curve : kTunedCurves) {
        if (IsNumber(parameters, OSSL_PKEY_PARAM_EC_P, curve.prime())) {
            return &curve;
        }
    }
    return nullptr;
}

/** Whether parameters describe a group, its generator aside. */
bool IsCurveOf(const EC_GROUP* group, const OSSL_PARAM* parameters) {
    const auto a = Own(BN_new());
    const auto b = Own(BN_new());
    return a && b && EC_GROUP_get_curve(group, nullptr, a.Get(), b.Get(), nullptr) == 1 &&
           IsNumber(parameters, OSSL_PKEY_PARAM_EC_A, a.Get()) &&
           IsNumber(parameters, OSSL_PKEY_PARAM_EC_B, b.Get()) &&
           IsNumber(parameters, OSSL_PKEY_PARAM_EC_ORDER, EC_GROUP_get0_order(group)) &&
           IsNumber(parameters, OSSL_PKEY_PARAM_EC_COFACTOR, EC_GROUP_get0_cofactor(group));
}

/** The named group with another generator; null, and nothing reported, for other curves. */
CTHandle<EC_GROUP> MakeTunedGroup(const CTunedCurve& curve, const OSSL_PARAM* parameters) {
    auto group = Own(EC_GROUP_new_by_curve_name(curve.id));
    if (!group || !IsCurveOf(group.Get(), parameters)) {
        return {};
    }
    const OSSL_PARAM* const found =
        OSSL_PARAM_locate_const(parameters, OSSL_PKEY_PARAM_EC_GENERATOR);
    const void* octets = nullptr;
    size_t size = 0;
    if (found == nullptr || OSSL_PARAM_get_octet_string_ptr(found, &octets, &size) != 1) {
        return {};
    }
    const auto generator =
        ReadPoint(group.Get(), CByteZone(static_cast<const unsigned char*>(octets), size));
    if (!generator ||
        EC_GROUP_set_generator(group.Get(), generator.Get(), EC_GROUP_get0_order(group.Get()),
                               EC_GROUP_get0_cofactor(group.Get())) != 1) {
        return {};
    }
    return group;
}

}  // namespace

bool HasMoreThanParameters(const EVP_PKEY* key) {
    return FindNumber(key, OSSL_PKEY_PARAM_PRIV_KEY) || !FindPublicOctets(key).IsEmpty();
}

CTHandle<EC_GROUP> GetKeyGroup(const EVP_PKEY* key) {
    CTHandle<EC_GROUP> group;
    if (key == nullptr) {
        return group;
    }
    const auto parameters = ExportParameters(key);
    if (const CTunedCurve* const curve = FindTunedCurve(parameters.Get())) {
        group = MakeTunedGroup(*curve, parameters.Get());
    }
    if (!group) {
        CreateEcGroup(key, group);
    }
    return group;
}

bool IsSlowerThanItsGroup(const EVP_PKEY* key) {
    return FindTunedCurve(ExportParameters(key).Get()) != nullptr;
}

CTHandle<EVP_PKEY> GenerateKey(const EVP_PKEY* parameters) {
    const auto group = GetKeyGroup(parameters);
    if (!group) {
        return {};
    }
    const BIGNUM* const order = EC_GROUP_get0_order(group.Get());
    const auto scalar = OwnSecret(BN_new());
    if (!scalar) {
        ReportOpenSSLError("BN_new");
        return {};
    }
    do {
        if (BN_priv_rand_range(scalar.Get(), order) != 1) {
            ReportOpenSSLError("BN_priv_rand_range");
            return {};
        }
    } while (BN_is_zero(scalar.Get()));
    BN_set_flags(scalar.Get(), BN_FLG_CONSTTIME);
    const auto point = GetEcPointFromPrivateKey(group.Get(), scalar.Get());
    return CreateEcKeyFromParameters(parameters, scalar.Get(),
                                     GetUncompressedEcPointData(group.Get(), point.Get()));
}

void MakeAffine(const EC_GROUP* group, EC_POINT* point) {
    const auto x = OwnSecret(BN_new());
    const auto y = OwnSecret(BN_new());
    ERR_set_mark();
    if (x && y && EC_POINT_get_affine_coordinates(group, point, x.Get(), y.Get(), nullptr) == 1) {
        EC_POINT_set_affine_coordinates(group, point, x.Get(), y.Get(), nullptr);
    }
    ERR_pop_to_mark();
}

CTHandle<EC_POINT> ReadPoint(const EC_GROUP* group, const CByteZone& octets) {
    auto point = Own(EC_POINT_new(group));
    if (point &&
        EC_POINT_oct2point(group, point.Get(), octets.GetData(), octets.GetSize(), nullptr) != 1) {
        point.Reset();
    }
    return point;
}

CTHandle<EC_POINT> ReadPublicPoint(const EC_GROUP* group, const EVP_PKEY* key) {
    auto point = ReadPoint(group, FindPublicOctets(key));
    if (!point) {
        ReportOpenSSLError("EC_POINT_oct2point");
    }
    return point;
}

CDhDomain::CDhDomain(const EVP_PKEY* key) : q(FindNumber(key, OSSL_PKEY_PARAM_FFC_Q)) {
    if (GetKeyNumber(key, EKeyNumber::P, p) >= 1) {
        GetKeyNumber(key, EKeyNumber::G, g);
    }
}

}  // namespace icao
