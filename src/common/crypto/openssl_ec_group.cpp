#include "crypto/ec_field.h"
#include "crypto/openssl_wrapper.h"
#include "crypto/raise_openssl.h"
#include "crypto/try_openssl.h"

#include <algorithm>

namespace OpenSSLWrap {

namespace {

/** The DER of the curve's object identifier, when it has one. Null, or the call that failed. */
const char* ReadCurveOid(const EC_GROUP* group, CByteZone& oid) {
    const int curve = EC_GROUP_get_curve_name(group);
    if (curve == NID_undef) {
        return nullptr;
    }
    const ASN1_OBJECT* const object = OBJ_nid2obj(curve);
    if (object == nullptr) {
        return "OBJ_nid2obj";
    }
    unsigned char* made = nullptr;
    const int size = i2d_ASN1_OBJECT(object, &made);
    const auto der = OwnBytes(made);
    if (size <= 0) {
        return "i2d_ASN1_OBJECT";
    }
    oid.Assign(der.Get(), static_cast<size_t>(size));
    return nullptr;
}

}  // namespace

CTHandle<EC_GROUP> CreateEcGroup(const CByteZone& parameters) {
    if (parameters.IsEmpty()) {
        RAISE_INVALID_PARAMETERS();
    }
    const unsigned char* at = parameters.GetData();
    auto group = Own(d2i_ECPKParameters(nullptr, &at, static_cast<long>(parameters.GetSize())));
    if (!group) {
        RAISE_OPENSSL("d2i_ECPKParameters");
    }
    return group;
}

int CreateEcGroup(const EVP_PKEY* key, CTHandle<EC_GROUP>& group) {
    group.Reset();
    if (key == nullptr) {
        RETURN_INVALID_PARAMETERS();
    }
    OSSL_PARAM* made = nullptr;
    TRY_OPENSSL(EVP_PKEY_todata, key, EVP_PKEY_KEY_PARAMETERS, &made);
    const auto parameters = Own(made);
    TRY_OPENSSL_NEW(group, EC_GROUP_new_from_params, parameters.Get(), nullptr, nullptr);
    return 1;
}

CByteZone GetCkaEcParams(const EC_GROUP* group) {
    if (group == nullptr) {
        RAISE_INVALID_PARAMETERS();
    }
    unsigned char* made = nullptr;
    const int size = i2d_ECPKParameters(group, &made);
    const auto der = OwnBytes(made);
    if (size <= 0) {
        RAISE_OPENSSL("i2d_ECPKParameters");
    }
    return CByteZone(der.Get(), static_cast<size_t>(size));
}

CByteZone GetCkaEcParams(int curveId) {
    const auto group = Own(EC_GROUP_new_by_curve_name(curveId));
    if (!group) {
        RAISE_OPENSSL("EC_GROUP_new_by_curve_name");
    }
    return GetCkaEcParams(group.Get());
}

int GetKeyBitLength(const CByteZone& parameters) {
    if (parameters.IsEmpty()) {
        RAISE_INVALID_PARAMETERS();
    }
    return EC_GROUP_get_degree(CreateEcGroup(parameters).Get());
}

CEcCurve GetEcCurveComponents(const CByteZone& parameters) {
    if (parameters.IsEmpty()) {
        RAISE_INVALID_PARAMETERS();
    }
    const auto group = CreateEcGroup(parameters);
    const auto p = Own(BN_new());
    const auto a = Own(BN_new());
    const auto b = Own(BN_new());
    const auto order = Own(BN_new());
    const auto cofactor = Own(BN_new());
    if (!p || !a || !b || !order || !cofactor) {
        RAISE_OPENSSL("BN_new");
    }
    if (EC_GROUP_get_curve(group.Get(), p.Get(), a.Get(), b.Get(), nullptr) != 1) {
        RAISE_OPENSSL("EC_GROUP_get_curve");
    }
    if (EC_GROUP_get_order(group.Get(), order.Get(), nullptr) != 1) {
        RAISE_OPENSSL("EC_GROUP_get_order");
    }
    if (EC_GROUP_get_cofactor(group.Get(), cofactor.Get(), nullptr) != 1) {
        RAISE_OPENSSL("EC_GROUP_get_cofactor");
    }
    const EC_POINT* const generator = EC_GROUP_get0_generator(group.Get());
    if (generator == nullptr) {
        RAISE_OPENSSL("EC_GROUP_get0_generator");
    }
    CByteZone oid;
    if (const char* const failed = ReadCurveOid(group.Get(), oid)) {
        RAISE_OPENSSL(failed);
    }
    const size_t field = GetFieldSize(group.Get());
    // An order may take one byte more than the field does.
    const size_t orderSize = std::max(field, static_cast<size_t>(BN_num_bytes(order.Get())));
    return {BignumToBuffer(p.Get(), field),
            BignumToBuffer(a.Get(), field),
            BignumToBuffer(b.Get(), field),
            BignumToBuffer(order.Get(), orderSize),
            BignumToBuffer(cofactor.Get(), 0),
            GetUncompressedEcPointData(group.Get(), generator),
            oid};
}

CEcCurve GetEcCurveComponents(const CByteZone& parameters, CByteZone& generatorX,
                              CByteZone& generatorY) {
    CEcCurve curve = GetEcCurveComponents(parameters);
    const size_t field = curve.p.GetSize();
    generatorX.Assign(curve.generator.GetData() + 1, field);
    generatorY.Assign(curve.generator.GetData() + 1 + field, field);
    return curve;
}

}  // namespace OpenSSLWrap
