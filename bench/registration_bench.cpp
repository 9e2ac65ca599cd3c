// Registration against the SQLite registry: DllRegisterServer followed by
// DllUnregisterServer, as pairs per second, in a registry file of its own, alone
// and inside registration transactions; and walking a deep chain of keys.
//
//   build/bench/registration_bench
#include <benchmark/benchmark.h>
#include <unistd.h>

#include <cstdlib>
#include <string>

#include "BenchService.h"
#include "kesto/registry.h"

namespace {

class ScratchRegistry {
public:
    ScratchRegistry() {
        char folder[] = "/tmp/vantle-bench-registry-XXXXXX";
        vantle::bench::Require(mkdtemp(folder) != nullptr, "a scratch folder");
        m_folder = folder;
        m_file = m_folder + "/registry.db";
        setenv("KESTO_REGISTRY", m_file.c_str(), 1);
    }
    ~ScratchRegistry() {
        for (const char* suffix : {"", "-journal", "-wal", "-shm"}) unlink((m_file + suffix).c_str());
        rmdir(m_folder.c_str());
        unsetenv("KESTO_REGISTRY");
    }

private:
    std::string m_folder;
    std::string m_file;
};

void BM_RegisterUnregister(benchmark::State& state) {
    ScratchRegistry registry;
    for (auto _ : state) {
        vantle::bench::Require(DllRegisterServer() == S_OK, "registering");
        vantle::bench::Require(DllUnregisterServer() == S_OK, "unregistering");
    }
    state.SetItemsProcessed(state.iterations());
}

// Commits wait for the disk, so wall time is the cost that matters here.
BENCHMARK(BM_RegisterUnregister)->UseRealTime()->Unit(benchmark::kMicrosecond);

// The same pair as one registration transaction each, as vantle-assist runs them.
void BM_RegisterUnregisterInTransactions(benchmark::State& state) {
    ScratchRegistry registry;
    for (auto _ : state) {
        vantle::bench::Require(KESTO_RegistryBeginTransaction(nullptr) == S_OK, "beginning");
        vantle::bench::Require(DllRegisterServer() == S_OK, "registering");
        vantle::bench::Require(KESTO_RegistryEndTransaction(1) == S_OK, "committing");
        vantle::bench::Require(KESTO_RegistryBeginTransaction(nullptr) == S_OK, "beginning");
        vantle::bench::Require(DllUnregisterServer() == S_OK, "unregistering");
        vantle::bench::Require(KESTO_RegistryEndTransaction(1) == S_OK, "committing");
    }
    state.SetItemsProcessed(state.iterations());
}
BENCHMARK(BM_RegisterUnregisterInTransactions)->UseRealTime()->Unit(benchmark::kMicrosecond);

// Down a chain of state.range(0) nested keys with OpenKey and back up with
// OpenParent, as the registry dump walks: linear in the depth.
void BM_WalkNestedKeys(benchmark::State& state) {
    ScratchRegistry scratch;
    const unsigned short empty[] = {0}, name[] = {'k', 0};
    COM_IRegistry* registry = nullptr;
    vantle::bench::Require(COM_CreateInstance(COM_CLSID_Registry, nullptr, COM_IID_IRegistry,
                                              reinterpret_cast<void**>(&registry)) == S_OK,
                           "a registry");
    vantle::bench::Require(registry->OpenRoot(2, empty) == S_OK, "the settings root");
    for (long depth = 0; depth < state.range(0); ++depth) registry->CreateKey(name, 1);
    vantle::bench::Require(registry->Close() == S_OK, "the chain committed");
    for (auto _ : state) {
        registry->OpenRoot(2, empty);
        for (long depth = 0; depth < state.range(0); ++depth) registry->OpenKey(name);
        while (registry->OpenParent() == S_OK) {
        }
        registry->Close();
    }
    registry->Release();
    state.SetComplexityN(state.range(0));
    state.SetItemsProcessed(state.iterations() * state.range(0));
}
BENCHMARK(BM_WalkNestedKeys)->RangeMultiplier(4)->Range(256, 16384)->Complexity()->Unit(benchmark::kMillisecond);

}  // namespace

BENCHMARK_MAIN();
