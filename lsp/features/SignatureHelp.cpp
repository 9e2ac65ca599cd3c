// Signature help inside the argument list of a method call.
#include "features/Features.h"
#include "protocol/Utf.h"

namespace vantle::lsp {
namespace {

constexpr unsigned long kMaxArguments = 255;

}  // namespace

json SignatureHelp(FeatureContext& context, const TextDocument& document, Position position) {
    const std::u16string& text = document.Text();
    const std::size_t offset = document.OffsetAt(position, context.encoding);
    const ClassResolver resolver = CachingResolver(context.assistant);
    const std::vector<std::size_t> open = OpenParentheses(text, offset);
    // The innermost list that belongs to a method call; a parenthesis that groups
    // or calls something unknown lets the list around it show.
    for (auto paren = open.rbegin(); paren != open.rend(); ++paren) {
        const std::optional<Chain> chain = ChainEndingAt(text, *paren);
        if (!chain || chain->segments.size() < 2) continue;
        const std::size_t methodSegment = chain->segments.size() - 1;
        const auto split = SplitClass(text, *chain, methodSegment, resolver);
        if (!split || split->classSegments != methodSegment) continue;
        const Segment& name = chain->segments[methodSegment];
        const std::u16string method = text.substr(name.begin, name.end - name.begin);
        const std::optional<std::u16string> label = context.assistant.Signature(split->className, method);
        if (!label) continue;

        // Each argument's place in the label, as the component splits it.
        json parameters = json::array();
        for (unsigned long argument = 1; argument <= kMaxArguments; ++argument) {
            const auto parts = context.assistant.SignatureAround(split->className, method, argument);
            if (!parts || parts->current.empty()) break;
            const std::size_t start = EncodedLength(parts->before, context.encoding);
            parameters.push_back({{"label", {start, start + EncodedLength(parts->current, context.encoding)}}});
        }
        const std::size_t active = ArgumentIndex(std::u16string_view(text).substr(*paren + 1, offset - *paren - 1));
        json signature = {{"label", ToUtf8(*label)}, {"parameters", parameters}, {"activeParameter", active}};
        return {{"signatures", json::array({signature})}, {"activeSignature", 0}, {"activeParameter", active}};
    }
    return nullptr;
}

}  // namespace vantle::lsp
