// The loaded class tree: what the tree objects answer from.
//
// A ClassTree reads one block in the layout of class_tree_format.h, which it owns:
// either memory the builder filled or a mapping of an index cache file. Apart from
// its caches (merged member lists and packed answers to keyword queries, filled on
// demand and dropped by DropCaches), it never changes. Texts are numbered in
// code-unit order, so names sort and compare as numbers.
//
// Trees are shared through shared_ptr: elements, enumerations and lists handed out
// keep theirs alive, so a manager can move on to a newer tree while older answers
// are still held. Not thread-safe beyond that: a tree is built on one thread and
// then used from one thread at a time (the caches are not locked).
#ifndef KESTO_RUNTIME_CLASS_TREE_H_
#define KESTO_RUNTIME_CLASS_TREE_H_

#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "class_tree_format.h"
#include "dictionary_model.h"
#include "tnode_answers.h"

namespace kesto {

// The members a query walks: a span kept valid by `keep`.
struct MemberSpan {
    std::shared_ptr<const void> keep;
    std::span<const std::uint32_t> items;
};

class ClassTree {
public:
    static constexpr std::uint32_t kNoClass = 0xFFFFFFFFu;
    static constexpr std::uint32_t kNoMember = 0xFFFFFFFFu;
    static constexpr TextId kNoText = 0xFFFFFFFFu;

    // Owns the bytes: `release` is called with `block` and `size` when the tree goes.
    using Release = void (*)(void* block, std::size_t size);
    // `block` must hold a valid tree (built, or checked by ValidateTreeBlock).
    ClassTree(void* block, std::size_t size, Release release);
    ~ClassTree();
    ClassTree(const ClassTree&) = delete;
    ClassTree& operator=(const ClassTree&) = delete;

    // An empty tree: no class at all.
    static std::shared_ptr<ClassTree> Empty();

    std::u16string_view Source() const { return source_; }
    void SetSource(std::u16string_view source) { source_ = source; }
    const TreeHeader& Header() const { return *header_; }
    std::span<const unsigned char> Bytes() const { return {static_cast<const unsigned char*>(block_), size_}; }

    std::u16string_view Text(TextId id) const {
        return std::u16string_view(units_ + textStarts_[id], textStarts_[id + 1] - textStarts_[id]);
    }
    // kNoText when no text of the tree is exactly `text`.
    TextId FindText(std::u16string_view text) const;

    std::uint32_t ClassCount() const { return header_->classes; }
    std::uint32_t MemberCount() const { return header_->members; }
    const ClassEntry& Class(std::uint32_t index) const { return classes_[index]; }
    const MemberEntry& Member(std::uint32_t index) const { return members_[index]; }
    std::u16string_view ClassName(std::uint32_t index) const { return Text(classes_[index].name); }
    std::u16string_view MemberName(std::uint32_t index) const { return Text(members_[index].name); }
    SourcePosition ClassNameAt(std::uint32_t index) const { return classNameAt_[index]; }
    SourcePosition MemberNameAt(std::uint32_t index) const { return memberNameAt_[index]; }
    std::span<const std::uint32_t> Supers(std::uint32_t index) const {
        return {supers_ + classes_[index].supers, supers_ + classes_[index + 1].supers};
    }
    // A class's own members of one kind, sorted by name.
    std::span<const std::uint32_t> Own(std::uint32_t index, MemberKind kind) const;

    std::uint32_t FindClass(std::u16string_view name) const;
    // Class indices sorted by name.
    std::span<const std::uint32_t> ClassesByName() const { return {byName_, header_->classes}; }

    // The class itself, then its super classes left to right and depth first, each
    // once. Linear in the classes and links it passes.
    std::vector<std::uint32_t> Lineage(std::uint32_t index) const;

    // The member of `kind` named `name` that class `index` has, its own or inherited:
    // the first definition in lineage order. kNoMember when there is none.
    std::uint32_t DefiningMember(std::uint32_t index, MemberKind kind, std::u16string_view name) const;

    // The members of one kind of a class, sorted by name; with `inherited` the
    // lineage's, the first definition of each name in lineage order winning. The
    // result shares ownership of `self`, the pointer that owns this tree.
    MemberSpan Members(const std::shared_ptr<const ClassTree>& self, std::uint32_t index, MemberKind kind,
                       bool inherited) const;

    // Answers kept under a key that the tree objects make of the class, the kind of
    // member, the inherited switch and the query; all dropped when they pass
    // kKeptAnswerBytes (whoever holds one keeps it alive).
    static constexpr std::size_t kKeptAnswerBytes = 64u << 20;
    std::shared_ptr<const TreeAnswers> FindAnswers(const std::string& key) const;
    void KeepAnswers(std::string key, std::shared_ptr<const TreeAnswers> answers) const;

    void DropCaches() const {
        merged_.clear();
        answers_.clear();
        answerBytes_ = 0;
    }

private:
    std::vector<std::uint32_t> MergeLineage(std::uint32_t index, MemberKind kind) const;

    void* block_;
    std::size_t size_;
    Release release_;
    const TreeHeader* header_;
    const std::uint32_t* textStarts_;
    const char16_t* units_;
    const ClassEntry* classes_;
    const MemberEntry* members_;
    const std::uint32_t* supers_;
    const std::uint32_t* own_;
    const SourcePosition* classNameAt_;
    const SourcePosition* memberNameAt_;
    const std::uint32_t* byName_;
    std::u16string source_;

    mutable std::unordered_map<std::uint64_t, std::shared_ptr<const std::vector<std::uint32_t>>> merged_;
    mutable std::unordered_map<std::string, std::shared_ptr<const TreeAnswers>> answers_;
    mutable std::size_t answerBytes_ = 0;
};

}  // namespace kesto

#endif  // KESTO_RUNTIME_CLASS_TREE_H_
