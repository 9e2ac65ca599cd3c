// The symbol operations of the service with 10,000 symbols.
//
//   build/bench/symbol_bench
//
// SetSymbol replaces a value in the innermost scope; LookupSymbol finds a name
// that only the root holds, from 8 scopes deep (each inner scope holding names of
// its own, so every level is a real search); GetSymbols lists all 10,000.
#include <benchmark/benchmark.h>

#include <string>
#include <vector>

#include "BenchService.h"

namespace {


const int kSymbols = 10000;
const int kScopes = 8;
const int kSymbolsPerInnerScope = 100;

std::vector<Units> Names(const std::string& stem, int count) {
    std::vector<Units> names;
    for (int i = 0; i < count; ++i) names.push_back(W(stem + std::to_string(i)).units());
    return names;
}

// A service with 10,000 root symbols, then `scopes` embedded scopes of 100 each.
class SymbolFixture {
public:
    explicit SymbolFixture(int scopes) : m_service(EmptyDictionary()), rootNames(Names("tRoot", kSymbols)) {
        Units value = W("Shop.Order").units();
        for (const Units& name : rootNames) m_service.assist->SetSymbol(name.c_str(), SYMBOL_LOCAL, value.c_str());
        for (int scope = 0; scope < scopes; ++scope) {
            m_service.assist->OnEmbeddingStart(static_cast<ParserLanguage>(scope + 1));
            for (const Units& name : Names("tScope" + std::to_string(scope) + "x", kSymbolsPerInnerScope)) {
                m_service.assist->SetSymbol(name.c_str(), SYMBOL_LOCAL, value.c_str());
            }
        }
    }
    COM_IVantleAssist* Assist() { return m_service.assist.get(); }
    COM_IVantleAssist2* Assist2() { return m_service.assist2.get(); }

private:
    static std::string EmptyDictionary() { return R"({"format": "vantle-class-dictionary/1", "classes": []})"; }

    vantle::bench::ServiceOverTree m_service;

public:
    const std::vector<Units> rootNames;
};

void BM_SetSymbol(benchmark::State& state) {
    SymbolFixture fixture(0);
    Units value = W("%Text").units();
    size_t i = 0;
    for (auto _ : state) {
        const Units& name = fixture.rootNames[i++ % fixture.rootNames.size()];
        fixture.Assist()->SetSymbol(name.c_str(), SYMBOL_LOCAL, value.c_str());
    }
    state.counters["symbols"] = kSymbols;
}

void BM_LookupSymbol_FromRootThrough8Scopes(benchmark::State& state) {
    SymbolFixture fixture(kScopes);
    size_t i = 0;
    for (auto _ : state) {
        const Units& name = fixture.rootNames[(i++ * 7919) % fixture.rootNames.size()];
        ParserLanguage language = PARSERLANGUAGE_ROOT;
        kesto::String value;
        HRESULT hr = fixture.Assist()->LookupSymbol(name.c_str(), SYMBOL_LOCAL, &language, value.out());
        vantle::bench::Require(hr == S_OK && language == PARSERLANGUAGE_ROOT, "the root symbol was not found");
    }
    state.counters["symbols"] = kSymbols;
    state.counters["scopes"] = kScopes;
}

void BM_GetSymbols(benchmark::State& state) {
    SymbolFixture fixture(0);
    for (auto _ : state) {
        kesto::String list;
        fixture.Assist2()->GetSymbols(1u << (SYMBOL_LOCAL - 1), list.out());
        benchmark::DoNotOptimize(list.get());
    }
    state.counters["symbols"] = kSymbols;
}

BENCHMARK(BM_SetSymbol);
BENCHMARK(BM_LookupSymbol_FromRootThrough8Scopes)->Repetitions(5)->ReportAggregatesOnly(true);
BENCHMARK(BM_GetSymbols)->Unit(benchmark::kMicrosecond);

}  // namespace

BENCHMARK_MAIN();
