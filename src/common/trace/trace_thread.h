/**
 * What the tracer knows of each thread.
 */
#pragma once

#include <cstdint>
#include <utility>

/** Plain data in thread-local storage, zero when a thread begins. */
struct CTraceThread {
    uint32_t id;      // 0 until the thread has its mark
    int32_t indent;   // depth of TraceEnter calls
    char mark;        // tells threads apart at a glance
    bool suppressed;  // the thread's own lines would feed what it is doing
    bool opening;     // the thread opens or closes the log, whose steps trace
    bool forking;     // the thread holds the log's lock for a fork
};

// The exported functions run in every call of every module, so the record lies in the static block.
extern __thread CTraceThread traceThread __attribute__((tls_model("initial-exec")));

/** Gives the calling thread's record the thread's id and the next mark. */
void BeginTraceThread() noexcept;

/** The calling thread's record, begun on first use. */
inline CTraceThread& GetTraceThread() noexcept {
    if (traceThread.id == 0) {
        BeginTraceThread();
    }
    return traceThread;
}

/** Keeps the calling thread's lines out of the log. */
class CTraceSilence {
public:
    CTraceSilence() noexcept : before(std::exchange(GetTraceThread().suppressed, true)) {}
    ~CTraceSilence() { traceThread.suppressed = before; }
    CTraceSilence(const CTraceSilence&) = delete;
    CTraceSilence& operator=(const CTraceSilence&) = delete;

private:
    bool before;
};
