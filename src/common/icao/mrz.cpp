#include "icao/mrz.h"

#include "asn1/tlv_data.h"
#include "icao/icao_exception.h"

#include <utility>

namespace icao {

namespace {

/** Where the fields of a form begin, from the start of the zone without its line breaks. */
struct CMRZFormat {
    size_t length;
    size_t documentNumber;
    size_t dateOfBirth;
    size_t dateOfExpiry;
};

constexpr CMRZFormat kFormats[] = {
    {90, 5, 30, 38},   // TD1, three lines
    {72, 36, 49, 57},  // TD2
    {88, 44, 57, 65},  // TD3, passports
};

// With their check digits.
constexpr size_t kDocumentNumberSize = 10;
constexpr size_t kDateSize = 7;

const CMRZFormat* FindFormat(size_t length) {
    for (const CMRZFormat& format : kFormats) {
        if (format.length == length) {
            return &format;
        }
    }
    return nullptr;
}

}  // namespace

void GetMRZInfoFromDG1(CByteView dg1, CByteZone& info) {
    info.Clear();
    const CByteView zone = CTlvData(dg1).GetNext(0x61).GetNext(0x5F1F).GetData();
    const CMRZFormat* const format = FindFormat(zone.GetSize());
    if (format == nullptr) {
        REJECT_ICAO(ICAO_ERR_FUNCTION_FAILED, "Content of DG1 is not in TD1, TD2 or TD3 format.");
    }
    CByteZone fields;
    fields.Reserve(kDocumentNumberSize + 2 * kDateSize);
    fields.Append(&zone[format->documentNumber], kDocumentNumberSize);
    fields.Append(&zone[format->dateOfBirth], kDateSize);
    fields.Append(&zone[format->dateOfExpiry], kDateSize);
    info = std::move(fields);
}

}  // namespace icao
