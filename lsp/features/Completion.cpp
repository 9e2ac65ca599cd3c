// Completion: members after a class and a dot, else class names package by package.
#include <unordered_set>

#include "features/Features.h"
#include "protocol/JsonText.h"
#include "protocol/Utf.h"

namespace vantle::lsp {
namespace {

constexpr std::size_t kMaxItems = 1000;

std::u16string SnippetEscape(std::u16string_view text) {
    std::u16string out;
    for (const char16_t c : text) {
        if (c == u'$' || c == u'}' || c == u'\\') out += u'\\';
        out += c;
    }
    return out;
}

CompletionItemKind ItemKind(MemberKind kind) {
    switch (kind) {
        case MemberKind::Method: return CompletionItemKind::Method;
        case MemberKind::ClassMethod: return CompletionItemKind::Function;
        case MemberKind::Property: return CompletionItemKind::Property;
        case MemberKind::Parameter: return CompletionItemKind::Constant;
    }
    return CompletionItemKind::Field;
}

const char* KindKey(MemberKind kind) {
    switch (kind) {
        case MemberKind::Method: return "method";
        case MemberKind::ClassMethod: return "classMethod";
        case MemberKind::Property: return "property";
        case MemberKind::Parameter: return "parameter";
    }
    return "";
}

std::optional<MemberKind> KindFromKey(const json& key) {
    for (MemberKind kind : {MemberKind::Method, MemberKind::ClassMethod, MemberKind::Property, MemberKind::Parameter})
        if (key == KindKey(kind)) return kind;
    return std::nullopt;
}

// The items written as JSON text as they come.
class Items {
public:
    bool incomplete = false;

    // Writes an item, open for more fields, unless one of its label and kind is
    // there already or the list is full; false then.
    bool Open(std::u16string_view label, CompletionItemKind kind, const Range& range, std::u16string_view newText) {
        if (count_ >= kMaxItems) {
            incomplete = true;
            return false;
        }
        std::u16string key(label);
        key += static_cast<char16_t>(kind);  // a class may share its name with a package
        if (!seen_.insert(std::move(key)).second) return false;
        text_ += count_++ == 0 ? "{\"label\":" : ",{\"label\":";
        AppendJsonString(text_, label);
        text_ += ",\"kind\":";
        AppendJsonNumber(text_, static_cast<std::size_t>(kind));
        text_ += ",\"filterText\":";
        AppendJsonString(text_, label);
        text_ += ",\"textEdit\":{\"range\":";
        AppendJsonRange(text_, range);
        text_ += ",\"newText\":";
        AppendJsonString(text_, newText);
        text_ += '}';
        return true;
    }
    // A field of the open item: a string, or JSON text as it is.
    void Text(const char* key, std::u16string_view value) {
        Key(key);
        AppendJsonString(text_, value);
    }
    void Raw(const char* key, std::string_view value) {
        Key(key);
        text_ += value;
    }
    void Close() { text_ += '}'; }

    RawJson Result() const {
        return {std::string(incomplete ? "{\"isIncomplete\":true,\"items\":[" : "{\"isIncomplete\":false,\"items\":[") +
                text_ + "]}"};
    }

private:
    void Key(const char* key) {
        text_ += ",\"";
        text_ += key;
        text_ += "\":";
    }

    std::string text_;
    std::size_t count_ = 0;
    std::unordered_set<std::u16string> seen_;
};

void AddMembers(FeatureContext& context, const std::u16string& className, std::u16string_view prefix,
                const Range& range, Items& items) {
    for (const Member& member : context.assistant.Members(className)) {
        if (!StartsWithIgnoringCase(member.name, prefix)) continue;
        const std::u16string& name = member.name;
        const bool method = member.kind == MemberKind::Method || member.kind == MemberKind::ClassMethod;
        const bool snippet = method && context.client.snippets;
        if (!items.Open(name, ItemKind(member.kind), range, snippet ? SnippetEscape(name) + u"($1)" : name)) continue;
        items.Text("sortText", (member.isPrivate ? u"1" : u"0") + name);
        items.Raw("insertTextFormat",
                  std::to_string(static_cast<int>(snippet ? InsertTextFormat::Snippet : InsertTextFormat::PlainText)));
        if (member.isPrivate) items.Raw("labelDetails", "{\"description\":\"private\"}");
        std::string data = "{\"class\":";
        AppendJsonString(data, className);
        data += ",\"member\":";
        AppendJsonString(data, name);
        data += ",\"kind\":\"";
        data += KindKey(member.kind);
        data += "\"}";
        items.Raw("data", data);
        items.Close();
    }
}

// Classes and packages whose full names start with `package` + `typed`; each offered
// by its next name part, as `shown` + that part.
void AddClasses(FeatureContext& context, const std::u16string& package, std::u16string_view typed,
                const std::u16string& shown, const Range& range, Items& items) {
    for (const std::u16string& name : context.assistant.ClassList(package + std::u16string(typed))) {
        const std::u16string_view rest = std::u16string_view(name).substr(package.size());
        const std::size_t dot = rest.find(u'.');
        const std::u16string label = shown + std::u16string(rest.substr(0, dot));
        if (!items.Open(label, dot == std::u16string_view::npos ? CompletionItemKind::Class : CompletionItemKind::Module,
                        range, label))
            continue;
        if (dot == std::u16string_view::npos) items.Text("detail", name);
        items.Close();
    }
}

}  // namespace

RawJson Completion(FeatureContext& context, const TextDocument& document, Position position) {
    Items items;
    items.incomplete = !context.assistant.HasTree();  // ask again once the dictionary is there
    const std::u16string& text = document.Text();
    const std::size_t offset = document.OffsetAt(position, context.encoding);
    std::optional<Chain> chain = ChainAt(text, offset);
    if (!chain) return items.Result();
    const Segment current = chain->segments[chain->current];
    const std::u16string_view prefix = std::u16string_view(text).substr(current.begin, offset - current.begin);
    const Range range = document.RangeOf(current.begin, offset, context.encoding);

    if (chain->current > 0) {
        const auto split = SplitClass(text, *chain, chain->current, CachingResolver(context.assistant));
        if (split && split->classSegments == chain->current)
            AddMembers(context, split->className, prefix, range, items);
        if (split) return items.Result();  // a member's members would need its type
        // A package path: what it holds, one name part at a time.
        const std::u16string package(ChainText(text, *chain, chain->current));
        AddClasses(context, package + u".", prefix, u"", range, items);
        return items.Result();
    }
    if (prefix.empty()) return items.Result();
    AddClasses(context, u"", prefix, u"", range, items);
    // Short names as the component resolves them: %X in %Library, then the package
    // of the class being edited, then the import list.
    if (prefix.front() == u'%') AddClasses(context, u"%Library.", prefix.substr(1), u"%", range, items);
    std::vector<std::u16string> packages;
    const std::u16string& relative = context.assistant.RelativeClass();
    if (const std::size_t dot = relative.rfind(u'.'); dot != std::u16string::npos)
        packages.push_back(relative.substr(0, dot));
    const std::u16string& imports = context.assistant.Options().imports;
    for (std::size_t start = 0; start <= imports.size();) {
        std::size_t comma = imports.find(u',', start);
        if (comma == std::u16string::npos) comma = imports.size();
        std::u16string entry = imports.substr(start, comma - start);
        entry.erase(0, entry.find_first_not_of(u' '));
        entry.erase(entry.find_last_not_of(u' ') + 1);
        if (!entry.empty()) packages.push_back(entry);
        start = comma + 1;
    }
    for (const std::u16string& package : packages)
        if (prefix.front() != u'%') AddClasses(context, package + u".", prefix, u"", range, items);
    return items.Result();
}

json ResolveCompletion(FeatureContext& context, json item) {
    const json& data = Path(item, {"data"});
    const auto kind = KindFromKey(Path(data, {"kind"}));
    if (!kind || !Path(data, {"class"}).is_string() || !Path(data, {"member"}).is_string()) return item;
    const std::u16string className = ToUtf16(data["class"].get<std::string>());
    const std::u16string member = ToUtf16(data["member"].get<std::string>());
    const auto type = context.assistant.MemberType(className, member);
    const auto origin = context.assistant.Origin(className, member, *kind);
    std::string detail;
    if (*kind == MemberKind::Method || *kind == MemberKind::ClassMethod) {
        if (auto signature = context.assistant.Signature(className, member)) detail = ToUtf8(*signature);
    } else if (type && *kind == MemberKind::Property) {
        detail = ToUtf8(type->second);
    } else {
        detail = MemberKindWord(*kind);
    }
    if (origin) detail += "  (from " + ToUtf8(*origin) + ")";
    item["detail"] = detail;
    std::string documentation = Strong(context, MemberKindWord(*kind));
    if (type && !type->second.empty()) documentation += "\n\nYields " + Code(context, ToUtf8(type->second));
    if (origin) documentation += "\n\nDefined in " + Code(context, ToUtf8(*origin));
    item["documentation"] = Markup(context, documentation);
    return item;
}

}  // namespace vantle::lsp
