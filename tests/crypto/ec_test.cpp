#include "crypto/key_parameters.h"
#include "crypto/openssl_command.h"
#include "crypto/openssl_wrapper.h"
#include "support/stanza_file.h"
#include "support/string_print.h"

#include <openssl/core_names.h>
#include <openssl/err.h>

using namespace OpenSSLWrap;

namespace {

CTHandle<BIGNUM> NumberOf(const CByteZone& bytes) {
    return Own(BN_bin2bn(bytes.GetData(), static_cast<int>(bytes.GetSize()), nullptr));
}

/** Each beginning of the data is refused, and nothing stays in the queue. */
template <class Call>
void ExpectCutsRefused(const CByteZone& whole, Call call) {
    for (size_t length = 0; length < whole.GetSize(); ++length) {
        EXPECT_THROW(call(CByteZone(whole.GetData(), length)), CException) << length;
    }
    EXPECT_EQ(ERR_peek_error(), 0U);
}

/** A multiple of the generator, by every way that leads to it or back. */
void ExpectMultiple(const CByteZone& parameters, const CByteZone& scalar, const CByteZone& octets) {
    const auto group = CreateEcGroup(parameters);
    const size_t field = octets.GetSize() / 2;
    const CByteZone x(octets.GetData() + 1, field), y(octets.GetData() + 1 + field, field);
    CByteZone out;
    for (const CByteZone& value : {scalar, GetCkaEcPoint(x, y)}) {
        GetUncompressedEcPointData(parameters, value, out);
        EXPECT_EQ(out, octets);
    }
    const auto point = GetEcPointFromPrivateKey(group.Get(), NumberOf(scalar).Get());
    EXPECT_EQ(Der2OctetString(GetCkaEcPoint(group.Get(), point.Get())), octets);
    CompressEcPoint(group.Get(), point.Get(), out);
    EXPECT_EQ(out, x);
    const auto read = Own(BN_new());
    EXPECT_EQ(GetAffineCoordinates(group.Get(), point.Get(), nullptr, read.Get()), 1);
    EXPECT_EQ(SetAffineCoordinates(group.Get(), point.Get(), NumberOf(x).Get(), read.Get()), 1);
    CompressEcPoint(CreateEcKey(group.Get(), NumberOf(scalar).Get()).Get(), out);
    EXPECT_EQ(out, x);
    EXPECT_EQ(ComputeEcCkaId(parameters, scalar), Sha1(octets));
    EXPECT_EQ(ERR_peek_error(), 0U);
}

}  // namespace

TEST(EcCurves, HavePublishedPartsAndMultiples) {
    FOR_EACH_STANZA(curve, ReadSharedStanzas("ec_curves.txt")) {
        curve.Skip();
        const CByteZone named = curve.Bytes("parameters_named");
        EXPECT_EQ(GetCkaEcParams(OBJ_sn2nid(curve.Text("curve_text").c_str())), named);
        for (const CByteZone& parameters : {named, curve.Bytes("parameters_explicit")}) {
            CByteZone x, y;
            const CEcCurve parts = GetEcCurveComponents(parameters, x, y);
            EXPECT_EQ(GetCkaEcPoint(x, y), OctetString2Der(parts.generator));
            EXPECT_EQ(parts.p, curve.Bytes("p"));
            EXPECT_EQ(parts.a, curve.Bytes("a"));
            EXPECT_EQ(parts.b, curve.Bytes("b"));
            EXPECT_EQ(parts.order, curve.Bytes("order"));
            EXPECT_EQ(parts.generator, curve.Bytes("generator"));
            EXPECT_EQ(parts.oid, named);
            EXPECT_EQ(parts.cofactor, CByteZone(1, curve.Int("cofactor_int")));
            EXPECT_EQ(GetCkaEcParams(CreateEcGroup(parameters).Get()), parameters);
            for (const std::string name : {"k0", "k1", "k2", "k3", "k4"}) {
                ExpectMultiple(parameters, curve.Bytes(name), curve.Bytes(name + "_point"));
            }
            const CByteZone leadingZero = curve.Bytes("leading_zero_point");
            ExpectMultiple(parameters, curve.Bytes("leading_zero_k"), leadingZero);
            ExpectCutsRefused(parameters, [](const CByteZone& cut) { CreateEcGroup(cut); });
        }
        // The parameters of a group whose generator is another point.
        const auto mapped = CreateEcGroup(named);
        const auto third = GetEcPointFromPrivateKey(mapped.Get(), IntToBignum(3).Get());
        const auto last = GetEcPointFromPrivateKey(mapped.Get(), IntToBignum(15).Get());
        EC_GROUP_set_generator(mapped.Get(), third.Get(), EC_GROUP_get0_order(mapped.Get()),
                               BN_value_one());
        ExpectMultiple(ParamsToDer(CreateEcParamsKey(mapped.Get()).Get()), CByteZone(1, 5),
                       GetUncompressedEcPointData(mapped.Get(), last.Get()));
        EXPECT_EQ(Sha1(curve.Bytes("k4_point")), curve.Bytes("k4_point_sha1"));
    }
    // An order that is longer than the field.
    EXPECT_EQ(GetEcCurveComponents(GetCkaEcParams(NID_secp160r1)).order.GetSize(), 21U);
}

TEST(EcKeys, HaveOneIdHoweverTheyKeepTheirPoint) {
    const auto group = CreateEcGroup(GetCkaEcParams(NID_X9_62_prime256v1));
    const auto five = IntToBignum(5);
    CKeyParameters numbers;
    numbers.Push(OSSL_PKEY_PARAM_GROUP_NAME, SN_X9_62_prime256v1);
    numbers.Push(OSSL_PKEY_PARAM_PRIV_KEY, five.Get());
    const auto bare = CreateKey("EC", EVP_PKEY_KEYPAIR, numbers.Build().Get());
    const auto full = CreateEcKey(group.Get(), five.Get());
    const CByteZone id = ComputeEcCkaId(full.Get());
    EXPECT_EQ(ComputeEcCkaId(bare.Get()), id);
    EVP_PKEY_set_utf8_string_param(full.Get(), OSSL_PKEY_PARAM_EC_POINT_CONVERSION_FORMAT,
                                   OSSL_PKEY_EC_POINT_CONVERSION_FORMAT_COMPRESSED);
    EXPECT_EQ(ComputeEcCkaId(full.Get()), id);
    EXPECT_EQ(ERR_peek_error(), 0U);
}

TEST(EcPoints, OffTheCurveOrNowhereAreRefused) {
    const auto group = CreateEcGroup(GetCkaEcParams(NID_X9_62_prime256v1));
    CByteZone x, point = GetCkaEcPoint(group.Get(), EC_GROUP_get0_generator(group.Get()));
    CTHandle<EC_POINT> read;
    ExpectCutsRefused(point, [&](const CByteZone& cut) { GetEcPoint(cut, group.Get(), read); });
    point[66] ^= 1;
    EXPECT_THROW(GetEcPoint(point, group.Get(), read), OPENSSL_FUNCTION_FAILED);
    // Nowhere can be read; it has no coordinates.
    GetEcPoint(OctetString2Der(CByteZone(1, 0)), group.Get(), read);
    EXPECT_THROW(CompressEcPoint(group.Get(), read.Get(), x), OPENSSL_FUNCTION_FAILED);
    EXPECT_LE(SetAffineCoordinates(group.Get(), read.Get(), BN_value_one(), BN_value_one()), 0);
    EXPECT_EQ(ERR_peek_error(), 0U);
}

TEST(EcdsaSignatures, ConvertAsPublished) {
    FOR_EACH_STANZA(row, ReadSharedStanzas("ecdsa_der.txt")) {
        const CByteZone der = row.Bytes("der");
        CByteZone raw, again;
        const auto read = [&raw](const CByteZone& bytes) { Der2RawSignature(bytes, raw); };
        row.Skip();
        if (row.Text("result_text") == "error") {
            EXPECT_THROW(read(der), CException);
            continue;
        }
        read(der);
        EXPECT_EQ(raw, row.Bytes("raw"));
        Raw2DerSignature(raw, again);
        EXPECT_EQ(again == der, row.Text("canonical_text") == "yes");
        ExpectCutsRefused(again, read);
    }
}

TEST(Bignums, AreBytesAndIntegers) {
    const unsigned char padded[] = {0, 0, 1, 2, 3};
    const auto number = NumberOf(CByteZone(padded, 5));
    EXPECT_EQ(BignumToBuffer(number.Get(), 0), CByteZone(padded + 2, 3));
    EXPECT_EQ(BignumToSecureBuffer(number.Get(), 5), CSecureByteZone(padded, 5));
    EXPECT_THROW(BignumToBuffer(number.Get(), 2), ARGUMENT_INVALID);
    for (const int32_t value : {0, 66051, INT32_MIN}) {
        EXPECT_EQ(BignumToInt(IntToBignum(value).Get()), value);
    }
    EXPECT_EQ(BignumToInt(NumberOf(CByteZone(4, 0xFF)).Get()), -1);
    EXPECT_THROW(BignumToInt(NumberOf(CByteZone(5, 1)).Get()), ARGUMENT_INVALID);
}

TEST(Certificates, AreReadWrittenAndDated) {
    const COpensslCommand openssl;
    openssl.Run("req -x509 -newkey rsa:2048 -nodes -subj /CN=t -keyout key -out pem");
    openssl.Run("x509 -in pem -outform DER -out der");
    const auto certificate = DERDataToX509(openssl.Read("der"));
    EXPECT_EQ(X509toPEMData(certificate.Get()), openssl.Read("pem"));
    EXPECT_EQ(X509_cmp(PEMDataToX509(openssl.Read("pem")).Get(), certificate.Get()), 0);
    for (const int seconds : {-60, 60}) {
        X509_gmtime_adj(X509_getm_notBefore(certificate.Get()), seconds);
        X509_gmtime_adj(X509_getm_notAfter(certificate.Get()), seconds);
        EXPECT_EQ(IsNotBeforeValid(certificate.Get()), seconds < 0) << seconds;
        EXPECT_EQ(IsNotAfterValid(certificate.Get()), seconds > 0) << seconds;
    }
    ASN1_STRING_set(X509_getm_notAfter(certificate.Get()), "no date", -1);
    EXPECT_FALSE(IsNotAfterValid(certificate.Get()));
    EXPECT_EQ(ERR_peek_error(), 0U);
}
