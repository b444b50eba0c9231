// Any data group 1 gives 24 characters of its own, one after the other, or nothing.
#include "asn1/asn1_errors.h"
#include "icao/icao_exception.h"
#include "icao/mrz.h"

#include <algorithm>
#include <cstdlib>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    CByteZone info(3, 'x');
    const auto in = [&](size_t first, size_t last) {
        return std::search(data, data + size, &info[first], &info[last - 1] + 1) != data + size;
    };
    try {
        icao::GetMRZInfoFromDG1({data, size}, info);
        if (info.GetSize() != 24 || !in(0, 10) || !in(10, 17) || !in(17, 24)) {
            std::abort();
        }
        return 0;
    } catch (const EASN1&) {
    } catch (const icao::CICAOException&) {
    }
    if (info.GetCapacity() != 0) {
        std::abort();
    }
    return 0;
}
