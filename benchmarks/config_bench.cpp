/**
 * Settings: parsing beside inih with its pairs stored, and a look-up beside GLib's key file.
 *
 * All read the same text of four sections with sixteen entries each.
 */
#include <benchmark/benchmark.h>

#ifdef QORVS_HAVE_INIH
#include <ini.h>
#endif
#ifdef QORVS_HAVE_GLIB
#include <glib.h>
#endif

#include "system/config.h"
#include "system/config_parser.h"

#include <unistd.h>

#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <map>
#include <memory>
#include <string>
#include <utility>
#include <vector>

static std::atomic<size_t> heapCalls{0};

// The C library's own allocator behind a counter; operator new comes this way too.
extern "C" void* __libc_malloc(size_t bytes);
extern "C" void* malloc(size_t bytes) {
    heapCalls.fetch_add(1, std::memory_order_relaxed);
    return __libc_malloc(bytes);
}

namespace {

constexpr const char* kSections[] = {"SecuritySuite", "Readers", "Proxy", "Languages"};

constexpr const char* kKeys[] = {
    "LoginPersistentCSP",
    "LoginPersistent",
    "EnablePinSessionCache",
    "SerialNumberAsGuid",
    "TSAURL",
    "TSLURL",
    "TSLCertificate",
    "EnableTrace",
    "LoginTimeout",
    "Trace",
    "DefaultReader",
    "ReaderFilter",
    "ProxyHost",
    "ProxyPort",
    "CardCacheSize",
    "LastUpdateCheck",
};

constexpr const char* kValues[] = {"1", "/var/log/middleware", "https://tsa.example.org/rfc3161",
                                   "300"};

/** The text in our grammar or in that of the peers. */
std::string MakeText(bool braces) {
    std::string text;
    for (const std::string section : kSections) {
        text += braces ? section + " {\n" : "[" + section + "]\n";
        size_t index = 0;
        for (const std::string key : kKeys) {
            text += key + " = " + kValues[index++ % 4] + "\n";
        }
        text += braces ? "}\n" : "";
    }
    return text;
}

void Parse_Ours(benchmark::State& state) {
    const std::string text = MakeText(true);
    for (auto _ : state) {
        CConfig root("");
        ParseConfig(root, text.data(), text.size());
        benchmark::DoNotOptimize(root);
    }
}
BENCHMARK(Parse_Ours);

/** A text in a file of its own, for as long as the object lives. */
class CTextFile {
public:
    explicit CTextFile(const std::string& text) {
        const int descriptor = mkstemp(path);
        if (descriptor < 0 || write(descriptor, text.data(), text.size()) < 0) {
            std::abort();
        }
        close(descriptor);
    }
    ~CTextFile() { unlink(path); }
    const char* GetPath() const { return path; }

private:
    char path[32] = "/tmp/config_bench_XXXXXX";
};

void ParseFile_Ours(benchmark::State& state) {
    const CTextFile file(MakeText(true));
    const CUTF8String path(file.GetPath());
    for (auto _ : state) {
        CConfig root(path);
        benchmark::DoNotOptimize(root);
    }
}
BENCHMARK(ParseFile_Ours);

#ifdef QORVS_HAVE_INIH

using CPairs = std::vector<std::pair<std::string, std::string>>;
using CSectionMap = std::map<std::string, std::map<std::string, std::string>>;

int Store(CPairs& pairs, const char*, const char* key, const char* value) {
    pairs.emplace_back(key, value);
    return 1;
}
int Store(CSectionMap& sections, const char* section, const char* key, const char* value) {
    sections[section].emplace(key, value);
    return 1;
}
template <class Pairs>
int StoreEntry(void* pairs, const char* section, const char* key, const char* value) {
    return Store(*static_cast<Pairs*>(pairs), section, key, value);
}

template <class Pairs>
void Parse_Inih(benchmark::State& state) {
    const std::string text = MakeText(false);
    for (auto _ : state) {
        Pairs pairs;
        ini_parse_string(text.c_str(), &StoreEntry<Pairs>, &pairs);
        benchmark::DoNotOptimize(pairs);
    }
}
BENCHMARK_TEMPLATE(Parse_Inih, CPairs);
BENCHMARK_TEMPLATE(Parse_Inih, CSectionMap);

void ParseFile_Inih(benchmark::State& state) {
    const CTextFile file(MakeText(false));
    for (auto _ : state) {
        CPairs pairs;
        ini_parse(file.GetPath(), &StoreEntry<CPairs>, &pairs);
        benchmark::DoNotOptimize(pairs);
    }
}
BENCHMARK(ParseFile_Inih);

#endif

/** Reports how often the loop called the heap. */
class CHeapCount {
public:
    explicit CHeapCount(benchmark::State& counted) : state(counted), before(heapCalls) {}
    ~CHeapCount() { state.counters["heap_calls"] = static_cast<double>(heapCalls - before); }

private:
    benchmark::State& state;
    size_t before;
};

// Numbers: the first entry, one in the middle, the last, and one that is not there.
constexpr const char* kAsked[] = {"LoginPersistentCSP", "LoginTimeout", "LastUpdateCheck", "None"};

void GetInt_Ours(benchmark::State& state) {
    const std::string text = MakeText(true);
    CConfig root("");
    ParseConfig(root, text.data(), text.size());
    const CUTF8String section("SecuritySuite");
    const CUTF8String key(kAsked[state.range(0)]);
    const CHeapCount count(state);
    for (auto _ : state) {
        benchmark::DoNotOptimize(root.GetSection(section)->GetInt(key, 30));
    }
}
BENCHMARK(GetInt_Ours)->DenseRange(0, 3);

#ifdef QORVS_HAVE_GLIB

void GetInt_Glib(benchmark::State& state) {
    const std::string text = MakeText(false);
    const std::unique_ptr<GKeyFile, decltype(&g_key_file_free)> file(g_key_file_new(),
                                                                     &g_key_file_free);
    g_key_file_load_from_data(file.get(), text.data(), text.size(), G_KEY_FILE_NONE, nullptr);
    const CHeapCount count(state);
    for (auto _ : state) {
        benchmark::DoNotOptimize(
            g_key_file_get_integer(file.get(), "SecuritySuite", kAsked[state.range(0)], nullptr));
    }
}
BENCHMARK(GetInt_Glib)->DenseRange(0, 3);

#endif

}  // namespace
