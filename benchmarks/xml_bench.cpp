/**
 * XML: reading a document of records beside tinyxml2, and writing it. Both make a whole tree and
 * let it go again.
 */
#include "util/xml_parser.h"

#include <benchmark/benchmark.h>

#ifdef QORVS_HAVE_TINYXML2
#include <tinyxml2.h>
#endif

#include <cstdlib>
#include <string>

static size_t heapCalls = 0;

// The C library's own allocator behind a counter; operator new comes this way too.
extern "C" void* __libc_malloc(size_t bytes);
extern "C" void* malloc(size_t bytes) {
    ++heapCalls;
    return __libc_malloc(bytes);
}

namespace {

/** At least this many bytes of it, without a declaration. */
std::string MakeDocument(size_t bytes) {
    std::string text = "<readers version='3'>\n";
    for (size_t index = 0; text.size() < bytes; ++index) {
        const std::string number = std::to_string(index);
        text += "  <reader id='" + number + "' type=\"contact &amp; contactless\">\n";
        text += "    <name>Smart card reader no. " + number + "</name>\n";
        text += "    <firmware major='1' minor='" + number + "'/>\n";
        text += "    <!-- set by the user -->\n    <timeout>300</timeout>\n  </reader>\n";
    }
    return text + "</readers>\n";
}

/** The bytes per second, and how often one round of the loop called the heap. */
void Report(benchmark::State& state, size_t bytes, size_t callsBefore) {
    state.counters["heap_calls"] = benchmark::Counter(static_cast<double>(heapCalls - callsBefore),
                                                      benchmark::Counter::kAvgIterations);
    state.SetBytesProcessed(static_cast<int64_t>(bytes * state.iterations()));
}

// 1, 2 and 4 MB show that the time is linear.
void Sizes(benchmark::internal::Benchmark* bench) {
    for (const int kilobytes : {10, 1000, 2000, 4000, 10000}) {
        bench->Arg(kilobytes);
    }
    bench->ArgName("KB");
}

void Parse_Ours(benchmark::State& state) {
    const std::string text = MakeDocument(static_cast<size_t>(state.range(0)) * 1000);
    const CUTF8String document(text.data(), static_cast<ptrdiff_t>(text.size()));
    const size_t before = heapCalls;
    for (auto _ : state) {
        benchmark::DoNotOptimize(ParseDocument(document));
    }
    Report(state, text.size(), before);
}
BENCHMARK(Parse_Ours)->Apply(Sizes);

void Write_Ours(benchmark::State& state) {
    const CXmlNodePtr root = ParseDocument(MakeDocument(10000).c_str());
    const size_t before = heapCalls;
    for (auto _ : state) {
        benchmark::DoNotOptimize(ToXml(*root));
    }
    Report(state, ToXml(*root).GetLength(), before);
}
BENCHMARK(Write_Ours);

#ifdef QORVS_HAVE_TINYXML2

void Parse_Tinyxml2(benchmark::State& state) {
    const std::string text = MakeDocument(static_cast<size_t>(state.range(0)) * 1000);
    const size_t before = heapCalls;
    for (auto _ : state) {
        tinyxml2::XMLDocument document;
        if (document.Parse(text.data(), text.size()) != tinyxml2::XML_SUCCESS) {
            std::abort();
        }
    }
    Report(state, text.size(), before);
}
BENCHMARK(Parse_Tinyxml2)->Apply(Sizes);

void Write_Tinyxml2(benchmark::State& state) {
    tinyxml2::XMLDocument document;
    document.Parse(MakeDocument(10000).c_str());
    const size_t before = heapCalls;
    size_t size = 0;
    for (auto _ : state) {
        tinyxml2::XMLPrinter printer(nullptr, true);
        document.Print(&printer);
        benchmark::DoNotOptimize(printer.CStr());
        size = printer.CStrSize();
    }
    Report(state, size, before);
}
BENCHMARK(Write_Tinyxml2);

#endif

}  // namespace
