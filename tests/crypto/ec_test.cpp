#include "crypto/openssl_wrapper.h"
#include "openssl_command.h"
#include "support/stanza_file.h"
#include "support/string_print.h"

#include <gtest/gtest.h>
#include <openssl/err.h>

#include <initializer_list>

using namespace OpenSSLWrap;

namespace {

CTHandle<BIGNUM> Number(const CByteZone& bytes) {
    return Own(BN_bin2bn(bytes.GetData(), static_cast<int>(bytes.GetSize()), nullptr));
}

CByteZone Cut(const CByteZone& bytes, size_t length) { return CByteZone(bytes.GetData(), length); }

/** Throw-style operations refuse each cut of the input, and leave nothing in the queue. */
template <class Call>
void ExpectEachCutRefused(const CByteZone& whole, Call call) {
    for (size_t length = 0; length < whole.GetSize(); ++length) {
        EXPECT_THROW(call(Cut(whole, length)), CException) << length;
    }
    EXPECT_EQ(ERR_peek_error(), 0U);
}

/** The point `scalar` times the generator, by every road that leads to it. */
void ExpectMultiple(const CByteZone& parameters, const CByteZone& scalar, const CByteZone& point) {
    const auto group = CreateEcGroup(parameters);
    const auto number = Number(scalar);
    CByteZone out;
    GetUncompressedEcPointData(parameters, scalar, out);
    EXPECT_EQ(out, point);
    GetUncompressedEcPointData(parameters, OctetString2Der(point), out);
    EXPECT_EQ(out, point);
    const size_t field = (point.GetSize() - 1) / 2;
    const CByteZone x(point.GetData() + 1, field);
    const CByteZone y(point.GetData() + 1 + field, field);
    EXPECT_EQ(Der2OctetString(GetCkaEcPoint(x, y)), point);
    const auto key = CreateEcKey(group.Get(), number.Get());
    CompressEcPoint(key.Get(), out);
    EXPECT_EQ(out, x);
    EXPECT_EQ(ComputeEcCkaId(key.Get()), Sha1(point));
    EXPECT_EQ(ComputeEcCkaId(parameters, scalar), Sha1(point));
    CByteZone off = point;
    off[off.GetSize() - 1] ^= 1;
    CTHandle<EC_POINT> read;
    EXPECT_THROW(GetEcPoint(OctetString2Der(off), group.Get(), read), OPENSSL_FUNCTION_FAILED);
    EXPECT_FALSE(read);
    EXPECT_EQ(ERR_peek_error(), 0U);
}

/** A group like another, with a generator that makes it nobody's. */
CTHandle<EC_GROUP> WithOtherGenerator(const EC_GROUP* group, const CByteZone& generator) {
    auto mapped = Own(EC_GROUP_dup(group));
    CTHandle<EC_POINT> point;
    GetEcPoint(OctetString2Der(generator), group, point);
    EC_GROUP_set_generator(mapped.Get(), point.Get(), EC_GROUP_get0_order(group),
                           EC_GROUP_get0_cofactor(group));
    return mapped;
}

}  // namespace

TEST(EcCurves, HavePublishedPartsAndMultiples) {
    FOR_EACH_STANZA(curve, ReadSharedStanzas("ec_curves.txt")) {
        EXPECT_EQ(kCurves[curve.Int("domain_int") - 8], curve.Text("curve_text"));
        EXPECT_EQ(curve.Int("cofactor_int"), 1);
        const CByteZone named = curve.Bytes("parameters_named");
        EXPECT_EQ(GetCkaEcParams(OBJ_sn2nid(curve.Text("curve_text").c_str())), named);
        for (const CByteZone& parameters : {named, curve.Bytes("parameters_explicit")}) {
            const CEcCurve parts = GetEcCurveComponents(parameters);
            EXPECT_EQ(parts.p, curve.Bytes("p"));
            EXPECT_EQ(parts.a, curve.Bytes("a"));
            EXPECT_EQ(parts.b, curve.Bytes("b"));
            EXPECT_EQ(parts.order, curve.Bytes("order"));
            EXPECT_EQ(parts.cofactor, CByteZone(1, 1));
            EXPECT_EQ(parts.generator, curve.Bytes("generator"));
            ExpectMultiple(parameters, curve.Bytes("leading_zero_k"),
                           curve.Bytes("leading_zero_point"));
        }
        EXPECT_EQ(GetEcCurveComponents(named).oid, named);
        for (const std::string name : {"k0", "k1", "k2", "k3", "k4"}) {
            ExpectMultiple(named, curve.Bytes(name), curve.Bytes(name + "_point"));
        }
        EXPECT_EQ(Sha1(curve.Bytes("k4_point")), curve.Bytes("k4_point_sha1"));
        ExpectEachCutRefused(named, [](const CByteZone& der) { CreateEcGroup(der); });
    }
}

TEST(EcKeys, MappedGeneratorMakesAnExplicitGroup) {
    FOR_EACH_STANZA(curve, ReadSharedStanzas("ec_curves.txt")) {
        const auto group = CreateEcGroup(curve.Bytes("parameters_named"));
        const auto mapped = WithOtherGenerator(group.Get(), curve.Bytes("k1_point"));
        const auto parameters = CreateEcParamsKey(mapped.Get());
        CTHandle<EC_GROUP> rebuilt;
        EXPECT_EQ(CreateEcGroup(parameters.Get(), rebuilt), 1);
        EXPECT_EQ(GetUncompressedEcPointData(rebuilt.Get(), EC_GROUP_get0_generator(rebuilt.Get())),
                  curve.Bytes("k1_point"));
        CTHandle<EVP_PKEY> generated;
        EXPECT_EQ(GenerateECKeyFromParametersKey(parameters.Get(), generated), 1);
        const auto one = Own(BN_new());
        BN_one(one.Get());
        CByteZone x;
        CompressEcPoint(CreateEcKey(mapped.Get(), one.Get()).Get(), x);
        EXPECT_EQ(x, CByteZone(curve.Bytes("k1_point").GetData() + 1, x.GetSize()));
        curve.Skip();
    }
}

TEST(EcdsaSignatures, ConvertAsPublished) {
    FOR_EACH_STANZA(row, ReadSharedStanzas("ecdsa_der.txt")) {
        const CByteZone der = row.Bytes("der");
        CByteZone raw;
        if (row.Text("result_text") == "error") {
            EXPECT_ANY_THROW(Der2RawSignature(der, raw));
            EXPECT_EQ(ERR_peek_error(), 0U);
            continue;
        }
        Der2RawSignature(der, raw);
        EXPECT_EQ(raw, row.Bytes("raw"));
        CByteZone again;
        Raw2DerSignature(raw, again);
        EXPECT_EQ(again == der, row.Text("canonical_text") == "yes");
        row.Skip();
    }
    CByteZone der;
    EXPECT_THROW(Raw2DerSignature(CByteZone(3, 1), der), CException);
    EXPECT_THROW(Raw2DerSignature(CByteZone(), der), CException);
}

TEST(Bignums, AreBytesAndIntegers) {
    const auto number = Number(CByteZone("\x01\x02\x03"));
    EXPECT_EQ(BignumToBuffer(number.Get(), 0), CByteZone("\x01\x02\x03"));
    EXPECT_EQ(BignumToBuffer(number.Get(), 3), CByteZone("\x01\x02\x03"));
    EXPECT_EQ(BignumToSecureBuffer(number.Get(), 5).GetSize(), 5U);
    EXPECT_THROW(BignumToBuffer(number.Get(), 2), ARGUMENT_INVALID);
    EXPECT_THROW(BignumToBuffer(nullptr, 2), ARGUMENT_INVALID);
    for (const int32_t value : {0, 1, -1, 66051, INT32_MAX, INT32_MIN}) {
        EXPECT_EQ(BignumToInt(IntToBignum(value).Get()), value);
    }
    EXPECT_THROW(BignumToInt(Number(CByteZone("\x01\x01\x01\x01\x01")).Get()), ARGUMENT_INVALID);
}

TEST(Certificates, AreReadWrittenAndDated) {
    static const struct {
        const char* dates;
        bool begun;
        bool notExpired;
    } kRows[] = {{"-startdate 20200101000000Z -enddate 20990101000000Z", true, true},
                 {"-startdate 20200101000000Z -enddate 20210101000000Z", true, false},
                 {"-startdate 20980101000000Z -enddate 20990101000000Z", false, true}};
    for (const auto& row : kRows) {
        SCOPED_TRACE(row.dates);
        const COpensslCommand openssl;
        openssl.Write("ca.cnf", CByteZone("[ca]\ndefault_ca=a\n[a]\nnew_certs_dir=.\n"
                                          "database=index\nrand_serial=yes\npolicy=p\n"
                                          "default_md=sha256\n[p]\ncommonName=supplied\n"));
        openssl.Write("index", CByteZone());
        ASSERT_TRUE(
            openssl.Run("req -newkey ec -pkeyopt ec_paramgen_curve:prime256v1 -nodes "
                        "-subj /CN=t -keyout key -out request"));
        ASSERT_TRUE(
            openssl.Run(std::string("ca -config ca.cnf -batch -selfsign -notext -in request "
                                    "-keyfile key -out pem ") +
                        row.dates));
        ASSERT_TRUE(openssl.Run("x509 -in pem -outform DER -out der"));
        const auto certificate = DERDataToX509(openssl.Read("der"));
        EXPECT_EQ(X509toPEMData(PEMDataToX509(openssl.Read("pem")).Get()), openssl.Read("pem"));
        EXPECT_EQ(IsNotBeforeValid(certificate.Get()), row.begun);
        EXPECT_EQ(IsNotAfterValid(certificate.Get()), row.notExpired);
        ExpectEachCutRefused(openssl.Read("der"), [](const CByteZone& der) { DERDataToX509(der); });
    }
    EXPECT_THROW(PEMDataToX509(CByteZone("no certificate")), OPENSSL_FUNCTION_FAILED);
}
