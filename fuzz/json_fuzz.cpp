// Any bytes make a value, and its cursor stays in them; what is left can be read on.
#include "util/js_parser.h"

#include <cstdint>
#include <cstdlib>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const char* cursor = reinterpret_cast<const char*>(data);
    const char* const end = cursor + size;
    for (const char* before = nullptr; cursor != before;) {
        before = cursor;
        const CJSValuePtr value = Parse(cursor, end);
        value->GetAt(value->GetCount() - 1)->GetByHexKey(value->GetBytes());
        if (cursor < before || cursor > end || (value.get() != kJSNull && cursor == before)) {
            std::abort();
        }
    }
    return 0;
}
