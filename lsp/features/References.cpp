// What the text at a position refers to: a class, or a member of one.
#include <algorithm>
#include <map>
#include <memory>

#include "features/Features.h"
#include "protocol/Uri.h"

namespace vantle::lsp {

ClassResolver CachingResolver(Assistant& assistant) {
    auto cache = std::make_shared<std::map<std::u16string, std::optional<std::u16string>, std::less<>>>();
    return [&assistant, cache](std::u16string_view name) {
        const auto found = cache->find(name);
        if (found != cache->end()) return found->second;
        return cache->emplace(std::u16string(name), assistant.ResolveClass(name)).first->second;
    };
}

std::optional<Reference> ReferenceAt(Assistant& assistant, std::u16string_view text, std::size_t offset) {
    const std::optional<Chain> chain = ChainAt(text, offset);
    if (!chain) return std::nullopt;
    const auto split = SplitClass(text, *chain, chain->segments.size(), CachingResolver(assistant));
    if (!split || chain->current > split->classSegments) return std::nullopt;
    Reference reference;
    reference.className = split->className;
    if (chain->current < split->classSegments) {
        reference.begin = chain->Begin();
        reference.end = chain->segments[split->classSegments - 1].end;
        return reference;
    }
    const Segment& member = chain->segments[chain->current];
    if (member.begin == member.end) return std::nullopt;
    reference.isMember = true;
    reference.member = text.substr(member.begin, member.end - member.begin);
    reference.begin = member.begin;
    reference.end = member.end;
    return reference;
}

std::optional<Location> DictionaryLocation(FeatureContext& context, const std::optional<SourcePoint>& point,
                                           std::size_t units) {
    if (!point) return std::nullopt;
    return Location{PathToUri(point->file),
                    context.dictionary.RangeAt(point->file, point->line, point->column, units, context.encoding)};
}

std::string MemberKindWord(MemberKind kind) {
    switch (kind) {
        case MemberKind::Method: return "method";
        case MemberKind::ClassMethod: return "class method";
        case MemberKind::Property: return "property";
        case MemberKind::Parameter: return "class parameter";
    }
    return "member";
}

namespace {

char16_t Lower(char16_t c) { return c >= u'A' && c <= u'Z' ? static_cast<char16_t>(c + 32) : c; }

bool SameIgnoringCase(char16_t a, char16_t b) { return Lower(a) == Lower(b); }

}  // namespace

bool ContainsIgnoringCase(std::u16string_view text, std::u16string_view part) {
    return part.empty() ||
           std::search(text.begin(), text.end(), part.begin(), part.end(), SameIgnoringCase) != text.end();
}

bool StartsWithIgnoringCase(std::u16string_view text, std::u16string_view prefix) {
    return text.size() >= prefix.size() && std::equal(prefix.begin(), prefix.end(), text.begin(), SameIgnoringCase);
}

std::string Strong(const FeatureContext& context, const std::string& text) {
    return context.client.markdown ? "**" + text + "**" : text;
}

std::string Code(const FeatureContext& context, const std::string& text) {
    if (!context.client.markdown) return text;
    // A code span needs a fence longer than any run of backticks inside it.
    std::size_t longest = 0, run = 0;
    for (const char c : text) longest = std::max(longest, run = c == '`' ? run + 1 : 0);
    const std::string fence(longest + 1, '`');
    return fence + (longest > 0 ? " " + text + " " : text) + fence;
}

std::string CodeBlock(const FeatureContext& context, const std::string& text) {
    return context.client.markdown ? "```\n" + text + "\n```" : text;
}

json Markup(const FeatureContext& context, const std::string& text) {
    return {{"kind", context.client.markdown ? "markdown" : "plaintext"}, {"value", text}};
}

}  // namespace vantle::lsp
