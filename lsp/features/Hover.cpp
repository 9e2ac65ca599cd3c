// Hover: what a member yields, where it is defined, a method's signature; a
// class's super classes and description.
#include "features/Features.h"
#include "protocol/Utf.h"

namespace vantle::lsp {
namespace {

std::string ClassHover(FeatureContext& context, const std::u16string& className) {
    std::string text = Strong(context, ToUtf8(className)) + " (class)";
    const std::optional<ClassDescription> description = context.assistant.Describe(className);
    if (!description) return text;
    if (!description->superClasses.empty()) {
        text += "\n\nSuper classes: ";
        for (std::size_t i = 0; i < description->superClasses.size(); ++i)
            text += (i > 0 ? ", " : "") + Code(context, ToUtf8(description->superClasses[i]));
    }
    if (!description->description.empty()) text += "\n\n" + ToUtf8(description->description);
    return text;
}

std::optional<std::string> MemberHover(FeatureContext& context, const Reference& reference) {
    Assistant& assistant = context.assistant;
    const std::optional<MemberKind> kind = assistant.FindMember(reference.className, reference.member);
    if (!kind) return std::nullopt;
    std::string text = Strong(context, ToUtf8(reference.member)) + " (" + MemberKindWord(*kind) + " of " +
                       Code(context, ToUtf8(reference.className)) + ")";
    if (*kind == MemberKind::Method)
        if (auto signature = assistant.Signature(reference.className, reference.member))
            text += "\n\n" + CodeBlock(context, ToUtf8(*signature));
    if (auto type = assistant.MemberType(reference.className, reference.member); type && !type->second.empty())
        text += "\n\nYields " + Code(context, ToUtf8(type->second));
    if (auto origin = assistant.Origin(reference.className, reference.member, *kind))
        text += "\n\nDefined in " + Code(context, ToUtf8(*origin));
    return text;
}

}  // namespace

json Hover(FeatureContext& context, const TextDocument& document, Position position) {
    const std::u16string& text = document.Text();
    const auto reference = ReferenceAt(context.assistant, text, document.OffsetAt(position, context.encoding));
    if (!reference) return nullptr;
    const std::optional<std::string> contents =
        reference->isMember ? MemberHover(context, *reference) : ClassHover(context, reference->className);
    if (!contents) return nullptr;
    return {{"contents", Markup(context, *contents)},
            {"range", document.RangeOf(reference->begin, reference->end, context.encoding)}};
}

}  // namespace vantle::lsp
