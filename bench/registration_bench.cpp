// Registration against the SQLite registry: DllRegisterServer followed by
// DllUnregisterServer, as pairs per second, in a registry file of its own.
//
//   build/bench/registration_bench
#include <benchmark/benchmark.h>
#include <unistd.h>

#include <cstdlib>
#include <string>

#include "BenchService.h"

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

}  // namespace

BENCHMARK_MAIN();
