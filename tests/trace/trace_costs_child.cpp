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
void* __libc_calloc(size_t count, size_t size);
void* __libc_realloc(void* block, size_t size);
void __libc_free(void* block);

void* malloc(size_t size) {
    ++heapCalls;
    return __libc_malloc(size);
}

void* calloc(size_t count, size_t size) {
    ++heapCalls;
    return __libc_calloc(count, size);
}

void* realloc(void* block, size_t size) {
    ++heapCalls;
    return __libc_realloc(block, size);
}

void free(void* block) {
    heapCalls += block != nullptr ? 1 : 0;
    __libc_free(block);
}
}
#endif

namespace {

/** The writes of this thread, as the kernel counts them; -1 when it does not. */
long CountWrites() {
    char text[512] = "";
    const int file = open("/proc/thread-self/io", O_RDONLY | O_CLOEXEC);
    const ssize_t length = read(file, text, sizeof(text) - 1);
    close(file);
    const char* const found = length > 0 ? strstr(text, "syscw: ") : nullptr;
    return found != nullptr ? atol(found + 7) : -1;
}

CK_OBJECT_CLASS privateKey = CKO_PRIVATE_KEY;
CK_ULONG bits = 2048;
CK_BBOOL yes = CK_TRUE;
char label[] = "signature key";
unsigned char value[32] = {1, 2, 3};

CK_ATTRIBUTE attributes[12] = {
    {CKA_CLASS, &privateKey, sizeof(privateKey)},
    {CKA_TOKEN, &yes, sizeof(yes)},
    {CKA_PRIVATE, &yes, sizeof(yes)},
    {CKA_SIGN, &yes, sizeof(yes)},
    {CKA_SENSITIVE, &yes, sizeof(yes)},
    {CKA_LABEL, label, sizeof(label) - 1},
    {CKA_ID, value, sizeof(value)},
    {CKA_MODULUS_BITS, &bits, sizeof(bits)},
    {CKA_VALUE, value, sizeof(value)},
    {CKA_KEY_GEN_MECHANISM, &bits, sizeof(bits)},
    {0x12345678, nullptr, 0},
    {CKA_PUBLIC_EXPONENT, value, 3},
};
CK_MECHANISM mechanism{CKM_AES_CBC_PAD, value, 16};
CK_TOKEN_INFO token{};

void TraceFromAnotherThread() {
    std::thread([] { TraceString("elsewhere"); }).join();
}

void Count(const char* name, void (*operation)(), void (*before)() = nullptr) {
    if (before != nullptr) {
        before();
    }
    const long writes = CountWrites();
    const unsigned calls = heapCalls;
    operation();
    const unsigned callsMade = heapCalls - calls;
    printf("%s: %ld %u\n", name, CountWrites() - writes, callsMade);
    fflush(stdout);
}

void Enter() { TraceEnter("C_Login"); }
void Leave() { TraceLeave("C_Login"); }
void String() { TraceString("%s, %d: %08lX", "C_Login", 42, 0xA0UL); }
void Template() { TraceTemplate(attributes, 12, 0); }

}  // namespace

int main() {
    if (CountWrites() < 0) {
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
    Count("Enter", Enter);
    Count("Leave", Leave);
    Count("Leave an outermost call", Leave);
    Count("Enter after another thread", Enter, TraceFromAnotherThread);
    Count("String", String);
    Count("String0", [] { TraceString0("100%"); });
    Count("Line", [] { TraceLine("WARNING Exception raised", 1483, "ToUInt"); });
    Count("Template of twelve", Template);
    Count("Mechanism", [] { TraceMechanism(&mechanism); });
    Count("TokenInfo", [] { TraceTokenInfo(&token); });
    UpdateLogsTrackingState("");
    Count("disabled Enter", Enter);
    Count("disabled Leave", Leave);
    Count("disabled String", String);
    Count("disabled Template", Template);
    return 0;
}
