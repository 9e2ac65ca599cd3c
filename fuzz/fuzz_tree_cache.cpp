// The index cache on arbitrary bytes: whatever lies in a dictionary's cache file,
// a load of the dictionary succeeds and never crashes.
//
// The input is the cache file. Its header's record of the dictionary (size, time,
// inode, device, content hash) and its own payload hash are set right before it is
// written, so that every input reaches the check of the tree's structure rather
// than stopping at a hash. Then: the load succeeds; when the cache was refused (the
// runtime wrote it anew), the tree answers exactly as the dictionary read afresh;
// when it was taken, every answer can be walked (the sanitizers watch the reads).
#include <stdlib.h>
#include <sys/stat.h>
#include <unistd.h>
#include <xxhash.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <sstream>
#include <string>

#include "AssistService.h"
#include "DictionaryGenerator.h"
#include "FuzzSupport.h"
#include "TreeDump.h"

namespace {

// Where the header keeps what it knows of the dictionary, and its payload hash.
constexpr std::size_t kHeaderBytes = 96;
constexpr std::size_t kPayloadHashAt = 24;
constexpr std::size_t kSourceAt = 32;
constexpr std::size_t kSourceBytes = 40;

std::string ReadAll(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    std::stringstream text;
    text << in.rdbuf();
    return text.str();
}

struct Scene {
    std::string dictionary;
    std::string cache;
    std::string reference;  // the tree read afresh
    std::string source;     // the header bytes that describe the dictionary
};

std::string CacheIn(const std::string& folder) {
    std::string found;
    if (FILE* list = popen(("ls '" + folder + "/kesto' 2>/dev/null").c_str(), "r")) {
        char name[256];
        while (std::fgets(name, sizeof name, list) != nullptr) {
            std::string entry(name);
            if (!entry.empty() && entry.back() == '\n') entry.pop_back();
            if (entry.size() > 5 && entry.compare(entry.size() - 5, 5, ".tree") == 0) found = folder + "/kesto/" + entry;
        }
        pclose(list);
    }
    return found;
}

Scene& TheScene() {
    static Scene* scene = [] {
        auto* made = new Scene;
        char folder[] = "/tmp/vantle-fuzz-tree-cache-XXXXXX";
        FUZZ_CHECK(mkdtemp(folder) != nullptr, "no scratch folder");
        setenv("XDG_CACHE_HOME", folder, 1);
        static std::string scratch = folder;
        std::atexit([] { std::system(("rm -rf '" + scratch + "'").c_str()); });
        vantle::bench::GeneratorOptions options;
        options.classes = 6;
        options.chainDepth = 3;
        options.methodsPerClass = 3;
        options.propertiesPerClass = 2;
        options.parametersPerClass = 1;
        options.argumentCounts = {1, 3};
        made->dictionary = std::string(folder) + "/classes.json";
        std::ofstream(made->dictionary, std::ios::binary) << vantle::bench::GenerateDictionary(options);
        kesto::Ref<COM_ITNodeManager> tree = NewTree();
        FUZZ_CHECK(LoadFile(tree.get(), made->dictionary).status == S_OK, "the dictionary does not load");
        made->reference = DumpTree(tree.get());
        made->cache = CacheIn(folder);
        FUZZ_CHECK(!made->cache.empty(), "the first load wrote no cache");
        made->source = ReadAll(made->cache).substr(kSourceAt, kSourceBytes);
        return made;
    }();
    return *scene;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    Scene& scene = TheScene();
    vantle::fuzz::LiveStringGuard strings;
    std::string bytes(reinterpret_cast<const char*>(data), size);
    if (bytes.size() >= kHeaderBytes) {
        bytes.replace(kSourceAt, kSourceBytes, scene.source);
        const std::uint64_t hash = XXH3_64bits(bytes.data() + kHeaderBytes, bytes.size() - kHeaderBytes);
        std::memcpy(bytes.data() + kPayloadHashAt, &hash, sizeof hash);
    }
    {
        std::ofstream out(scene.cache, std::ios::binary | std::ios::trunc);
        out.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
    }
    kesto::Ref<COM_ITNodeManager> tree = NewTree();
    FUZZ_CHECK(LoadFile(tree.get(), scene.dictionary).status == S_OK, "a damaged cache failed the load");
    const std::string dump = DumpTree(tree.get());
    if (ReadAll(scene.cache) != bytes) FUZZ_CHECK(dump == scene.reference, "a refused cache changed the answers");
    return 0;
}
