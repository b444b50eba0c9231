#include "util/base64.h"
#include "util/exception.h"

#include <cstddef>
#include <cstdint>
#include <cstdlib>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const CUTF8String text(reinterpret_cast<const char*>(data), static_cast<ptrdiff_t>(size));
    try {
        if (DecodeBase64(text).GetSize() > size * 3 / 4) {
            std::abort();
        }
    } catch (const CException&) {
    }
    return 0;
}
