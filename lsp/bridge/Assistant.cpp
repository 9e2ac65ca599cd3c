// The service and its tree behind value-returning queries.
#include "bridge/Assistant.h"

#include <dlfcn.h>
#include <unistd.h>

#include <climits>
#include <cstdio>

#include "protocol/Utf.h"
#include "vantle/server.h"
#include "unicode_text.h"

namespace vantle::lsp {
namespace {

std::u16string Owned(std::u16string_view text) { return std::u16string(text); }
CBSTR Wide(const std::u16string& text) { return kesto::wide(text); }

// Entries of a comma-terminated list.
std::vector<std::u16string_view> Entries(std::u16string_view list) {
    std::vector<std::u16string_view> entries;
    for (std::size_t start = 0, comma; (comma = list.find(u',', start)) != std::u16string_view::npos; start = comma + 1)
        if (comma > start) entries.push_back(list.substr(start, comma - start));
    return entries;
}

SYMBOL_KIND OriginKind(MemberKind kind) {
    switch (kind) {
        case MemberKind::Property: return SYMBOL_PROPERTY;
        case MemberKind::Parameter: return SYMBOL_CLASSPARAMETER;
        default: return SYMBOL_METHOD;
    }
}

}  // namespace

std::string StatusText(HRESULT status) {
    char text[24];
    std::snprintf(text, sizeof text, "status 0x%08X", static_cast<unsigned int>(status));
    return text;
}

std::string ExecutableDirectory() {
    char buffer[PATH_MAX];
    const ssize_t length = readlink("/proc/self/exe", buffer, sizeof buffer - 1);
    if (length <= 0) return ".";
    const std::string path(buffer, static_cast<std::size_t>(length));
    const std::size_t slash = path.rfind('/');
    return slash == std::string::npos ? "." : path.substr(0, slash);
}

namespace {

// The component library beside us, where an installation or the build tree keeps
// it, for when the class is not registered. Loaded once; it stays loaded.
GetClassObjectFunction ComponentBesideExecutable() {
    static const GetClassObjectFunction entry = [] {
        const std::string exe = ExecutableDirectory();
        for (const std::string& path :
             {exe + "/" VANTLE_BIN_TO_LIB "/libvantleassist.so", exe + "/../lib/libvantleassist.so"}) {
            void* module = access(path.c_str(), R_OK) == 0 ? dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL) : nullptr;
            if (module != nullptr) return reinterpret_cast<GetClassObjectFunction>(dlsym(module, "GetClassObject"));
        }
        return GetClassObjectFunction{};
    }();
    return entry;
}

}  // namespace

bool Assistant::Create(std::string* error) {
    HRESULT hr = COM_CreateInstance(kClsidVantleAssist, nullptr, kIidVantleAssist, assist_.out_void());
    if (FAILED(hr) || !assist_) {
        const GetClassObjectFunction getClassObject = ComponentBesideExecutable();
        kesto::Ref<COM_IClassFactory> factory;
        if (getClassObject == nullptr ||
            FAILED(getClassObject(kClsidVantleAssist, COM_IID_IClassFactory, factory.out_void())) ||
            FAILED(factory->CreateInstance(kIidVantleAssist, assist_.out_void())) || !assist_) {
            *error = "the assistance component cannot be created (" + StatusText(hr) +
                     ") and no libvantleassist.so beside the server provides it";
            return false;
        }
    }
    if (FAILED(assist_->QueryInterface(kIidVantleAssistEx, assistEx_.out_void())) ||
        FAILED(assist_->QueryInterface(kIidVantleAssist2, assist2_.out_void())) ||
        FAILED(assist_->QueryInterface(kIidVantleAssist3, assist3_.out_void()))) {
        assist_.reset();
        *error = "the assistance component lacks one of its interfaces";
        return false;
    }
    Apply();
    return true;
}

void Assistant::Adopt(kesto::Ref<COM_ITNodeManager> tree) {
    if (!assist_) return;
    tree_ = std::move(tree);
    assist_->Initialize(tree_.get());
    Apply();
}

void Assistant::Configure(const ServiceOptions& options) {
    options_ = options;
    Apply();
}

void Assistant::Apply() {
    members_.clear();
    signatures_.clear();
    if (!assist_) return;
    assist_->SetSymbol(kesto::wide(u"INCLUDEINHERITED"), SYMBOL_SYSTEM,
                       kesto::wide(options_.includeInherited ? u"TRUE" : u"FALSE"));
    if (!tree_) return;
    assist_->SetImportPackageList(options_.imports.empty() ? nullptr : Wide(options_.imports));
    assist_->SetFlags(static_cast<MEMBER_FILTER_FLAGS>(options_.flags));
}

void Assistant::SetRelativeClass(const std::u16string& name) {
    if (name != relativeClass_) {
        members_.clear();
        signatures_.clear();
    }
    relativeClass_ = name;
    if (assistEx_) assistEx_->SetRelativeClassName(Wide(name));
}

std::optional<std::u16string> Assistant::ResolveClass(std::u16string_view name) {
    if (!tree_ || name.empty()) return std::nullopt;
    kesto::String full;
    if (tree_->NormalizeName(Wide(Owned(name)), Wide(relativeClass_), full.out()) != S_OK || full.is_null())
        return std::nullopt;
    kesto::Ref<COM_ITNodeElement> node;
    if (tree_->GetClassNode(full.get(), node.out()) != S_OK || !node) return std::nullopt;
    return full.str();
}

std::vector<std::u16string> Assistant::ClassList(std::u16string_view prefix) {
    std::vector<std::u16string> names;
    kesto::String list;
    if (!tree_ || assist_->GetClassList(Wide(Owned(prefix)), list.out()) != S_OK) return names;
    for (std::u16string_view entry : Entries(list.view())) names.emplace_back(entry);
    return names;
}

bool Assistant::IsProperty(const std::u16string& className, const std::u16string& name) {
    kesto::String origin;
    return assist2_->GetMemberOrigin(Wide(className), Wide(name), SYMBOL_PROPERTY, origin.out()) == S_OK;
}

const std::vector<Member>& Assistant::Members(const std::u16string& className) {
    const auto found = members_.find(className);
    if (found != members_.end()) return found->second;
    return members_.emplace(className, ListMembers(className)).first->second;
}

std::vector<Member> Assistant::ListMembers(const std::u16string& className) {
    std::vector<Member> members;
    kesto::String list;
    if (!tree_ || assist3_->GetClassMembersEx(Wide(className), static_cast<MEMBER_FILTER_FLAGS>(options_.flags),
                                              list.out()) != S_OK)
        return members;
    std::vector<std::size_t> others;  // properties, then class parameters
    for (std::u16string_view entry : Entries(list.view())) {
        const std::size_t tab = entry.find(u'\t');
        const std::u16string_view marks = tab == std::u16string_view::npos ? u"" : entry.substr(tab + 1);
        std::u16string_view name = entry.substr(0, tab);
        Member member;
        member.isPrivate = marks.find(u'P') != std::u16string_view::npos;
        if (!name.empty() && name.back() == u'(') {
            name.remove_suffix(1);
            member.kind = marks.find(u'C') != std::u16string_view::npos ? MemberKind::ClassMethod : MemberKind::Method;
        } else {
            member.kind = MemberKind::Parameter;
            others.push_back(members.size());
        }
        member.name = name;
        members.push_back(std::move(member));
    }
    const bool properties = (options_.flags & MEMBER_PROPERTIES) != 0;
    if (!properties || (options_.flags & MEMBER_PARAMETERS) == 0) {
        for (std::size_t index : others)
            members[index].kind = properties ? MemberKind::Property : MemberKind::Parameter;
        return members;
    }
    // The listing gives properties, then class parameters, each run sorted by name,
    // without saying where one ends. Parameters begin at the latest where the
    // order drops; before that, "is a property" holds for a prefix of the run.
    std::size_t limit = others.size();
    for (std::size_t i = 1; i < others.size(); ++i)
        if (members[others[i]].name <= members[others[i - 1]].name) {
            limit = i;
            break;
        }
    std::size_t low = 0, high = limit;
    while (low < high) {
        const std::size_t middle = (low + high) / 2;
        if (IsProperty(className, members[others[middle]].name))
            low = middle + 1;
        else
            high = middle;
    }
    for (std::size_t i = 0; i < low; ++i) members[others[i]].kind = MemberKind::Property;
    return members;
}

std::optional<std::pair<MemberKind, std::u16string>> Assistant::MemberType(const std::u16string& className,
                                                                           const std::u16string& member) {
    if (!tree_) return std::nullopt;
    SYMBOL_KIND kind{};
    kesto::String type;
    if (assist_->GetClassMemberType(Wide(className), Wide(member), &kind, type.out()) != S_OK) return std::nullopt;
    return std::pair{kind == SYMBOL_PROPERTY ? MemberKind::Property : MemberKind::Method, type.str()};
}

std::optional<MemberKind> Assistant::FindMember(const std::u16string& className, const std::u16string& member) {
    if (auto type = MemberType(className, member)) return type->first;
    if (Origin(className, member, MemberKind::Parameter)) return MemberKind::Parameter;
    return std::nullopt;
}

bool Assistant::LacksMember(const std::u16string& className, const std::u16string& member) {
    if (!tree_) return false;
    SYMBOL_KIND kind{};
    kesto::String text;
    const HRESULT type = assist_->GetClassMemberType(Wide(className), Wide(member), &kind, text.out());
    if (type != S_FALSE) return false;
    return assist2_->GetMemberOrigin(Wide(className), Wide(member), SYMBOL_CLASSPARAMETER, text.out()) == S_FALSE;
}

std::optional<std::u16string> Assistant::Origin(const std::u16string& className, const std::u16string& member,
                                                MemberKind kind) {
    kesto::String origin;
    if (!tree_ || assist2_->GetMemberOrigin(Wide(className), Wide(member), OriginKind(kind), origin.out()) != S_OK)
        return std::nullopt;
    return origin.str();
}

std::optional<std::u16string> Assistant::Signature(const std::u16string& className, const std::u16string& method) {
    std::optional<SignatureParts> whole = SignatureAround(className, method, 0);
    if (!whole) return std::nullopt;
    return std::move(whole->before);
}

std::optional<SignatureParts> Assistant::SignatureAround(const std::u16string& className, const std::u16string& method,
                                                         unsigned long argument) {
    auto key = std::make_tuple(className, method, argument);
    if (const auto found = signatures_.find(key); found != signatures_.end()) return found->second;
    std::optional<SignatureParts> parts;
    kesto::String before, current, after;
    // Argument 0 asks for the whole label, which comes in `before` alone.
    if (tree_ && (argument == 0 ? assist_->GetMethodSignature(Wide(className), Wide(method), 0, before.out(), nullptr,
                                                              nullptr)
                                : assist_->GetMethodSignature(Wide(className), Wide(method), argument, before.out(),
                                                              current.out(), after.out())) == S_OK)
        parts = SignatureParts{before.str(), current.str(), after.str()};
    return signatures_.emplace(std::move(key), std::move(parts)).first->second;
}

std::optional<ClassDescription> Assistant::Describe(const std::u16string& className) {
    kesto::Ref<COM_ITNodeElement> node;
    if (!tree_ || tree_->GetClassNode(Wide(className), node.out()) != S_OK || !node) return std::nullopt;
    ClassDescription description;
    kesto::String text;
    if (SUCCEEDED(node->GetSuperClasses(text.out())))
        for (std::u16string_view entry : Entries(text.view())) description.superClasses.emplace_back(entry);
    if (SUCCEEDED(node->GetDescription(text.out()))) description.description = text.str();
    return description;
}

std::optional<SourcePoint> Assistant::Locate(const std::u16string& className, std::optional<MemberKind> kind,
                                             const std::u16string& member) {
    kesto::Ref<COM_ITNodeElement> node;
    if (!tree_ || tree_->GetClassNode(Wide(className), node.out()) != S_OK || !node) return std::nullopt;
    const char16_t* childKind = !kind                            ? u""
                                : *kind == MemberKind::Property  ? u"a"
                                : *kind == MemberKind::Parameter ? u"p"
                                                                 : u"m";
    kesto::String file;
    SourcePoint point;
    if (node->GetLocation(kesto::wide(childKind), Wide(member), file.out(), &point.line, &point.column) != S_OK ||
        file.is_null() || point.line == 0)
        return std::nullopt;
    point.file = kesto::PathFromUtf16(file.view());
    return point;
}

}  // namespace vantle::lsp
