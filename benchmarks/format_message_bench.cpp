/**
 * Expansion of messages beside fmt::format, with the same texts out of arguments that exist.
 */
#include "util/format_message.h"

#include <benchmark/benchmark.h>

#include <string>

#ifdef QORVS_HAVE_FMT
#include <fmt/format.h>
#endif

namespace {

const char* const kService = "qorvscached";
const char* const kReason = "No such file or directory. (2)";
const std::string kLongWord(300, 'x');

CUTF8FmtArgs WordArguments() {
    CUTF8FmtArgs args;
    args << kService << kReason;
    return args;
}

CUTF8FmtArgs NumberArguments() {
    CUTF8FmtArgs args;
    args << 42 << -70001 << 2024;
    return args;
}

CUTF8FmtArgs LongArguments() {
    CUTF8FmtArgs args;
    args << kLongWord.c_str() << kReason;
    return args;
}

void Expand_Ours(benchmark::State& state, const char* text, const CUTF8FmtArgs& args) {
    const CUTF8String message(text);
    for (auto _ : state) {
        benchmark::DoNotOptimize(FormatMessage(message, args));
    }
}

BENCHMARK_CAPTURE(Expand_Ours, words, "The call to <%1> failed for the following reason: %2",
                  WordArguments());
BENCHMARK_CAPTURE(Expand_Ours, numbers, "slot %1 gave %2 at %3", NumberArguments());
BENCHMARK_CAPTURE(Expand_Ours, spec, "slot %1!04X! gave %2 at %3!8d!", NumberArguments());
BENCHMARK_CAPTURE(Expand_Ours, long,
                  "Unable to connect to the global cache service \"%1\". Please check that the "
                  "service is running.\n%2\nThe connection has probably been terminated.",
                  LongArguments());
BENCHMARK_CAPTURE(Expand_Ours, accents, "Der Dienst »%1« läuft nicht: %2", WordArguments());

#ifdef QORVS_HAVE_FMT

template <class... Arguments>
void Expand_Fmt(benchmark::State& state, const char* text, const Arguments&... arguments) {
    const std::string message(text);
    for (auto _ : state) {
        benchmark::DoNotOptimize(fmt::format(fmt::runtime(message), arguments...));
    }
}

BENCHMARK_CAPTURE(Expand_Fmt, words, "The call to <{}> failed for the following reason: {}",
                  std::string(kService), std::string(kReason));
BENCHMARK_CAPTURE(Expand_Fmt, numbers, "slot {} gave {} at {}", 42, -70001, 2024);
BENCHMARK_CAPTURE(Expand_Fmt, spec, "slot {:04X} gave {} at {:8d}", 42, -70001, 2024);
BENCHMARK_CAPTURE(Expand_Fmt, long,
                  "Unable to connect to the global cache service \"{}\". Please check that the "
                  "service is running.\n{}\nThe connection has probably been terminated.",
                  kLongWord, std::string(kReason));
BENCHMARK_CAPTURE(Expand_Fmt, accents, "Der Dienst »{}« läuft nicht: {}", std::string(kService),
                  std::string(kReason));

#endif

}  // namespace
