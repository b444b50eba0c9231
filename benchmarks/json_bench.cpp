/**
 * Parsing and releasing JSON texts beside the trees of RapidJSON and nlohmann::json.
 */
#include "util/js_parser.h"

#include <benchmark/benchmark.h>

#include <string>

#if __has_include(<rapidjson/document.h>)
#include <rapidjson/document.h>
#define QORVS_HAVE_RAPIDJSON
#endif
#if __has_include(<nlohmann/json.hpp>)
#include <nlohmann/json.hpp>
#define QORVS_HAVE_NLOHMANN
#endif

namespace {

constexpr size_t kLanguageFile = 150 << 10;
constexpr size_t kLargeFile = 10 << 20;

/** Identifiers and texts of some words, as a language file holds them, of at least `size` bytes. */
std::string LanguageFile(size_t size) {
    static const char* const kTexts[] = {
        "Abbrechen",
        "Bitte geben Sie Ihre PIN ein:",
        "Die Karte wurde entfernt. Der Vorgang wird abgebrochen.",
        "Das Zertifikat von \\\"%1\\\" ist abgel\u00e4ufen.\\nM\u00f6chten Sie fortfahren?",
        "Es wurde kein Kartenleser gefunden. Verbinden Sie einen Kartenleser mit dem Rechner und "
        "versuchen Sie es noch einmal.",
    };
    std::string text = "{\n";
    for (size_t i = 0; text.size() < size; ++i) {
        text += "  \"dialog.text" + std::to_string(i) + "\": \"" + kTexts[i % 5] + "\",\n";
    }
    return text + "  \"version\": 3\n}\n";
}

/** Records of short values of all kinds. */
std::string Records(size_t size) {
    std::string text = "[\n";
    for (size_t i = 0; text.size() < size; ++i) {
        text += R"({"id": )" + std::to_string(i) +
                R"(, "name": "reader", "on": true, "ratio": 0.125, "codes": [1, 22, 333, null]},)"
                "\n";
    }
    return text + "0]\n";
}

void Parse_Ours(benchmark::State& state, const std::string& text) {
    for (auto _ : state) {
        const char* cursor = text.data();
        benchmark::DoNotOptimize(Parse(cursor, text.data() + text.size()));
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * text.size()));
}

BENCHMARK_CAPTURE(Parse_Ours, language, LanguageFile(kLanguageFile));
BENCHMARK_CAPTURE(Parse_Ours, languages, LanguageFile(kLargeFile));
BENCHMARK_CAPTURE(Parse_Ours, records, Records(kLargeFile));

#ifdef QORVS_HAVE_RAPIDJSON

void Parse_RapidJson(benchmark::State& state, const std::string& text) {
    for (auto _ : state) {
        rapidjson::Document document;
        document.Parse(text.data(), text.size());
        benchmark::DoNotOptimize(document.HasParseError());
    }
}

BENCHMARK_CAPTURE(Parse_RapidJson, language, LanguageFile(kLanguageFile));
BENCHMARK_CAPTURE(Parse_RapidJson, languages, LanguageFile(kLargeFile));
BENCHMARK_CAPTURE(Parse_RapidJson, records, Records(kLargeFile));

#endif

#ifdef QORVS_HAVE_NLOHMANN

void Parse_Nlohmann(benchmark::State& state, const std::string& text) {
    for (auto _ : state) {
        benchmark::DoNotOptimize(nlohmann::json::parse(text));
    }
}

BENCHMARK_CAPTURE(Parse_Nlohmann, language, LanguageFile(kLanguageFile));
BENCHMARK_CAPTURE(Parse_Nlohmann, languages, LanguageFile(kLargeFile));
BENCHMARK_CAPTURE(Parse_Nlohmann, records, Records(kLargeFile));

#endif

}  // namespace
