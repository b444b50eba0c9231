#include "util/format_message.h"

#include <cstddef>
#include <cstdint>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const auto* const units = reinterpret_cast<const char*>(data);
    const auto length = static_cast<ptrdiff_t>(size);
    CUTF8FmtArgs utf8Args;
    FormatMessage(CUTF8String(units, length), utf8Args << "w\u00f6rd" << -70001 << 0);
    CISOFmtArgs isoArgs;
    FormatMessage(CISOString(units, length), isoArgs << "word" << -1 << ~0ul);
    return 0;
}
