// The fast path of loading: a dictionary that is well formed, straight into a tree.
//
// ReadDictionaryFast reads the JSON of a dictionary in one pass, interning texts as
// it goes, and builds the compact tree. It knows only well-formed dictionaries: at
// anything the exact reader (dictionary_reader.h) would object to, and at anything
// it is not sure of (a byte order mark, a number or null, an escape that makes a
// surrogate or a control character, a key or field it does not know), it declines
// (nullptr) without a word, and the caller runs the exact reader, which finds and
// words the problems. So a tree from here is the tree the exact reader would make,
// and every message still comes from the exact reader.
//
// `progress`, when given, is told every few megabytes how far the text has been
// read; the bytes before that are not read again, so the caller may hash them and
// let their pages go. Nothing here throws but std::bad_alloc; it keeps no state.
#ifndef KESTO_RUNTIME_DICTIONARY_FAST_READER_H_
#define KESTO_RUNTIME_DICTIONARY_FAST_READER_H_

#include <cstddef>
#include <memory>
#include <string_view>

#include "class_tree.h"

namespace kesto {

class ReadProgress {
public:
    virtual void Consumed(std::size_t bytes) = 0;

protected:
    ~ReadProgress() = default;
};

std::shared_ptr<ClassTree> ReadDictionaryFast(std::string_view json, ReadProgress* progress = nullptr);

}  // namespace kesto

#endif  // KESTO_RUNTIME_DICTIONARY_FAST_READER_H_
