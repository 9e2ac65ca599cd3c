// The shape of a class dictionary, as tables: for each kind of object in the file,
// the keys it may hold, the kind of value each one takes, and where that value goes
// in the Dictionary. The reader looks a key up here and does what its entry says,
// so a new key of an existing kind is one more line in a table.
//
// The tables are constant; any thread may read them.
#ifndef KESTO_RUNTIME_DICTIONARY_SCHEMA_H_
#define KESTO_RUNTIME_DICTIONARY_SCHEMA_H_

#include <cstddef>
#include <cstdint>
#include <span>
#include <string_view>

#include "dictionary_model.h"

namespace kesto {

// The one format tag the reader understands.
inline constexpr std::string_view kDictionaryFormat = "vantle-class-dictionary/1";

// The objects of a dictionary that hold keys: the root, a class, and a member of
// each kind (in MemberKind order after kClass).
enum class ObjectKind : std::uint8_t { kRoot, kClass, kMethod, kProperty, kParameter };
inline constexpr int kObjectKindCount = 5;

constexpr ObjectKind ObjectOf(MemberKind kind) {
    return static_cast<ObjectKind>(static_cast<int>(ObjectKind::kMethod) + static_cast<int>(kind));
}

enum class ValueKind : std::uint8_t { kString, kBoolean, kArray };

// What the reader does with a value.
enum class Target : std::uint8_t {
    kFormat,      // checks it against kDictionaryFormat; kept nowhere
    kClasses,     // reads the array of classes
    kClassName,   // checks it by the class-name rules, keeps it as the class's name
    kClassText,   // keeps it in `classText` of the class
    kSupers,      // reads the array of super class names
    kMembers,     // reads an array of members of kind `members`
    kMemberName,  // checks it by the member-name rules, keeps it as the member's name
    kMemberText,  // keeps it in `memberText` of the member; one of `allowed` unless that is empty
    kMemberFlag,  // keeps it in `memberFlag` of the member
};

struct Field {
    std::string_view key;
    ValueKind value;
    Target target;
    MemberKind members = MemberKind::kMethod;
    TextRef ClassRecord::*classText = nullptr;
    TextRef MemberRecord::*memberText = nullptr;
    bool MemberRecord::*memberFlag = nullptr;
    std::span<const std::string_view> allowed = {};  // in the order messages list them
};

// Classes and members list "name" first: the reader tells a nameless one by this
// field's bit among the keys it has seen.
inline constexpr std::size_t kNameField = 0;

// The keys of each kind of object, by ObjectKind, in the order messages list them.
// Keys of one object are never more than 32.
extern const std::span<const Field> kFieldsOf[kObjectKindCount];

// Inline, like FindField: the reader asks once for every key of the file.
inline std::span<const Field> FieldsOf(ObjectKind object) { return kFieldsOf[static_cast<int>(object)]; }

// The entry for `key` in `object`, NULL when the object has no such key. An object
// has a handful of keys and most differ in length, so a plain scan is the fastest.
inline const Field* FindField(ObjectKind object, std::string_view key) {
    for (const Field& field : FieldsOf(object)) {
        if (field.key == key) return &field;
    }
    return nullptr;
}

// The key of a class's array of members of `kind` ("methods", ...).
std::string_view MemberListKey(MemberKind kind);

}  // namespace kesto

#endif  // KESTO_RUNTIME_DICTIONARY_SCHEMA_H_
