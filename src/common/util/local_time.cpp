#include "util/local_time.h"

#include <cstdio>
#include <cstdlib>

namespace {

struct tm GetLocalTime(time_t moment) {
    struct tm local = {};
    // localtime_r alone need not notice a changed zone.
    tzset();
    localtime_r(&moment, &local);
    return local;
}

CUTF8String FormatTime(const char* format, const struct tm& local) {
    char text[64];
    const size_t length = strftime(text, sizeof(text), format, &local);
    return CUTF8String(text, static_cast<ptrdiff_t>(length));
}

}  // namespace

CUTF8String GetTimeStampText(time_t moment) {
    const struct tm local = GetLocalTime(moment);
    const unsigned long seconds = std::labs(local.tm_gmtoff);
    char offset[32];
    std::snprintf(offset, sizeof(offset), "%c%02lu:%02lu", local.tm_gmtoff < 0 ? '-' : '+',
                  seconds / 3600, seconds % 3600 / 60);
    return FormatTime("%Y-%m-%dT%H:%M:%S", local) + offset;
}

CUTF8String GetShortTimeText(time_t moment) { return FormatTime("%H%M%S", GetLocalTime(moment)); }
