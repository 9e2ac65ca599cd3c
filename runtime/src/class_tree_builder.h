// Building a ClassTree from what a reader collected.
//
// A reader interns every text it keeps (TextInterner: each distinct UTF-8 text
// once, numbered in the order first seen) and fills a DraftTree with records that
// refer to those numbers. BuildClassTree renumbers the texts in code-unit order,
// links the super classes, sorts each class's own members and lays it all out in
// one block. It refuses (nullptr) a draft that the exact reader would refuse: a
// class or a member of one kind defined twice, a super class that names no class,
// or super classes in a cycle; the caller then lets the exact reader say why.
//
// Everything here belongs to the one thread that loads.
#ifndef KESTO_RUNTIME_CLASS_TREE_BUILDER_H_
#define KESTO_RUNTIME_CLASS_TREE_BUILDER_H_

#include <cstdint>
#include <memory>
#include <string_view>
#include <vector>

#include "class_tree.h"
#include "dictionary_model.h"

namespace kesto {

class TextInterner {
public:
    TextInterner();  // the empty text is number 0
    TextId Intern(std::string_view utf8);
    std::uint32_t Count() const { return static_cast<std::uint32_t>(starts_.size() - 1); }
    std::string_view Get(TextId id) const {
        return std::string_view(bytes_.data() + starts_[id], starts_[id + 1] - starts_[id]);
    }

private:
    void Grow();

    std::vector<char> bytes_;
    std::vector<std::uint32_t> starts_;  // one more than texts: the last is the end
    std::vector<std::uint32_t> hashes_;  // by text number
    std::vector<std::uint32_t> slots_;   // text number + 1; 0 is free
};

struct DraftTree {
    TextInterner texts;
    // Texts are numbers of `texts`; `supers` and `own` are filled by the builder.
    std::vector<ClassEntry> classes;
    std::vector<MemberEntry> members;  // owners' members one after the other
    std::vector<SourcePosition> classNameAt;
    std::vector<SourcePosition> memberNameAt;
    // Each class's super classes in order, as numbers of the names as written (to be
    // completed and looked up) or, with `supersResolved`, as class indices.
    std::vector<std::uint32_t> superStarts;  // by class, plus one closing entry
    std::vector<std::uint32_t> supers;
    bool supersResolved = false;
};

std::shared_ptr<ClassTree> BuildClassTree(DraftTree& draft);

// The exact reader's result, in the compact form.
std::shared_ptr<ClassTree> ClassTreeFromDictionary(const Dictionary& dictionary);

}  // namespace kesto

#endif  // KESTO_RUNTIME_CLASS_TREE_BUILDER_H_
