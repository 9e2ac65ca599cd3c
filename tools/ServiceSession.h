// ServiceSession: the assistance service, set up the way an editor sets it up.
//
// Open() creates the service through the runtime (COM_CreateInstance) when the
// class is registered, else by loading the component library directly (the one
// beside the tool, or the module given); creates the runtime's class-definition
// tree, loads a dictionary into it and hands it to the service with Initialize.
// On failure Open() returns false with a message for people in *error. A session
// is opened once.
//
// The session owns one reference to each object and releases the service before
// the tree. A loaded component library stays loaded until the process ends.
#ifndef VANTLE_TOOLS_SERVICESESSION_H_
#define VANTLE_TOOLS_SERVICESESSION_H_

#include <string>

#include "kesto/owned.h"
#include "kesto/tnode.h"
#include "vantle/assist.h"

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
    bool Open(const SessionSettings& settings, std::string* error);

    COM_IVantleAssist* Assist() const { return assist_.get(); }
    COM_IVantleAssist2* Assist2() const { return assist2_.get(); }
    COM_IVantleAssist3* Assist3() const { return assist3_.get(); }
    // How the service was reached, for people: "registered class" or a file path.
    const std::string& Origin() const { return origin_; }

    HRESULT SetRelativeClass(const std::string& name);
    HRESULT SetImportList(const std::string& list);
    HRESULT SetIncludeInherited(bool include);

private:
    bool CreateService(const SessionSettings& settings, std::string* error);
    bool LoadTree(const std::string& dictionaryPath, std::string* error);

    // The tree is declared first so that it dies last: the service holds it.
    kesto::Ref<COM_ITNodeManager> tree_;
    kesto::Ref<COM_IVantleAssist> assist_;
    kesto::Ref<COM_IVantleAssistEx> assistEx_;
    kesto::Ref<COM_IVantleAssist2> assist2_;
    kesto::Ref<COM_IVantleAssist3> assist3_;
    std::string origin_;
};

// The component library beside the tool: <exe dir>/../lib/libvantleassist.so.
std::string DefaultModulePath();
// The bundled dictionary: $VANTLE_DICTIONARY, else the first existing of
// <exe dir>/../../dictionaries/shop.json (build tree),
// <exe dir>/../share/vantle/dictionaries/shop.json (installed), and the source tree's.
std::string DefaultDictionaryPath();

}  // namespace vantle::tool

#endif  // VANTLE_TOOLS_SERVICESESSION_H_
