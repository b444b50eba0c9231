// Any bytes make a tree, and what is written of it reads back the same.
#include "system/config_parser.h"

#include <cstdint>
#include <cstdlib>

static CUTF8String Reformat(const char* text, size_t length) {
    CConfig root("");
    ParseConfig(root, text, length);
    root.GetInt("EnableTrace", 0);
    return ToText(root, 0);
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const CUTF8String written = Reformat(reinterpret_cast<const char*>(data), size);
    if (Reformat(written.GetText(), written.GetLength()) != written) {
        std::abort();
    }
    return 0;
}
