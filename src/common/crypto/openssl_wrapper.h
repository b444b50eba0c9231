/**
 * The library's door to OpenSSL 3: keys, digests, signatures, ciphers, elliptic curves.
 *
 * Every failure of an OpenSSL call is traced with the call's name (openssl_error.h). Then an
 * operation follows one of two styles:
 *
 * - code: it returns OpenSSL's result, 1 or above for success, 0 or below for failure;
 * - throw: it throws OPENSSL_FUNCTION_FAILED.
 *
 * Operations of type int are of the code style, all others throw, unless their comment says
 * otherwise. Null objects and empty buffers are invalid arguments: traced as "OpenSSLWrap::<Name>:
 * invalid parameters.", then 0 in the code style and CException with the code 6 in the throw style.
 *
 * Objects are lent unless they come or go in a handle. Output zones are replaced; after a failure
 * they hold nothing that may be relied on. Big numbers are unsigned big-endian bytes. The
 * operations keep nothing between calls, so any thread may call; an object belongs to one thread at
 * a time. The host's own use of OpenSSL is left alone: no provider of the default library context
 * is loaded or unloaded, and no error stays in the thread's queue.
 */
#pragma once

#include "crypto/openssl_error.h"
#include "crypto/openssl_handle.h"
#include "util/ct_string.h"
#include "util/ct_zone.h"

#include <cstddef>
#include <cstdint>

namespace OpenSSLWrap {

// ---- Random numbers

/** Fills a buffer from the default generator. Traces its name on entry. */
void GenerateRandom(unsigned char* buffer, size_t length);

// ---- Digests

// The form with an output zone sizes it and returns the code; the other gives an empty zone on
// failure.
int Sha1(const CByteZone& data, CByteZone& digest);
int Sha224(const CByteZone& data, CByteZone& digest);
int Sha256(const CByteZone& data, CByteZone& digest);
int Sha384(const CByteZone& data, CByteZone& digest);
int Sha512(const CByteZone& data, CByteZone& digest);
int Md5(const CByteZone& data, CByteZone& digest);
CByteZone Sha1(const CByteZone& data);
CByteZone Sha224(const CByteZone& data);
CByteZone Sha256(const CByteZone& data);
CByteZone Sha384(const CByteZone& data);
CByteZone Sha512(const CByteZone& data);
CByteZone Md5(const CByteZone& data);

/** A context for a digest in parts; null on failure. */
CTHandle<EVP_MD_CTX> NewDigest() noexcept;
int InitDigest(EVP_MD_CTX* context, const EVP_MD* digest);
int UpdateDigest(EVP_MD_CTX* context, const unsigned char* data, size_t length);
int UpdateDigest(EVP_MD_CTX* context, const CByteZone& data);
/** Sizes the zone to the digest's length. */
int FinalDigest(EVP_MD_CTX* context, CByteZone& digest);

/** Whether a digest is the SHA-256 of the data; nothing and nothing match without hashing. */
bool IsSha256Of(const CByteZone& data, const CByteZone& expected);

// ---- Big numbers

/**
 * The bytes of a number, padded with zeros in front to `length`; 0 means as many as it takes.
 *
 * Throws ARGUMENT_INVALID for a null number and for one that is longer.
 */
CByteZone BignumToBuffer(const BIGNUM* number, size_t length);

/** The same into the secure heap. */
CSecureByteZone BignumToSecureBuffer(const BIGNUM* number, size_t length);

/** A number of at most 32 bits, with its sign; throws ARGUMENT_INVALID otherwise. */
int32_t BignumToInt(const BIGNUM* number);

CTHandle<BIGNUM> IntToBignum(int32_t value);

// ---- Key checks and facts

int CheckPublicKey(EVP_PKEY_CTX* context);
int CheckPublicKey(EVP_PKEY* key);
int CheckPrivateKey(EVP_PKEY_CTX* context);
int CheckPrivateKey(EVP_PKEY* key);
int CheckKey(EVP_PKEY_CTX* context);
int CheckKey(EVP_PKEY* key);

/** In bits, and the largest output in bytes. These throw. */
int GetKeyBitLength(const EVP_PKEY* key);
int GetKeySize(const EVP_PKEY* key);

/** The public key as protocols exchange it: an uncompressed point, or a number of fixed length. */
CByteZone GetEncodedPublicKey(EVP_PKEY* key);
void SetEncodedPublicKey(EVP_PKEY* key, const CByteZone& encoded);

// Whether a key is of a type; a null key throws.
bool IsRsa(const EVP_PKEY* key);
bool IsDsa(const EVP_PKEY* key);
bool IsDh(const EVP_PKEY* key);
bool IsEc(const EVP_PKEY* key);

// ---- Key parameters

/**
 * The named numbers of keys. Each is read into a handle, which is freed by wiping where the number
 * is secret, or into bytes without leading zeros; the failure name is always
 * "EVP_PKEY_get_bn_param". The curve point that EC keys keep under "pub" is no number.
 */
enum class EKeyNumber {
    Priv,
    Pub,
    P,
    Q,
    G,  // DH, DSA, EC
    N,
    E,
    D,
    Factor1,
    Factor2,  // RSA
    Exponent1,
    Exponent2,
    Coefficient1
};
int GetKeyNumber(const EVP_PKEY* key, EKeyNumber name, CTHandle<BIGNUM>& number);
int GetKeyNumber(const EVP_PKEY* key, EKeyNumber name, CByteZone& bytes);
int GetKeyNumber(const EVP_PKEY* key, EKeyNumber name, CSecureByteZone& bytes);

/** Asks for a change. OpenSSL 3.0 agrees to any and makes none in the keys of its own providers. */
int SetKeyNumber(EVP_PKEY* key, EKeyNumber name, const BIGNUM* number);

/** Kept: the modulus goes to the first zone and the exponent to the second, against the name. */
void PubExpAndModFromRsaKey(const EVP_PKEY* key, CByteZone& modulus, CByteZone& publicExponent);

// ---- Certificates

CTHandle<X509> DERDataToX509(const CByteZone& der);
CTHandle<X509> PEMDataToX509(const CByteZone& pem);
CByteZone X509toPEMData(X509* certificate);

/** Whether the certificate has not yet expired, or already begun; false when that is unknown. */
bool IsNotAfterValid(const X509* certificate);
bool IsNotBeforeValid(const X509* certificate);

// ---- EC groups

/** A group from its DER, named or explicit (X9.62 ECPKParameters). */
CTHandle<EC_GROUP> CreateEcGroup(const CByteZone& parameters);

/** The group of a key. Code style. */
int CreateEcGroup(const EVP_PKEY* key, CTHandle<EC_GROUP>& group);

/** The DER of a group: PKCS #11's CKA_EC_PARAMS. The other form takes OpenSSL's curve id. */
CByteZone GetCkaEcParams(const EC_GROUP* group);
CByteZone GetCkaEcParams(int curveId);

/** The size of the field, in bits. */
int GetKeyBitLength(const CByteZone& parameters);

/** What a group is made of; p, a and b as long as the field, the order at least so long. */
struct CEcCurve {
    CByteZone p;
    CByteZone a;
    CByteZone b;
    CByteZone order;
    CByteZone cofactor;   // without leading zeros
    CByteZone generator;  // uncompressed
    CByteZone oid;        // DER of the curve's object identifier, empty when it has none
};
CEcCurve GetEcCurveComponents(const CByteZone& parameters);

/** The same with the generator's coordinates, each as long as the field. */
CEcCurve GetEcCurveComponents(const CByteZone& parameters, CByteZone& generatorX,
                              CByteZone& generatorY);

// ---- EC points

/** A point from PKCS #11's CKA_EC_POINT, a DER OCTET STRING. */
void GetEcPoint(const CByteZone& data, const EC_GROUP* group, CTHandle<EC_POINT>& point);

/** 04, x, y. */
CByteZone GetUncompressedEcPointData(const EC_GROUP* group, const EC_POINT* point);

/**
 * The uncompressed point of a key value: a CKA_EC_POINT when it is longer than the field,
 * otherwise a private scalar.
 */
void GetUncompressedEcPointData(const CByteZone& parameters, const CByteZone& keyValue,
                                CByteZone& out);

/** The DER OCTET STRING of an uncompressed point; the other form takes two coordinates of one
 * length. */
CByteZone GetCkaEcPoint(const EC_GROUP* group, const EC_POINT* point);
CByteZone GetCkaEcPoint(const CByteZone& x, const CByteZone& y);

/** The x coordinate alone, as long as the field. The other form takes the point of a key. */
void CompressEcPoint(const EC_GROUP* group, const EC_POINT* point, CByteZone& out);
void CompressEcPoint(const EVP_PKEY* key, CByteZone& out);

CTHandle<EC_POINT> GetEcPointFromPrivateKey(const EC_GROUP* group, const BIGNUM* privateKey);

int GetAffineCoordinates(const EC_GROUP* group, const EC_POINT* point, BIGNUM* x, BIGNUM* y);
int SetAffineCoordinates(const EC_GROUP* group, EC_POINT* point, const BIGNUM* x, const BIGNUM* y);

/** The SHA-1 of the uncompressed public point: the customary CKA_ID of an EC key. */
CByteZone ComputeEcCkaId(const EVP_PKEY* key);
CByteZone ComputeEcCkaId(const CByteZone& parameters, const CByteZone& privateKey);

// ---- DER

CByteZone Der2OctetString(const CByteZone& der);
CByteZone OctetString2Der(const CByteZone& octets);

/**
 * An ECDSA signature as r and s of equal length, and back.
 *
 * Kept: the length is that of the longer number, not of the curve, so r and s that both begin with
 * zeros give a shorter form.
 */
void Der2RawSignature(const CByteZone& der, CByteZone& raw);
void Raw2DerSignature(const CByteZone& raw, CByteZone& der);

// ---- Making keys

/** A key of a type from parameters; `selection` as EVP_PKEY_fromdata takes it. */
CTHandle<EVP_PKEY> CreateKey(const char* type, int selection, OSSL_PARAM* parameters,
                             const char* properties = nullptr);
int CreateKey(const char* type, int selection, OSSL_PARAM* parameters, CTHandle<EVP_PKEY>& key,
              const char* properties = nullptr);

/** A key of domain parameters only. */
CTHandle<EVP_PKEY> CreateEcParamsKey(const EC_GROUP* group);

/** An EC key. A null public point is computed, a null private key left out; not both are null. */
CTHandle<EVP_PKEY> CreateEcKey(const EC_GROUP* group, const BIGNUM* privateKey,
                               const EC_POINT* publicKey = nullptr);

/**
 * The same on the domain parameters of a key, which saves making them anew; other parts of that key
 * stay out. A null private key is left out. `publicKey` is an uncompressed point.
 */
CTHandle<EVP_PKEY> CreateEcKeyFromParameters(const EVP_PKEY* parameters, const BIGNUM* privateKey,
                                             const CByteZone& publicKey);

/**
 * `blinding` false asks for "blinding=no", which OpenSSL 3.0 takes and does not heed.
 */
CTHandle<EVP_PKEY> CreateRsaPublicKey(const CByteZone& modulus, const CByteZone& publicExponent,
                                      bool blinding = true);

/** The eight numbers of an RSA key, PKCS #1. */
struct CRsaKeyParts {
    CByteZone modulus;
    CByteZone publicExponent;
    CSecureByteZone privateExponent;
    CSecureByteZone prime1;
    CSecureByteZone prime2;
    CSecureByteZone exponent1;
    CSecureByteZone exponent2;
    CSecureByteZone coefficient;
};
CTHandle<EVP_PKEY> CreateRsaPrivateKey(const CRsaKeyParts& parts, bool blinding = true);

/** Domain parameters by name: "dh_1024_160", "dh_2048_224", "dh_2048_256" (RFC 5114). */
CTHandle<EVP_PKEY> CreateDhParamsKey(const char* group);
/** Domain parameters of one's own; q may be null. */
CTHandle<EVP_PKEY> CreateDhParamsKey(const BIGNUM* p, const BIGNUM* q, const BIGNUM* g);
/** q may be null, and so may one of the last two. */
CTHandle<EVP_PKEY> CreateDhKey(const BIGNUM* p, const BIGNUM* q, const BIGNUM* g,
                               const BIGNUM* publicKey, const BIGNUM* privateKey);

int GenerateRsaKey(int bits, const BIGNUM* publicExponent, CTHandle<EVP_PKEY>& key);
int GenerateECKeyFromParametersKey(EVP_PKEY* parameters, CTHandle<EVP_PKEY>& key);
CTHandle<EVP_PKEY> GenerateDhKey(EVP_PKEY* parameters);

/** The shared secret of one's own private and the peer's public key; of DH keys without leading
 * zeros. */
int DeriveSecret(EVP_PKEY* key, EVP_PKEY* peerKey, CSecureByteZone& secret);

// ---- Signatures

// `padding` is one of OpenSSL's RSA_..._PADDING, or 0 for keys that have none.
int InitSign(EVP_PKEY* key, int padding, const EVP_MD* digest, CTHandle<EVP_PKEY_CTX>& context);
/**
 * A null signature asks for the size; `length` is the room on entry and the size afterwards. A room
 * that is too small fails. The same holds below wherever an output has a length.
 */
int Sign(EVP_PKEY_CTX* context, const CByteZone& digest, unsigned char* signature, size_t& length);
int Sign(EVP_PKEY_CTX* context, const CByteZone& digest, CByteZone& signature);

/** `mgf1Digest` and `saltLength`, of RSA-PSS, may be null. Keys other than RSA take neither. */
int InitVerify(EVP_PKEY* key, int padding, const EVP_MD* digest, const EVP_MD* mgf1Digest,
               const int* saltLength, CTHandle<EVP_PKEY_CTX>& context);
/** 1 for a good signature, 0 for a bad one. */
int Verify(EVP_PKEY_CTX* context, const CByteZone& signature, const CByteZone& digest);

int InitVerifyRecover(EVP_PKEY* key, int padding, const EVP_MD* digest,
                      CTHandle<EVP_PKEY_CTX>& context);
int VerifyRecover(EVP_PKEY_CTX* context, const CByteZone& signature, unsigned char* recovered,
                  size_t& length);
int VerifyRecover(EVP_PKEY_CTX* context, const CByteZone& signature, CByteZone& recovered);

// ---- RSA encryption

int InitEncrypt(EVP_PKEY* key, int padding, CTHandle<EVP_PKEY_CTX>& context);
int Encrypt(EVP_PKEY_CTX* context, const CByteZone& in, unsigned char* out, size_t& length);
int Encrypt(EVP_PKEY_CTX* context, const CByteZone& in, CByteZone& out);
int InitDecrypt(EVP_PKEY* key, int padding, CTHandle<EVP_PKEY_CTX>& context);
int Decrypt(EVP_PKEY_CTX* context, const CByteZone& in, unsigned char* out, size_t& length);
int Decrypt(EVP_PKEY_CTX* context, const CByteZone& in, CSecureByteZone& out);

/** RSAES-OAEP (RFC 8017) with digests of one's own for both purposes; an empty label is none. */
int DoRsaEncryptOAEP(EVP_PKEY* key, unsigned char* out, size_t& outLength, const unsigned char* in,
                     size_t inLength, const EVP_MD* oaepDigest, const EVP_MD* mgf1Digest,
                     const CByteZone& label);

/**
 * RSAES-OAEP with one digest for both purposes.
 *
 * Kept: a name that OpenSSL does not know silently means SHA-1.
 */
CSecureByteZone DecryptRsaOaep(const CByteZone& ciphertext, EVP_PKEY* key, const char* digestName);
CSecureByteZone DecryptRsaOaepSha256(const CByteZone& ciphertext, EVP_PKEY* key);
CSecureByteZone DecryptRsaOaepSha1(const CByteZone& ciphertext, EVP_PKEY* key);

// ---- Symmetric ciphers

/**
 * Runs a cipher over a buffer and finishes it. Code style; instantiated for plain and secure keys.
 *
 * `key` has the cipher's key length, `iv` its iv length: 12 for GCM, nothing for ciphers without
 * one; other lengths are invalid parameters. `out` has room for `inLength` bytes and, with padding,
 * one block more; it may be `in`. With `updateIv` the chaining value goes back to `iv`, so that the
 * next call goes on where this one ended. Of AEAD ciphers, decryption checks `tag` and encryption
 * fills one that is not empty. An empty tag skips that step; decryption then fails. When decryption
 * fails after it began to write, `out` is wiped.
 */
template <class KeyZone>
int DoCipher(const KeyZone& key, unsigned char* out, const unsigned char* in, size_t inLength,
             bool encrypt, const EVP_CIPHER* cipher, CByteZone& iv, bool padding, bool updateIv,
             CByteZone& tag);

/** The families of ciphers whose member is chosen by the key's length in bytes. */
enum class ECipher {
    AesEcb,      // 16 (and 0), 24, 32
    AesCbc,      // the same
    AesGcm,      // the same
    Rc2Cbc,      // 16, 8, 5
    Rc4,         // 16, 5
    DesEde3Cbc,  // the rest: whatever the key is, the name is one
    DesEde3Ecb,
    DesCbc,
    DesEcb,
    Rc2Ecb,
};

/**
 * DoCipher with a cipher by name, fetched on first use and kept. A key of a length that its family
 * does not have fails as "EVP_CIPHER_fetch". The ciphers that OpenSSL 3 keeps in its legacy
 * provider are found in a library context of our own.
 */
template <class KeyZone>
int RunCipher(ECipher cipher, bool encrypt, const KeyZone& key, unsigned char* out,
              const unsigned char* in, size_t inLength, CByteZone& iv, bool padding, bool updateIv);
template <class KeyZone>
int RunAesGcm(bool encrypt, const KeyZone& key, unsigned char* out, const unsigned char* in,
              size_t inLength, CByteZone& iv, CByteZone& tag);

// ---- Key files

// The templates are instantiated for plain and secure zones.

/** `selection` as OpenSSL takes it; a null `type` is any. Trailing bytes are not looked at. */
template <class Zone>
int CreateKeyFromData(const Zone& data, const char* format, int selection, const char* type,
                      CTHandle<EVP_PKEY>& key);
template <class Zone>
int ExportKey(const EVP_PKEY* key, const char* format, int selection, const char* structure,
              Zone& out);

// What the data must contain: the private part, the public part, both or whatever there is.
template <class Zone>
CTHandle<EVP_PKEY> CreateRsaKeyFromPem(const Zone& pem, bool withPrivate, bool withPublic);
template <class Zone>
CTHandle<EVP_PKEY> CreateRsaKeyFromDer(const Zone& der, bool withPrivate, bool withPublic);

CTHandle<EVP_PKEY> CreateEcParamsKeyFromDer(const CByteZone& der);

/** PKCS #3, or X9.42 with its q; the key is of the type "DH" in both cases. */
CTHandle<EVP_PKEY> CreateDhParamsKeyFromDer(const CByteZone& der);

/** The name of a group, or its numbers; of DH groups without a name, q is left out (PKCS #3). */
CByteZone ParamsToDer(const EVP_PKEY* key);

/** PKCS #1 or SEC 1 for private keys; PKCS #1 for public RSA keys, SubjectPublicKeyInfo for others.
 * Neither part fails. */
CSecureByteZone KeyToDer(const EVP_PKEY* key, bool withPrivate, bool withPublic);
CByteZone PublicKeyToPem(const EVP_PKEY* key);

}  // namespace OpenSSLWrap
