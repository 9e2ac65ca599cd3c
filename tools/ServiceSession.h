// ServiceSession: the assistance service, set up the way an editor sets it up.
//
// Open() creates the service through the runtime (COM_CreateInstance) when the
// class is registered, else by loading the component library directly (the one
// beside the tool, or the module given); creates the runtime's class-definition
// tree, loads a dictionary into it and hands it to the service with Initialize.
// On failure Open() returns the exit code (3 for the dictionary, 4 otherwise) with
// the problems for people in *problems, one per entry. A session is opened once;
// Reload() reads the dictionary again and keeps the loaded one when that fails.
//
// The session owns one reference to each object and releases the service before
// the tree. A loaded component library stays loaded until the process ends. It
// remembers the settings it applied, so the prompt can show them.
#ifndef VANTLE_TOOLS_SERVICESESSION_H_
#define VANTLE_TOOLS_SERVICESESSION_H_

#include <cstdint>
#include <string>
#include <vector>

#include "DictionaryFile.h"
#include "kesto/owned.h"
#include "kesto/tnode.h"
#include "vantle/assist.h"

namespace vantle::tool {

struct SessionSettings {
    std::string modulePath;      // empty: registered class, else the library beside the tool
    std::string dictionaryPath;  // required
    std::uint64_t sizeLimit = kDefaultDictionaryLimit;
    std::string relativeClass;   // empty: none
    std::string importList;      // empty: none
    bool includeInherited = true;
};

class ServiceSession {
public:
    // 0, or the exit code with *problems filled.
    int Open(const SessionSettings& settings, std::vector<std::string>* problems);
    int Reload(std::vector<std::string>* problems);

    COM_IVantleAssist* Assist() const { return assist_.get(); }
    COM_IVantleAssist2* Assist2() const { return assist2_.get(); }
    COM_IVantleAssist3* Assist3() const { return assist3_.get(); }
    COM_ITNodeManager* Tree() const { return tree_.get(); }
    // How the service was reached, for people: "registered class" or a file path.
    const std::string& Origin() const { return origin_; }
    const SessionSettings& Settings() const { return settings_; }

    HRESULT SetRelativeClass(const std::string& name);
    HRESULT SetImportList(const std::string& list);
    HRESULT SetIncludeInherited(bool include);

    // Whether `name` names a class of the dictionary, resolved as the service
    // resolves it (relative class, import list); *full gets the full name.
    bool ClassExists(const std::string& name, std::string* full = nullptr) const;
    std::vector<std::string> ClassNames() const;
    // Member names of a class, without the "(" of methods; `filter` as GetClassMembers.
    std::vector<std::string> MemberNames(const std::string& className, unsigned int filter) const;

private:
    bool CreateService(const SessionSettings& settings, std::vector<std::string>* problems);
    int LoadTree(std::vector<std::string>* problems);

    // The tree is declared first so that it dies last: the service holds it.
    kesto::Ref<COM_ITNodeManager> tree_;
    kesto::Ref<COM_IVantleAssist> assist_;
    kesto::Ref<COM_IVantleAssistEx> assistEx_;
    kesto::Ref<COM_IVantleAssist2> assist2_;
    kesto::Ref<COM_IVantleAssist3> assist3_;
    std::string origin_;
    SessionSettings settings_;
};

// The path people should see: absolute, its folders canonical (no "..", no links),
// the file's own name kept, so that the unversioned name of a library stays. A bare
// name (no "/") stays as it is: dlopen searches the library path for it.
std::string CanonicalPath(const std::string& path);
// The component library beside the tool: <exe dir>/../lib/libvantleassist.so.
std::string DefaultModulePath();
// The dictionary the tool loads without --dictionary: $VANTLE_DICTIONARY, else the bundled one.
std::string DefaultDictionaryPath();
// The bundled dictionary: <exe dir>/<bin to data>/vantle/dictionaries/shop.json, canonical.
std::string BundledDictionaryPath();
// Every problem of the tree's last failed load of `path` (status `hr`), one per
// entry (GetLoadErrors); when the tree keeps no list, the load's `message` alone,
// or one made of the path and the status when there is no message either. The
// messages name the file by its bytes.
std::vector<std::string> LoadProblems(COM_ITNodeManager* tree, const kesto::String& message, const std::string& path,
                                      HRESULT hr);

}  // namespace vantle::tool

#endif  // VANTLE_TOOLS_SERVICESESSION_H_
