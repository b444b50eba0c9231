#include "icao/key_domain.h"

#include "crypto/openssl_error.h"
#include "crypto/openssl_wrapper.h"

#include <openssl/core_names.h>
#include <openssl/err.h>

#include <utility>

using OpenSSLWrap::CreateEcGroup;
using OpenSSLWrap::CreateEcKey;
using OpenSSLWrap::EKeyNumber;
using OpenSSLWrap::GetKeyNumber;

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

const CTunedCurve* FindTunedCurve(const BIGNUM* p) {
    for (const CTunedCurve& curve : kTunedCurves) {
        if (p != nullptr && BN_cmp(p, curve.prime()) == 0) {
            return &curve;
        }
    }
    return nullptr;
}

/** What a group is, besides its generator. */
struct CCurve {
    explicit CCurve(const EC_GROUP* group) : p(Own(BN_new())), a(Own(BN_new())), b(Own(BN_new())) {
        order = EC_GROUP_get0_order(group);
        cofactor = EC_GROUP_get0_cofactor(group);
        isRead = p && a && b && order != nullptr && cofactor != nullptr &&
                 EC_GROUP_get_curve(group, p.Get(), a.Get(), b.Get(), nullptr) == 1;
    }
    bool operator==(const CCurve& other) const {
        return isRead && other.isRead && BN_cmp(p.Get(), other.p.Get()) == 0 &&
               BN_cmp(a.Get(), other.a.Get()) == 0 && BN_cmp(b.Get(), other.b.Get()) == 0 &&
               BN_cmp(order, other.order) == 0 && BN_cmp(cofactor, other.cofactor) == 0;
    }

    CTHandle<BIGNUM> p;
    CTHandle<BIGNUM> a;
    CTHandle<BIGNUM> b;
    const BIGNUM* order;  // of the group
    const BIGNUM* cofactor;
    bool isRead;
};

/** The same group with its curve's own arithmetic. Null, and nothing reported, if there is none. */
CTHandle<EC_GROUP> Tune(const EC_GROUP* group) {
    const CCurve curve(group);
    const CTunedCurve* const found = FindTunedCurve(curve.p.Get());
    if (found == nullptr || EC_GROUP_check_named_curve(group, 0, nullptr) > 0) {
        return {};
    }
    auto tuned = Own(EC_GROUP_new_by_curve_name(found->id));
    if (!tuned || !(CCurve(tuned.Get()) == curve)) {
        return {};
    }
    const auto generator = ReadPoint(tuned.Get(), OpenSSLWrap::GetUncompressedEcPointData(
                                                      group, EC_GROUP_get0_generator(group)));
    if (!generator ||
        EC_GROUP_set_generator(tuned.Get(), generator.Get(), curve.order, curve.cofactor) != 1) {
        return {};
    }
    return tuned;
}

}  // namespace

bool HasMoreThanParameters(const EVP_PKEY* key) {
    return FindNumber(key, OSSL_PKEY_PARAM_PRIV_KEY) || !FindPublicOctets(key).IsEmpty();
}

CTHandle<EC_GROUP> GetKeyGroup(const EVP_PKEY* key) {
    CTHandle<EC_GROUP> group;
    if (key != nullptr) {
        CreateEcGroup(key, group);
    }
    auto tuned = group ? Tune(group.Get()) : CTHandle<EC_GROUP>();
    return tuned ? std::move(tuned) : std::move(group);
}

bool IsSlowerThanItsGroup(const EVP_PKEY* key) {
    const auto p = FindNumber(key, OSSL_PKEY_PARAM_EC_P);
    size_t nameSize = 0;
    ERR_set_mark();
    const bool isNamed =
        EVP_PKEY_get_utf8_string_param(key, OSSL_PKEY_PARAM_GROUP_NAME, nullptr, 0, &nameSize) == 1;
    ERR_pop_to_mark();
    return !isNamed && FindTunedCurve(p.Get()) != nullptr;
}

CTHandle<EVP_PKEY> GenerateKey(const EC_GROUP* group) {
    const BIGNUM* const order = EC_GROUP_get0_order(group);
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
    return CreateEcKey(group, scalar.Get());
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
