/**
 * Passive authentication: whether what was read from a document is what its issuer has signed (Doc
 * 9303 part 11, 5.1).
 *
 * EF.SOD is a signed list of the hashes of the data groups. CheckSecurityObjectDocument checks who
 * has signed it, GetEncapContentInfo gives the list, and the caller hashes the data groups that it
 * has read and compares: a document is genuine when all three are right. Nothing is read from a
 * card here.
 *
 * Neither operation keeps anything, so threads need no lock. OpenSSL's PKCS #7 functions do the
 * work: RSASSA-PSS signatures and signers named by their key identifier are refused, never passed
 * over.
 */
#pragma once

#include "util/ct_zone.h"

#include <openssl/types.h>

#include <cstdint>
#include <vector>

namespace icao {

/**
 * Checks the signature of EF.SOD and the chain from its signer to `cscaCertificate` (X.509, DER),
 * the only one that is trusted, at the present time. Returns when all is right.
 *
 * `sod` is the whole file; items in front of its 0x77 and zeros behind are passed over.
 * `cardSecurity` is EF.CardSecurity (BSI TR-03110-3), whose signers must be those of
 * EF.SOD; empty when the document has none.
 *
 * Throws CICAOException, with the reason in the trace log:
 *
 * - 9 when `sod` or `cscaCertificate` is empty, or EF.SOD does not hold its signer's certificate.
 *   Kept: `dsCertificate`, which may be empty, must then be a certificate, and the document is
 *   refused all the same. Callers rely on it that nothing from elsewhere rescues a document.
 * - 11 when a signature is wrong, of EF.SOD or of EF.CardSecurity.
 * - 12 when the signature of EF.SOD is right and its signer does not chain to `cscaCertificate`,
 *   has expired or is not meant for signing.
 *
 * Throws OPENSSL_FUNCTION_FAILED for files and certificates that cannot be read, EASN1TagNotFound
 * when `sod` has no 0x77, and what walking to it throws.
 */
void CheckSecurityObjectDocument(const CByteZone& sod, const CByteZone& cardSecurity,
                                 const CByteZone& cscaCertificate, const CByteZone& dsCertificate);

/**
 * The hash algorithm and the hashes of EF.SOD, whatever its signature: the number of each data
 * group and its hash, in the order of the file. `digest` is null for an algorithm that OpenSSL does
 * not have, and never to be freed. All three are cleared first and stay so when this fails.
 *
 * Throws CICAOException 9 for an empty file. A file that does not begin with 0x77, indefinite
 * lengths and records that differ from those of security_object.h are what the ASN.1 code throws.
 */
void GetEncapContentInfo(const CByteZone& sod, const EVP_MD*& digest,
                         std::vector<int32_t>& dataGroupNumbers,
                         std::vector<CByteZone>& dataGroupHashes);

}  // namespace icao
