// Query commands: service calls and their output.
#include "tools/QueryCommands.h"

#include "tools/HresultText.h"
#include "tools/ToolJson.h"
#include "tools/ToolText.h"

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

}  // namespace

std::size_t DisplayWidth(const std::string& text) {
    std::size_t width = 0;
    for (unsigned char c : text) width += (c & 0xC0) != 0x80;
    return width;
}

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

int QueryCommands::Finish(HRESULT hr) {
    if (SUCCEEDED(hr)) return 0;
    err_ << "vantle-assist: " << HresultText(hr, session_.ModuleHandle()) << "\n";
    return 1;
}

int QueryCommands::Classes(const std::string& prefix) {
    std::u16string prefix16 = ToUtf16(prefix);
    Bstr list;
    HRESULT hr = session_.Assist()->GetClassList(Wide(prefix16), list.Out());
    if (style_.json) {
        PrintJson(out_, JsonObject().Number("hresult", hr).String("list", list));
    } else if (SUCCEEDED(hr)) {
        std::vector<std::string> classes = SplitList(list.Utf8());
        for (const std::string& name : classes) out_ << name << "\n";
        if (classes.empty()) out_ << "(no class starts with \"" << prefix << "\")\n";
    }
    return Finish(hr);
}

int QueryCommands::Members(const std::string& className, unsigned int flags, bool extended) {
    std::u16string class16 = ToUtf16(className);
    Bstr list;
    auto filter = static_cast<MEMBER_FILTER_FLAGS>(flags);
    HRESULT hr = extended ? session_.Assist3()->GetClassMembersEx(Wide(class16), filter, list.Out())
                          : session_.Assist()->GetClassMembers(Wide(class16), filter, list.Out());
    if (style_.json) {
        PrintJson(out_, JsonObject().Number("hresult", hr).String("list", list));
    } else if (SUCCEEDED(hr)) {
        std::vector<std::string> entries = SplitList(list.Utf8());
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
    std::u16string class16 = ToUtf16(className), member16 = ToUtf16(member);
    SYMBOL_KIND kind = static_cast<SYMBOL_KIND>(0);
    Bstr type;
    HRESULT hr = session_.Assist()->GetClassMemberType(Wide(class16), Wide(member16), &kind, type.Out());
    if (style_.json) {
        PrintJson(out_, JsonObject().Number("hresult", hr).Number("kind", kind).String("type", type));
    } else if (SUCCEEDED(hr) || kind != 0) {
        if (kind == 0) {
            out_ << "(" << className << " has no member " << member << ")\n";
        } else {
            std::string text = type.IsNull() ? "(no type)" : type.Utf8().empty() ? "(none)" : type.Utf8();
            out_ << className << "." << member << ": " << KindName(kind)
                 << (kind == SYMBOL_MEMBERMETHOD ? " returning " : " of type ") << text << "\n";
        }
    }
    return Finish(hr);
}

int QueryCommands::Signature(const std::string& className, const std::string& method, unsigned long argument) {
    std::u16string class16 = ToUtf16(className), method16 = ToUtf16(method);
    Bstr before, current, after;
    HRESULT hr = session_.Assist()->GetMethodSignature(Wide(class16), Wide(method16), argument, before.Out(),
                                                       current.Out(), after.Out());
    if (style_.json) {
        PrintJson(out_, JsonObject()
                            .Number("hresult", hr)
                            .String("before", before)
                            .String("current", current)
                            .String("after", after));
        return Finish(hr);
    }
    if (FAILED(hr)) return Finish(hr);
    std::string b = before.Utf8(), c = current.Utf8(), a = after.Utf8();
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
    std::u16string class16 = ToUtf16(className), member16 = ToUtf16(member);
    Bstr origin;
    HRESULT hr = session_.Assist2()->GetMemberOrigin(Wide(class16), Wide(member16), static_cast<SYMBOL_KIND>(kind),
                                                     origin.Out());
    if (style_.json) {
        PrintJson(out_, JsonObject().Number("hresult", hr).String("origin", origin));
    } else if (SUCCEEDED(hr)) {
        if (origin.IsNull()) {
            out_ << "(" << className << " has no " << KindName(kind) << " " << member << ")\n";
        } else {
            out_ << className << "." << member << " is defined in " << origin.Utf8() << "\n";
        }
    }
    return Finish(hr);
}

}  // namespace vantle::tool
