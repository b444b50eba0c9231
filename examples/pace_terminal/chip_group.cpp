#include "chip_group.h"

#include <openssl/core_names.h>
#include <openssl/ec.h>
#include <openssl/evp.h>
#include <openssl/obj_mac.h>

#include <algorithm>

CNumber ToNumber(const COctets& octets) {
    CNumber number(BN_bin2bn(octets.data(), static_cast<int>(octets.size()), nullptr),
                   BN_clear_free);
    Require(number != nullptr, "read a number");
    return number;
}

namespace {

CNumber NewNumber() { return ToNumber({}); }

std::unique_ptr<BN_CTX, decltype(&BN_CTX_free)> NewScratch() { return {BN_CTX_new(), BN_CTX_free}; }

/** Arithmetic modulo a prime, in the notation of the text books. */
class CField {
public:
    explicit CField(const BIGNUM* modulus) : prime(modulus) {}

    CNumber Multiply(const CNumber& a, const CNumber& b) const {
        auto result = NewNumber();
        Require(BN_mod_mul(result.get(), a.get(), b.get(), prime, scratch.get()), "multiply");
        return result;
    }
    CNumber Add(const CNumber& a, const CNumber& b) const {
        auto result = NewNumber();
        Require(BN_mod_add(result.get(), a.get(), b.get(), prime, scratch.get()), "add");
        return result;
    }
    CNumber Negate(const CNumber& a) const {
        auto result = NewNumber();
        Require(BN_mod_sub(result.get(), result.get(), a.get(), prime, scratch.get()), "subtract");
        return result;
    }
    CNumber Invert(const CNumber& a) const {
        auto result = NewNumber();
        Require(BN_mod_inverse(result.get(), a.get(), prime, scratch.get()) != nullptr, "invert");
        return result;
    }
    CNumber Raise(const CNumber& a, const BIGNUM* exponent) const {
        auto result = NewNumber();
        Require(BN_mod_exp(result.get(), a.get(), exponent, prime, scratch.get()), "raise");
        return result;
    }

private:
    const BIGNUM* const prime;
    const std::unique_ptr<BN_CTX, decltype(&BN_CTX_free)> scratch = NewScratch();
};

class CCurveGroup : public CChipGroup {
public:
    explicit CCurveGroup(int nid) : group(EC_GROUP_new_by_curve_name(nid), EC_GROUP_free) {
        Require(group && EC_GROUP_get_curve(group.get(), p.get(), a.get(), b.get(), nullptr),
                "find the curve");
    }
    COctets GetGenerator() const override { return Write(EC_GROUP_get0_generator(group.get())); }
    const BIGNUM* GetOrder() const override { return EC_GROUP_get0_order(group.get()); }
    const BIGNUM* GetPrime() const override { return p.get(); }
    COctets Raise(const COctets& base, const BIGNUM* exponent) const override {
        const auto point = Read(base);
        Require(EC_POINT_mul(group.get(), point.get(), nullptr, point.get(), exponent, nullptr),
                "multiply a point");
        return Write(point.get());
    }
    COctets Combine(const COctets& first, const COctets& second) const override {
        const auto point = Read(first);
        Require(EC_POINT_add(group.get(), point.get(), point.get(), Read(second).get(), nullptr),
                "add points");
        return Write(point.get());
    }
    COctets Encode(const BIGNUM* number) const override;
    COctets GetSecret(const COctets& member) const override {
        return {member.begin() + 1, member.begin() + 1 + static_cast<long>(member.size() / 2)};
    }
    unsigned char GetValueTag() const override { return 0x86; }
    COctets GetTokenValue(const COctets& member) const override { return member; }

private:
    using CPoint = std::unique_ptr<EC_POINT, decltype(&EC_POINT_free)>;

    CPoint Read(const COctets& octets) const {
        CPoint point(EC_POINT_new(group.get()), EC_POINT_free);
        Require(EC_POINT_oct2point(group.get(), point.get(), octets.data(), octets.size(), nullptr),
                "take what is no point of the curve");
        return point;
    }
    COctets Write(const EC_POINT* point) const {
        COctets octets(static_cast<size_t>(BN_num_bytes(p.get())) * 2 + 1);
        Require(EC_POINT_point2oct(group.get(), point, POINT_CONVERSION_UNCOMPRESSED, octets.data(),
                                   octets.size(), nullptr) == octets.size(),
                "go on from the point at infinity");
        return octets;
    }

    const std::unique_ptr<EC_GROUP, decltype(&EC_GROUP_free)> group;
    const CNumber p = NewNumber(), a = NewNumber(), b = NewNumber();
};

/** Of two candidates x the one with a point on the curve is taken (appendix B.1). */
COctets CCurveGroup::Encode(const BIGNUM* number) const {
    const CField field(p.get());
    const CNumber one = ToNumber({1});
    const CNumber t(BN_dup(number), BN_clear_free);
    const CNumber alpha = field.Negate(field.Multiply(t, t));
    const CNumber sum = field.Add(alpha, field.Multiply(alpha, alpha));
    CNumber x = field.Negate(field.Multiply(field.Multiply(b, field.Add(one, sum)),
                                            field.Invert(field.Multiply(a, sum))));
    const CNumber square = field.Add(field.Multiply(x, field.Add(field.Multiply(x, x), a)), b);
    // For a prime of the form 4k + 3: the root of the square, or of its negative.
    const CNumber exponent(BN_dup(p.get()), BN_clear_free);
    BN_add_word(exponent.get(), 1);
    BN_rshift(exponent.get(), exponent.get(), 2);
    CNumber y = field.Raise(square, exponent.get());
    if (BN_cmp(field.Multiply(y, y).get(), square.get()) != 0) {
        x = field.Multiply(alpha, x);
        y = field.Multiply(field.Multiply(alpha, t), y);
    }
    const CPoint point(EC_POINT_new(group.get()), EC_POINT_free);
    Require(EC_POINT_set_affine_coordinates(group.get(), point.get(), x.get(), y.get(), nullptr),
            "map the nonces to a point of this curve");
    return Raise(Write(point.get()), EC_GROUP_get0_cofactor(group.get()));
}

class CPrimeGroup : public CChipGroup {
public:
    explicit CPrimeGroup(const char* name) : p(NewNumber()), q(NewNumber()), g(NewNumber()) {
        const std::unique_ptr<EVP_PKEY_CTX, decltype(&EVP_PKEY_CTX_free)> context(
            EVP_PKEY_CTX_new_from_name(nullptr, "DH", nullptr), EVP_PKEY_CTX_free);
        std::string text = name;
        const OSSL_PARAM parameters[] = {
            OSSL_PARAM_construct_utf8_string(OSSL_PKEY_PARAM_GROUP_NAME, text.data(), text.size()),
            OSSL_PARAM_construct_end()};
        EVP_PKEY* made = nullptr;
        EVP_PKEY_fromdata_init(context.get());
        EVP_PKEY_fromdata(context.get(), &made, EVP_PKEY_KEY_PARAMETERS,
                          const_cast<OSSL_PARAM*>(parameters));
        const std::unique_ptr<EVP_PKEY, decltype(&EVP_PKEY_free)> key(made, EVP_PKEY_free);
        Require(key != nullptr, "find the group");
        p = Get(key.get(), OSSL_PKEY_PARAM_FFC_P);
        q = Get(key.get(), OSSL_PKEY_PARAM_FFC_Q);
        g = Get(key.get(), OSSL_PKEY_PARAM_FFC_G);
    }
    COctets GetGenerator() const override { return Write(g); }
    const BIGNUM* GetOrder() const override { return q.get(); }
    const BIGNUM* GetPrime() const override { return p.get(); }
    COctets Raise(const COctets& base, const BIGNUM* exponent) const override {
        const CField field(p.get());
        const CNumber number = ToNumber(base);
        Require(!BN_is_zero(number.get()) && BN_cmp(number.get(), p.get()) < 0,
                "take what is no member of the group");
        return Write(field.Raise(number, exponent));
    }
    COctets Combine(const COctets& first, const COctets& second) const override {
        return Write(CField(p.get()).Multiply(ToNumber(first), ToNumber(second)));
    }
    /** Raised into the subgroup of the generator (appendix B.2). */
    COctets Encode(const BIGNUM* number) const override {
        const CNumber cofactor(BN_dup(p.get()), BN_clear_free);
        Require(BN_sub_word(cofactor.get(), 1) &&
                    BN_div(cofactor.get(), nullptr, cofactor.get(), q.get(), NewScratch().get()),
                "divide");
        return Write(CField(p.get()).Raise(CNumber(BN_dup(number), BN_clear_free), cofactor.get()));
    }
    COctets GetSecret(const COctets& member) const override { return member; }
    unsigned char GetValueTag() const override { return 0x84; }
    COctets GetTokenValue(const COctets& member) const override {
        const auto first =
            std::find_if(member.begin(), member.end(), [](unsigned char octet) { return octet; });
        return {first, member.end()};
    }

private:
    static CNumber Get(const EVP_PKEY* key, const char* name) {
        BIGNUM* number = nullptr;
        Require(EVP_PKEY_get_bn_param(key, name, &number), "read the group");
        return {number, BN_clear_free};
    }
    COctets Write(const CNumber& number) const {
        COctets octets(static_cast<size_t>(BN_num_bytes(p.get())));
        BN_bn2binpad(number.get(), octets.data(), static_cast<int>(octets.size()));
        return octets;
    }

    CNumber p, q, g;
};

constexpr int kFirstCurve = 8;
constexpr int kCurves[] = {
    NID_X9_62_prime192v1, NID_brainpoolP192r1, NID_secp224r1,       NID_brainpoolP224r1,
    NID_X9_62_prime256v1, NID_brainpoolP256r1, NID_brainpoolP320r1, NID_secp384r1,
    NID_brainpoolP384r1,  NID_brainpoolP512r1, NID_secp521r1,
};
constexpr const char* kPrimeGroups[] = {"dh_1024_160", "dh_2048_224", "dh_2048_256"};

}  // namespace

std::unique_ptr<CChipGroup> MakeCurveGroup(int domainId) {
    const auto index = static_cast<size_t>(domainId - kFirstCurve);
    Require(index < std::size(kCurves), "use these domain parameters for ECDH");
    return std::make_unique<CCurveGroup>(kCurves[index]);
}

std::unique_ptr<CChipGroup> MakePrimeGroup(int domainId) {
    const auto index = static_cast<size_t>(domainId);
    Require(index < std::size(kPrimeGroups), "use these domain parameters for DH");
    return std::make_unique<CPrimeGroup>(kPrimeGroups[index]);
}
