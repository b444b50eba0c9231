/**
 * Translating keys beside a std::unordered_map with the same texts, and loading a language.
 */
#include "util/language.h"
#include "util/language_files.h"

#include <benchmark/benchmark.h>

#include <stdlib.h>

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <memory>
#include <string>
#include <unordered_map>
#include <vector>

namespace {

constexpr size_t kFileSize = 1 << 20;

/** A language of nested sections, as large as they come: its file, and its texts by key. */
struct CTexts {
    CTexts() {
        file = "{";
        for (size_t section = 0; file.size() < kFileSize; ++section) {
            const std::string name = "dialog" + std::to_string(section);
            file += (section == 0 ? "\"" : ",\n\"") + name + "\": {";
            for (size_t item = 0; item < 40; ++item) {
                const std::string label = "label" + std::to_string(item);
                const std::string text = "Bitte geben Sie die PIN Ihrer Karte ein: " + label;
                file += (item == 0 ? "\"" : ", \"") + label + "\": \"" + text + "\"";
                keys.push_back(name + "." + label);
                byKey[keys.back()] = text;
            }
            file += "}";
        }
        file += "}";
    }

    std::string file;
    std::vector<std::string> keys;
    std::unordered_map<std::string, std::string> byKey;
};

/** Loads the language from a home directory that is gone afterwards; false when that fails. */
bool Load(const CTexts& texts) {
    std::string home = std::filesystem::temp_directory_path() / "language_bench_XXXXXX";
    if (mkdtemp(home.data()) == nullptr) {
        return false;
    }
    setenv("HOME", home.c_str(), 1);
    setenv("LANG", "de", 1);
    std::filesystem::create_directories(GetLanguageDir());
    std::ofstream(GetLanguageDir() + std::string("/language.de.json")) << texts.file;
    const std::string& key = texts.keys.back();
    const bool same = Translate(key.c_str()) == texts.byKey.at(key).c_str();
    std::filesystem::remove_all(home);
    return same;
}

const CTexts& GetTexts() {
    static const CTexts texts;
    static const bool loaded = Load(texts);
    if (!loaded) {
        fprintf(stderr, "no texts\n");
        abort();
    }
    return texts;
}

/** The key of the first section, of one in the middle, or of the last. */
const std::string& KeyOf(const benchmark::State& state) {
    const std::vector<std::string>& keys = GetTexts().keys;
    return keys[(keys.size() - 1) * state.range(0) / 100];
}

void Translate_Ours(benchmark::State& state) {
    const std::string& key = KeyOf(state);
    for (auto _ : state) {
        benchmark::DoNotOptimize(Translate(key.c_str()));
    }
}
BENCHMARK(Translate_Ours)->Arg(0)->Arg(50)->Arg(100);

void Translate_UnorderedMap(benchmark::State& state) {
    const std::string& key = KeyOf(state);
    const auto& byKey = GetTexts().byKey;
    for (auto _ : state) {
        // As our callers do, who have a C string and get a copy of their own.
        benchmark::DoNotOptimize(std::string(byKey.find(key.c_str())->second));
    }
}
BENCHMARK(Translate_UnorderedMap)->Arg(0)->Arg(50)->Arg(100);

void Load_OneMegabyte(benchmark::State& state) {
    const CTexts& texts = GetTexts();
    for (auto _ : state) {
        benchmark::DoNotOptimize(std::make_unique<CLanguage>(false));
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * texts.file.size()));
}
BENCHMARK(Load_OneMegabyte)->Unit(benchmark::kMillisecond);

}  // namespace
