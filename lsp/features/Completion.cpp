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

// The items written as JSON text as they come. Each item carries only what differs
// from the defaults: the edit range goes once into itemDefaults when the client
// takes it, the text to insert only when it is not the label, and the insert format
// only for snippets. A list of a thousand members stays small on the wire.
class Items {
public:
    bool incomplete = false;

    Items(const Range& range, bool rangeAsDefault) : range_(range), rangeAsDefault_(rangeAsDefault) {
        text_.reserve(32768);
    }

    // Writes an item, open for more fields, unless the list is full; false then.
    bool Open(std::u16string_view label, CompletionItemKind kind, std::u16string_view newText) {
        if (count_ >= kMaxItems) {
            incomplete = true;
            return false;
        }
        text_ += count_++ == 0 ? "{\"label\":" : ",{\"label\":";
        AppendJsonString(text_, label);
        text_ += ",\"kind\":";
        AppendJsonNumber(text_, static_cast<std::size_t>(kind));
        if (rangeAsDefault_) {
            if (newText != label) Text("textEditText", newText);
        } else {
            text_ += ",\"textEdit\":{\"range\":";
            AppendJsonRange(text_, range_);
            text_ += ",\"newText\":";
            AppendJsonString(text_, newText);
            text_ += '}';
        }
        return true;
    }
    // As Open, for a name that may come more than once (a class may share its name
    // with a package, and several packages may offer the same short name).
    bool OpenOnce(std::u16string_view label, CompletionItemKind kind, std::u16string_view newText) {
        std::u16string key(label);
        key += static_cast<char16_t>(kind);
        if (!seen_.insert(std::move(key)).second) return false;
        return Open(label, kind, newText);
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
        std::string result = incomplete ? "{\"isIncomplete\":true," : "{\"isIncomplete\":false,";
        if (rangeAsDefault_) {
            result += "\"itemDefaults\":{\"editRange\":";
            AppendJsonRange(result, range_);
            result += "},";
        }
        result.reserve(result.size() + text_.size() + 12);
        result += "\"items\":[";
        result += text_;
        result += "]}";
        return {std::move(result)};
    }

private:
    void Key(const char* key) {
        text_ += ",\"";
        text_ += key;
        text_ += "\":";
    }

    Range range_;
    bool rangeAsDefault_;
    std::string text_;
    std::size_t count_ = 0;
    std::unordered_set<std::u16string> seen_;
};

// The component lists each member of a class once, so members need no check for
// repeats. An item's data is [class, kind]; its label is the member.
void AddMembers(FeatureContext& context, const std::u16string& className, std::u16string_view prefix,
                Items& items) {
    std::string data = "[";
    AppendJsonString(data, className);
    data += ",\"";
    const std::size_t kindAt = data.size();
    std::u16string sortKey;
    for (const Member& member : context.assistant.Members(className)) {
        if (!StartsWithIgnoringCase(member.name, prefix)) continue;
        const std::u16string& name = member.name;
        const bool method = member.kind == MemberKind::Method || member.kind == MemberKind::ClassMethod;
        const bool snippet = method && context.client.snippets;
        if (!items.Open(name, ItemKind(member.kind), snippet ? SnippetEscape(name) + u"($1)" : name)) continue;
        sortKey.assign(1, member.isPrivate ? u'1' : u'0');
        sortKey += name;
        items.Text("sortText", sortKey);
        if (snippet) items.Raw("insertTextFormat", "2");
        if (member.isPrivate) items.Raw("labelDetails", "{\"description\":\"private\"}");
        data.resize(kindAt);
        data += KindKey(member.kind);
        data += "\"]";
        items.Raw("data", data);
        items.Close();
    }
}

// Classes and packages whose full names start with `package` + `typed`; each offered
// by its next name part, as `shown` + that part.
void AddClasses(FeatureContext& context, const std::u16string& package, std::u16string_view typed,
                const std::u16string& shown, Items& items) {
    for (const std::u16string& name : context.assistant.ClassList(package + std::u16string(typed))) {
        const std::u16string_view rest = std::u16string_view(name).substr(package.size());
        const std::size_t dot = rest.find(u'.');
        const std::u16string label = shown + std::u16string(rest.substr(0, dot));
        if (!items.OpenOnce(label,
                            dot == std::u16string_view::npos ? CompletionItemKind::Class : CompletionItemKind::Module,
                            label))
            continue;
        if (dot == std::u16string_view::npos) items.Text("detail", name);
        items.Close();
    }
}

}  // namespace

RawJson Completion(FeatureContext& context, const TextDocument& document, Position position) {
    const bool noTree = !context.assistant.HasTree();  // ask again once the dictionary is there
    const std::u16string& text = document.Text();
    const std::size_t offset = document.OffsetAt(position, context.encoding);
    std::optional<Chain> chain = ChainAt(text, offset);
    if (!chain) {
        Items none({}, false);
        none.incomplete = noTree;
        return none.Result();
    }
    const Segment current = chain->segments[chain->current];
    const std::u16string_view prefix = std::u16string_view(text).substr(current.begin, offset - current.begin);
    Items items(document.RangeOf(current.begin, offset, context.encoding), context.client.editRangeDefault);
    items.incomplete = noTree;

    if (chain->current > 0) {
        const auto split = SplitClass(text, *chain, chain->current, CachingResolver(context.assistant));
        if (split && split->classSegments == chain->current)
            AddMembers(context, split->className, prefix, items);
        if (split) return items.Result();  // a member's members would need its type
        // A package path: what it holds, one name part at a time.
        const std::u16string package(ChainText(text, *chain, chain->current));
        AddClasses(context, package + u".", prefix, u"", items);
        return items.Result();
    }
    if (prefix.empty()) return items.Result();
    AddClasses(context, u"", prefix, u"", items);
    // Short names as the component resolves them: %X in %Library, then the package
    // of the class being edited, then the import list.
    if (prefix.front() == u'%') AddClasses(context, u"%Library.", prefix.substr(1), u"%", items);
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
        if (prefix.front() != u'%') AddClasses(context, package + u".", prefix, u"", items);
    return items.Result();
}

json ResolveCompletion(FeatureContext& context, json item) {
    const json& data = Path(item, {"data"});
    if (!data.is_array() || data.size() != 2 || !data[0].is_string() || !Path(item, {"label"}).is_string()) return item;
    const auto kind = KindFromKey(data[1]);
    if (!kind) return item;
    const std::u16string className = ToUtf16(data[0].get<std::string>());
    const std::u16string member = ToUtf16(item["label"].get<std::string>());
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
