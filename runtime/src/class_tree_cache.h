// Loading a dictionary file through the index cache.
//
// The first load of a file maps it, reads it with the fast reader while hashing
// what was read (XXH3-64) and letting those pages go, and writes the tree's block
// to the cache: $XDG_CACHE_HOME/kesto/ (default ~/.cache/kesto/), one file per
// dictionary path, written to a temporary file and renamed into place. A later load
// finds that file, maps it and uses it as it is, once it has checked that it is
// whole (its own hash and a soundness check of every index) and that it was made
// from this dictionary: same size, modification time, inode and device, and the
// same content hash, which means reading the dictionary once more (that read is
// the largest part of a later load). A cache that is stale, damaged, truncated or
// of another format is ignored and written anew. Failing to write it (no home, a
// read-only folder, a full disk) costs only speed. KESTO_TREE_CACHE=0 turns the
// cache off.
//
// A cache file that someone truncates in place while a tree maps it would fault
// on access; the runtime never does that (it replaces files by renaming), so only
// a foreign hand can.
//
// Each call works on its own files; any thread may load.
#ifndef KESTO_RUNTIME_CLASS_TREE_CACHE_H_
#define KESTO_RUNTIME_CLASS_TREE_CACHE_H_

#include <memory>
#include <string>

#include "class_tree.h"

namespace kesto {

// The tree of the dictionary at `path`, from the cache or read afresh; nullptr when
// the fast path cannot have it (a file it cannot map, text it declines): then the
// caller reads the file the exact way, which also words any problem.
std::shared_ptr<ClassTree> LoadClassTreeFile(const std::string& path);

// Where the cache of `path` is kept; empty when there is no cache folder.
std::string ClassTreeCachePath(const std::string& path);

}  // namespace kesto

#endif  // KESTO_RUNTIME_CLASS_TREE_CACHE_H_
