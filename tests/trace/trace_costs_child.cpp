/**
 * Counts, for each trace operation, the writes and the calls of the heap that it makes once the log
 * is open and its buffer has grown.
 */
#include "qorvs/trace.h"
#include "qorvs/trace_structures.h"
#include "support/child_process.h"

#include <fcntl.h>
#include <unistd.h>

#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <thread>

static thread_local unsigned heapCalls = 0;

#if !QORVS_INSTRUMENTED
// These take the place of the C library's own in the whole process.
extern "C" {

void* __libc_malloc(size_t size);
void* __libc_realloc(void* block, size_t size);

void* malloc(size_t size) {
    ++heapCalls;
    return __libc_malloc(size);
}

void* realloc(void* block, size_t size) {
    ++heapCalls;
    return __libc_realloc(block, size);
}
}
#endif

namespace {

/** The writes of this thread, as the kernel counts them; -1 when it does not. */
long CountWrites() {
    char text[512] = "";
    const int file = open("/proc/thread-self/io", O_RDONLY | O_CLOEXEC);
    const char* const found =
        read(file, text, sizeof(text) - 1) > 0 ? strstr(text, "syscw: ") : nullptr;
    close(file);
    return found != nullptr ? atol(found + 7) : -1;
}

CK_ULONG number = CKO_PRIVATE_KEY;
CK_BBOOL yes = CK_TRUE;
unsigned char value[32] = "signature key";

CK_ATTRIBUTE attributes[12] = {{CKA_CLASS, &number, 8},  {CKA_TOKEN, &yes, 1},
                               {CKA_LABEL, value, 13},   {CKA_ID, value, 32},
                               {0x12345678, nullptr, 0}, {CKA_KEY_GEN_MECHANISM, &number, 8}};
CK_TOKEN_INFO token{};

/** Says what an operation has cost unless it is this number of writes, and nothing of the heap. */
void Count(const char* name, long writes, void (*operation)()) {
    const unsigned callsBefore = heapCalls;
    const long before = CountWrites();
    operation();
    const long made = CountWrites() - before;
    const unsigned calls = heapCalls - callsBefore;
    if (made != writes || calls != 0) {
        printf("%s: %ld %u\n", name, made, calls);
    }
}

void Enter() { TraceEnter("C_Login"); }
void Leave() { TraceLeave("C_Login"); }
void String() { TraceString("%s, %d: %08lX", "C_Login", 42, 0xA0UL); }
void Template() { TraceTemplate(attributes, 12, 0); }

}  // namespace

int main() {
    if (kInstrumented || CountWrites() < 0) {
        puts("no counters");
        return 0;
    }
    token.flags = CKF_TOKEN_INITIALIZED | CKF_RNG | 0x40000000;
    for (int i = 0; i < 2; ++i) {
        TraceTokenInfo(&token);
        Template();
        String();
    }
    Enter();
    Count("Enter", 1, Enter);
    Count("Leave", 1, Leave);
    Count("Leave an outermost call", 1, Leave);
    std::thread(String).join();
    Count("Enter after another thread", 1, Enter);
    Count("String", 1, String);
    Count("String0", 1, [] { TraceString0("100%"); });
    Count("Line", 1, [] { TraceLine("WARNING Exception raised", 1483, "ToUInt"); });
    Count("Template of twelve", 1, Template);
    Count("TokenInfo", 1, [] { TraceTokenInfo(&token); });
    UpdateLogsTrackingState("");
    Count("while it is off", 0, [] { Enter(), Leave(), String(), Template(); });
    puts("counted");
    return 0;
}
