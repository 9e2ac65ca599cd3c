// The byte layout of a loaded class tree, the same in memory and in the index cache.
//
// A tree is one block: a header, then flat sections whose places follow from the
// counts in the header (each starts on an 8-byte boundary). Texts are interned:
// every distinct text is stored once, as 16-bit units, and numbered in code-unit
// order, so that comparing two texts' numbers compares the texts. Records refer to
// texts by number and to classes and members by index. Nothing in the block is a
// pointer, so a block written to a file can be mapped and used as it is.
//
// ValidateTreeBlock checks a block that came from outside (a cache file) before
// anything reads it: after it says yes, every index in the block is in range, the
// texts are strictly ordered and every own-member list and the class index are
// sorted, so no access through ClassTree can leave the block or loop. Stateless;
// any thread may call these.
#ifndef KESTO_RUNTIME_CLASS_TREE_FORMAT_H_
#define KESTO_RUNTIME_CLASS_TREE_FORMAT_H_

#include <cstddef>
#include <cstdint>

#include "dictionary_model.h"

namespace kesto {

inline constexpr char kTreeMagic[8] = {'K', 'S', 'T', 'T', 'R', 'E', 'E', '\0'};
inline constexpr std::uint32_t kTreeFormatVersion = 1;
// Units after the last text that any reader may read (they are zero).
inline constexpr std::uint32_t kTreeSpareUnits = 32;

// What the cache knows of the dictionary file a tree was read from.
struct SourceStamp {
    std::uint64_t size = 0;
    std::int64_t mtimeNs = 0;
    std::uint64_t inode = 0;
    std::uint64_t device = 0;
    std::uint64_t contentHash = 0;  // XXH3-64 of the file's bytes
};

struct TreeHeader {
    char magic[8];
    std::uint32_t version;
    std::uint32_t headerBytes;
    std::uint64_t totalBytes;
    std::uint64_t payloadHash;  // XXH3-64 of the bytes after the header
    SourceStamp source;
    std::uint32_t strings;  // distinct texts
    std::uint32_t units;    // their 16-bit units, all together
    std::uint32_t classes;
    std::uint32_t members;
    std::uint32_t supers;   // super class links, all classes together
    std::uint32_t own;      // own-member list entries, all classes together (= members)
};
static_assert(sizeof(TreeHeader) == 96);

// The member flags, one bit each.
enum MemberFlag : std::uint8_t {
    kFlagClassMethod = 1,
    kFlagPrivate = 2,
    kFlagInternal = 4,
    kFlagRelationship = 8,
};

using TextId = std::uint32_t;

// A class: its texts, and where its super classes and its own members start in the
// flat lists (they end where the next class's start; one more entry closes them).
struct ClassEntry {
    TextId name;
    TextId classType;
    TextId description;
    std::uint32_t supers;
    std::uint32_t own[kMemberKindCount];  // methods, properties, parameters
};
static_assert(sizeof(ClassEntry) == 28);

struct MemberEntry {
    TextId name;
    TextId type;  // a method's return type
    TextId description;
    TextId formalSpec;
    TextId cardinality;
    TextId collection;
    TextId defaultValue;
    std::uint32_t owner;
    std::uint8_t kind;
    std::uint8_t flags;
    std::uint16_t reserved;
};
static_assert(sizeof(MemberEntry) == 36);

// Where each section starts, in bytes from the start of the block.
struct TreeLayout {
    std::size_t textStarts;  // uint32[strings + 1]: where each text starts in `units`
    std::size_t units;       // char16_t[units + kTreeSpareUnits]
    std::size_t classes;     // ClassEntry[classes + 1]
    std::size_t members;     // MemberEntry[members]
    std::size_t supers;      // uint32[supers]: class indices
    std::size_t own;         // uint32[own]: member indices, each list sorted by name
    std::size_t classNameAt; // SourcePosition[classes]
    std::size_t memberNameAt;  // SourcePosition[members]
    std::size_t byName;      // uint32[classes]: class indices sorted by name
    std::size_t total;
};

// False when the counts would not fit a block of at most 4 GiB.
bool LayoutFor(const TreeHeader& counts, TreeLayout* layout);

// Whether `size` bytes at `block` (8-byte aligned) hold a sound tree. With
// `checkHash`, the payload must also match the header's hash.
bool ValidateTreeBlock(const void* block, std::size_t size, bool checkHash);

std::uint64_t PayloadHash(const void* block, std::size_t size);

}  // namespace kesto

#endif  // KESTO_RUNTIME_CLASS_TREE_FORMAT_H_
