// Loading a class dictionary: size and memory limits around the reader.
#include "dictionary_loader.h"

#include <cstdlib>
#include <cstring>
#include <exception>
#include <new>

#include "class_tree_builder.h"
#include "class_tree_cache.h"
#include "dictionary_fast_reader.h"
#include "dictionary_file.h"
#include "dictionary_messages.h"
#include "dictionary_reader.h"

namespace kesto {
namespace {

DictionaryLoadResult Failure(HRESULT status, std::string message) {
    DictionaryLoadResult result;
    result.status = status;
    result.problems.push_back(message);
    result.message = std::move(message);
    return result;
}

// The exact reader's dictionary in the tree's compact form.
DictionaryLoadResult Compacted(DictionaryLoadResult result, std::string_view sourceName) {
    if (FAILED(result.status) || result.dictionary == nullptr) return result;
    result.tree = ClassTreeFromDictionary(*result.dictionary);
    result.dictionary.reset();
    if (result.tree == nullptr) return Failure(E_FAIL, messages::Failed(sourceName, "the dictionary does not compact"));
    return result;
}

// KESTO_DICTIONARY_READER=exact sends every load to the exact reader (and past the
// cache): how tests and fuzzers hold the fast path against it.
bool FastPathAllowed() {
    const char* reader = std::getenv("KESTO_DICTIONARY_READER");
    return reader == nullptr || std::strcmp(reader, "exact") != 0;
}

DictionaryLoadResult Loaded(std::shared_ptr<ClassTree> tree) {
    DictionaryLoadResult result;
    result.tree = std::move(tree);
    return result;
}

// The text through the fast path unless it is known to decline (`fast` false),
// then the exact reader.
DictionaryLoadResult LoadText(std::string_view json, std::string_view sourceName, bool fast) {
    try {
        if (json.size() > kLargestDictionaryBytes) return Failure(E_OUTOFMEMORY, messages::TooLarge(sourceName));
        // Well-formed text takes the fast path; anything it declines, the exact
        // reader reads again from the start and words the problems.
        if (fast) {
            if (std::shared_ptr<ClassTree> tree = ReadDictionaryFast(json)) return Loaded(std::move(tree));
        }
        DictionaryLoadResult result = ReadDictionaryText(json, sourceName);
        return Compacted(std::move(result), sourceName);
    } catch (const std::bad_alloc&) {
        return Failure(E_OUTOFMEMORY, messages::OutOfMemoryLoading(sourceName));
    } catch (const std::exception& error) {
        return Failure(E_FAIL, messages::Failed(sourceName, error.what()));
    }
}

}  // namespace

DictionaryLoadResult LoadDictionaryText(std::string_view json, std::string_view sourceName) {
    return LoadText(json, sourceName, FastPathAllowed());
}

DictionaryLoadResult LoadDictionaryFile(const std::string& path) {
    try {
        if (FastPathAllowed()) {
            if (std::shared_ptr<ClassTree> tree = LoadClassTreeFile(path)) return Loaded(std::move(tree));
        }
    } catch (const std::bad_alloc&) {
        return Failure(E_OUTOFMEMORY, messages::OutOfMemoryLoading(path));
    }
    // The file as a whole, for the exact reader: the fast path had it already.
    std::string text;
    std::string message;
    const HRESULT status = ReadDictionaryFile(path, &text, &message);
    if (FAILED(status)) return Failure(status, std::move(message));
    return LoadText(text, path, false);
}

}  // namespace kesto
