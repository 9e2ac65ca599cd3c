// Workspace symbols: classes matching a query, and for "Class.prefix" the members
// of that class, each at its place in the dictionary.
#include "features/Features.h"
#include "protocol/Uri.h"
#include "protocol/Utf.h"

namespace vantle::lsp {
namespace {

constexpr std::size_t kMaxSymbols = 500;

SymbolKind KindOf(MemberKind kind) {
    switch (kind) {
        case MemberKind::Method: return SymbolKind::Method;
        case MemberKind::ClassMethod: return SymbolKind::Function;
        case MemberKind::Property: return SymbolKind::Property;
        case MemberKind::Parameter: return SymbolKind::Constant;
    }
    return SymbolKind::Method;
}

json Symbol(FeatureContext& context, const std::u16string& name, SymbolKind kind, const std::u16string& container,
            const std::optional<SourcePoint>& point) {
    std::optional<Location> location = DictionaryLocation(context, point, name.size());
    if (!location) location = Location{PathToUri(context.dictionaryPath), {}};
    json symbol = {{"name", ToUtf8(name)}, {"kind", static_cast<int>(kind)}, {"location", *location}};
    if (!container.empty()) symbol["containerName"] = ToUtf8(container);
    return symbol;
}

}  // namespace

json WorkspaceSymbols(FeatureContext& context, const std::string& query) {
    Assistant& assistant = context.assistant;
    const std::u16string wanted = ToUtf16(query);
    json symbols = json::array();
    for (const std::u16string& name : assistant.ClassList(u"")) {
        if (symbols.size() >= kMaxSymbols) return symbols;
        if (!ContainsIgnoringCase(name, wanted)) continue;
        const std::size_t dot = name.rfind(u'.');
        symbols.push_back(Symbol(context, name, SymbolKind::Class,
                                 dot == std::u16string::npos ? u"" : name.substr(0, dot),
                                 assistant.Locate(name, std::nullopt, u"")));
    }
    const std::size_t dot = wanted.rfind(u'.');
    if (dot == std::u16string::npos) return symbols;
    const std::optional<std::u16string> className = assistant.ResolveClass(std::u16string_view(wanted).substr(0, dot));
    if (!className) return symbols;
    const std::u16string_view prefix = std::u16string_view(wanted).substr(dot + 1);
    for (const Member& member : assistant.Members(*className)) {
        if (symbols.size() >= kMaxSymbols) break;
        if (!StartsWithIgnoringCase(member.name, prefix)) continue;
        symbols.push_back(Symbol(context, member.name, KindOf(member.kind), *className,
                                 assistant.Locate(*className, member.kind, member.name)));
    }
    return symbols;
}

}  // namespace vantle::lsp
