#include "icao/curve_encoding.h"

#include "crypto/raise_openssl.h"

namespace icao {

namespace {

using Number = CTHandle<BIGNUM>;

Number NewNumber() {
    auto number = OwnSecret(BN_new());
    if (!number) {
        RAISE_OPENSSL("BN_new");
    }
    return number;
}

/** y^2 = x^3 + a x + b over the numbers modulo p. */
class CCurveField {
public:
    explicit CCurveField(const EC_GROUP* group)
        : context(Own(BN_CTX_new())), p(NewNumber()), a(NewNumber()), b(NewNumber()) {
        if (!context || EC_GROUP_get_curve(group, p.Get(), a.Get(), b.Get(), context.Get()) != 1) {
            RAISE_OPENSSL("EC_GROUP_get_curve");
        }
    }

    const Number& A() const { return a; }
    const Number& B() const { return b; }

    Number Add(const Number& left, const Number& right) const {
        return Combine(BN_mod_add, "BN_mod_add", left.Get(), right.Get());
    }
    Number Multiply(const Number& left, const Number& right) const {
        return Combine(BN_mod_mul, "BN_mod_mul", left.Get(), right.Get());
    }
    Number Power(const Number& base, const Number& exponent) const {
        return Combine(BN_mod_exp, "BN_mod_exp", base.Get(), exponent.Get());
    }
    Number Square(const Number& number) const { return Multiply(number, number); }
    Number Cube(const Number& number) const { return Multiply(Square(number), number); }
    Number Increment(const Number& number) const {
        return Combine(BN_mod_add, "BN_mod_add", number.Get(), BN_value_one());
    }
    Number Negate(const Number& number) const {
        return Combine(BN_mod_sub, "BN_mod_sub", p.Get(), number.Get());
    }

    /** The right side of the curve's equation. */
    Number Evaluate(const Number& x) const { return Add(Add(Cube(x), Multiply(a, x)), b); }

    /** p - 2, the exponent of the inverse. */
    Number GetInverseExponent() const {
        auto exponent = NewNumber();
        if (BN_copy(exponent.Get(), p.Get()) == nullptr || BN_sub_word(exponent.Get(), 2) != 1) {
            RAISE_OPENSSL("BN_sub_word");
        }
        return exponent;
    }

    /** p - 1 - (p + 1) / 4, the exponent of the square root's inverse. */
    Number GetRootExponent() const {
        auto quarter = NewNumber();
        auto exponent = NewNumber();
        if (BN_copy(quarter.Get(), p.Get()) == nullptr || BN_add_word(quarter.Get(), 1) != 1 ||
            BN_rshift(quarter.Get(), quarter.Get(), 2) != 1 ||
            BN_sub(exponent.Get(), p.Get(), quarter.Get()) != 1 ||
            BN_sub_word(exponent.Get(), 1) != 1) {
            RAISE_OPENSSL("BN_sub");
        }
        return exponent;
    }

private:
    using Operation = int (*)(BIGNUM*, const BIGNUM*, const BIGNUM*, const BIGNUM*, BN_CTX*);

    Number Combine(Operation operation, const char* call, const BIGNUM* left,
                   const BIGNUM* right) const {
        auto result = NewNumber();
        if (operation(result.Get(), left, right, p.Get(), context.Get()) != 1) {
            RAISE_OPENSSL(call);
        }
        return result;
    }

    CTHandle<BN_CTX> context;
    Number p;
    Number a;
    Number b;
};

}  // namespace

void EncodeToCurve(const EC_GROUP* group, const BIGNUM* t, CTHandle<BIGNUM>& x,
                   CTHandle<BIGNUM>& y) {
    const CCurveField field(group);
    const auto number = OwnSecret(BN_dup(t));
    if (!number) {
        RAISE_OPENSSL("BN_dup");
    }
    const auto alpha = field.Negate(field.Square(number));
    const auto sum = field.Add(alpha, field.Square(alpha));
    const auto inverse = field.Power(field.Multiply(field.A(), sum), field.GetInverseExponent());
    auto x2 =
        field.Negate(field.Multiply(field.B(), field.Multiply(field.Increment(sum), inverse)));
    auto x3 = field.Multiply(alpha, x2);
    const auto h2 = field.Evaluate(x2);
    const auto u = field.Multiply(field.Cube(number), h2);
    const auto root = field.Power(h2, field.GetRootExponent());
    const bool isSquare = BN_is_one(field.Multiply(field.Square(root), h2).Get());
    x = isSquare ? std::move(x2) : std::move(x3);
    y = field.Multiply(root, isSquare ? h2 : u);
}

}  // namespace icao
