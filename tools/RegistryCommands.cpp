// register, unregister and registry: the tool's view of the runtime's registry.
#include "RegistryCommands.h"

#include <dlfcn.h>
#include <sys/stat.h>

#include <cstdio>
#include <optional>
#include <vector>

#include "kesto/registry.h"
#include "vantle/server.h"
#include "HresultText.h"
#include "ToolText.h"

namespace vantle::tool {
namespace {

std::string RegistryFile() {
    std::vector<char> buffer(4096);
    unsigned long length = KESTO_RegistryFilePath(buffer.data(), buffer.size());
    if (length >= buffer.size()) {
        buffer.resize(length + 1);
        KESTO_RegistryFilePath(buffer.data(), buffer.size());
    }
    return std::string(buffer.data(), length);
}

HRESULT OpenRegistry(kesto::Ref<COM_IRegistry>& registry) {
    return COM_CreateInstance(COM_CLSID_Registry, nullptr, COM_IID_IRegistry, registry.out_void());
}

std::string GuidText(const COM_GUID& id) {
    kesto::String text;
    if (COM_CLSIDToString(id, text.out()) != S_OK) return "{?}";
    return Utf8(text);
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
    kesto::Ref<COM_IRegistry> registry;
    HRESULT hr = OpenRegistry(registry);
    if (FAILED(hr)) return hr;
    const std::u16string classKey = u"CLSID\\" + ToUtf16(GuidText(clsid));
    hr = registry->OpenRoot(1, kesto::wide(classKey));
    if (hr == REGDB_E_KEYMISSING) return registry->Close();
    if (FAILED(hr)) return hr;
    state->registered = true;
    kesto::String name;
    if (registry->GetStringValue(kesto::wide(u""), name.out()) == S_OK) state->name = Utf8(name);
    int count = 0;
    if (registry->OpenKey(kesto::wide(u"InstallCount")) == S_OK &&
        registry->GetIntValue(kesto::wide(u""), &count) == S_OK)
        state->installCount = count;
    return registry->Close();
}

std::vector<const COM_GUID*> ClassesOf(void* module) {
    std::vector<const COM_GUID*> classes;
    auto getObjectMap = reinterpret_cast<vantle::GetObjectMapFunction>(dlsym(module, "GetObjectMap"));
    if (getObjectMap == nullptr) return classes;
    for (const COM_OBJECT_MAP_ENTRY* row = getObjectMap(); row != nullptr && row->clsid != nullptr; ++row)
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
            out << ": cannot read its records: " << HresultText(hr) << "\n";
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
    kesto::Ref<COM_IRegistry> registry;
    HRESULT hr = OpenRegistry(registry);
    if (FAILED(hr)) return "the registry " + registryFile + " cannot be used: " + HresultText(hr);
    if (!doRegister) {
        for (const COM_GUID* clsid : ClassesOf(module)) {
            ClassState state;
            if (SUCCEEDED(ReadClassState(*clsid, &state)) && !state.registered)
                return GuidText(*clsid) + " is not registered: " + HresultText(REGDB_E_KEYMISSING);
        }
    }
    return "the module reported a failure (registry " + registryFile + ")";
}

// Prints the key at `path` below `root` (the current chain goes on) and
// everything below it.
HRESULT DumpKey(COM_IRegistry* registry, int root, const std::u16string& path, int depth, std::ostream& out) {
    HRESULT hr = registry->OpenRoot(root, kesto::wide(path));
    if (FAILED(hr)) return hr;
    const std::string indent(2 * static_cast<std::size_t>(depth), ' ');

    kesto::Ref<COM_IRegistryEnum> values;
    hr = registry->EnumValues(values.out());
    if (FAILED(hr)) return hr;
    kesto::String name;
    while ((hr = values->Next(name.out())) == S_OK) {
        std::u16string valueName(name.view());
        out << indent << (valueName.empty() ? std::string("(default)") : ToUtf8(valueName)) << " = ";
        int kind = KESTO_REGISTRY_NONE;
        registry->GetValueKind(kesto::wide(valueName), &kind);
        if (kind == KESTO_REGISTRY_INTEGER) {
            int number = 0;
            registry->GetIntValue(kesto::wide(valueName), &number);
            out << number << "\n";
        } else {
            kesto::String text;
            registry->GetStringValue(kesto::wide(valueName), text.out());
            out << Quoted(Utf8(text)) << "\n";
        }
    }
    if (FAILED(hr)) return hr;

    kesto::Ref<COM_IRegistryEnum> subkeys;
    hr = registry->EnumSubkeys(subkeys.out());
    if (FAILED(hr)) return hr;
    std::vector<std::u16string> children;
    while ((hr = subkeys->Next(name.out())) == S_OK) children.emplace_back(name.view());
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
        const char* why = dlerror();
        err << "vantle-assist: cannot " << verb << " " << modulePath << ": " << HresultText(CO_E_DLLNOTFOUND)
            << "\n  " << (why != nullptr ? why : "the library cannot be loaded") << "\n";
        return 1;
    }
    const char* entryName = doRegister ? "DllRegisterServer" : "DllUnregisterServer";
    auto entry = reinterpret_cast<vantle::RegisterServerFunction>(dlsym(module, entryName));
    if (entry == nullptr) {
        err << "vantle-assist: cannot " << verb << " " << modulePath << ": it has no " << entryName << ": "
            << HresultText(CO_E_ERRORINDLL) << "\n";
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
    kesto::Ref<COM_IRegistry> registry;
    HRESULT hr = OpenRegistry(registry);
    if (FAILED(hr)) {
        err << "vantle-assist: registry " << registryFile << ": " << HresultText(hr) << "\n";
        return 1;
    }
    out << "Registry " << registryFile << "\n";
    const std::pair<int, const char*> roots[] = {{1, "Classes"}, {2, "Settings"}};
    for (const auto& [root, title] : roots) {
        out << title << " (root " << root << ")\n";
        hr = DumpKey(registry.get(), root, u"", 1, out);
        if (FAILED(hr)) {
            err << "vantle-assist: registry " << registryFile << ": " << HresultText(hr) << "\n";
            return 1;
        }
    }
    registry->Close();
    return 0;
}

}  // namespace vantle::tool
