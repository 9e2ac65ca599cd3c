// Creating the service and its tree as an editor does.
#include "tools/ServiceSession.h"

#include <dlfcn.h>
#include <unistd.h>

#include <climits>
#include <cstdlib>

#include "tools/HresultText.h"
#include "tools/ToolText.h"

#ifndef VANTLE_SOURCE_DICTIONARY
#define VANTLE_SOURCE_DICTIONARY ""
#endif

namespace vantle::tool {

const COM_GUID kClsidVantleAssist = {0x4356564A, 0xA9AA, 0x4664, {0xB7, 0x43, 0x2A, 0xFF, 0x4C, 0x55, 0x12, 0x51}};
const COM_GUID kIidVantleAssist = {0xA35EECE7, 0x0D38, 0x4618, {0xA9, 0x25, 0xF6, 0x5A, 0x50, 0x31, 0x83, 0x39}};
const COM_GUID kIidVantleAssistEx = {0xB772D24A, 0x1FB8, 0x4565, {0x8A, 0x42, 0xCE, 0x0C, 0x78, 0x20, 0xBD, 0xFB}};
const COM_GUID kIidVantleAssist2 = {0xCEA01D2D, 0x903B, 0x4E1C, {0xBE, 0x53, 0x4F, 0x9E, 0x37, 0x96, 0x4E, 0xD1}};
const COM_GUID kIidVantleAssist3 = {0x2A2F7FE1, 0x404F, 0x43DD, {0x99, 0x29, 0xD9, 0xC8, 0xE5, 0x5C, 0x8B, 0x70}};

namespace {

constexpr SYMBOL_KIND kSystemSymbol = SYMBOL_SYSTEM;

bool FileExists(const std::string& path) { return !path.empty() && access(path.c_str(), R_OK) == 0; }

template <typename T>
void ReleaseInto(T*& pointer) {
    if (pointer != nullptr) pointer->Release();
    pointer = nullptr;
}

}  // namespace

std::string ExecutableDirectory() {
    char buffer[PATH_MAX];
    ssize_t length = readlink("/proc/self/exe", buffer, sizeof buffer - 1);
    if (length <= 0) return ".";
    std::string path(buffer, static_cast<std::size_t>(length));
    std::size_t slash = path.rfind('/');
    return slash == std::string::npos ? "." : path.substr(0, slash);
}

std::string DefaultModulePath() { return ExecutableDirectory() + "/../lib/libvantleassist.so"; }

std::string DefaultDictionaryPath() {
    if (const char* fromEnvironment = std::getenv("VANTLE_DICTIONARY"); fromEnvironment && *fromEnvironment)
        return fromEnvironment;
    const std::string exe = ExecutableDirectory();
    for (const std::string& candidate : {exe + "/../../dictionaries/shop.json",
                                         exe + "/../share/vantle/dictionaries/shop.json",
                                         std::string(VANTLE_SOURCE_DICTIONARY)}) {
        if (FileExists(candidate)) return candidate;
    }
    return exe + "/../../dictionaries/shop.json";  // named in the error that follows
}

ServiceSession::~ServiceSession() { Close(); }

void ServiceSession::Close() {
    // The service holds the tree: release it first, the tree after.
    ReleaseInto(assist3_);
    ReleaseInto(assist2_);
    ReleaseInto(assistEx_);
    ReleaseInto(assist_);
    ReleaseInto(tree_);
}

bool ServiceSession::CreateService(const SessionSettings& settings, std::string* error) {
    void* out = nullptr;
    HRESULT registered = E_FAIL;
    if (settings.modulePath.empty()) {
        registered = COM_CreateInstance(kClsidVantleAssist, nullptr, kIidVantleAssist, &out);
        if (SUCCEEDED(registered) && out != nullptr) {
            assist_ = static_cast<COM_IVantleAssist*>(out);
            origin_ = "registered class";
            return true;
        }
    }
    // Not registered (or a module was named): load the library ourselves.
    const std::string path = settings.modulePath.empty() ? DefaultModulePath() : settings.modulePath;
    module_ = dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL);
    if (module_ == nullptr) {
        const char* why = dlerror();
        *error = "cannot load the assistance component " + path + ": " + (why ? why : "unknown reason");
        if (settings.modulePath.empty())
            *error += "\n(creating it as a registered class failed too: " + HresultText(registered, nullptr) + ")";
        return false;
    }
    using GetClassObjectFunction = HRESULT (*)(const COM_GUID&, const COM_GUID&, void**);
    auto getClassObject = reinterpret_cast<GetClassObjectFunction>(dlsym(module_, "GetClassObject"));
    if (getClassObject == nullptr) {
        *error = path + " is not an in-process server: it has no GetClassObject";
        return false;
    }
    COM_IClassFactory* factory = nullptr;
    HRESULT hr = getClassObject(kClsidVantleAssist, COM_IID_IClassFactory, reinterpret_cast<void**>(&factory));
    if (FAILED(hr) || factory == nullptr) {
        *error = path + " does not provide the assistance service: " + HresultText(hr, module_);
        return false;
    }
    hr = factory->CreateInstance(kIidVantleAssist, &out);
    factory->Release();
    if (FAILED(hr) || out == nullptr) {
        *error = "the assistance service cannot be created: " + HresultText(hr, module_);
        return false;
    }
    assist_ = static_cast<COM_IVantleAssist*>(out);
    origin_ = path;
    return true;
}

bool ServiceSession::LoadTree(const std::string& dictionaryPath, std::string* error) {
    HRESULT hr = COM_CreateInstance(COM_CLSID_TNodeManager, nullptr, COM_IID_ITNodeManager,
                                    reinterpret_cast<void**>(&tree_));
    if (FAILED(hr) || tree_ == nullptr) {
        *error = "the runtime cannot create the class-definition tree: " + HresultText(hr, module_);
        return false;
    }
    std::u16string path16 = ToUtf16(dictionaryPath);
    Bstr message;
    hr = tree_->LoadDictionary(Wide(path16), message.Out());
    if (FAILED(hr)) {
        *error = message.IsNull() ? dictionaryPath + ": " + HresultText(hr, module_) : message.Utf8();
        return false;
    }
    return true;
}

bool ServiceSession::Open(const SessionSettings& settings, std::string* error) {
    Close();
    if (!CreateService(settings, error)) return false;
    const struct {
        const COM_GUID& iid;
        void** slot;
    } secondary[] = {{kIidVantleAssistEx, reinterpret_cast<void**>(&assistEx_)},
                     {kIidVantleAssist2, reinterpret_cast<void**>(&assist2_)},
                     {kIidVantleAssist3, reinterpret_cast<void**>(&assist3_)}};
    for (const auto& entry : secondary) {
        HRESULT hr = assist_->QueryInterface(entry.iid, entry.slot);
        if (FAILED(hr)) {
            *error = "the assistance service lacks one of its interfaces: " + HresultText(hr, module_);
            return false;
        }
    }
    if (!LoadTree(settings.dictionaryPath, error)) return false;
    HRESULT hr = assist_->Initialize(tree_);
    if (FAILED(hr)) {
        *error = "the service does not accept the class-definition tree: " + HresultText(hr, module_);
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
            *error = std::string("cannot set the ") + option.what + ": " + HresultText(hr, module_);
            return false;
        }
    }
    if (!settings.includeInherited && FAILED(hr = SetIncludeInherited(false))) {
        *error = "cannot switch inherited members off: " + HresultText(hr, module_);
        return false;
    }
    return true;
}

HRESULT ServiceSession::SetRelativeClass(const std::string& name) {
    std::u16string name16 = ToUtf16(name);
    return assistEx_->SetRelativeClassName(Wide(name16));
}

HRESULT ServiceSession::SetImportList(const std::string& list) {
    std::u16string list16 = ToUtf16(list);
    return assist_->SetImportPackageList(Wide(list16));
}

HRESULT ServiceSession::SetIncludeInherited(bool include) {
    std::u16string name = u"INCLUDEINHERITED";
    std::u16string value = include ? u"TRUE" : u"FALSE";
    return assist_->SetSymbol(Wide(name), kSystemSymbol, Wide(value));
}

}  // namespace vantle::tool
