// The keys of a class dictionary.
#include "dictionary_schema.h"

#include <iterator>

namespace kesto {
namespace {

constexpr std::string_view kCollections[] = {"list", "array", ""};
constexpr std::string_view kCardinalities[] = {"one", "many", "parent", "children", ""};

constexpr Field Format() { return {.key = "format", .value = ValueKind::kString, .target = Target::kFormat}; }

constexpr Field Classes() { return {.key = "classes", .value = ValueKind::kArray, .target = Target::kClasses}; }

constexpr Field ClassName() { return {.key = "name", .value = ValueKind::kString, .target = Target::kClassName}; }

constexpr Field ClassText(std::string_view key, TextRef ClassRecord::*to) {
    return {.key = key, .value = ValueKind::kString, .target = Target::kClassText, .classText = to};
}

constexpr Field Supers() { return {.key = "super", .value = ValueKind::kArray, .target = Target::kSupers}; }

constexpr Field Members(std::string_view key, MemberKind kind) {
    return {.key = key, .value = ValueKind::kArray, .target = Target::kMembers, .members = kind};
}

constexpr Field MemberName() { return {.key = "name", .value = ValueKind::kString, .target = Target::kMemberName}; }

constexpr Field MemberText(std::string_view key, TextRef MemberRecord::*to,
                           std::span<const std::string_view> allowed = {}) {
    return {.key = key,
            .value = ValueKind::kString,
            .target = Target::kMemberText,
            .memberText = to,
            .allowed = allowed};
}

constexpr Field MemberFlag(std::string_view key, bool MemberRecord::*to) {
    return {.key = key, .value = ValueKind::kBoolean, .target = Target::kMemberFlag, .memberFlag = to};
}

constexpr Field kRootFields[] = {Format(), Classes()};

constexpr Field kClassFields[] = {
    ClassName(),
    Supers(),
    ClassText("classType", &ClassRecord::classType),
    ClassText("description", &ClassRecord::description),
    Members("methods", MemberKind::kMethod),
    Members("properties", MemberKind::kProperty),
    Members("parameters", MemberKind::kParameter),
};

constexpr Field kMethodFields[] = {
    MemberName(),
    MemberFlag("classMethod", &MemberRecord::classMethod),
    MemberText("returnType", &MemberRecord::type),
    MemberText("formalSpec", &MemberRecord::formalSpec),
    MemberFlag("private", &MemberRecord::isPrivate),
    MemberFlag("internal", &MemberRecord::internal),
    MemberText("description", &MemberRecord::description),
};

constexpr Field kPropertyFields[] = {
    MemberName(),
    MemberText("type", &MemberRecord::type),
    MemberText("collection", &MemberRecord::collection, kCollections),
    MemberFlag("relationship", &MemberRecord::relationship),
    MemberText("cardinality", &MemberRecord::cardinality, kCardinalities),
    MemberFlag("private", &MemberRecord::isPrivate),
    MemberFlag("internal", &MemberRecord::internal),
    MemberText("description", &MemberRecord::description),
};

constexpr Field kParameterFields[] = {
    MemberName(),
    MemberText("type", &MemberRecord::type),
    MemberText("default", &MemberRecord::defaultValue),
    MemberFlag("internal", &MemberRecord::internal),
    MemberText("description", &MemberRecord::description),
};

static_assert(kClassFields[kNameField].target == Target::kClassName);
static_assert(kMethodFields[kNameField].target == Target::kMemberName);
static_assert(kPropertyFields[kNameField].target == Target::kMemberName);
static_assert(kParameterFields[kNameField].target == Target::kMemberName);
static_assert(std::size(kClassFields) <= 32 && std::size(kMethodFields) <= 32 && std::size(kPropertyFields) <= 32 &&
              std::size(kParameterFields) <= 32);

}  // namespace

constinit const std::span<const Field> kFieldsOf[kObjectKindCount] = {kRootFields, kClassFields, kMethodFields,
                                                                      kPropertyFields, kParameterFields};

std::string_view MemberListKey(MemberKind kind) {
    for (const Field& field : kClassFields) {
        if (field.target == Target::kMembers && field.members == kind) return field.key;
    }
    return {};
}

}  // namespace kesto
