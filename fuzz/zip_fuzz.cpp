#include "util/exception.h"
#include "util/zip.h"

#include <cstddef>
#include <cstdint>
#include <cstdlib>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const CByteZone input(data, size);
    if (ZipDecode(ZipEncode(input)) != input) {
        std::abort();
    }
    try {
        ZipDecode(input, size_t{1} << 20);
    } catch (const CException&) {
    }
    return 0;
}
