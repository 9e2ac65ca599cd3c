// Go to definition: the name of a class, or of a member in its defining class, in
// the dictionary file.
#include "features/Features.h"

namespace vantle::lsp {

json Definition(FeatureContext& context, const TextDocument& document, Position position) {
    Assistant& assistant = context.assistant;
    const auto reference = ReferenceAt(assistant, document.Text(), document.OffsetAt(position, context.encoding));
    if (!reference) return nullptr;
    std::optional<Location> location;
    if (!reference->isMember) {
        location = DictionaryLocation(context, assistant.Locate(reference->className, std::nullopt, u""),
                                      reference->className.size());
    } else if (const auto kind = assistant.FindMember(reference->className, reference->member)) {
        location = DictionaryLocation(context, assistant.Locate(reference->className, *kind, reference->member),
                                      reference->member.size());
    }
    if (!location) return nullptr;
    return *location;
}

}  // namespace vantle::lsp
