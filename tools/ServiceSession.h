// ServiceSession: the assistance service, set up the way an editor sets it up.
//
// Open() creates the service through the runtime (COM_CreateInstance) when the
// class is registered, else by loading the component library directly (the one
// beside the tool, or the module given); creates the runtime's class-definition
// tree, loads a dictionary into it and hands it to the service with Initialize.
// On failure Open() returns false with a message for people in *error.
//
// The session owns one reference to each object and releases the service before
// the tree. A loaded component library stays loaded until the process ends.
#ifndef VANTLE_TOOLS_SERVICESESSION_H_
#define VANTLE_TOOLS_SERVICESESSION_H_

#include <string>

#include "assist/VantleAssistInterfaces.h"
#include "kesto/tnode.h"

namespace vantle::tool {

struct SessionSettings {
    std::string modulePath;      // empty: registered class, else the library beside the tool
    std::string dictionaryPath;  // required
    std::string relativeClass;   // empty: none
    std::string importList;      // empty: none
    bool includeInherited = true;
};

class ServiceSession {
public:
    ServiceSession() = default;
    ServiceSession(const ServiceSession&) = delete;
    ServiceSession& operator=(const ServiceSession&) = delete;
    ~ServiceSession();

    bool Open(const SessionSettings& settings, std::string* error);

    COM_IVantleAssist* Assist() const { return assist_; }
    COM_IVantleAssistEx* AssistEx() const { return assistEx_; }
    COM_IVantleAssist2* Assist2() const { return assist2_; }
    COM_IVantleAssist3* Assist3() const { return assist3_; }
    COM_ITNodeManager* Tree() const { return tree_; }
    // How the service was reached, for people: "registered class" or a file path.
    const std::string& Origin() const { return origin_; }
    // The library the service came from, when the tool loaded it itself (else NULL).
    void* ModuleHandle() const { return module_; }

    HRESULT SetRelativeClass(const std::string& name);
    HRESULT SetImportList(const std::string& list);
    HRESULT SetIncludeInherited(bool include);

private:
    bool CreateService(const SessionSettings& settings, std::string* error);
    bool LoadTree(const std::string& dictionaryPath, std::string* error);
    void Close();

    void* module_ = nullptr;
    COM_IVantleAssist* assist_ = nullptr;
    COM_IVantleAssistEx* assistEx_ = nullptr;
    COM_IVantleAssist2* assist2_ = nullptr;
    COM_IVantleAssist3* assist3_ = nullptr;
    COM_ITNodeManager* tree_ = nullptr;
    std::string origin_;
};

// The identifiers an editor knows the service by (the tool does not link the
// component, so it carries its own copy).
extern const COM_GUID kClsidVantleAssist;
extern const COM_GUID kIidVantleAssist;
extern const COM_GUID kIidVantleAssistEx;
extern const COM_GUID kIidVantleAssist2;
extern const COM_GUID kIidVantleAssist3;

// <directory of the running executable>, without a trailing '/'.
std::string ExecutableDirectory();
// The component library beside the tool: <exe dir>/../lib/libvantleassist.so.
std::string DefaultModulePath();
// The bundled dictionary: $VANTLE_DICTIONARY, else the first existing of
// <exe dir>/../../dictionaries/shop.json (build tree),
// <exe dir>/../share/vantle/dictionaries/shop.json (installed), and the source tree's.
std::string DefaultDictionaryPath();

}  // namespace vantle::tool

#endif  // VANTLE_TOOLS_SERVICESESSION_H_
