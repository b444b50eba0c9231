#include "trace/trace_thread.h"

#include "system/thread.h"

#include <atomic>

__thread CTraceThread traceThread __attribute__((tls_model("initial-exec")));

namespace {

// Symbols for the first fifteen threads of a process, then the letters over and over.
constexpr char kMarks[] = ".|@_~#/\\^-&*=%:ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz";
constexpr int32_t kMarkCount = sizeof(kMarks) - 1;
constexpr int32_t kFirstLetter = 15;
static_assert(kMarks[kFirstLetter] == 'A');

// Not under the log's lock: TraceLeave takes a mark also while the log is off.
std::atomic<int32_t> nextMark{0};

char TakeMark() noexcept {
    int32_t taken = nextMark.load(std::memory_order_relaxed);
    int32_t next = 0;
    do {
        next = taken + 1 == kMarkCount ? kFirstLetter : taken + 1;
    } while (!nextMark.compare_exchange_weak(taken, next, std::memory_order_relaxed));
    return kMarks[taken];
}

}  // namespace

void BeginTraceThread() noexcept {
    traceThread.id = static_cast<uint32_t>(GetCurrentThreadId());
    traceThread.indent = 0;
    traceThread.mark = TakeMark();
}
