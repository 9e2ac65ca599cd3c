// The exact reader's form of a class dictionary.
//
// The exact reader (dictionary_reader.h) builds a Dictionary as it reads and checks
// it; the loader then turns it into the compact tree that the tree objects answer
// from (class_tree.h, ClassTreeFromDictionary). All texts live in one pool of 16-bit
// units and are referred to by TextRef; names compare and sort by code-unit value.
// Member lists are vectors of member indices sorted by name.
//
// Each class and member keeps where its name stands in the source, for editors that
// jump to a definition.
//
// Not thread-safe: built and read by the one loading thread.
#ifndef KESTO_RUNTIME_DICTIONARY_MODEL_H_
#define KESTO_RUNTIME_DICTIONARY_MODEL_H_

#include <array>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace kesto {

struct TextRef {
    std::uint32_t offset = 0;
    std::uint32_t length = 0;
};

// Where a name starts in the source: its first character, after the opening quote.
// Lines and columns count from 1, columns in UTF-16 code units (see
// dictionary_position.h). Two 32-bit numbers: a source is at most 1 GiB.
struct SourcePosition {
    std::uint32_t line = 0;
    std::uint32_t column = 0;
};

enum class MemberKind : std::uint8_t { kMethod = 0, kProperty = 1, kParameter = 2 };
constexpr int kMemberKindCount = 3;

struct MemberRecord {
    TextRef name;
    TextRef type;  // a method's return type
    TextRef description;
    TextRef formalSpec;
    TextRef cardinality;
    TextRef collection;
    TextRef defaultValue;
    std::uint32_t owner = 0;  // index of the defining class
    MemberKind kind = MemberKind::kMethod;
    bool classMethod = false;
    bool isPrivate = false;
    bool internal = false;
    bool relationship = false;
};

using MemberList = std::vector<std::uint32_t>;

struct ClassRecord {
    TextRef name;
    TextRef classType;
    TextRef description;
    std::vector<std::uint32_t> supers;  // class indices, declaration order
    std::array<MemberList, kMemberKindCount> own;  // sorted by name
};

class Dictionary {
public:
    static constexpr std::uint32_t kNoClass = 0xFFFFFFFFu;
    static constexpr std::uint32_t kNoMember = 0xFFFFFFFFu;

    // The file or buffer name the dictionary was loaded from.
    std::u16string_view Source() const { return source_; }
    void SetSource(std::u16string_view source) { source_ = source; }

    std::u16string_view Text(TextRef ref) const {
        return std::u16string_view(pool_.data() + ref.offset, ref.length);
    }
    // Room for this many units of text, to spare the pool's regrowth while loading.
    void ReserveText(std::size_t units);
    // Appends UTF-8 as 16-bit units.
    TextRef AddUtf8(std::string_view utf8);

    std::uint32_t ClassCount() const { return static_cast<std::uint32_t>(classes_.size()); }
    std::uint32_t MemberCount() const { return static_cast<std::uint32_t>(members_.size()); }
    const ClassRecord& Class(std::uint32_t index) const { return classes_[index]; }
    const MemberRecord& Member(std::uint32_t index) const { return members_[index]; }
    std::u16string_view ClassName(std::uint32_t index) const { return Text(classes_[index].name); }
    std::u16string_view MemberName(std::uint32_t index) const { return Text(members_[index].name); }
    // Where a class's or member's name stands in the source.
    SourcePosition ClassNameAt(std::uint32_t index) const { return classNameAt_[index]; }
    SourcePosition MemberNameAt(std::uint32_t index) const { return memberNameAt_[index]; }

    // kNoClass when no class has exactly this name. Needs Seal().
    std::uint32_t FindClass(std::u16string_view name) const;
    // Class indices sorted by name (code-unit order). Needs Seal().
    const std::vector<std::uint32_t>& ClassesByName() const { return byName_; }

    // Building (the loader). New records come with their name's position unknown
    // (line 0) until SetClassNameAt / SetMemberNameAt.
    std::vector<ClassRecord>& MutableClasses() { return classes_; }
    std::vector<MemberRecord>& MutableMembers() { return members_; }
    ClassRecord& NewClass();
    MemberRecord& NewMember();
    void DropLastClass();
    void SetClassNameAt(std::uint32_t index, SourcePosition at) { classNameAt_[index] = at; }
    void SetMemberNameAt(std::uint32_t index, SourcePosition at) { memberNameAt_[index] = at; }
    // Index pairs (first definition, later definition) of names defined twice or more.
    using Duplicates = std::vector<std::pair<std::uint32_t, std::uint32_t>>;
    // Builds the name index. Returns every class that repeats the name of an earlier
    // one, paired with the first, in the order of the repeats; empty when all
    // names differ.
    Duplicates Seal();
    // Sorts one member list by name; returns the repeated names as Seal does.
    Duplicates SortMembers(MemberList& list) const;

private:
    std::u16string pool_;
    std::u16string source_;
    std::vector<ClassRecord> classes_;
    std::vector<MemberRecord> members_;
    // Apart from the records: the listings walk those, and never need these.
    std::vector<SourcePosition> classNameAt_;
    std::vector<SourcePosition> memberNameAt_;
    std::vector<std::uint32_t> byName_;
};

}  // namespace kesto

#endif  // KESTO_RUNTIME_DICTIONARY_MODEL_H_
