// register, unregister and registry: the tool's view of the runtime's registry.
#include "tools/RegistryCommands.h"

#include <dlfcn.h>
#include <sys/stat.h>

#include <cstdio>
#include <optional>
#include <vector>

#include "kesto/registry.h"
#include "tools/HresultText.h"
#include "tools/ToolText.h"

namespace vantle::tool {
namespace {

// One row of a component's object map as the binary contract lays it out.
struct ObjectMapRow {
    const COM_GUID* clsid;
    const void* factory;
    const void* updateRegistry;
    const void* getCategoryMap;
};

// One counted reference, released at the end of the scope.
template <typename I>
class Held {
public:
    Held() = default;
    Held(const Held&) = delete;
    Held& operator=(const Held&) = delete;
    ~Held() {
        if (p_ != nullptr) p_->Release();
    }
    I* operator->() const { return p_; }
    I* Get() const { return p_; }
    I** Out() { return &p_; }
    void** OutVoid() { return reinterpret_cast<void**>(&p_); }

private:
    I* p_ = nullptr;
};

std::string RegistryFile() {
    std::vector<char> buffer(4096);
    unsigned long length = KESTO_RegistryFilePath(buffer.data(), buffer.size());
    if (length >= buffer.size()) {
        buffer.resize(length + 1);
        KESTO_RegistryFilePath(buffer.data(), buffer.size());
    }
    return std::string(buffer.data(), length);
}

HRESULT OpenRegistry(Held<COM_IRegistry>& registry) {
    return COM_CreateInstance(COM_CLSID_Registry, nullptr, COM_IID_IRegistry, registry.OutVoid());
}

std::string GuidText(const COM_GUID& id) {
    Bstr text;
    if (COM_CLSIDToString(id, text.Out()) != S_OK) return "{?}";
    return text.Utf8();
}

// A quoted string for people: quotes, backslashes and control characters escaped.
std::string Quoted(const std::string& text) {
    std::string out = "\"";
    for (unsigned char c : text) {
        if (c == '"' || c == '\\') {
            out.push_back('\\');
            out.push_back(static_cast<char>(c));
        } else if (c < 0x20 || c == 0x7F) {
            char escape[8];
            std::snprintf(escape, sizeof escape, "\\x%02X", c);
            out += escape;
        } else {
            out.push_back(static_cast<char>(c));
        }
    }
    return out + "\"";
}

// What the registry holds for one class after a registration command.
struct ClassState {
    bool registered = false;
    std::string name;
    std::optional<int> installCount;
};

HRESULT ReadClassState(const COM_GUID& clsid, ClassState* state) {
    Held<COM_IRegistry> registry;
    HRESULT hr = OpenRegistry(registry);
    if (FAILED(hr)) return hr;
    const std::u16string classKey = u"CLSID\\" + ToUtf16(GuidText(clsid));
    hr = registry->OpenRoot(1, Wide(classKey));
    if (hr == REGDB_E_KEYMISSING) return registry->Close();
    if (FAILED(hr)) return hr;
    state->registered = true;
    Bstr name;
    if (registry->GetStringValue(Wide(u""), name.Out()) == S_OK) state->name = name.Utf8();
    int count = 0;
    if (registry->OpenKey(Wide(u"InstallCount")) == S_OK && registry->GetIntValue(Wide(u""), &count) == S_OK)
        state->installCount = count;
    return registry->Close();
}

std::vector<const COM_GUID*> ClassesOf(void* module) {
    std::vector<const COM_GUID*> classes;
    auto getObjectMap = reinterpret_cast<const ObjectMapRow* (*)()>(dlsym(module, "GetObjectMap"));
    if (getObjectMap == nullptr) return classes;
    for (const ObjectMapRow* row = getObjectMap(); row != nullptr && row->clsid != nullptr; ++row)
        classes.push_back(row->clsid);
    return classes;
}

void ReportClasses(void* module, std::ostream& out) {
    for (const COM_GUID* clsid : ClassesOf(module)) {
        ClassState state;
        HRESULT hr = ReadClassState(*clsid, &state);
        out << "  " << GuidText(*clsid);
        if (!state.name.empty()) out << " " << state.name;
        if (FAILED(hr)) {
            out << ": cannot read its records: " << HresultText(hr, module) << "\n";
        } else if (!state.registered) {
            out << ": not registered\n";
        } else if (state.installCount) {
            out << ": installed " << *state.installCount << (*state.installCount == 1 ? " time\n" : " times\n");
        } else {
            out << ": registered, no install count\n";
        }
    }
}

// Why DllRegisterServer/DllUnregisterServer reported a failure, as far as the
// registry can tell.
std::string ExplainFailure(void* module, bool doRegister, const std::string& registryFile) {
    Held<COM_IRegistry> registry;
    HRESULT hr = OpenRegistry(registry);
    if (FAILED(hr)) return "the registry " + registryFile + " cannot be used: " + HresultText(hr, module);
    if (!doRegister) {
        for (const COM_GUID* clsid : ClassesOf(module)) {
            ClassState state;
            if (SUCCEEDED(ReadClassState(*clsid, &state)) && !state.registered)
                return GuidText(*clsid) + " is not registered: " + HresultText(REGDB_E_KEYMISSING, module);
        }
    }
    return "the module reported a failure (registry " + registryFile + ")";
}

// Prints the key at `path` below `root` (the current chain goes on) and
// everything below it.
HRESULT DumpKey(COM_IRegistry* registry, int root, const std::u16string& path, int depth, std::ostream& out) {
    HRESULT hr = registry->OpenRoot(root, Wide(path));
    if (FAILED(hr)) return hr;
    const std::string indent(2 * static_cast<std::size_t>(depth), ' ');

    Held<COM_IRegistryEnum> values;
    hr = registry->EnumValues(values.Out());
    if (FAILED(hr)) return hr;
    Bstr name;
    while ((hr = values->Next(name.Out())) == S_OK) {
        std::u16string valueName(name.View());
        out << indent << (valueName.empty() ? std::string("(default)") : ToUtf8(valueName)) << " = ";
        int kind = KESTO_REGISTRY_NONE;
        registry->GetValueKind(Wide(valueName), &kind);
        if (kind == KESTO_REGISTRY_INTEGER) {
            int number = 0;
            registry->GetIntValue(Wide(valueName), &number);
            out << number << "\n";
        } else {
            Bstr text;
            registry->GetStringValue(Wide(valueName), text.Out());
            out << Quoted(text.Utf8()) << "\n";
        }
    }
    if (FAILED(hr)) return hr;

    Held<COM_IRegistryEnum> subkeys;
    hr = registry->EnumSubkeys(subkeys.Out());
    if (FAILED(hr)) return hr;
    std::vector<std::u16string> children;
    while ((hr = subkeys->Next(name.Out())) == S_OK) children.emplace_back(name.View());
    if (FAILED(hr)) return hr;
    for (const std::u16string& child : children) {
        out << indent << ToUtf8(child) << "\n";
        hr = DumpKey(registry, root, path.empty() ? child : path + u"\\" + child, depth + 1, out);
        if (FAILED(hr)) return hr;
    }
    return S_OK;
}

}  // namespace

int RunRegisterCommand(const std::string& modulePath, bool doRegister, std::ostream& out, std::ostream& err) {
    const char* verb = doRegister ? "register" : "unregister";
    void* module = dlopen(modulePath.c_str(), RTLD_NOW | RTLD_LOCAL);
    if (module == nullptr) {
        // Copied at once: looking up the message text loads a library too.
        const char* reason = dlerror();
        const std::string why = reason != nullptr ? reason : "the library cannot be loaded";
        err << "vantle-assist: cannot " << verb << " " << modulePath << ": "
            << HresultText(CO_E_DLLNOTFOUND, nullptr) << "\n  " << why << "\n";
        return 1;
    }
    const char* entryName = doRegister ? "DllRegisterServer" : "DllUnregisterServer";
    auto entry = reinterpret_cast<HRESULT (*)()>(dlsym(module, entryName));
    if (entry == nullptr) {
        err << "vantle-assist: cannot " << verb << " " << modulePath << ": it has no " << entryName << ": "
            << HresultText(CO_E_ERRORINDLL, module) << "\n";
        return 1;
    }
    const std::string registryFile = RegistryFile();
    HRESULT result = entry();
    if (result != S_OK) {
        err << "vantle-assist: cannot " << verb << " " << modulePath << ": "
            << ExplainFailure(module, doRegister, registryFile) << "\n";
        return 1;
    }
    out << (doRegister ? "registered " : "unregistered ") << modulePath << (doRegister ? " in " : " from ")
        << registryFile << "\n";
    ReportClasses(module, out);
    return 0;
}

int RunRegistryDumpCommand(std::ostream& out, std::ostream& err) {
    const std::string registryFile = RegistryFile();
    if (registryFile.empty()) {
        err << "vantle-assist: registry: no place for it: set KESTO_REGISTRY or HOME\n";
        return 1;
    }
    struct stat status;
    if (stat(registryFile.c_str(), &status) != 0) {
        out << "Registry " << registryFile << ": not made yet (nothing is registered)\n";
        return 0;
    }
    Held<COM_IRegistry> registry;
    HRESULT hr = OpenRegistry(registry);
    if (FAILED(hr)) {
        err << "vantle-assist: registry " << registryFile << ": " << HresultText(hr, nullptr) << "\n";
        return 1;
    }
    out << "Registry " << registryFile << "\n";
    const std::pair<int, const char*> roots[] = {{1, "Classes"}, {2, "Settings"}};
    for (const auto& [root, title] : roots) {
        out << title << " (root " << root << ")\n";
        hr = DumpKey(registry.Get(), root, u"", 1, out);
        if (FAILED(hr)) {
            err << "vantle-assist: registry " << registryFile << ": " << HresultText(hr, nullptr) << "\n";
            return 1;
        }
    }
    registry->Close();
    return 0;
}

}  // namespace vantle::tool
