#include "crypto/ec_field.h"
#include "crypto/openssl_wrapper.h"
#include "crypto/raise_openssl.h"
#include "crypto/try_openssl.h"

#include <openssl/core_names.h>
#include <openssl/err.h>

namespace OpenSSLWrap {

namespace {

/** The point that a key stores, encoded; nothing is reported. */
bool ReadStoredPoint(const EVP_PKEY* key, CByteZone& encoded) {
    size_t size = 0;
    if (EVP_PKEY_get_octet_string_param(key, OSSL_PKEY_PARAM_PUB_KEY, nullptr, 0, &size) != 1) {
        return false;
    }
    encoded.Resize(size);
    return EVP_PKEY_get_octet_string_param(key, OSSL_PKEY_PARAM_PUB_KEY, encoded.GetData(), size,
                                           &size) == 1;
}

/** The same; empty, with nothing left in the queue, when the key has none. */
CByteZone GetStoredPoint(const EVP_PKEY* key) {
    CByteZone encoded;
    ERR_set_mark();
    if (!ReadStoredPoint(key, encoded)) {
        encoded.Clear();
    }
    ERR_pop_to_mark();
    return encoded;
}

}  // namespace

void GetEcPoint(const CByteZone& data, const EC_GROUP* group, CTHandle<EC_POINT>& point) {
    if (data.IsEmpty() || group == nullptr) {
        RAISE_INVALID_PARAMETERS();
    }
    const unsigned char* at = data.GetData();
    const auto octets = Own(d2i_ASN1_OCTET_STRING(nullptr, &at, static_cast<long>(data.GetSize())));
    if (!octets) {
        RAISE_OPENSSL("asn1EcPoint");
    }
    auto read = Own(EC_POINT_new(group));
    if (!read) {
        RAISE_OPENSSL("EC_POINT_new");
    }
    if (EC_POINT_oct2point(group, read.Get(), ASN1_STRING_get0_data(octets.Get()),
                           static_cast<size_t>(ASN1_STRING_length(octets.Get())), nullptr) != 1) {
        RAISE_OPENSSL("EC_POINT_oct2point");
    }
    point = std::move(read);
}

CByteZone GetUncompressedEcPointData(const EC_GROUP* group, const EC_POINT* point) {
    if (group == nullptr || point == nullptr) {
        RAISE_INVALID_PARAMETERS();
    }
    const size_t size =
        EC_POINT_point2oct(group, point, POINT_CONVERSION_UNCOMPRESSED, nullptr, 0, nullptr);
    CByteZone octets(nullptr, size);
    if (size == 0 || EC_POINT_point2oct(group, point, POINT_CONVERSION_UNCOMPRESSED,
                                        octets.GetData(), size, nullptr) != size) {
        RAISE_OPENSSL("EC_POINT_point2oct");
    }
    return octets;
}

void GetUncompressedEcPointData(const CByteZone& parameters, const CByteZone& keyValue,
                                CByteZone& out) {
    if (parameters.IsEmpty() || keyValue.IsEmpty()) {
        RAISE_INVALID_PARAMETERS();
    }
    const auto group = CreateEcGroup(parameters);
    CTHandle<EC_POINT> point;
    if (keyValue.GetSize() > GetFieldSize(group.Get())) {
        GetEcPoint(keyValue, group.Get(), point);
    } else {
        const auto scalar =
            OwnSecret(BN_bin2bn(keyValue.GetData(), static_cast<int>(keyValue.GetSize()), nullptr));
        if (!scalar) {
            RAISE_OPENSSL("BN_bin2bn");
        }
        point = GetEcPointFromPrivateKey(group.Get(), scalar.Get());
    }
    out = GetUncompressedEcPointData(group.Get(), point.Get());
}

CByteZone GetCkaEcPoint(const EC_GROUP* group, const EC_POINT* point) {
    if (group == nullptr || point == nullptr) {
        RAISE_INVALID_PARAMETERS();
    }
    return OctetString2Der(GetUncompressedEcPointData(group, point));
}

CByteZone GetCkaEcPoint(const CByteZone& x, const CByteZone& y) {
    if (x.IsEmpty() || x.GetSize() != y.GetSize()) {
        RAISE_INVALID_PARAMETERS();
    }
    CByteZone octets;
    octets.Append(POINT_CONVERSION_UNCOMPRESSED);
    octets.Append(x);
    octets.Append(y);
    return OctetString2Der(octets);
}

void CompressEcPoint(const EC_GROUP* group, const EC_POINT* point, CByteZone& out) {
    if (group == nullptr || point == nullptr) {
        RAISE_INVALID_PARAMETERS();
    }
    const auto x = OwnSecret(BN_new());
    if (!x) {
        RAISE_OPENSSL("BN_new");
    }
    if (EC_POINT_get_affine_coordinates(group, point, x.Get(), nullptr, nullptr) != 1) {
        RAISE_OPENSSL("EC_POINT_get_affine_coordinates");
    }
    out = BignumToBuffer(x.Get(), GetFieldSize(group));
}

void CompressEcPoint(const EVP_PKEY* key, CByteZone& out) {
    if (key == nullptr) {
        RAISE_INVALID_PARAMETERS();
    }
    CTHandle<EC_GROUP> group;
    if (CreateEcGroup(key, group) <= 0) {
        RAISE(OPENSSL_FUNCTION_FAILED());
    }
    CByteZone encoded;
    if (!ReadStoredPoint(key, encoded)) {
        RAISE_OPENSSL("EVP_PKEY_get_octet_string_param");
    }
    const auto point = Own(EC_POINT_new(group.Get()));
    if (!point) {
        RAISE_OPENSSL("EC_POINT_new");
    }
    if (EC_POINT_oct2point(group.Get(), point.Get(), encoded.GetData(), encoded.GetSize(),
                           nullptr) != 1) {
        RAISE_OPENSSL("EC_POINT_oct2point");
    }
    CompressEcPoint(group.Get(), point.Get(), out);
}

CTHandle<EC_POINT> GetEcPointFromPrivateKey(const EC_GROUP* group, const BIGNUM* privateKey) {
    if (group == nullptr || privateKey == nullptr) {
        RAISE_INVALID_PARAMETERS();
    }
    auto point = Own(EC_POINT_new(group));
    if (!point) {
        RAISE_OPENSSL("EC_POINT_new");
    }
    if (EC_POINT_mul(group, point.Get(), privateKey, nullptr, nullptr, nullptr) != 1) {
        RAISE_OPENSSL("EC_POINT_mul");
    }
    return point;
}

int GetAffineCoordinates(const EC_GROUP* group, const EC_POINT* point, BIGNUM* x, BIGNUM* y) {
    if (group == nullptr || point == nullptr) {
        RETURN_INVALID_PARAMETERS();
    }
    TRY_OPENSSL(EC_POINT_get_affine_coordinates, group, point, x, y, nullptr);
    return 1;
}

int SetAffineCoordinates(const EC_GROUP* group, EC_POINT* point, const BIGNUM* x, const BIGNUM* y) {
    if (group == nullptr || point == nullptr || x == nullptr || y == nullptr) {
        RETURN_INVALID_PARAMETERS();
    }
    TRY_OPENSSL(EC_POINT_set_affine_coordinates, group, point, x, y, nullptr);
    return 1;
}

CByteZone ComputeEcCkaId(const EVP_PKEY* key) {
    if (key == nullptr) {
        RAISE_INVALID_PARAMETERS();
    }
    CByteZone encoded = GetStoredPoint(key);
    // Keys that were read with a compressed point tell it in that form.
    if (encoded.IsEmpty() || encoded[0] != POINT_CONVERSION_UNCOMPRESSED) {
        CTHandle<EC_GROUP> group;
        CTHandle<BIGNUM> scalar;
        CTHandle<EC_POINT> point;
        if (CreateEcGroup(key, group) <= 0 ||
            (encoded.IsEmpty() && GetKeyNumber(key, EKeyNumber::Priv, scalar) <= 0)) {
            RAISE(OPENSSL_FUNCTION_FAILED());
        }
        if (encoded.IsEmpty()) {
            point = GetEcPointFromPrivateKey(group.Get(), scalar.Get());
        } else {
            GetEcPoint(OctetString2Der(encoded), group.Get(), point);
        }
        encoded = GetUncompressedEcPointData(group.Get(), point.Get());
    }
    CByteZone id;
    if (Sha1(encoded, id) <= 0) {
        RAISE(OPENSSL_FUNCTION_FAILED());
    }
    return id;
}

CByteZone ComputeEcCkaId(const CByteZone& parameters, const CByteZone& privateKey) {
    if (parameters.IsEmpty() || privateKey.IsEmpty()) {
        RAISE_INVALID_PARAMETERS();
    }
    const auto scalar =
        OwnSecret(BN_bin2bn(privateKey.GetData(), static_cast<int>(privateKey.GetSize()), nullptr));
    if (!scalar) {
        RAISE_OPENSSL("BN_bin2bn");
    }
    return ComputeEcCkaId(CreateEcKey(CreateEcGroup(parameters).Get(), scalar.Get()).Get());
}

}  // namespace OpenSSLWrap
