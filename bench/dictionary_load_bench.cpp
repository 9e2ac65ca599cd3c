// Loading a class dictionary of 100,000 members into the runtime's tree: time per
// load, and the process's peak resident memory (getrusage) as a counter.
//
//   build/bench/dictionary_load_bench
//
// The dictionary is generated once and written to a temporary file, and the text
// is dropped before the first load, so the peak counts the tree and the reader.
#include <benchmark/benchmark.h>
#include <sys/resource.h>
#include <unistd.h>

#include <cstdio>
#include <string>

#include "AssistService.h"
#include "DictionaryGenerator.h"

namespace {

vantle::bench::GeneratorOptions HundredThousandMembers() {
    vantle::bench::GeneratorOptions options;
    options.classes = 10000;  // 1,250 chains 8 deep
    options.chainDepth = 8;
    options.methodsPerClass = 6;
    options.propertiesPerClass = 3;
    options.parametersPerClass = 1;
    return options;
}

std::string WriteDictionary(const vantle::bench::GeneratorOptions& options, std::size_t* bytes) {
    char path[] = "/tmp/vantle-bench-dictionary-XXXXXX";
    int fd = mkstemp(path);
    if (fd < 0) return {};
    std::string text = vantle::bench::GenerateDictionary(options);
    *bytes = text.size();
    bool written = write(fd, text.data(), text.size()) == static_cast<ssize_t>(text.size());
    close(fd);
    return written ? std::string(path) : std::string();
}

double PeakResidentMegabytes() {
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    return static_cast<double>(usage.ru_maxrss) / 1024.0;  // ru_maxrss is in KiB
}

void BM_LoadDictionary100kMembers(benchmark::State& state) {
    const auto options = HundredThousandMembers();
    std::size_t bytes = 0;
    const std::string path = WriteDictionary(options, &bytes);
    if (path.empty()) {
        state.SkipWithError("cannot write the generated dictionary");
        return;
    }
    unsigned int members = 0;
    for (auto _ : state) {
        kesto::Ref<COM_ITNodeManager> manager = NewTree();
        HRESULT hr = LoadFile(manager.get(), path).status;
        manager->GetMemberCount(&members);
        manager.reset();  // the tree goes with it: each iteration starts from nothing
        if (FAILED(hr)) {
            state.SkipWithError("the generated dictionary does not load");
            break;
        }
    }
    std::remove(path.c_str());
    state.counters["members"] = members;
    state.counters["file_MB"] = static_cast<double>(bytes) / (1024.0 * 1024.0);
    state.counters["peak_RSS_MB"] = PeakResidentMegabytes();
    state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations() * bytes));
}
BENCHMARK(BM_LoadDictionary100kMembers)->Unit(benchmark::kMillisecond)->Iterations(5);

}  // namespace

BENCHMARK_MAIN();
