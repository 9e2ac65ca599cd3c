// One enumeration's names and answers to a keyword query, packed.
//
// Laid out one after the other in the order in which Next hands them out: an
// editor sends the same few queries over the same classes on every keystroke, and
// reading them in order keeps a walk over thousands of members out of the memory's
// way. The text ends in kPaddedCopyUnits spare units, so that any name or answer
// in it may be handed out with AllocPaddedBstr. Made once, then only read; shared
// by the tree's cache and the enumerations open on it.
#ifndef KESTO_RUNTIME_TNODE_ANSWERS_H_
#define KESTO_RUNTIME_TNODE_ANSWERS_H_

#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

namespace kesto {

struct TreeAnswers {
    struct Entry {
        std::uint32_t offset;  // of the name in `text`; the answer follows it
        std::uint32_t nameLength;
        std::uint32_t answerLength;
    };
    std::vector<Entry> entries;
    std::unique_ptr<char16_t[]> text;  // left uninitialised where nothing is written
    std::size_t units = 0;             // spare units included

    std::size_t Bytes() const { return entries.size() * sizeof(Entry) + units * sizeof(char16_t); }
};

}  // namespace kesto

#endif  // KESTO_RUNTIME_TNODE_ANSWERS_H_
