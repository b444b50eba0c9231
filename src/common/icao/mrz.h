/**
 * The machine-readable zone of travel documents (Doc 9303 parts 4 to 6), as data group 1 has it.
 */
#pragma once

#include "asn1/zone_view.h"

namespace icao {

/**
 * The MRZ information, the seed of the password type MRZ: document number, date of birth and date
 * of expiry, each with its check digit, 24 characters in all. The three forms of the zone are told
 * apart by its length; the characters are taken as they stand, so check digits are not verified and
 * the rest of a long document number in the optional data is not looked for.
 *
 * `dg1` is the file, tag 0x61 and what it holds. `info` is cleared first and stays empty on
 * failure. Throws EASN1TagNotFound, "TLV Tag not found", when the tag 0x61 or the tag 0x5F1F in it
 * is missing, EASN1InvalidData, "TLV data truncated", for an item that is longer than its zone, and
 * CICAOException with ICAO_ERR_FUNCTION_FAILED for a zone of any other length.
 */
void GetMRZInfoFromDG1(CByteView dg1, CByteZone& info);

}  // namespace icao
