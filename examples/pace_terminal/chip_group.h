/**
 * The groups that the chip's side calculates in: those of the standardized domain parameters
 * (Doc 9303 part 11, 9.5.1). Members are octets, as they are sent: points uncompressed, numbers at
 * the prime's width.
 */
#pragma once

#include <openssl/bn.h>

#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

using COctets = std::vector<unsigned char>;
using CNumber = std::unique_ptr<BIGNUM, decltype(&BN_clear_free)>;

/** Throws std::runtime_error with these words when a step has failed. */
inline void Require(bool succeeded, const char* step) {
    if (!succeeded) {
        throw std::runtime_error(std::string("the chip cannot ") + step);
    }
}

CNumber ToNumber(const COctets& octets);

class CChipGroup {
public:
    virtual ~CChipGroup() = default;

    virtual COctets GetGenerator() const = 0;
    virtual const BIGNUM* GetOrder() const = 0;
    /** The prime of the field. */
    virtual const BIGNUM* GetPrime() const = 0;
    /** The base taken `exponent` times; a base that is no member of the group is refused. */
    virtual COctets Raise(const COctets& base, const BIGNUM* exponent) const = 0;
    virtual COctets Combine(const COctets& a, const COctets& b) const = 0;
    /** The member that a number below the prime stands for (Doc 9303 part 11, appendix B). */
    virtual COctets Encode(const BIGNUM* number) const = 0;
    /** What two sides share of a member that both have come to. */
    virtual COctets GetSecret(const COctets& member) const = 0;
    /** A public value as tokens hold it, with its tag: a point, or a number's fewest octets. */
    virtual unsigned char GetValueTag() const = 0;
    virtual COctets GetTokenValue(const COctets& member) const = 0;
};

/** A curve, ids 8 to 18. */
std::unique_ptr<CChipGroup> MakeCurveGroup(int domainId);

/** Numbers modulo a prime, ids 0 to 2. */
std::unique_ptr<CChipGroup> MakePrimeGroup(int domainId);
