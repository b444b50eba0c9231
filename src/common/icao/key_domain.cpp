#include "icao/key_domain.h"

#include "crypto/openssl_error.h"
#include "crypto/openssl_wrapper.h"

#include <openssl/core_names.h>
#include <openssl/err.h>

using OpenSSLWrap::CreateEcGroup;
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

}  // namespace

bool HasMoreThanParameters(const EVP_PKEY* key) {
    return FindNumber(key, OSSL_PKEY_PARAM_PRIV_KEY) || !FindPublicOctets(key).IsEmpty();
}

CTHandle<EC_GROUP> GetKeyGroup(const EVP_PKEY* key) {
    CTHandle<EC_GROUP> group;
    if (key != nullptr) {
        CreateEcGroup(key, group);
    }
    return group;
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
