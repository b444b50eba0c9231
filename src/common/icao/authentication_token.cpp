#include "icao/authentication_token.h"

#include "asn1/tlv.h"
#include "crypto/block_ops.h"
#include "crypto/cmac.h"
#include "crypto/retail_mac.h"
#include "icao/object_ids.h"
#include "icao/pace_parameters.h"

namespace icao {

namespace {

constexpr uint32_t kPublicKeyTag = 0x7F49;
constexpr uint32_t kPublicPointTag = 0x86;
constexpr uint32_t kPublicNumberTag = 0x84;
constexpr size_t kTokenSize = 8;
constexpr size_t kDesBlock = 8;

/** The public key data object (BSI TR-03110 part 3, D.3), of the key without its parameters. */
CByteZone EncodePublicKey(const CObjectIdentifier& oid, uint32_t valueTag, const CByteZone& value) {
    CByteZone oidBytes;
    GetOIDBytes(oid, oidBytes);
    CByteZone parts = EncodeTLV(kObjectIdentifierTag, oidBytes);
    parts.Append(EncodeTLV(valueTag, value));
    return EncodeTLV(kPublicKeyTag, parts);
}

/** The MAC with a triple DES key, in place of the message. */
void ComputeRetailMac(const CSecureByteZone& macKey, CByteZone& message) {
    CSecureByteZone key1, key2, key3;
    SetScheduleKeys(macKey, key1, key2, key3);
    PadISO9797M2(message, message, kDesBlock);
    ComputeDES3RetailMAC(key1, key2, message);
}

}  // namespace

void ComputeAuthenticationToken(const CObjectIdentifier& oid, const CByteZone& peerPublicKey,
                                const CSecureByteZone& macKey, CByteZone& token) {
    bool isEcdh = false;
    bool isAes = false;
    int mapping = 0;
    int keyBits = 0;
    GetPACEParametersFromOID(oid, isEcdh, mapping, isAes, keyBits);
    CByteZone mac =
        EncodePublicKey(oid, isEcdh ? kPublicPointTag : kPublicNumberTag, peerPublicKey);
    if (isAes) {
        ComputeCMAC(macKey, mac, mac);
    } else {
        ComputeRetailMac(macKey, mac);
    }
    token.Assign(mac.GetData(), kTokenSize);
}

}  // namespace icao
