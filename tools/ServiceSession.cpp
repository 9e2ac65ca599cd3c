// Creating the service and its tree as an editor does.
#include "ServiceSession.h"

#include <dlfcn.h>
#include <unistd.h>

#include <climits>
#include <cstdlib>
#include <filesystem>

#include "DictionaryFile.h"
#include "HresultText.h"
#include "ToolExit.h"
#include "ToolText.h"
#include "unicode_text.h"
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

std::string CanonicalPath(const std::string& path) {
    if (path.find('/') == std::string::npos) return path;  // a library name, searched for by dlopen
    std::error_code error;
    const std::filesystem::path absolute = std::filesystem::absolute(path, error).lexically_normal();
    if (error || !absolute.has_filename()) return path;
    const std::filesystem::path folder = std::filesystem::weakly_canonical(absolute.parent_path(), error);
    return error ? absolute.string() : (folder / absolute.filename()).string();
}

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
    return BundledDictionaryPath();
}

std::string BundledDictionaryPath() {
    const std::string path = ExecutableDirectory() + "/" VANTLE_BIN_TO_DATA "/vantle/dictionaries/shop.json";
    std::error_code error;
    const std::filesystem::path canonical = std::filesystem::weakly_canonical(path, error);
    return error ? path : canonical.string();
}

std::vector<std::string> LoadProblems(COM_ITNodeManager* tree, const kesto::String& message, const std::string& path,
                                      HRESULT hr) {
    kesto::String list;
    std::vector<std::string> problems;
    if (tree != nullptr && tree->GetLoadErrors(list.out()) == S_OK) {
        // The messages start with the file's name, which keeps its bytes.
        const std::string text = kesto::PathFromUtf16(list.view());
        std::size_t start = 0;
        while (start < text.size()) {
            std::size_t end = text.find('\n', start);
            if (end == std::string::npos) end = text.size();
            if (end > start) problems.push_back(text.substr(start, end - start));
            start = end + 1;
        }
    }
    if (problems.empty())
        problems.push_back(message.is_null() ? path + ": " + HresultText(hr) : kesto::PathFromUtf16(message.view()));
    return problems;
}

bool ServiceSession::CreateService(const SessionSettings& settings, std::vector<std::string>* problems) {
    HRESULT registered = E_FAIL;
    if (settings.modulePath.empty()) {
        registered = COM_CreateInstance(kClsidVantleAssist, nullptr, kIidVantleAssist, assist_.out_void());
        if (SUCCEEDED(registered) && assist_) {
            origin_ = "registered class";
            return true;
        }
    }
    // Not registered (or a module was named): load the library ourselves.
    const std::string path = CanonicalPath(settings.modulePath.empty() ? DefaultModulePath() : settings.modulePath);
    void* module = dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL);
    if (module == nullptr) {
        const char* why = dlerror();
        std::string text = "cannot load the assistance component " + path + ": " + (why ? why : "unknown reason");
        if (settings.modulePath.empty())
            text += " (creating it as a registered class failed too: " + HresultText(registered) + ")";
        problems->push_back(text);
        return false;
    }
    auto getClassObject = reinterpret_cast<vantle::GetClassObjectFunction>(dlsym(module, "GetClassObject"));
    if (getClassObject == nullptr) {
        problems->push_back(path + " is not a component module: it has no GetClassObject");
        return false;
    }
    kesto::Ref<COM_IClassFactory> factory;
    HRESULT hr = getClassObject(kClsidVantleAssist, COM_IID_IClassFactory, factory.out_void());
    if (FAILED(hr) || !factory) {
        problems->push_back(path + " does not provide the assistance service: " + HresultText(hr));
        return false;
    }
    hr = factory->CreateInstance(kIidVantleAssist, assist_.out_void());
    if (FAILED(hr) || !assist_) {
        problems->push_back("the assistance service cannot be created: " + HresultText(hr));
        return false;
    }
    origin_ = path;
    return true;
}

int ServiceSession::LoadTree(std::vector<std::string>* problems) {
    // The tool refuses what it will not read (a device, a FIFO, a file over
    // --max-size) before the runtime opens the file; the runtime then reads it
    // itself, so that its index cache makes a large dictionary's later loads quick.
    std::string error;
    bool tooLarge = false;
    if (!CheckRegularFile(settings_.dictionaryPath, settings_.sizeLimit, &error, &tooLarge)) {
        problems->push_back(error + (tooLarge ? " (--max-size raises the limit)" : ""));
        return kExitDictionary;
    }
    // A file name is bytes: any of them must reach the runtime intact.
    const std::u16string path16 = kesto::PathToUtf16(settings_.dictionaryPath);
    kesto::String message;
    HRESULT hr = tree_->LoadDictionary(kesto::wide(path16), message.out());
    if (FAILED(hr)) {
        std::vector<std::string> found = LoadProblems(tree_.get(), message, settings_.dictionaryPath, hr);
        problems->insert(problems->end(), found.begin(), found.end());
        return hr == E_OUTOFMEMORY ? kExitInternal : kExitDictionary;
    }
    return kExitFound;
}

int ServiceSession::Open(const SessionSettings& settings, std::vector<std::string>* problems) {
    settings_ = settings;
    if (!CreateService(settings, problems)) return kExitInternal;
    const struct {
        const COM_GUID& iid;
        void** slot;
    } secondary[] = {{kIidVantleAssistEx, assistEx_.out_void()},
                     {kIidVantleAssist2, assist2_.out_void()},
                     {kIidVantleAssist3, assist3_.out_void()}};
    for (const auto& entry : secondary) {
        HRESULT hr = assist_->QueryInterface(entry.iid, entry.slot);
        if (FAILED(hr)) {
            problems->push_back("the assistance service lacks one of its interfaces: " + HresultText(hr));
            return kExitInternal;
        }
    }
    HRESULT hr = COM_CreateInstance(COM_CLSID_TNodeManager, nullptr, COM_IID_ITNodeManager, tree_.out_void());
    if (FAILED(hr) || !tree_) {
        problems->push_back("the runtime cannot create the class-definition tree: " + HresultText(hr));
        return kExitInternal;
    }
    if (int status = LoadTree(problems); status != kExitFound) return status;
    hr = assist_->Initialize(tree_.get());
    if (FAILED(hr)) {
        problems->push_back("the service does not accept the class-definition tree: " + HresultText(hr));
        return kExitInternal;
    }
    if (!settings.relativeClass.empty() && FAILED(hr = SetRelativeClass(settings.relativeClass))) {
        problems->push_back("cannot set the relative class: " + HresultText(hr));
        return kExitInternal;
    }
    if (!settings.importList.empty() && FAILED(hr = SetImportList(settings.importList))) {
        problems->push_back("cannot set the import list: " + HresultText(hr));
        return kExitInternal;
    }
    if (!settings.includeInherited && FAILED(hr = SetIncludeInherited(false))) {
        problems->push_back("cannot switch inherited members off: " + HresultText(hr));
        return kExitInternal;
    }
    return kExitFound;
}

int ServiceSession::Reload(std::vector<std::string>* problems) {
    // The runtime keeps the loaded classes when a load fails.
    if (int status = LoadTree(problems); status != kExitFound) return status;
    kesto::Ref<COM_IClassCache> cache;
    if (SUCCEEDED(tree_->QueryInterface(COM_IID_IClassCache, cache.out_void())) && cache) cache->Reset();
    return kExitFound;
}

HRESULT ServiceSession::SetRelativeClass(const std::string& name) {
    HRESULT hr = assistEx_->SetRelativeClassName(kesto::wide(ToUtf16(name)));
    if (SUCCEEDED(hr)) settings_.relativeClass = name;
    return hr;
}

HRESULT ServiceSession::SetImportList(const std::string& list) {
    HRESULT hr = assist_->SetImportPackageList(kesto::wide(ToUtf16(list)));
    if (SUCCEEDED(hr)) settings_.importList = list;
    return hr;
}

HRESULT ServiceSession::SetIncludeInherited(bool include) {
    HRESULT hr = assist_->SetSymbol(kesto::wide(u"INCLUDEINHERITED"), SYMBOL_SYSTEM,
                                    kesto::wide(include ? u"TRUE" : u"FALSE"));
    if (SUCCEEDED(hr)) settings_.includeInherited = include;
    return hr;
}

bool ServiceSession::ClassExists(const std::string& name, std::string* full) const {
    if (!tree_) return false;
    kesto::String normal;
    if (FAILED(tree_->NormalizeName(kesto::wide(ToUtf16(name)), kesto::wide(ToUtf16(settings_.relativeClass)),
                                    normal.out())) ||
        normal.is_null())
        return false;
    kesto::Ref<COM_ITNodeElement> node;
    if (tree_->GetClassNode(normal.get(), node.out()) != S_OK || !node) return false;
    if (full != nullptr) *full = Utf8(normal);
    return true;
}

std::vector<std::string> ServiceSession::ClassNames() const {
    kesto::String list;
    if (!assist_ || FAILED(assist_->GetClassList(kesto::wide(u""), list.out()))) return {};
    return SplitList(Utf8(list));
}

std::vector<std::string> ServiceSession::MemberNames(const std::string& className, unsigned int filter) const {
    kesto::String list;
    if (!assist_ || FAILED(assist_->GetClassMembers(kesto::wide(ToUtf16(className)),
                                                   static_cast<MEMBER_FILTER_FLAGS>(filter), list.out())))
        return {};
    std::vector<std::string> names;
    for (std::string entry : SplitList(Utf8(list))) {
        if (!entry.empty() && entry.back() == '(') entry.pop_back();
        names.push_back(std::move(entry));
    }
    return names;
}

}  // namespace vantle::tool
