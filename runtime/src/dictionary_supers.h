// Linking each class of a freshly read dictionary to its super classes.
//
// The reader collects super classes as they are written, since a class may name one
// defined further down the file; once every class is read (and the dictionary
// sealed, so that names can be looked up), LinkSuperClasses resolves them the way
// FullClassName completes a name, fills each class's `supers` in file order and
// makes sure no class is its own ancestor. It works on the one dictionary it is
// given, from the loading thread.
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

// False at the first reference that names no class (TNODE_E_CLASSNOTEXIST), or at
// the one that closes a cycle (PARSE_E_COMPILE), with *problem telling which.
bool LinkSuperClasses(Dictionary& dictionary, const std::vector<SuperReference>& references, SuperProblem* problem);

}  // namespace kesto

#endif  // KESTO_RUNTIME_DICTIONARY_SUPERS_H_
