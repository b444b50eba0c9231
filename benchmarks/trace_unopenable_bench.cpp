// A log that is wanted and cannot be opened: each call reads the settings and tries again. Beside
// it what that cannot do without: opening, reading and taking apart the settings.

#include "qorvs/trace.h"
#include "trace_home.h"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <cstdio>
#include <string>
#include <utility>
#include <vector>

namespace {

CTraceHome home(nullptr);

void BM_Unopenable(benchmark::State& state) {
    for (auto _ : state) {
        TraceString0("C_Login");
    }
}
BENCHMARK(BM_Unopenable);

/** Opens, reads and takes apart the settings: what each try cannot do without. */
void BM_UnopenableFloor(benchmark::State& state) {
    for (auto _ : state) {
        std::vector<std::pair<std::string, std::string>> pairs;
        std::FILE* const file = std::fopen(home.Settings().c_str(), "rte");
        std::string text;
        char piece[1024];
        for (size_t read; (read = std::fread(piece, 1, sizeof(piece), file)) > 0;) {
            text.append(piece, read);
        }
        std::fclose(file);
        for (size_t at = 0; at < text.size();) {
            const size_t end = std::min(text.find('\n', at), text.size());
            const size_t equals = text.find('=', at);
            if (equals < end) {
                pairs.emplace_back(text.substr(at, equals - 1 - at),
                                   text.substr(equals + 2, end - equals - 2));
            }
            at = end + 1;
        }
        benchmark::DoNotOptimize(pairs);
    }
}
BENCHMARK(BM_UnopenableFloor);

}  // namespace
