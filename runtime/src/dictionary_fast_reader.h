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
// A text may also come in pieces (ReadFeed): the reader asks for more whenever it
// reaches the end of what is there, and says how far it will never look back, so
// that a file is never resident whole. Nothing here throws but std::bad_alloc; it
// keeps no state.
#ifndef KESTO_RUNTIME_DICTIONARY_FAST_READER_H_
#define KESTO_RUNTIME_DICTIONARY_FAST_READER_H_

#include <cstddef>
#include <memory>
#include <string_view>

#include "class_tree.h"

namespace kesto {

// The text of a file as it is read: the bytes from `text` on, Loaded() of them in
// place so far, all in one buffer that never moves.
class ReadFeed {
public:
    virtual std::size_t Loaded() const = 0;
    // Reads more; false when there is no more (the end, or a read that failed).
    virtual bool More() = 0;
    // The reader never reads the bytes before `bytes` again.
    virtual void Consumed(std::size_t bytes) = 0;

protected:
    ~ReadFeed() = default;
};

// A text that is in memory whole.
std::shared_ptr<ClassTree> ReadDictionaryFast(std::string_view json);
// A text that comes in pieces into the buffer at `text`, `size` bytes in all when
// the file stays as it was.
std::shared_ptr<ClassTree> ReadDictionaryFast(const char* text, std::size_t size, ReadFeed& feed);

}  // namespace kesto

#endif  // KESTO_RUNTIME_DICTIONARY_FAST_READER_H_
