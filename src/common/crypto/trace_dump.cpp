#include "crypto/trace_dump.h"

#include "trace/log_state.h"
#include "util/hex.h"
#include <qorvs/trace.h>

void TraceHexDump(const char* label, const unsigned char* bytes, size_t length) noexcept {
    if (CLogState::IsSilent()) {
        return;
    }
    try {
        TraceString("%s%s", label, ToHex(bytes, length).GetText());
    } catch (...) {
        TraceString0(label);  // no memory for the digits
    }
}
