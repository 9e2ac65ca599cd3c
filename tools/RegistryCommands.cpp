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

// The status and the runtime's reason for the last registry failure.
std::string LastRegistryFailure(HRESULT fallback) {
    std::vector<char> buffer(4096);
    HRESULT status = S_OK;
    unsigned long length = KESTO_RegistryLastError(&status, buffer.data(), buffer.size());
    if (length >= buffer.size()) {
        buffer.resize(length + 1);
        KESTO_RegistryLastError(&status, buffer.data(), buffer.size());
    }
    if (length == 0) return HresultText(fallback);
    return HresultText(FAILED(status) ? status : fallback) + ": " + std::string(buffer.data(), length);
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
    std::string countProblem;
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
    if (registry->OpenKey(kesto::wide(u"InstallCount")) == S_OK) {
        HRESULT read = registry->GetIntValue(kesto::wide(u""), &count);
        if (read == S_OK) state->installCount = count;
        if (FAILED(read)) state->countProblem = LastRegistryFailure(read);
    }
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
        } else if (!state.countProblem.empty()) {
            out << ": registered, install count unreadable: " << state.countProblem << "\n";
        } else if (state.installCount && *state.installCount < 1) {
            // Only a count edited by hand is below 1 while the records are there.
            out << ": registered, install count " << *state.installCount << " is not a count (edited by hand?)\n";
        } else if (state.installCount) {
            out << ": installed " << *state.installCount << (*state.installCount == 1 ? " time\n" : " times\n");
        } else {
            out << ": registered, no install count\n";
        }
    }
}

// Why DllRegisterServer/DllUnregisterServer reported a failure, as far as the
// registry can tell; `reason` is what the runtime said about its last failure.
std::string ExplainFailure(void* module, bool doRegister, const std::string& registryFile,
                           const std::string& reason) {
    if (!reason.empty()) return reason;
    kesto::Ref<COM_IRegistry> registry;
    HRESULT hr = OpenRegistry(registry);
    if (FAILED(hr)) return "the registry " + registryFile + " cannot be used: " + LastRegistryFailure(hr);
    if (!doRegister) {
        for (const COM_GUID* clsid : ClassesOf(module)) {
            ClassState state;
            if (SUCCEEDED(ReadClassState(*clsid, &state)) && !state.registered)
                return GuidText(*clsid) + " is not registered: " + HresultText(REGDB_E_KEYMISSING);
        }
    }
    return "the module reported a failure (registry " + registryFile + ")";
}

// A name as the dump shows it: quoted when it is not one the runtime would make
// or would print ambiguously (empty, a '\\', a quote, a control character).
bool PlainName(const std::u16string& name) {
    if (name.empty()) return false;
    for (char16_t c : name)
        if (c == u'\\' || c == u'"' || c < 0x20 || c == 0x7F) return false;
    return true;
}

std::string ShownName(const std::u16string& name) { return PlainName(name) ? ToUtf8(name) : Quoted(ToUtf8(name)); }

// Prints the current key's values, `indent` deep.
HRESULT DumpValues(COM_IRegistry* registry, const std::string& indent, std::ostream& out) {
    kesto::Ref<COM_IRegistryEnum> values;
    HRESULT hr = registry->EnumValues(values.out());
    if (FAILED(hr)) return hr;
    kesto::String name;
    while ((hr = values->Next(name.out())) == S_OK) {
        std::u16string valueName(name.view());
        out << indent << (valueName.empty() ? std::string("(default)") : ShownName(valueName)) << " = ";
        int kind = KESTO_REGISTRY_NONE;
        HRESULT read = registry->GetValueKind(kesto::wide(valueName), &kind);
        if (kind == KESTO_REGISTRY_INTEGER) {
            int number = 0;
            read = registry->GetIntValue(kesto::wide(valueName), &number);
            if (read == S_OK) out << number << "\n";
        } else if (read == S_OK) {
            kesto::String text;
            read = registry->GetStringValue(kesto::wide(valueName), text.out());
            if (read == S_OK) out << Quoted(Utf8(text)) << "\n";
        }
        if (read != S_OK)
            out << "(unreadable: " << LastRegistryFailure(FAILED(read) ? read : REGDB_E_INVALIDVALUE) << ")\n";
    }
    return FAILED(hr) ? hr : S_OK;
}

// Prints the current key's values and everything below it, walking down with
// OpenKey and back with OpenParent on a stack of its own: any depth costs time
// and memory linear in what is printed. A subkey whose name cannot be opened by
// name (empty, or holding '\\') is shown and not followed.
HRESULT DumpTree(COM_IRegistry* registry, std::ostream& out) {
    struct Level {
        std::vector<std::u16string> children;
        std::size_t next = 0;
    };
    std::vector<Level> levels;
    auto enter = [&]() -> HRESULT {
        HRESULT hr = DumpValues(registry, std::string(2 * (levels.size() + 1), ' '), out);
        if (FAILED(hr)) return hr;
        kesto::Ref<COM_IRegistryEnum> subkeys;
        hr = registry->EnumSubkeys(subkeys.out());
        if (FAILED(hr)) return hr;
        Level level;
        kesto::String name;
        while ((hr = subkeys->Next(name.out())) == S_OK) level.children.emplace_back(name.view());
        if (FAILED(hr)) return hr;
        levels.push_back(std::move(level));
        return S_OK;
    };
    HRESULT hr = enter();
    while (SUCCEEDED(hr) && !levels.empty()) {
        Level& level = levels.back();
        if (level.next == level.children.size()) {
            levels.pop_back();
            if (!levels.empty()) hr = registry->OpenParent();
            continue;
        }
        const std::u16string child = level.children[level.next++];
        const std::string indent(2 * levels.size(), ' ');
        if (child.empty() || child.find(u'\\') != std::u16string::npos) {
            out << indent << ShownName(child) << "  (not followed: not a name a key can be opened by)\n";
            continue;
        }
        out << indent << ShownName(child) << "\n";
        hr = registry->OpenKey(kesto::wide(child));
        if (hr == REGDB_E_KEYMISSING) {
            // A name that is not valid UTF-8 in the file lists as something else.
            out << indent << "  (cannot be opened: " << LastRegistryFailure(hr) << ")\n";
            hr = S_OK;
            continue;
        }
        if (SUCCEEDED(hr)) hr = enter();
    }
    return hr;
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
    // All or nothing: the module's registry work is one transaction of the
    // runtime, which also records where this copy of the module is.
    HRESULT hr = KESTO_RegistryBeginTransaction(modulePath.c_str());
    if (FAILED(hr)) {
        err << "vantle-assist: cannot " << verb << " " << modulePath << ": the registry " << registryFile
            << " cannot be used: " << LastRegistryFailure(hr) << "\n";
        return 1;
    }
    HRESULT result = entry();
    HRESULT failure = S_OK;
    KESTO_RegistryLastError(&failure, nullptr, 0);
    const std::string reason = result != S_OK && FAILED(failure) ? LastRegistryFailure(failure) : std::string();
    hr = KESTO_RegistryEndTransaction(result == S_OK);
    if (result == S_OK && FAILED(hr)) {
        err << "vantle-assist: cannot " << verb << " " << modulePath << ": the registry " << registryFile
            << " cannot be committed: " << LastRegistryFailure(hr) << "\n";
        return 1;
    }
    if (result != S_OK) {
        err << "vantle-assist: cannot " << verb << " " << modulePath << ": "
            << ExplainFailure(module, doRegister, registryFile, reason) << "\n";
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
        err << "vantle-assist: registry " << registryFile << ": " << LastRegistryFailure(hr) << "\n";
        return 1;
    }
    out << "Registry " << registryFile << "\n";
    const std::pair<int, const char*> roots[] = {{1, "Classes"}, {2, "Settings"}};
    for (const auto& [root, title] : roots) {
        out << title << " (root " << root << ")\n";
        hr = registry->OpenRoot(root, kesto::wide(u""));
        if (SUCCEEDED(hr)) hr = DumpTree(registry.get(), out);
        if (FAILED(hr)) {
            err << "vantle-assist: registry " << registryFile << ": " << LastRegistryFailure(hr) << "\n";
            return 1;
        }
    }
    registry->Close();
    return 0;
}

}  // namespace vantle::tool
