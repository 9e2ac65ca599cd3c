// Loading class dictionaries of 10,000 to 1,000,000 members into the runtime's tree,
// each load in a process of its own, so that its peak resident memory is its own.
//
//   build/bench/dictionary_load_bench
//   build/bench/dictionary_load_bench --benchmark_filter='classes:20000'
//
// Each size is generated once (classes in chains 8 deep, 30 methods, 15 properties
// and 5 class parameters each: the shape of `vantle-gen-dictionary --classes 20000
// --depth 8 --methods 30 --properties 15 --parameters 5` at a million members) and
// written to a temporary file. Three ways to load it:
//   - Fresh: the index cache off (KESTO_TREE_CACHE=0): reading the JSON, every time.
//   - FirstStart: the cache folder empty: reading the JSON and writing the cache.
//   - LaterStart: the cache written before: mapping it (and hashing the dictionary).
// Each iteration forks a child that creates a tree manager, loads the file, asks for
// the member count and reports its wall time and its peak RSS (getrusage, the whole
// process: the benchmark's own few megabytes included). Counters: members, file_MB,
// peak_RSS_MB, and tree_B_per_member, the tree's block (the cache file's size) over
// the members.
#include <benchmark/benchmark.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <map>
#include <string>

#include "AssistService.h"
#include "DictionaryGenerator.h"

namespace {

vantle::bench::GeneratorOptions ShapeFor(unsigned classes) {
    vantle::bench::GeneratorOptions options;
    options.classes = classes;
    options.chainDepth = 8;
    options.methodsPerClass = 30;
    options.propertiesPerClass = 15;
    options.parametersPerClass = 5;
    return options;
}

struct Dictionary {
    std::string path;
    std::size_t bytes = 0;
    unsigned long members = 0;
};

// The scratch folder, removed with everything in it when the benchmark ends (the
// children leave with _exit, so only this process removes it).
class ScratchFolder {
public:
    ScratchFolder() {
        char name[] = "/tmp/vantle-load-bench-XXXXXX";
        if (mkdtemp(name) != nullptr) path_ = name;
    }
    ~ScratchFolder() {
        if (!path_.empty()) std::system(("rm -rf '" + path_ + "'").c_str());
    }
    const std::string& path() const { return path_; }

private:
    std::string path_;
};

std::string Scratch() {
    static const ScratchFolder folder;
    return folder.path();
}

// Generated in a child, so that this process never holds the text.
const Dictionary& DictionaryOf(unsigned classes) {
    static std::map<unsigned, Dictionary> made;
    Dictionary& dictionary = made[classes];
    if (!dictionary.path.empty()) return dictionary;
    dictionary.path = Scratch() + "/classes-" + std::to_string(classes) + ".json";
    const pid_t child = fork();
    if (child == 0) {
        const std::string text = vantle::bench::GenerateDictionary(ShapeFor(classes));
        FILE* file = std::fopen(dictionary.path.c_str(), "wb");
        const bool written = file != nullptr && std::fwrite(text.data(), 1, text.size(), file) == text.size();
        if (file != nullptr) std::fclose(file);
        _exit(written ? 0 : 1);
    }
    int status = 0;
    waitpid(child, &status, 0);
    struct stat info{};
    if (stat(dictionary.path.c_str(), &info) == 0) dictionary.bytes = static_cast<std::size_t>(info.st_size);
    dictionary.members = vantle::bench::GeneratedMemberCount(ShapeFor(classes));
    return dictionary;
}

struct Measured {
    double seconds = 0;
    double peakMegabytes = 0;
    unsigned int members = 0;
    bool ok = false;
};

// One load in a child process.
Measured LoadInChild(const std::string& path) {
    int pipeEnds[2];
    if (pipe(pipeEnds) != 0) return {};
    const pid_t child = fork();
    if (child == 0) {
        close(pipeEnds[0]);
        Measured measured;
        const auto start = std::chrono::steady_clock::now();
        kesto::Ref<COM_ITNodeManager> manager = NewTree();
        measured.ok = LoadFile(manager.get(), path).status == S_OK;
        manager->GetMemberCount(&measured.members);
        measured.seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
        rusage usage{};
        getrusage(RUSAGE_SELF, &usage);
        measured.peakMegabytes = static_cast<double>(usage.ru_maxrss) / 1024.0;  // ru_maxrss is in KiB
        const bool sent = write(pipeEnds[1], &measured, sizeof measured) == static_cast<ssize_t>(sizeof measured);
        _exit(sent ? 0 : 1);
    }
    close(pipeEnds[1]);
    Measured measured;
    if (read(pipeEnds[0], &measured, sizeof measured) != static_cast<ssize_t>(sizeof measured)) measured.ok = false;
    close(pipeEnds[0]);
    int status = 0;
    waitpid(child, &status, 0);
    return measured;
}

std::size_t CacheBytes(const std::string& cacheHome) {
    std::size_t bytes = 0;
    if (FILE* list = popen(("du -b --apparent-size '" + cacheHome + "/kesto' 2>/dev/null").c_str(), "r")) {
        unsigned long long total = 0;
        if (std::fscanf(list, "%llu", &total) == 1) bytes = static_cast<std::size_t>(total);
        pclose(list);
    }
    return bytes;
}

enum class Start { kFresh, kFirst, kLater };

void Run(benchmark::State& state, Start start) {
    const Dictionary& dictionary = DictionaryOf(static_cast<unsigned>(state.range(0)));
    if (dictionary.bytes == 0) {
        state.SkipWithError("cannot write the generated dictionary");
        return;
    }
    const std::string cacheHome = Scratch() + "/cache-" + std::to_string(state.range(0));
    setenv("XDG_CACHE_HOME", cacheHome.c_str(), 1);
    if (start == Start::kFresh) setenv("KESTO_TREE_CACHE", "0", 1);
    if (start == Start::kLater) LoadInChild(dictionary.path);  // writes the cache
    Measured measured;
    for (auto _ : state) {
        if (start == Start::kFirst) std::system(("rm -rf '" + cacheHome + "'").c_str());
        measured = LoadInChild(dictionary.path);
        if (!measured.ok) {
            state.SkipWithError("the generated dictionary does not load");
            break;
        }
        state.SetIterationTime(measured.seconds);
    }
    unsetenv("KESTO_TREE_CACHE");
    state.counters["members"] = measured.members;
    state.counters["file_MB"] = static_cast<double>(dictionary.bytes) / (1024.0 * 1024.0);
    state.counters["peak_RSS_MB"] = measured.peakMegabytes;
    if (start != Start::kFresh && measured.members > 0)
        state.counters["tree_B_per_member"] = static_cast<double>(CacheBytes(cacheHome)) / measured.members;
    state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations() * dictionary.bytes));
}

void BM_LoadDictionary_Fresh(benchmark::State& state) { Run(state, Start::kFresh); }
void BM_LoadDictionary_FirstStart(benchmark::State& state) { Run(state, Start::kFirst); }
void BM_LoadDictionary_LaterStart(benchmark::State& state) { Run(state, Start::kLater); }

// Classes for 10,000, 30,000, 100,000, 300,000 and 1,000,000 members (50 each).
void Sizes(benchmark::internal::Benchmark* benchmark) {
    benchmark->ArgName("classes");
    for (int classes : {200, 600, 2000, 6000, 20000}) benchmark->Arg(classes);
}

BENCHMARK(BM_LoadDictionary_Fresh)->Apply(Sizes)->UseManualTime()->Iterations(3)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_LoadDictionary_FirstStart)->Apply(Sizes)->UseManualTime()->Iterations(3)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_LoadDictionary_LaterStart)->Apply(Sizes)->UseManualTime()->Iterations(3)->Unit(benchmark::kMillisecond);

}  // namespace

BENCHMARK_MAIN();
