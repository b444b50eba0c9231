/**
 * A stranger's program that traces from its first step to its last, in the order of the steps:
 * ahead of the library's own initialisers, from static objects, and while the process ends.
 */
#include "qorvs/trace.h"

#include <locale.h>
#include <signal.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

namespace {

#if !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__)
// Called ahead of the initialisers of all shared objects.
__attribute__((section(".preinit_array"), used)) void (*const beforeAll)() = [] {
    TraceEnter("before the library is loaded");
    TraceString("before the library is loaded");
};
#endif

/** Made ahead of the first line, so destroyed after the closing lines: then nothing comes out. */
struct CSilent {
    ~CSilent() {
        TraceEnter("after the closing lines");
        TraceString("after the closing lines");
    }
} silent;

struct CTracing {
    CTracing() { TraceEnter("static initialiser"); }
    ~CTracing() { TraceLeave("static destructor"); }
};

std::string DescribeSignals() {
    std::string handlers = setlocale(LC_ALL, nullptr);
    struct sigaction action {};
    for (int number = 1; sigaction(number, nullptr, &action) == 0; ++number) {
        handlers += action.sa_handler == SIG_DFL ? 'd' : 'x';
    }
    return handlers;
}

const std::string before = DescribeSignals();
const CTracing tracing;

}  // namespace

int main() {
    atexit([] { TraceString("exit handler"); });
    TraceString("main");
    puts(DescribeSignals() == before ? "no signal handler, same locale" : "changed");
    return 0;
}
