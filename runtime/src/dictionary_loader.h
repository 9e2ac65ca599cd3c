// Reading a class dictionary (JSON) into a loaded tree (class_tree.h).
//
// Well-formed text takes the fast reader (dictionary_fast_reader.h), and a file
// also the index cache (class_tree_cache.h); whatever they decline, the exact
// reader reads from the start. The exact reader checks as it goes: a JSON syntax error, an unknown or repeated key, a
// value of the wrong type or outside its set of values, a missing or malformed
// name, a class or member defined twice, a super class that does not exist, or
// super classes that form a cycle. After a problem it passes over the value at
// fault (a wrong name takes its class or member out of the later checks) and reads
// on, so that one load finds every problem; only a syntax error, a format it does
// not know, or too many problems stop it early. A failed result holds no
// dictionary, the status of the problem that comes first in the file (see
// COM_ITNodeManager::LoadDictionary for the codes) and the problems in file order,
// each "SOURCE:LINE:COLUMN: what (class C, method M)". Nothing here throws:
// running out of memory is reported as E_OUTOFMEMORY.
#ifndef KESTO_RUNTIME_DICTIONARY_LOADER_H_
#define KESTO_RUNTIME_DICTIONARY_LOADER_H_

#include <cstddef>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "class_tree.h"
#include "dictionary_model.h"
#include "kesto/com.h"

namespace kesto {

// A text larger than this is refused with E_OUTOFMEMORY before it is parsed.
inline constexpr std::size_t kLargestDictionaryBytes = std::size_t{1} << 30;

struct DictionaryLoadResult {
    HRESULT status = S_OK;
    std::string message;                // UTF-8; the first of `problems`, empty on success
    std::vector<std::string> problems;  // at least one on failure, none on success
    std::shared_ptr<Dictionary> dictionary;  // the exact reader's, on its success; the loader drops it
    std::shared_ptr<ClassTree> tree;         // set exactly on success
};

// `sourceName` stands for the file in messages.
DictionaryLoadResult LoadDictionaryText(std::string_view json, std::string_view sourceName);

// Through the index cache and the fast reader, or else the exact reader over the
// whole file; a file that cannot be read gives STG_E_FILENOTFOUND.
DictionaryLoadResult LoadDictionaryFile(const std::string& path);

}  // namespace kesto

#endif  // KESTO_RUNTIME_DICTIONARY_LOADER_H_
