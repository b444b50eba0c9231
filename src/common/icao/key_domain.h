/**
 * What the protocols need of keys besides their numbers: the group that a key calculates in, and
 * whether it is a key at all.
 */
#pragma once

#include "crypto/openssl_handle.h"
#include "util/ct_zone.h"

namespace icao {

/** Whether a key has a private or a public part besides its domain parameters. */
bool HasMoreThanParameters(const EVP_PKEY* key);

/**
 * The group of an EC key; null for none, and after a reported failure for other kinds.
 *
 * On curves for which OpenSSL has arithmetic of their own, which it loses with a mapped generator,
 * the group has it. Points of such a group and of others do not mix, so all points are read on it.
 */
CTHandle<EC_GROUP> GetKeyGroup(const EVP_PKEY* key);

/** Whether calculations on the group above are much faster than those of OpenSSL on the key. */
bool IsSlowerThanItsGroup(const EVP_PKEY* key);

/** A key pair on the group above of an EC key; null after a reported failure. */
CTHandle<EVP_PKEY> GenerateKey(const EVP_PKEY* parameters);

/**
 * Brings a point that was calculated into the form that OpenSSL goes on with fastest. The point
 * stays the same, and so does its form when it has no other.
 */
void MakeAffine(const EC_GROUP* group, EC_POINT* point);

/** A point of the group from its octets. Null, and nothing reported, when they are none. */
CTHandle<EC_POINT> ReadPoint(const EC_GROUP* group, const CByteZone& octets);

/** The public point of a key on that group; null after a reported failure. */
CTHandle<EC_POINT> ReadPublicPoint(const EC_GROUP* group, const EVP_PKEY* key);

/** The domain parameters of a DH key. */
struct CDhDomain {
    /** A member that the key lacks stays null; that p or g is lacking is reported. */
    explicit CDhDomain(const EVP_PKEY* key);

    bool IsComplete() const { return p && g; }
    size_t GetWidth() const { return static_cast<size_t>(BN_num_bytes(p.Get())); }

    CTHandle<BIGNUM> p;
    CTHandle<BIGNUM> q;  // PKCS #3 has none
    CTHandle<BIGNUM> g;
};

}  // namespace icao
