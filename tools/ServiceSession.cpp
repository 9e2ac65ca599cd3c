// Creating the service and its tree as an editor does.
#include "ServiceSession.h"

#include <dlfcn.h>
#include <unistd.h>

#include <climits>
#include <cstdlib>

#include "HresultText.h"
#include "ToolText.h"
#include "vantle/server.h"

namespace vantle::tool {
namespace {

bool FileExists(const std::string& path) { return !path.empty() && access(path.c_str(), R_OK) == 0; }

// <directory of the running executable>, without a trailing '/'.
std::string ExecutableDirectory() {
    char buffer[PATH_MAX];
    ssize_t length = readlink("/proc/self/exe", buffer, sizeof buffer - 1);
    if (length <= 0) return ".";
    std::string path(buffer, static_cast<std::size_t>(length));
    std::size_t slash = path.rfind('/');
    return slash == std::string::npos ? "." : path.substr(0, slash);
}

}  // namespace

// The build tree keeps its libraries in lib/, an installation in its library
// folder (lib/<multiarch> on Debian); both are tried, the installed one first.
std::string DefaultModulePath() {
    const std::string exe = ExecutableDirectory();
    const std::string installed = exe + "/" VANTLE_BIN_TO_LIB "/libvantleassist.so";
    if (FileExists(installed)) return installed;
    return exe + "/../lib/libvantleassist.so";
}

std::string DefaultDictionaryPath() {
    if (const char* fromEnvironment = std::getenv("VANTLE_DICTIONARY"); fromEnvironment && *fromEnvironment)
        return fromEnvironment;
    return ExecutableDirectory() + "/" VANTLE_BIN_TO_DATA "/vantle/dictionaries/shop.json";
}

bool ServiceSession::CreateService(const SessionSettings& settings, std::string* error) {
    HRESULT registered = E_FAIL;
    if (settings.modulePath.empty()) {
        registered = COM_CreateInstance(kClsidVantleAssist, nullptr, kIidVantleAssist, assist_.out_void());
        if (SUCCEEDED(registered) && assist_) {
            origin_ = "registered class";
            return true;
        }
    }
    // Not registered (or a module was named): load the library ourselves.
    const std::string path = settings.modulePath.empty() ? DefaultModulePath() : settings.modulePath;
    void* module = dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL);
    if (module == nullptr) {
        const char* why = dlerror();
        *error = "cannot load the assistance component " + path + ": " + (why ? why : "unknown reason");
        if (settings.modulePath.empty())
            *error += "\n(creating it as a registered class failed too: " + HresultText(registered) + ")";
        return false;
    }
    auto getClassObject = reinterpret_cast<vantle::GetClassObjectFunction>(dlsym(module, "GetClassObject"));
    if (getClassObject == nullptr) {
        *error = path + " is not an in-process server: it has no GetClassObject";
        return false;
    }
    kesto::Ref<COM_IClassFactory> factory;
    HRESULT hr = getClassObject(kClsidVantleAssist, COM_IID_IClassFactory, factory.out_void());
    if (FAILED(hr) || !factory) {
        *error = path + " does not provide the assistance service: " + HresultText(hr);
        return false;
    }
    hr = factory->CreateInstance(kIidVantleAssist, assist_.out_void());
    if (FAILED(hr) || !assist_) {
        *error = "the assistance service cannot be created: " + HresultText(hr);
        return false;
    }
    origin_ = path;
    return true;
}

bool ServiceSession::LoadTree(const std::string& dictionaryPath, std::string* error) {
    HRESULT hr = COM_CreateInstance(COM_CLSID_TNodeManager, nullptr, COM_IID_ITNodeManager, tree_.out_void());
    if (FAILED(hr) || !tree_) {
        *error = "the runtime cannot create the class-definition tree: " + HresultText(hr);
        return false;
    }
    // A file name is bytes: any of them must reach the runtime intact.
    std::u16string path16 = kesto::PathToUtf16(dictionaryPath);
    kesto::String message;
    hr = tree_->LoadDictionary(kesto::wide(path16), message.out());
    if (FAILED(hr)) {
        *error = message.is_null() ? dictionaryPath + ": " + HresultText(hr) : Utf8(message);
        return false;
    }
    return true;
}

bool ServiceSession::Open(const SessionSettings& settings, std::string* error) {
    if (!CreateService(settings, error)) return false;
    const struct {
        const COM_GUID& iid;
        void** slot;
    } secondary[] = {{kIidVantleAssistEx, assistEx_.out_void()},
                     {kIidVantleAssist2, assist2_.out_void()},
                     {kIidVantleAssist3, assist3_.out_void()}};
    for (const auto& entry : secondary) {
        HRESULT hr = assist_->QueryInterface(entry.iid, entry.slot);
        if (FAILED(hr)) {
            *error = "the assistance service lacks one of its interfaces: " + HresultText(hr);
            return false;
        }
    }
    if (!LoadTree(settings.dictionaryPath, error)) return false;
    HRESULT hr = assist_->Initialize(tree_.get());
    if (FAILED(hr)) {
        *error = "the service does not accept the class-definition tree: " + HresultText(hr);
        return false;
    }
    const struct {
        bool wanted;
        HRESULT (ServiceSession::*apply)(const std::string&);
        const std::string& value;
        const char* what;
    } options[] = {{!settings.relativeClass.empty(), &ServiceSession::SetRelativeClass, settings.relativeClass,
                    "relative class"},
                   {!settings.importList.empty(), &ServiceSession::SetImportList, settings.importList, "import list"}};
    for (const auto& option : options) {
        if (!option.wanted) continue;
        hr = (this->*option.apply)(option.value);
        if (FAILED(hr)) {
            *error = std::string("cannot set the ") + option.what + ": " + HresultText(hr);
            return false;
        }
    }
    if (!settings.includeInherited && FAILED(hr = SetIncludeInherited(false))) {
        *error = "cannot switch inherited members off: " + HresultText(hr);
        return false;
    }
    return true;
}

HRESULT ServiceSession::SetRelativeClass(const std::string& name) {
    return assistEx_->SetRelativeClassName(kesto::wide(ToUtf16(name)));
}

HRESULT ServiceSession::SetImportList(const std::string& list) {
    return assist_->SetImportPackageList(kesto::wide(ToUtf16(list)));
}

HRESULT ServiceSession::SetIncludeInherited(bool include) {
    return assist_->SetSymbol(kesto::wide(u"INCLUDEINHERITED"), SYMBOL_SYSTEM,
                              kesto::wide(include ? u"TRUE" : u"FALSE"));
}

}  // namespace vantle::tool
