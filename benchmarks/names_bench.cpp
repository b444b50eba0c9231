// Names by number and numbers by name, beside the standard hash map filled with the same rows.
#include "trace/name_table.h"
#include <qorvs/ck_names.h>

#include <benchmark/benchmark.h>

#include <algorithm>
#include <random>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace {

struct CQuestion {
    unsigned long value;
    std::string name;
};

// All mechanisms in an order that the processor cannot foresee, their names copied as a caller's
// are.
const std::vector<CQuestion>& ShuffledMechanisms() {
    static const std::vector<CQuestion> questions = [] {
        std::vector<CQuestion> shuffled;
        for (const CNameRow& row : kMechanismTypeNames) {
            shuffled.push_back({row.value, row.text});
        }
        std::shuffle(shuffled.begin(), shuffled.end(), std::mt19937(1));
        return shuffled;
    }();
    return questions;
}

template <class Key, class Value, class MakeEntry>
std::unordered_map<Key, Value> MakeMap(MakeEntry makeEntry) {
    std::unordered_map<Key, Value> map;
    for (const CNameRow& row : kMechanismTypeNames) {
        map.insert(makeEntry(row));
    }
    return map;
}

template <class LookUp>
void LookUpAll(benchmark::State& state, LookUp lookUp) {
    const std::vector<CQuestion>& questions = ShuffledMechanisms();
    for (auto _ : state) {
        for (const CQuestion& question : questions) {
            benchmark::DoNotOptimize(lookUp(question));
        }
    }
    state.SetItemsProcessed(static_cast<int64_t>(state.iterations() * questions.size()));
}

void NumberToName(benchmark::State& state) {
    LookUpAll(state,
              [](const CQuestion& question) { return GetCkMechanismTypeString(question.value); });
}

void NumberToNamePeer(benchmark::State& state) {
    const auto map = MakeMap<unsigned long, const char*>(
        [](const CNameRow& row) { return std::make_pair(row.value, row.text); });
    LookUpAll(state, [&map](const CQuestion& question) {
        const auto found = map.find(question.value);
        return found != map.end() ? found->second : nullptr;
    });
}

void NameToNumber(benchmark::State& state) {
    LookUpAll(state, [](const CQuestion& question) {
        return GetCkMechanismTypeFromString(question.name.c_str());
    });
}

template <class Key>
void NameToNumberPeer(benchmark::State& state) {
    const auto map = MakeMap<Key, unsigned long>(
        [](const CNameRow& row) { return std::make_pair(Key(row.text), row.value); });
    LookUpAll(state, [&map](const CQuestion& question) {
        const auto found = map.find(Key(question.name.c_str()));
        return found != map.end() ? found->second : 0;
    });
}

}  // namespace

BENCHMARK(NumberToName);
BENCHMARK(NumberToNamePeer);
BENCHMARK(NameToNumber);
BENCHMARK_TEMPLATE(NameToNumberPeer, std::string_view);
BENCHMARK_TEMPLATE(NameToNumberPeer, std::string);
