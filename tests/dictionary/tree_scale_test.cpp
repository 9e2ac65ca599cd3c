// The loader's fast path and the index cache: whatever way a tree was made (the
// exact reader, the fast reader, a mapped cache file), it answers alike; a cache
// that is stale, damaged or cannot be written never changes an answer; a deep
// chain of classes loads and answers; a reload leaves older nodes on their tree.
#include <gtest/gtest.h>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

#include "AssistService.h"
#include "DictionaryGenerator.h"
#include "StringBalanceTest.h"
#include "TreeDump.h"

namespace {

// Sets an environment variable for one scope.
class ScopedEnv {
public:
    ScopedEnv(const char* name, const char* value) : name_(name) {
        if (const char* old = std::getenv(name)) old_ = old, had_ = true;
        if (value != nullptr) {
            setenv(name, value, 1);
        } else {
            unsetenv(name);
        }
    }
    ~ScopedEnv() {
        if (had_) {
            setenv(name_.c_str(), old_.c_str(), 1);
        } else {
            unsetenv(name_.c_str());
        }
    }

private:
    std::string name_, old_;
    bool had_ = false;
};

struct Outcome {
    HRESULT status;
    std::string message, errors, dump;
    bool operator==(const Outcome&) const = default;
};

std::ostream& operator<<(std::ostream& out, const Outcome& o) {
    return out << std::hex << o.status << std::dec << "\n" << o.message << "\n" << o.errors << "\n" << o.dump;
}

Outcome Read(const std::string& json, bool exact) {
    ScopedEnv reader("KESTO_DICTIONARY_READER", exact ? "exact" : nullptr);
    kesto::Ref<COM_ITNodeManager> manager = NewTree();
    const LoadOutcome loaded = Load(manager.get(), json, "d.json");
    kesto::String errors;
    manager->GetLoadErrors(errors.out());
    return {loaded.status, loaded.message, Narrow(errors), DumpTree(manager.get())};
}

std::string Generated(unsigned classes, unsigned depth) {
    vantle::bench::GeneratorOptions options;
    options.classes = classes;
    options.chainDepth = depth;
    options.methodsPerClass = 4;
    options.propertiesPerClass = 2;
    options.parametersPerClass = 1;
    return vantle::bench::GenerateDictionary(options);
}

class FastReader : public StringBalanceTest {};

TEST_F(FastReader, AnswersExactlyAsTheExactReaderDoesForEveryKindOfText) {
    const std::string fmt = R"("format": "vantle-class-dictionary/1", )";
    const std::vector<std::string> texts = {
        Generated(24, 4),
        // Inheritance: diamond, several supers, short and "%" names, supers defined later.
        "{" + fmt + R"("classes": [
          {"name": "P.D", "super": ["B", "C"], "methods": [{"name": "M", "returnType": "D"}]},
          {"name": "P.B", "super": ["P.A"], "methods": [{"name": "M", "returnType": "B"}, {"name": "N"}]},
          {"name": "P.C", "super": ["A"], "properties": [{"name": "Q", "collection": "list", "cardinality": "many", "relationship": true}]},
          {"name": "P.A", "classType": "persistent", "description": "root", "methods": [{"name": "N", "classMethod": true, "private": false, "internal": true}],
           "parameters": [{"name": "X", "type": "%Text", "default": "1", "internal": false, "description": "x"}]},
          {"name": "%Library.Text", "super": []},
          {"name": "Q.T", "super": ["%Text"]}]})",
        // Escapes and characters of every width, before names on one line (columns).
        "{" + fmt + R"("classes": [{"description": "\"q\" \\ \/ \b\f\n\r\t \u00e9\u20AC \ud83d\ude00 é€😀", "name": "Ü.é😀",
          "methods": [{"description": "😀😀", "name": "Mé", "formalSpec": "a:%Text=\"x,y\""}, {"name": "Z"}]}]})",
        // One line, CR LF line ends, blanks everywhere.
        "{" + fmt + "\"classes\":[{\"name\":\"A.B\",\"methods\":[{\"name\":\"X\"},{\"name\":\"Y\"}]},{\"name\":\"A.C\"}]}",
        "{\r\n" + fmt + "\r\n \"classes\" :\t[ { \"name\" : \"A.B\" , \"properties\" : [ { \"name\" : \"P\" } ] } ] \r\n}\r\n",
        "\xEF\xBB\xBF{" + fmt + R"("classes": [{"name": "Bom.A", "methods": [{"name": "M"}]}]})",
        "{}",
        R"({"classes": []})",
        // Well formed but refused, each with its message.
        "{" + fmt + R"("classes": [{"name": "A.X"}, {"name": "A.X"}]})",
        "{" + fmt + R"("classes": [{"name": "A.X", "methods": [{"name": "M"}, {"name": "M"}]}]})",
        "{" + fmt + R"("classes": [{"name": "A.X", "super": ["A.Nope"]}]})",
        "{" + fmt + R"("classes": [{"name": "A.X", "super": ["A.Y"]}, {"name": "A.Y", "super": ["X"]}]})",
        "{" + fmt + R"("classes": [{"name": "A.X", "color": "red"}]})",
        "{" + fmt + R"("classes": [{"name": "A.X", "name": "A.Y"}]})",
        "{" + fmt + R"("classes": [{"name": "A.X", "methods": [{"name": "M", "private": 1}]}]})",
        "{" + fmt + R"("classes": [{"name": "A.X", "methods": [{"name": "M", "returnType": null}]}]})",
        "{" + fmt + R"("classes": [{"name": "A.X", "properties": [{"name": "P", "collection": "set"}]}]})",
        "{" + fmt + R"("classes": [{"name": "A.X", "methods": [{"returnType": "T"}]}]})",
        "{" + fmt + R"("classes": [{"description": "no name"}]})",
        "{" + fmt + R"("classes": [{"name": "%Text"}, {"name": "A..B"}, {"name": "A B"}]})",
        "{" + fmt + R"j("classes": [{"name": "A.X", "methods": [{"name": "M(x)"}]}]})j",
        R"({"format": "vantle-class-dictionary/2", "classes": []})",
        "{" + fmt + R"("classes": [{"name": "A.X"},]})",
        "{" + fmt + R"("classes": [{"name": "A.X"}]} x)",
        "{" + fmt + R"("classes": [{"name": "A.X", "description": "\ud800"}]})",
        "{" + fmt + R"("classes": [{"name": "A.X", "description": "\u0001"}]})",
        "{" + fmt + "\"classes\": [{\"name\": \"A.X\", \"description\": \"\xC3\x28\"}]}",
        "{" + fmt + "\"classes\": [{\"name\": \"A.X\", \"description\": \"\xED\xA0\x80\"}]}",
        "{" + fmt + "\"classes\": [{\"name\": \"A.X\", \"description\": \"tab\there\"}]}",
        "{" + fmt + R"("classes": [{"name": "A.X", "methods": [{"name": "M", "classMethod": tru}]}]})",
        "",
        "   ",
        "[]",
    };
    for (const std::string& text : texts) {
        const Outcome exact = Read(text, true);
        const Outcome fast = Read(text, false);
        EXPECT_EQ(fast, exact) << text;
    }
}

// A scratch cache folder and dictionary file for one test.
class TreeCache : public StringBalanceTest {
protected:
    void SetUp() override {
        char folder[] = "/tmp/vantle-tree-cache-XXXXXX";
        ASSERT_NE(mkdtemp(folder), nullptr);
        root_ = folder;
        cacheHome_ = std::make_unique<ScopedEnv>("XDG_CACHE_HOME", (root_ + "/cache").c_str());
        dictionary_ = root_ + "/classes.json";
    }
    void TearDown() override {
        cacheHome_.reset();
        std::system(("rm -rf '" + root_ + "'").c_str());
    }

    void Write(const std::string& path, const std::string& text) {
        std::ofstream(path, std::ios::binary | std::ios::trunc) << text;
    }
    std::string ReadFile(const std::string& path) {
        std::ifstream in(path, std::ios::binary);
        std::stringstream text;
        text << in.rdbuf();
        return text.str();
    }
    // The one cache file, or empty.
    std::string CacheFile() {
        const std::string folder = root_ + "/cache/kesto";
        std::string found;
        if (FILE* list = popen(("ls '" + folder + "' 2>/dev/null").c_str(), "r")) {
            char name[256];
            while (std::fgets(name, sizeof name, list) != nullptr) {
                std::string entry(name);
                if (!entry.empty() && entry.back() == '\n') entry.pop_back();
                if (entry.size() > 5 && entry.substr(entry.size() - 5) == ".tree") found = folder + "/" + entry;
            }
            pclose(list);
        }
        return found;
    }
    Outcome LoadPath(const std::string& path) {
        kesto::Ref<COM_ITNodeManager> manager = NewTree();
        const LoadOutcome loaded = LoadFile(manager.get(), path);
        kesto::String errors;
        manager->GetLoadErrors(errors.out());
        return {loaded.status, loaded.message, Narrow(errors), DumpTree(manager.get())};
    }
    Outcome LoadExact(const std::string& path) {
        ScopedEnv reader("KESTO_DICTIONARY_READER", "exact");
        return LoadPath(path);
    }

    std::string root_, dictionary_;
    std::unique_ptr<ScopedEnv> cacheHome_;
};

TEST_F(TreeCache, IsWrittenOnTheFirstLoadAndAnswersAsTheDictionaryOnLaterOnes) {
    Write(dictionary_, Generated(40, 5));
    const Outcome exact = LoadExact(dictionary_);
    EXPECT_EQ(CacheFile(), "");  // the exact reader goes past the cache
    ASSERT_EQ(LoadPath(dictionary_), exact);
    const std::string cache = CacheFile();
    ASSERT_NE(cache, "");
    const std::string written = ReadFile(cache);
    EXPECT_EQ(LoadPath(dictionary_), exact);
    EXPECT_TRUE(ReadFile(cache) == written);  // used, not written again
}

TEST_F(TreeCache, ADictionaryChangedBehindTheSameSizeAndTimeIsReadAgain) {
    const std::string before = Generated(8, 2);
    std::string after = before;
    const std::size_t at = after.find("Method 1 of");
    ASSERT_NE(at, std::string::npos);
    after[at] = 'X';  // same size
    Write(dictionary_, before);
    struct stat status{};
    ASSERT_EQ(stat(dictionary_.c_str(), &status), 0);
    ASSERT_EQ(LoadPath(dictionary_).status, S_OK);
    // Rewritten in place (same inode) and given its old time back: only the content differs.
    Write(dictionary_, after);
    const timespec times[2] = {status.st_atim, status.st_mtim};
    ASSERT_EQ(utimensat(AT_FDCWD, dictionary_.c_str(), times, 0), 0);
    const Outcome exact = LoadExact(dictionary_);
    EXPECT_NE(exact.dump.find("Xethod 1 of"), std::string::npos);
    EXPECT_EQ(LoadPath(dictionary_), exact);
    EXPECT_EQ(LoadPath(dictionary_), exact);  // and the cache made anew serves it
}

TEST_F(TreeCache, ADamagedOrTruncatedCacheIsNeverTrustedAndIsWrittenAnew) {
    Write(dictionary_, Generated(16, 4));
    const Outcome exact = LoadExact(dictionary_);
    ASSERT_EQ(LoadPath(dictionary_), exact);
    const std::string cache = CacheFile();
    const std::string good = ReadFile(cache);
    ASSERT_GT(good.size(), 200u);
    struct Damage {
        const char* what;
        std::string bytes;
        std::size_t offset = 0;
    };
    std::vector<Damage> damages = {{"empty", ""}, {"header only", good.substr(0, 96)},
                                   {"half", good.substr(0, good.size() / 2)}, {"one byte short", good.substr(0, good.size() - 1)},
                                   {"one byte more", good + "x"}, {"not a tree", std::string(good.size(), 'x')}};
    for (std::size_t offset : {std::size_t{0}, std::size_t{12}, std::size_t{20}, std::size_t{90}, std::size_t{100},
                               good.size() / 3, good.size() - 1}) {
        std::string flipped = good;
        flipped[offset] = static_cast<char>(flipped[offset] ^ 0x41);
        damages.push_back({"flipped byte", flipped, offset});
    }
    for (const Damage& damage : damages) {
        Write(cache, damage.bytes);
        EXPECT_TRUE(LoadPath(dictionary_) == exact) << damage.what << " " << damage.offset;
        EXPECT_TRUE(ReadFile(cache) == good) << damage.what << " " << damage.offset << " of " << good.size() << ": written anew";
    }
}

TEST_F(TreeCache, ACacheThatCannotBeWrittenOnlyCostsSpeed) {
    Write(dictionary_, Generated(8, 2));
    const Outcome exact = LoadExact(dictionary_);
    Write(root_ + "/file", "not a folder");
    for (const char* home : {"/proc/no-such-folder", "relative/folder", ""}) {
        ScopedEnv cacheHome("XDG_CACHE_HOME", (std::string(home).empty() ? root_ + "/file" : std::string(home)).c_str());
        EXPECT_EQ(LoadPath(dictionary_), exact) << home;
    }
    {
        ScopedEnv off("KESTO_TREE_CACHE", "0");
        EXPECT_EQ(LoadPath(dictionary_), exact);
        EXPECT_EQ(CacheFile(), "");
    }
    {
        ScopedEnv noCache("XDG_CACHE_HOME", nullptr);
        ScopedEnv noHome("HOME", nullptr);
        EXPECT_EQ(LoadPath(dictionary_), exact);
    }
}

TEST_F(TreeCache, FilesTheFastPathCannotMapGoTheExactWay) {
    for (const std::string& path : {root_, root_ + "/missing.json", std::string("/dev/null")}) {
        EXPECT_EQ(LoadPath(path), LoadExact(path)) << path;
    }
    Write(dictionary_, R"({"classes": [{"name": "A.X", "super": ["A.X"]}]})");
    const Outcome cycle = LoadPath(dictionary_);
    EXPECT_EQ(cycle, LoadExact(dictionary_));
    EXPECT_NE(cycle.status, S_OK);
    EXPECT_EQ(CacheFile(), "");  // a failed load leaves no cache
}

class DeepChain : public StringBalanceTest {};

TEST_F(DeepChain, AHundredThousandClassesDeepLoadAndAnswerFromTheBottom) {
    vantle::bench::GeneratorOptions options;
    options.classes = 100000;
    options.chainDepth = 100000;
    options.methodsPerClass = 1;
    options.propertiesPerClass = 1;
    options.parametersPerClass = 0;
    options.overridesPerClass = 0;
    options.descriptions = false;
    kesto::Ref<COM_ITNodeManager> manager = NewTree();
    ASSERT_EQ(Load(manager.get(), vantle::bench::GenerateDictionary(options)).status, S_OK);
    const std::string bottom = vantle::bench::GeneratedClassName(options, 0, options.chainDepth - 1);
    kesto::Ref<COM_ITNodeElement> node;
    ASSERT_EQ(manager->GetClassNode(W(bottom), node.out()), S_OK);
    unsigned int count = 0;
    ASSERT_EQ(node->GetChildCount(W("a"), 1, &count), S_OK);
    EXPECT_EQ(count, options.chainDepth);
    kesto::String file;
    unsigned int line = 0, column = 0;
    const std::string top = vantle::bench::GeneratedPropertyName(0, 0);
    EXPECT_EQ(node->GetLocation(W("a"), W(top), file.out(), &line, &column), S_OK);
    EXPECT_GT(line, 0u);
}

class Reload : public StringBalanceTest {};

TEST_F(Reload, NodesOfTheOldTreeAnswerFromItUntilReleasedAndAFailedLoadKeepsTheLast) {
    const std::string before = R"({"classes": [{"name": "A.X", "methods": [{"name": "Old"}]}, {"name": "A.Y"}]})";
    const std::string after = R"({"classes": [{"name": "A.X", "methods": [{"name": "New"}]}, {"name": "A.Y"}]})";
    kesto::Ref<COM_ITNodeManager> manager = NewTree();
    ASSERT_EQ(Load(manager.get(), before).status, S_OK);
    kesto::Ref<COM_ITNodeElement> old;
    ASSERT_EQ(manager->GetClassNode(W("A.X"), old.out()), S_OK);
    ASSERT_EQ(Load(manager.get(), after).status, S_OK);
    ASSERT_NE(Load(manager.get(), "{\"classes\": [").status, S_OK);
    auto firstMethod = [](COM_ITNodeElement* node) {
        kesto::Ref<COM_IStringCollection> children;
        node->OpenChildren(W("m"), W(""), 1, children.out());
        kesto::String name, values;
        children->Next(name.out(), values.out());
        return Narrow(name);
    };
    kesto::Ref<COM_ITNodeElement> fresh;
    ASSERT_EQ(manager->GetClassNode(W("A.X"), fresh.out()), S_OK);
    EXPECT_EQ(firstMethod(old.get()), "Old");
    EXPECT_EQ(firstMethod(fresh.get()), "New");
}

// A tree manager that is not the runtime's.
struct ForeignTree final : COM_ITNodeManager {
    HRESULT QueryInterface(const COM_GUID&, void** out) override {
        *out = nullptr;
        return E_NOINTERFACE;
    }
    unsigned long AddRef() override { return 1; }
    unsigned long Release() override { return 1; }
    HRESULT GetClassNode(CBSTR, COM_ITNodeElement** out) override {
        *out = nullptr;
        return E_FAIL;
    }
    HRESULT NormalizeName(CBSTR, CBSTR, BSTR* out) override {
        *out = nullptr;
        return E_FAIL;
    }
};

TEST_F(Reload, ADictionaryLoadedOnAnotherThreadIsTakenWholeAndTheImportsStay) {
    kesto::Ref<COM_ITNodeManager> editor = NewTree();
    ASSERT_EQ(Load(editor.get(), R"({"classes": [{"name": "A.X", "methods": [{"name": "Old"}]}]})").status, S_OK);
    kesto::Ref<COM_IClassCache> cache;
    ASSERT_EQ(editor->QueryInterface(COM_IID_IClassCache, cache.out_void()), S_OK);
    ASSERT_EQ(cache->SetImportPackageList(W("Lib")), S_OK);
    ASSERT_NE(Load(editor.get(), "{").status, S_OK);  // leaves load errors to be cleared

    kesto::Ref<COM_ITNodeManager> loaded;
    std::thread worker([&] {
        loaded = NewTree();
        Load(loaded.get(), R"({"classes": [{"name": "A.X", "methods": [{"name": "New"}]}, {"name": "Lib.Z"}]})",
             "new.json");
    });
    kesto::Ref<COM_ITNodeElement> old;
    EXPECT_EQ(editor->GetClassNode(W("A.X"), old.out()), S_OK) << "the editor's manager answers meanwhile";
    worker.join();

    ASSERT_EQ(editor->TakeDictionary(loaded.get()), S_OK);
    loaded.reset();
    kesto::String text;
    EXPECT_EQ(editor->GetDictionaryPath(text.out()), S_OK);
    EXPECT_EQ(Narrow(text), "new.json");
    EXPECT_EQ(editor->GetLoadErrors(text.out()), S_FALSE);
    EXPECT_EQ(editor->NormalizeName(W("Z"), W(""), text.out()), S_OK);
    EXPECT_EQ(Narrow(text), "Lib.Z") << "the import list is the editor's own";
    kesto::Ref<COM_ITNodeElement> fresh;
    ASSERT_EQ(editor->GetClassNode(W("A.X"), fresh.out()), S_OK);
    unsigned int count = 0;
    ASSERT_EQ(fresh->GetChildCount(W("m"), 1, &count), S_OK);
    EXPECT_EQ(count, 1u);
    EXPECT_EQ(fresh->GetLocation(W("m"), W("New"), text.out(), &count, &count), S_OK);
    EXPECT_EQ(old->GetLocation(W("m"), W("Old"), text.out(), &count, &count), S_OK) << "old nodes keep theirs";

    ForeignTree foreign;
    EXPECT_EQ(editor->TakeDictionary(&foreign), E_INVALIDARG);
    EXPECT_EQ(editor->TakeDictionary(nullptr), E_POINTER);
    EXPECT_EQ(editor->TakeDictionary(editor.get()), S_OK);
    EXPECT_EQ(editor->GetClassNode(W("Lib.Z"), fresh.out()), S_OK) << "refusals change nothing";
}

}  // namespace
