// Keyword subscripts of the tree and the TNode piece format of its answers.
//
// A subscript means different things on different kinds of node ("23" is a class's
// class type but a method's class-method flag), so it is resolved against the kind
// of node it is asked of. A subscript unknown for that kind resolves to kUnknown,
// whose value is the empty text. Pieces are a decimal length, ':', the units.
#ifndef KESTO_RUNTIME_TNODE_KEYWORDS_H_
#define KESTO_RUNTIME_TNODE_KEYWORDS_H_

#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "class_tree.h"

namespace kesto {

enum class NodeKind : std::uint8_t { kMethod = 0, kProperty = 1, kParameter = 2, kClass = 3 };

enum class Keyword : std::uint8_t {
    kUnknown,
    kName,
    kOrigin,
    kDescription,
    kType,
    kClassType,
    kClassMethod,
    kInternal,
    kFormalSpec,
    kPrivate,
    kCardinality,
    kCollection,
    kRelationship,
};

inline NodeKind NodeKindOf(MemberKind kind) { return static_cast<NodeKind>(kind); }

Keyword LookupKeyword(std::u16string_view subscript, NodeKind kind);

// Splits a run of pieces into keywords for one kind of node. False when the run is
// malformed (a length without ':', a non-digit in a length, a piece running past
// the end).
bool ParseKeywordQuery(std::u16string_view query, NodeKind kind, std::vector<Keyword>* out);

// The text of a keyword of a member; booleans are "0" or "1".
std::u16string_view MemberKeywordValue(const ClassTree& tree, const MemberEntry& member, Keyword keyword);
// The text of a keyword of a class node.
std::u16string_view ClassKeywordValue(const ClassTree& tree, std::uint32_t cls, Keyword keyword);

// The names and answers to `query` (one piece per keyword, in query order) of
// `members`, in their order.
std::shared_ptr<const TreeAnswers> PackAnswers(const ClassTree& tree, std::span<const std::uint32_t> members,
                                                 const std::vector<Keyword>& query);

}  // namespace kesto

#endif  // KESTO_RUNTIME_TNODE_KEYWORDS_H_
