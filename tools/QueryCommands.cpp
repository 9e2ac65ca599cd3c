// Query commands: service calls and their answers.
#include "QueryCommands.h"

#include "HresultText.h"
#include "Suggest.h"
#include "ToolExit.h"
#include "ToolText.h"

namespace vantle::tool {
namespace {

constexpr unsigned int kMethodsOnly = MEMBER_CLASSMETHODS | MEMBER_INSTANCEMETHODS | MEMBER_INTERNAL | MEMBER_DATATYPES;

// Display width of UTF-8 text, in characters.
std::size_t DisplayWidth(const std::string& text) {
    std::size_t width = 0;
    for (unsigned char c : text) width += (c & 0xC0) != 0x80;
    return width;
}

// The exit code of a failed service call.
int FailureExit(HRESULT hr) {
    if (hr == TNODE_E_CLASSNOTEXIST) return kExitNotFound;
    if (hr == TNODE_E_INVALIDCLASSNAME || hr == E_INVALIDARG) return kExitUsage;
    return kExitInternal;
}

// Why a class-and-member query found nothing: the class is missing (with the
// classes meant perhaps), or the class lacks the member (with its members of the
// kinds asked about).
int ExplainMissing(ServiceSession& session, Reply& reply, HRESULT hr, const std::string& className,
                   const std::string& member, const char* what, unsigned int filter) {
    if (FAILED(hr) && hr != TNODE_E_CLASSNOTEXIST)
        return reply.Fail(FailureExit(hr), className + ": " + HresultText(hr));
    std::string full;
    if (!session.ClassExists(className, &full))
        return reply.Fail(kExitNotFound, "class " + className + " does not exist",
                          Suggest(className, session.ClassNames()));
    return reply.Fail(kExitNotFound, "class " + full + " has no " + what + " " + member,
                      Suggest(member, session.MemberNames(full, filter)));
}

struct MemberEntry {
    std::string name;
    const char* kind;
    bool classMethod = false;
    bool isPrivate = false;
};

// The service's list ("Save(\tCP,Lines,") as entries. Properties and parameters
// look alike in it; parameters come last, so knowing how many there are is enough.
std::vector<MemberEntry> ReadMembers(const std::string& list, std::size_t parameters) {
    std::vector<MemberEntry> entries;
    for (const std::string& item : SplitList(list)) {
        MemberEntry entry;
        std::string markers;
        entry.name = item;
        if (std::size_t tab = item.find('\t'); tab != std::string::npos) {
            entry.name = item.substr(0, tab);
            markers = item.substr(tab + 1);
        }
        const bool method = !entry.name.empty() && entry.name.back() == '(';
        if (method) entry.name.pop_back();
        entry.kind = method ? "method" : "property";
        entry.classMethod = markers.find('C') != std::string::npos;
        entry.isPrivate = markers.find('P') != std::string::npos;
        entries.push_back(std::move(entry));
    }
    for (std::size_t i = entries.size(); i > 0 && parameters > 0; --i, --parameters) {
        if (std::string_view(entries[i - 1].kind) == "method") break;
        entries[i - 1].kind = "parameter";
    }
    return entries;
}

std::string MemberLine(const MemberEntry& entry, bool extended) {
    std::string name = entry.name + (std::string_view(entry.kind) == "method" ? "()" : "");
    std::string words;
    if (extended) {
        if (entry.classMethod) words = "class method";
        if (entry.isPrivate) words += words.empty() ? "private" : ", private";
    }
    if (words.empty()) return name;
    std::size_t width = DisplayWidth(name);
    return name + std::string(width < 28 ? 28 - width : 2, ' ') + words;
}

}  // namespace

unsigned int MemberFilter(const CommandLine& line) {
    unsigned int filter = line.flags.value_or(MEMBER_CLASSMETHODS | MEMBER_INSTANCEMETHODS | MEMBER_PROPERTIES);
    if (line.kind) {
        filter &= MEMBER_INTERNAL | MEMBER_DATATYPES;
        switch (*line.kind) {
            case SYMBOL_PROPERTY:
                filter |= MEMBER_PROPERTIES;
                break;
            case SYMBOL_CLASSPARAMETER:
                filter |= MEMBER_PARAMETERS;
                break;
            default:
                filter |= MEMBER_CLASSMETHODS | MEMBER_INSTANCEMETHODS;
                break;
        }
    }
    return filter;
}

int RunClasses(const CommandLine& line, ServiceSession* session, Reply& reply) {
    const std::string prefix = line.arguments.empty() ? std::string() : line.arguments[0];
    kesto::String list;
    HRESULT hr = session->Assist()->GetClassList(kesto::wide(ToUtf16(prefix)), list.out());
    reply.Result(hr);
    reply.Document()["prefix"] = prefix;
    if (FAILED(hr)) {
        reply.Document()["classes"] = nullptr;
        return reply.Fail(FailureExit(hr), "the class list cannot be read: " + HresultText(hr));
    }
    Json classes = Json::array();
    for (const std::string& name : SplitList(Utf8(list))) {
        classes.push_back(Json{{"name", name}});
        reply.Text() << name << "\n";
    }
    const bool none = classes.empty();
    reply.Document()["classes"] = std::move(classes);
    if (none) return reply.Fail(kExitNotFound, "no class starts with \"" + prefix + "\"");
    return reply.ExitCode();
}

int RunMembers(const CommandLine& line, ServiceSession* session, Reply& reply) {
    const std::string& className = line.arguments[0];
    const unsigned int filter = MemberFilter(line);
    kesto::String list;
    HRESULT hr = session->Assist3()->GetClassMembersEx(kesto::wide(ToUtf16(className)),
                                                      static_cast<MEMBER_FILTER_FLAGS>(filter), list.out());
    reply.Result(hr);
    reply.Document()["class"] = className;
    reply.Document()["flags"] = filter;
    if (FAILED(hr) || list.is_null()) {
        reply.Document()["members"] = nullptr;
        if (FAILED(hr) && hr != TNODE_E_CLASSNOTEXIST)
            return reply.Fail(FailureExit(hr), className + ": " + HresultText(hr));
        if (!session->ClassExists(className))
            return reply.Fail(kExitNotFound, "class " + className + " does not exist",
                              Suggest(className, session->ClassNames()));
        return reply.Fail(kExitNotFound, className + " is a data-type class",
                          {}, "its members are listed with --flags " + std::to_string(filter | MEMBER_DATATYPES) +
                                  " (32 allows data-type classes)");
    }
    std::size_t parameters = 0;
    if ((filter & MEMBER_PARAMETERS) != 0 && (filter & MEMBER_PROPERTIES) != 0) {
        kesto::String only;
        const unsigned int parameterFilter = (filter & (MEMBER_INTERNAL | MEMBER_DATATYPES)) | MEMBER_PARAMETERS;
        if (SUCCEEDED(session->Assist()->GetClassMembers(kesto::wide(ToUtf16(className)),
                                                        static_cast<MEMBER_FILTER_FLAGS>(parameterFilter),
                                                        only.out())))
            parameters = SplitList(Utf8(only)).size();
    } else if ((filter & MEMBER_PARAMETERS) != 0) {
        parameters = SIZE_MAX;
    }
    Json members = Json::array();
    for (const MemberEntry& entry : ReadMembers(Utf8(list), parameters)) {
        members.push_back(Json{{"name", entry.name},
                               {"kind", entry.kind},
                               {"classMethod", entry.classMethod},
                               {"private", entry.isPrivate}});
        reply.Text() << MemberLine(entry, line.extended) << "\n";
    }
    if (members.empty()) reply.Text() << "(no members of " << className << " match these flags)\n";
    reply.Document()["members"] = std::move(members);
    return reply.ExitCode();
}

int RunType(const CommandLine& line, ServiceSession* session, Reply& reply) {
    const std::string &className = line.arguments[0], &member = line.arguments[1];
    SYMBOL_KIND kind = static_cast<SYMBOL_KIND>(0);
    kesto::String type;
    HRESULT hr = session->Assist()->GetClassMemberType(kesto::wide(ToUtf16(className)), kesto::wide(ToUtf16(member)),
                                                      &kind, type.out());
    reply.Result(hr);
    Json& document = reply.Document();
    document["class"] = className;
    document["member"] = member;
    document["kind"] = kind == 0 ? Json(nullptr) : Json(MemberKindName(kind));
    document["type"] = JsonText(type);
    if (hr != S_OK || kind == 0)
        return ExplainMissing(*session, reply, hr, className, member, "method or property",
                              MEMBER_CLASSMETHODS | MEMBER_INSTANCEMETHODS | MEMBER_PROPERTIES | MEMBER_INTERNAL);
    const std::string text = type.is_null() || type.view().empty() ? "(none)" : Utf8(type);
    reply.Text() << className << "." << member << ": " << MemberKindName(kind)
                 << (kind == SYMBOL_MEMBERMETHOD ? " returning " : " of type ") << text << "\n";
    return reply.ExitCode();
}

int RunSignature(const CommandLine& line, ServiceSession* session, Reply& reply) {
    const std::vector<std::string>& args = line.arguments;
    unsigned long argument = 0;
    if (args.size() > 2 && !ParseUnsigned(args[2], 0xFFFFFFFFul, &argument))
        return reply.Fail(kExitUsage, "ARGUMENT is a whole number from 0 (0: the whole signature), not \"" +
                                          args[2] + "\"");
    kesto::String before, current, after;
    HRESULT hr = session->Assist()->GetMethodSignature(kesto::wide(ToUtf16(args[0])), kesto::wide(ToUtf16(args[1])),
                                                      argument, before.out(), current.out(), after.out());
    reply.Result(hr);
    Json& document = reply.Document();
    document["class"] = args[0];
    document["method"] = args[1];
    document["argument"] = argument;
    const bool found = hr == S_OK && !(before.view().empty() && current.view().empty() && after.view().empty());
    document["signature"] = found ? Json(Utf8(before) + Utf8(current) + Utf8(after)) : Json(nullptr);
    document["before"] = found ? JsonText(before) : Json(nullptr);
    document["current"] = found ? JsonText(current) : Json(nullptr);
    document["after"] = found ? JsonText(after) : Json(nullptr);
    if (!found) return ExplainMissing(*session, reply, hr, args[0], args[1], "method", kMethodsOnly);
    const std::string b = Utf8(before), c = Utf8(current), a = Utf8(after);
    if (reply.Style().color && !c.empty()) {
        reply.Text() << b << "\x1b[1;7m" << c << "\x1b[0m" << a << "\n";
    } else {
        reply.Text() << b << c << a << "\n";
        if (!c.empty()) reply.Text() << std::string(DisplayWidth(b), ' ') << std::string(DisplayWidth(c), '^') << "\n";
    }
    if (argument > 0 && c.empty()) reply.Text() << "(the method has no argument " << argument << ")\n";
    return reply.ExitCode();
}

int RunOrigin(const CommandLine& line, ServiceSession* session, Reply& reply) {
    const std::vector<std::string>& args = line.arguments;
    int kind = line.kind.value_or(SYMBOL_MEMBERMETHOD);
    if (args.size() > 2 && !ParseMemberKind(args[2], &kind))
        return reply.Fail(kExitUsage, "KIND is method, property or parameter (or 4, 2, 5, 10), not \"" + args[2] + "\"",
                          Suggest(args[2], {"method", "property", "parameter"}));
    kesto::String origin;
    HRESULT hr = session->Assist2()->GetMemberOrigin(kesto::wide(ToUtf16(args[0])), kesto::wide(ToUtf16(args[1])),
                                                    static_cast<SYMBOL_KIND>(kind), origin.out());
    reply.Result(hr);
    Json& document = reply.Document();
    document["class"] = args[0];
    document["member"] = args[1];
    document["kind"] = MemberKindName(kind);
    document["origin"] = hr == S_OK ? JsonText(origin) : Json(nullptr);
    if (hr != S_OK || origin.is_null()) {
        const unsigned int filter = kind == SYMBOL_PROPERTY          ? MEMBER_PROPERTIES | MEMBER_INTERNAL
                                    : kind == SYMBOL_CLASSPARAMETER ? MEMBER_PARAMETERS | MEMBER_INTERNAL
                                                                     : kMethodsOnly;
        return ExplainMissing(*session, reply, hr, args[0], args[1], MemberKindName(kind), filter);
    }
    reply.Text() << args[0] << "." << args[1] << " is defined in " << Utf8(origin) << "\n";
    return reply.ExitCode();
}

}  // namespace vantle::tool
