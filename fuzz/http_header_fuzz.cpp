// Any line is a header with parameters; the name ends at the ":", the value at the first ";".
#include "system/http_header.h"

#include <cstdlib>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    CHttpHeader header(
        CISOString(reinterpret_cast<const char*>(data), static_cast<ptrdiff_t>(size)));
    const CISOString name = header.GetName();
    header.GetParameter("a");
    if (!name.Find(U':').IsNull() || !header.GetValue().Find(U';').IsNull()) {
        std::abort();
    }
    return 0;
}
