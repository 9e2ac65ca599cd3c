// Query commands: service calls and their output.
#include "QueryCommands.h"

#include "HresultText.h"
#include "ToolJson.h"
#include "ToolText.h"

namespace vantle::tool {
namespace {

void PrintJson(std::ostream& out, const JsonObject& object) { out << object.Text() << "\n"; }

const char* KindName(int kind) {
    switch (kind) {
        case SYMBOL_METHOD:
        case SYMBOL_MEMBERMETHOD:
            return "method";
        case SYMBOL_PROPERTY:
            return "property";
        case SYMBOL_CLASSPARAMETER:
            return "class parameter";
        default:
            return "member";
    }
}

// Display width of UTF-8 text, in characters.
std::size_t DisplayWidth(const std::string& text) {
    std::size_t width = 0;
    for (unsigned char c : text) width += (c & 0xC0) != 0x80;
    return width;
}

// One entry of a member list ("Save(" or "Save(\tCP") as a line for people.
std::string DescribeMemberEntry(const std::string& entry) {
    std::string name = entry;
    std::string markers;
    if (std::size_t tab = entry.find('\t'); tab != std::string::npos) {
        name = entry.substr(0, tab);
        markers = entry.substr(tab + 1);
    }
    bool method = !name.empty() && name.back() == '(';
    if (method) name += ")";
    std::string words;
    for (char marker : markers) {
        if (!words.empty()) words += ", ";
        words += marker == 'C' ? "class method" : marker == 'P' ? "private" : std::string(1, marker);
    }
    if (words.empty()) return name;
    std::size_t width = DisplayWidth(name);
    return name + std::string(width < 28 ? 28 - width : 2, ' ') + words;
}

}  // namespace

int QueryCommands::Finish(HRESULT hr) {
    if (SUCCEEDED(hr)) return 0;
    err_ << "vantle-assist: " << HresultText(hr) << "\n";
    return 1;
}

int QueryCommands::Classes(const std::string& prefix) {
    kesto::String list;
    HRESULT hr = session_.Assist()->GetClassList(kesto::wide(ToUtf16(prefix)), list.out());
    if (style_.json) {
        PrintJson(out_, JsonObject().Number("hresult", hr).String("list", list));
    } else if (SUCCEEDED(hr)) {
        std::vector<std::string> classes = SplitList(Utf8(list));
        for (const std::string& name : classes) out_ << name << "\n";
        if (classes.empty()) out_ << "(no class starts with \"" << prefix << "\")\n";
    }
    return Finish(hr);
}

int QueryCommands::Members(const std::string& className, unsigned int flags, bool extended) {
    std::u16string class16 = ToUtf16(className);
    kesto::String list;
    auto filter = static_cast<MEMBER_FILTER_FLAGS>(flags);
    HRESULT hr = extended ? session_.Assist3()->GetClassMembersEx(kesto::wide(class16), filter, list.out())
                          : session_.Assist()->GetClassMembers(kesto::wide(class16), filter, list.out());
    if (style_.json) {
        PrintJson(out_, JsonObject().Number("hresult", hr).String("list", list));
    } else if (SUCCEEDED(hr)) {
        std::vector<std::string> entries = SplitList(Utf8(list));
        for (const std::string& entry : entries) out_ << DescribeMemberEntry(entry) << "\n";
        if (entries.empty()) {
            out_ << (hr == S_FALSE ? "(no class " + className + ", or a data-type class: see --flags 32)"
                                   : "(no members of " + className + " match these flags)")
                 << "\n";
        }
    }
    return Finish(hr);
}

int QueryCommands::Type(const std::string& className, const std::string& member) {
    SYMBOL_KIND kind = static_cast<SYMBOL_KIND>(0);
    kesto::String type;
    HRESULT hr = session_.Assist()->GetClassMemberType(kesto::wide(ToUtf16(className)), kesto::wide(ToUtf16(member)),
                                                       &kind, type.out());
    if (style_.json) {
        PrintJson(out_, JsonObject().Number("hresult", hr).Number("kind", kind).String("type", type));
    } else if (SUCCEEDED(hr) || kind != 0) {
        if (kind == 0) {
            out_ << "(" << className << " has no member " << member << ")\n";
        } else {
            std::string text = type.is_null() ? "(no type)" : type.view().empty() ? "(none)" : Utf8(type);
            out_ << className << "." << member << ": " << KindName(kind)
                 << (kind == SYMBOL_MEMBERMETHOD ? " returning " : " of type ") << text << "\n";
        }
    }
    return Finish(hr);
}

int QueryCommands::Signature(const std::string& className, const std::string& method, unsigned long argument) {
    kesto::String before, current, after;
    HRESULT hr = session_.Assist()->GetMethodSignature(kesto::wide(ToUtf16(className)), kesto::wide(ToUtf16(method)),
                                                       argument, before.out(), current.out(), after.out());
    if (style_.json) {
        PrintJson(out_, JsonObject()
                            .Number("hresult", hr)
                            .String("before", before)
                            .String("current", current)
                            .String("after", after));
        return Finish(hr);
    }
    if (FAILED(hr)) return Finish(hr);
    std::string b = Utf8(before), c = Utf8(current), a = Utf8(after);
    if (b.empty() && c.empty() && a.empty()) {
        out_ << "(" << className << " has no method " << method << ")\n";
        return Finish(hr);
    }
    if (style_.highlight && !c.empty()) {
        out_ << b << "\x1b[1;7m" << c << "\x1b[0m" << a << "\n";
    } else {
        out_ << b << c << a << "\n";
        if (!c.empty()) out_ << std::string(DisplayWidth(b), ' ') << std::string(DisplayWidth(c), '^') << "\n";
    }
    if (argument > 0 && c.empty()) out_ << "(the method has no argument " << argument << ")\n";
    return Finish(hr);
}

int QueryCommands::Origin(const std::string& className, const std::string& member, int kind) {
    kesto::String origin;
    HRESULT hr = session_.Assist2()->GetMemberOrigin(kesto::wide(ToUtf16(className)), kesto::wide(ToUtf16(member)),
                                                     static_cast<SYMBOL_KIND>(kind), origin.out());
    if (style_.json) {
        PrintJson(out_, JsonObject().Number("hresult", hr).String("origin", origin));
    } else if (SUCCEEDED(hr)) {
        if (origin.is_null()) {
            out_ << "(" << className << " has no " << KindName(kind) << " " << member << ")\n";
        } else {
            out_ << className << "." << member << " is defined in " << Utf8(origin) << "\n";
        }
    }
    return Finish(hr);
}

}  // namespace vantle::tool
