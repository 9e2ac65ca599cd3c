// register, unregister and registry: the tool's view of the runtime's registry.
#include "RegistryCommands.h"

#include <dlfcn.h>
#include <sys/stat.h>

#include <cstdio>
#include <filesystem>
#include <optional>
#include <vector>

#include "HresultText.h"
#include "ToolExit.h"
#include "ToolText.h"
#include "kesto/registry.h"
#include "vantle/server.h"

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

void ReportClasses(void* module, Reply& reply) {
    Json classes = Json::array();
    for (const COM_GUID* clsid : ClassesOf(module)) {
        ClassState state;
        HRESULT hr = ReadClassState(*clsid, &state);
        Json entry{{"clsid", GuidText(*clsid)},
                   {"name", state.name.empty() ? Json(nullptr) : Json(state.name)},
                   {"registered", state.registered},
                   {"installCount", state.installCount ? Json(*state.installCount) : Json(nullptr)}};
        std::ostream& out = reply.Text();
        out << "  " << GuidText(*clsid);
        if (!state.name.empty()) out << " " << state.name;
        if (FAILED(hr)) {
            entry["result"] = JsonStatus(hr);
            out << ": cannot read its records: " << HresultText(hr) << "\n";
        } else if (!state.registered) {
            out << ": not registered\n";
        } else if (state.installCount) {
            out << ": installed " << *state.installCount << (*state.installCount == 1 ? " time\n" : " times\n");
        } else {
            out << ": registered, no install count\n";
        }
        classes.push_back(std::move(entry));
    }
    reply.Document()["classes"] = std::move(classes);
}

// A class of the module that the registry does not hold, if any.
std::optional<std::string> UnregisteredClass(void* module) {
    for (const COM_GUID* clsid : ClassesOf(module)) {
        ClassState state;
        if (SUCCEEDED(ReadClassState(*clsid, &state)) && !state.registered) return GuidText(*clsid);
    }
    return std::nullopt;
}

// The module's own entry points, one call each; a transaction of the registry
// may be wrapped around each call.
HRESULT CallRegisterServer(void* module) {
    auto entry = reinterpret_cast<vantle::RegisterServerFunction>(dlsym(module, "DllRegisterServer"));
    return entry == nullptr ? CO_E_ERRORINDLL : entry();
}

HRESULT CallUnregisterServer(void* module) {
    auto entry = reinterpret_cast<vantle::RegisterServerFunction>(dlsym(module, "DllUnregisterServer"));
    return entry == nullptr ? CO_E_ERRORINDLL : entry();
}

int RunRegistration(const CommandLine& line, Reply& reply, bool doRegister) {
    const char* verb = doRegister ? "register" : "unregister";
    const std::string modulePath = CanonicalPath(line.arguments.empty() ? DefaultModulePath() : line.arguments[0]);
    const std::string registryFile = RegistryFile();
    reply.Document()["module"] = modulePath;
    reply.Document()["registry"] = registryFile;
    void* module = dlopen(modulePath.c_str(), RTLD_NOW | RTLD_LOCAL);
    if (module == nullptr) {
        const char* why = dlerror();
        reply.Result(CO_E_DLLNOTFOUND);
        return reply.Fail(kExitNotFound, std::string("cannot ") + verb + " " + modulePath + ": " +
                                             HresultText(CO_E_DLLNOTFOUND),
                          {}, why != nullptr ? why : "");
    }
    if (!doRegister) {
        // Before the call, so that the answer does not depend on what the module says.
        if (std::optional<std::string> missing = UnregisteredClass(module)) {
            reply.Result(REGDB_E_KEYMISSING);
            ReportClasses(module, reply);
            return reply.Fail(kExitNotFound, "cannot unregister " + modulePath + ": " + *missing +
                                                 " is not registered in " + registryFile + ": " +
                                                 HresultText(REGDB_E_KEYMISSING));
        }
    }
    const HRESULT result = doRegister ? CallRegisterServer(module) : CallUnregisterServer(module);
    reply.Result(result);
    if (result == CO_E_ERRORINDLL)
        return reply.Fail(kExitInternal, std::string("cannot ") + verb + " " + modulePath + ": it has no " +
                                             (doRegister ? "DllRegisterServer" : "DllUnregisterServer") + ": " +
                                             HresultText(CO_E_ERRORINDLL));
    if (result != S_OK) {
        kesto::Ref<COM_IRegistry> registry;
        HRESULT open = OpenRegistry(registry);
        return reply.Fail(kExitInternal, std::string("cannot ") + verb + " " + modulePath + ": " +
                                             (FAILED(open) ? "the registry " + registryFile +
                                                                 " cannot be used: " + HresultText(open)
                                                           : "the module reported " + HresultText(result)));
    }
    reply.Text() << (doRegister ? "registered " : "unregistered ") << modulePath << (doRegister ? " in " : " from ")
                 << registryFile << "\n";
    ReportClasses(module, reply);
    return reply.ExitCode();
}

// The key at `path` below `root` (the current chain goes on) and everything below it.
HRESULT DumpKey(COM_IRegistry* registry, int root, const std::u16string& path, int depth, std::ostream& out,
                Json* key) {
    HRESULT hr = registry->OpenRoot(root, kesto::wide(path));
    if (FAILED(hr)) return hr;
    const std::string indent(2 * static_cast<std::size_t>(depth), ' ');

    kesto::Ref<COM_IRegistryEnum> values;
    hr = registry->EnumValues(values.out());
    if (FAILED(hr)) return hr;
    kesto::String name;
    Json valueList = Json::array();
    while ((hr = values->Next(name.out())) == S_OK) {
        std::u16string valueName(name.view());
        out << indent << (valueName.empty() ? std::string("(default)") : ToUtf8(valueName)) << " = ";
        int kind = KESTO_REGISTRY_NONE;
        registry->GetValueKind(kesto::wide(valueName), &kind);
        Json value{{"name", ToUtf8(valueName)}};
        if (kind == KESTO_REGISTRY_INTEGER) {
            int number = 0;
            registry->GetIntValue(kesto::wide(valueName), &number);
            out << number << "\n";
            value["kind"] = "integer";
            value["value"] = number;
        } else {
            kesto::String text;
            registry->GetStringValue(kesto::wide(valueName), text.out());
            out << Quoted(Utf8(text)) << "\n";
            value["kind"] = "string";
            value["value"] = Utf8(text);
        }
        valueList.push_back(std::move(value));
    }
    if (FAILED(hr)) return hr;
    (*key)["values"] = std::move(valueList);

    kesto::Ref<COM_IRegistryEnum> subkeys;
    hr = registry->EnumSubkeys(subkeys.out());
    if (FAILED(hr)) return hr;
    std::vector<std::u16string> children;
    while ((hr = subkeys->Next(name.out())) == S_OK) children.emplace_back(name.view());
    if (FAILED(hr)) return hr;
    Json subkeyList = Json::array();
    for (const std::u16string& child : children) {
        out << indent << ToUtf8(child) << "\n";
        Json childKey{{"name", ToUtf8(child)}};
        hr = DumpKey(registry, root, path.empty() ? child : path + u"\\" + child, depth + 1, out, &childKey);
        if (FAILED(hr)) return hr;
        subkeyList.push_back(std::move(childKey));
    }
    (*key)["subkeys"] = std::move(subkeyList);
    return S_OK;
}

}  // namespace

int RunRegister(const CommandLine& line, ServiceSession*, Reply& reply) { return RunRegistration(line, reply, true); }

int RunUnregister(const CommandLine& line, ServiceSession*, Reply& reply) {
    return RunRegistration(line, reply, false);
}

int RunRegistry(const CommandLine&, ServiceSession*, Reply& reply) {
    const std::string registryFile = RegistryFile();
    reply.Document()["registry"] = registryFile.empty() ? Json(nullptr) : Json(registryFile);
    if (registryFile.empty()) return reply.Fail(kExitInternal, "registry: no place for it: set KESTO_REGISTRY or HOME");
    struct stat status {};
    reply.Document()["exists"] = stat(registryFile.c_str(), &status) == 0;
    reply.Document()["roots"] = Json::array();
    if (!reply.Document()["exists"].get<bool>()) {
        reply.Text() << "Registry " << registryFile << ": not made yet (nothing is registered)\n";
        return reply.ExitCode();
    }
    kesto::Ref<COM_IRegistry> registry;
    HRESULT hr = OpenRegistry(registry);
    if (FAILED(hr)) {
        reply.Result(hr);
        return reply.Fail(kExitInternal, "registry " + registryFile + ": " + HresultText(hr));
    }
    reply.Text() << "Registry " << registryFile << "\n";
    const std::pair<int, const char*> roots[] = {{1, "Classes"}, {2, "Settings"}};
    for (const auto& [root, title] : roots) {
        reply.Text() << title << " (root " << root << ")\n";
        Json key{{"name", ""}};
        hr = DumpKey(registry.get(), root, u"", 1, reply.Text(), &key);
        if (FAILED(hr)) {
            reply.Result(hr);
            return reply.Fail(kExitInternal, "registry " + registryFile + ": " + HresultText(hr));
        }
        reply.Document()["roots"].push_back(Json{{"root", root}, {"name", title}, {"key", std::move(key)}});
    }
    registry->Close();
    reply.Result(S_OK);
    return reply.ExitCode();
}

}  // namespace vantle::tool
