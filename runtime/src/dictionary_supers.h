// Linking each class of a freshly read dictionary to its super classes.
//
// The reader collects super classes as they are written, since a class may name one
// defined further down the file; once every class is read (and the dictionary
// sealed, so that names can be looked up), LinkSuperClasses resolves them the way
// FullClassName completes a name, fills each class's `supers` in file order and
// makes sure no class is its own ancestor. A reference that names no class, or
// that closes a cycle, is left out of `supers` and reported; the rest go on being
// checked, so one pass finds every such problem. It works on the one dictionary it
// is given, from the loading thread.
#ifndef KESTO_RUNTIME_DICTIONARY_SUPERS_H_
#define KESTO_RUNTIME_DICTIONARY_SUPERS_H_

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "dictionary_model.h"
#include "kesto/com.h"

namespace kesto {

// A super class as a class names it in the file.
struct SuperReference {
    std::uint32_t owner;  // the class that names it
    TextRef name;         // as written
    std::size_t offset;   // of the name in the file
};

struct SuperProblem {
    HRESULT status = S_OK;
    std::size_t offset = 0;  // of the reference at fault
    std::uint32_t owner = 0; // the class that makes the reference
    std::string what;
};

// The references that name no class (TNODE_E_CLASSNOTEXIST), in file order, then
// those that close a cycle (PARSE_E_COMPILE); no more than `most` in all. Empty
// when every class's super classes are linked.
std::vector<SuperProblem> LinkSuperClasses(Dictionary& dictionary, const std::vector<SuperReference>& references,
                                           std::size_t most);

}  // namespace kesto

#endif  // KESTO_RUNTIME_DICTIONARY_SUPERS_H_
