// bridge/Assistant.h: the assistance component as the server uses it.
//
// An Assistant owns the service (created through the runtime like any editor
// creates it, else from the component library beside the executable) and the tree
// it currently answers from (kesto::Ref), and turns the service's comma-terminated
// BSTR answers into values. Settings are applied to the service on Configure and
// again after every Adopt, since Initialize drops the pinned flags and a new tree
// manager has no import list. Before a tree is adopted every query answers nothing.
//
// Threads: the component's objects are single-threaded; an Assistant and everything
// it owns are used from the thread that created it only.
#ifndef VANTLE_LSP_BRIDGE_ASSISTANT_H_
#define VANTLE_LSP_BRIDGE_ASSISTANT_H_

#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <tuple>
#include <vector>

#include "kesto/owned.h"
#include "kesto/tnode.h"
#include "vantle/assist.h"

namespace vantle::lsp {

enum class MemberKind { Method, ClassMethod, Property, Parameter };

struct Member {
    std::u16string name;
    MemberKind kind = MemberKind::Method;
    bool isPrivate = false;
};

struct ServiceOptions {
    std::u16string imports;  // comma-separated packages; empty: none
    int flags = vantle::kDefaultMemberFilter;
    bool includeInherited = true;
    bool operator==(const ServiceOptions&) const = default;
};

struct SignatureParts {
    std::u16string before, current, after;
};

struct ClassDescription {
    std::vector<std::u16string> superClasses;
    std::u16string description;
};

struct SourcePoint {
    std::string file;
    unsigned int line = 0;    // from 1
    unsigned int column = 0;  // from 1, in characters
};

class Assistant {
public:
    // Creates the service; false with a message for people when it cannot be had.
    bool Create(std::string* error);
    bool HasTree() const { return static_cast<bool>(tree_); }
    // Hands the service a newly loaded tree; the previous one is let go.
    void Adopt(kesto::Ref<COM_ITNodeManager> tree);
    void Configure(const ServiceOptions& options);
    // The class short names are resolved against (the class being edited); "" for none.
    void SetRelativeClass(const std::u16string& name);
    const std::u16string& RelativeClass() const { return relativeClass_; }
    const ServiceOptions& Options() const { return options_; }

    // The full name of the existing class `name` names, resolved as the component does.
    std::optional<std::u16string> ResolveClass(std::u16string_view name);
    std::vector<std::u16string> ClassList(std::u16string_view prefix);
    // Members of a class as the configured flags select them; kept until the tree,
    // the settings or the relative class change, as editors ask on every keystroke.
    const std::vector<Member>& Members(const std::u16string& className);
    // A method (kind Method) or property (kind Property) and what it yields.
    std::optional<std::pair<MemberKind, std::u16string>> MemberType(const std::u16string& className,
                                                                    const std::u16string& member);
    // Method, property or class parameter; nullopt when the class has no such member
    // or the tree could not say.
    std::optional<MemberKind> FindMember(const std::u16string& className, const std::u16string& member);
    // True only when the class certainly lacks the member (not when the tree failed).
    bool LacksMember(const std::u16string& className, const std::u16string& member);
    std::optional<std::u16string> Origin(const std::u16string& className, const std::u16string& member,
                                         MemberKind kind);
    std::optional<std::u16string> Signature(const std::u16string& className, const std::u16string& method);
    std::optional<SignatureParts> SignatureAround(const std::u16string& className, const std::u16string& method,
                                                  unsigned long argument);
    std::optional<ClassDescription> Describe(const std::u16string& className);
    // Where the class's name (member empty) or a member's name is in the dictionary.
    std::optional<SourcePoint> Locate(const std::u16string& className, std::optional<MemberKind> kind,
                                      const std::u16string& member);

private:
    void Apply();
    std::vector<Member> ListMembers(const std::u16string& className);
    bool IsProperty(const std::u16string& className, const std::u16string& name);

    // The tree is declared first so that it dies last: the service holds it.
    kesto::Ref<COM_ITNodeManager> tree_;
    kesto::Ref<COM_IVantleAssist> assist_;
    kesto::Ref<COM_IVantleAssistEx> assistEx_;
    kesto::Ref<COM_IVantleAssist2> assist2_;
    kesto::Ref<COM_IVantleAssist3> assist3_;
    ServiceOptions options_;
    std::u16string relativeClass_;
    // Answers that hold until the tree, the settings or the relative class change.
    std::map<std::u16string, std::vector<Member>> members_;
    std::map<std::tuple<std::u16string, std::u16string, unsigned long>, std::optional<SignatureParts>> signatures_;
};

// "status 0xXXXXXXXX". The component's wording of codes (vantle/messages.h) is not
// used: the core must not link the component, which tests and the fuzzer load
// beside a static copy of its objects.
std::string StatusText(HRESULT status);
// The folder of the running executable, without a trailing '/'.
std::string ExecutableDirectory();

}  // namespace vantle::lsp

#endif  // VANTLE_LSP_BRIDGE_ASSISTANT_H_
