// Any bytes as the script, and as the text that a script returns: an answer or none, in time.
#include "system/pac_script.h"

#include <sys/syscall.h>
#include <time.h>
#include <unistd.h>

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>

// Time as scripts get it: a second goes by with each look at the clock, so endless ones soon end.
extern "C" int clock_gettime(clockid_t clock, timespec* now) noexcept {
    static time_t looks = 0;
    return clock == CLOCK_MONOTONIC ? (*now = {++looks, 0}, 0)
                                    : static_cast<int>(syscall(SYS_clock_gettime, clock, now));
}

static CUTF8String Evaluate(const std::string& script) {
    return EvaluatePacScript(CISOString(script.data(), static_cast<ptrdiff_t>(script.size())),
                             "http://host:80//", "host");
}

/** The script that returns these bytes, each as a character. */
static std::string Return(const uint8_t* data, size_t size) {
    std::string script = "function FindProxyForURL() { return '";
    for (size_t i = 0; i < size; ++i) {
        constexpr char kDigits[] = "0123456789ABCDEF";
        script += {'\\', 'x', kDigits[data[i] >> 4], kDigits[data[i] & 0x0F]};
    }
    return script + "' }";
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    Evaluate({reinterpret_cast<const char*>(data), size});

    const std::string upToZero = std::string(reinterpret_cast<const char*>(data), size).c_str();
    const CISOString returned(upToZero.data(), static_cast<ptrdiff_t>(upToZero.size()));
    const CUTF8String text(returned);
    const CUTF8String expected(
        CISOString(text.GetText(), static_cast<ptrdiff_t>(text.GetLength())));
    if (returned.Find(CISOString("PROXY ")).IsNull() && Evaluate(Return(data, size)) != expected) {
        std::abort();
    }
    return 0;
}
