// Any text can be taken apart, and what is encoded decodes to itself.
#include "system/http_url.h"

#include <cstdlib>
#include <string>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const std::string text(reinterpret_cast<const char*>(data), size);
    const CHttpUrl url = ParseUrl(CISOString(text.data(), static_cast<ptrdiff_t>(size)));
    UrlDecode<CUTF8String>(text.c_str());
    if ((url.valid && url.path.GetText()[0] != '/') ||
        UrlDecode(UrlEncode(text.c_str()).GetText()) != CISOString(text.c_str(), -1)) {
        std::abort();
    }
    return 0;
}
