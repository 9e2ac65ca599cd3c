// Reading a class dictionary (JSON) into a Dictionary.
//
// The reader checks as it goes and stops at the first problem: a JSON syntax
// error, an unknown or repeated key, a value of the wrong type or outside its set
// of values, a missing or malformed name, a class or member defined twice, a super
// class that does not exist, or super classes that form a cycle. The result then
// holds no dictionary, a failing status (see COM_ITNodeManager::LoadDictionary for
// the codes) and one message "SOURCE:LINE:COLUMN: what (class C, method M)".
// Nothing here throws: running out of memory is reported as E_OUTOFMEMORY.
#ifndef KESTO_RUNTIME_DICTIONARY_LOADER_H_
#define KESTO_RUNTIME_DICTIONARY_LOADER_H_

#include <cstddef>
#include <memory>
#include <string>
#include <string_view>

#include "dictionary_model.h"
#include "kesto/com.h"

namespace kesto {

// A text larger than this is refused with E_OUTOFMEMORY before it is parsed.
inline constexpr std::size_t kLargestDictionaryBytes = std::size_t{1} << 30;

struct DictionaryLoadResult {
    HRESULT status = S_OK;
    std::string message;  // UTF-8; empty on success
    std::shared_ptr<Dictionary> dictionary;  // set exactly on success
};

// `sourceName` stands for the file in messages.
DictionaryLoadResult LoadDictionaryText(std::string_view json, std::string_view sourceName);

// Reads the whole file first; a file that cannot be read gives STG_E_FILENOTFOUND.
DictionaryLoadResult LoadDictionaryFile(const std::string& path);

}  // namespace kesto

#endif  // KESTO_RUNTIME_DICTIONARY_LOADER_H_
