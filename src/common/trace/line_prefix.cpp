#include "trace/line_prefix.h"

#include <time.h>

#include <algorithm>
#include <cstdint>
#include <cstring>

namespace {

constexpr size_t kDateLength = sizeof("MM-DD_hh:mm:ss:") - 1;
constexpr size_t kMarkAt = kDateLength + sizeof("uuuuuu TTTTTTTT") - 1;

char* PutDecimal(char* at, unsigned value, int digits) {
    for (int i = digits; i-- > 0; value /= 10) {
        at[i] = static_cast<char>('0' + value % 10);
    }
    return at + digits;
}

char* PutHex(char* at, uint32_t value) {
    for (int i = 8; i-- > 0; value >>= 4) {
        at[i] = "0123456789ABCDEF"[value & 0x0F];
    }
    return at + 8;
}

/** The local date and time of a second, as text; kept, since most lines share theirs. */
struct CSecondText {
    time_t second;
    char text[kDateLength];

    void Set(time_t now) noexcept {
        tm local{};
        localtime_r(&now, &local);
        char* at = PutDecimal(text, static_cast<unsigned>(local.tm_mon + 1), 2);
        *at++ = '-';
        at = PutDecimal(at, static_cast<unsigned>(local.tm_mday), 2);
        *at++ = '_';
        for (const int part : {local.tm_hour, local.tm_min, local.tm_sec}) {
            at = PutDecimal(at, static_cast<unsigned>(part), 2);
            *at++ = ':';
        }
        second = now;
    }
};

// Under the log's lock.
CSecondText currentSecond{-1, {}};

unsigned GetMicroseconds() noexcept {
    timespec now{};
    return clock_gettime(CLOCK_MONOTONIC, &now) == 0 ? static_cast<unsigned>(now.tv_nsec / 1000)
                                                     : 0;
}

}  // namespace

CLinePrefix::CLinePrefix(const CTraceThread& thread) noexcept
    : escapes(thread.mark == '%'), blanks(4 * static_cast<size_t>(thread.indent)) {
    const time_t now = time(nullptr);
    if (now != currentSecond.second) {
        currentSecond.Set(now);
    }
    std::memcpy(stamp, currentSecond.text, kDateLength);
    // Kept: the fraction comes from another clock than the second beside it. It tells how far lines
    // lie apart, whatever happens to the wall clock between them.
    char* at = PutDecimal(stamp + kDateLength, GetMicroseconds(), 6);
    *at++ = ' ';
    at = PutHex(at, thread.id);
    *at++ = thread.mark;
    *at++ = thread.mark;
    *at = ' ';
}

void CLinePrefix::AppendExpandedTo(CLineWriter& writer) const noexcept {
    if (!escapes) {
        AppendTo(writer);
    } else if (char* const room = writer.Extend(GetLength() - 1)) {
        std::memcpy(room, stamp, kMarkAt + 1);
        std::memset(room + kMarkAt + 1, ' ', 1 + blanks);
    }
}
