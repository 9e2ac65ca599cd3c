// The class-dictionary reader: JSON events straight into a Dictionary.
//
// The JSON library calls the reader once per token: no tree of the whole file is
// built, which keeps a large dictionary fast and small. The shape of a dictionary
// is fixed and shallow: root object -> "classes" array -> class object -> member
// arrays -> member object. So the reader is a small state machine over that shape,
// which takes each key's meaning from the schema tables, and any token that does
// not fit is reported right where it stands. The value at fault is then passed
// over, token by token, and the machine goes on from the state it was in.
#ifndef KESTO_RUNTIME_DICTIONARY_READER_H_
#define KESTO_RUNTIME_DICTIONARY_READER_H_

#include <string_view>

#include "dictionary_loader.h"

namespace kesto {

// What LoadDictionaryText answers, but running out of memory throws std::bad_alloc
// and the library's own failures throw std::exception; `json` is not size-checked.
DictionaryLoadResult ReadDictionaryText(std::string_view json, std::string_view sourceName);

}  // namespace kesto

#endif  // KESTO_RUNTIME_DICTIONARY_READER_H_
