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

// The module's entry point in one transaction of the runtime's registry, which
// also records where this copy of the module is: a registration that fails or is
// killed half way leaves nothing. *reason: the runtime's words for its failure.
HRESULT CallInTransaction(void* module, const char* entryName, const std::string& modulePath,
                          std::string* reason) {
    auto entry = reinterpret_cast<vantle::RegisterServerFunction>(dlsym(module, entryName));
    if (entry == nullptr) return CO_E_ERRORINDLL;
    HRESULT hr = KESTO_RegistryBeginTransaction(modulePath.c_str());
    if (FAILED(hr)) {
        *reason = "the registry cannot be used: " + LastRegistryFailure(hr);
        return hr;
    }
    const HRESULT result = entry();
    HRESULT failure = S_OK;
    KESTO_RegistryLastError(&failure, nullptr, 0);
    if (result != S_OK && FAILED(failure)) *reason = LastRegistryFailure(failure);
    hr = KESTO_RegistryEndTransaction(result == S_OK);
    if (result == S_OK && FAILED(hr)) {
        *reason = "the registry cannot be committed: " + LastRegistryFailure(hr);
        return hr;
    }
    return result;
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
    std::string reason;
    const char* entryName = doRegister ? "DllRegisterServer" : "DllUnregisterServer";
    const HRESULT result = CallInTransaction(module, entryName, modulePath, &reason);
    reply.Result(result);
    if (result == CO_E_ERRORINDLL)
        return reply.Fail(kExitInternal, std::string("cannot ") + verb + " " + modulePath + ": it has no " +
                                             entryName + ": " + HresultText(CO_E_ERRORINDLL));
    if (result != S_OK)
        return reply.Fail(kExitInternal, std::string("cannot ") + verb + " " + modulePath + ": " +
                                             (reason.empty() ? "the module reported " + HresultText(result) +
                                                                   " (registry " + registryFile + ")"
                                                             : reason));
    reply.Text() << (doRegister ? "registered " : "unregistered ") << modulePath << (doRegister ? " in " : " from ")
                 << registryFile << "\n";
    ReportClasses(module, reply);
    return reply.ExitCode();
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
HRESULT DumpValues(COM_IRegistry* registry, const std::string& indent, std::ostream& out, Json* key) {
    kesto::Ref<COM_IRegistryEnum> values;
    HRESULT hr = registry->EnumValues(values.out());
    if (FAILED(hr)) return hr;
    kesto::String name;
    Json valueList = Json::array();
    while ((hr = values->Next(name.out())) == S_OK) {
        std::u16string valueName(name.view());
        out << indent << (valueName.empty() ? std::string("(default)") : ShownName(valueName)) << " = ";
        int kind = KESTO_REGISTRY_NONE;
        HRESULT read = registry->GetValueKind(kesto::wide(valueName), &kind);
        Json value{{"name", ToUtf8(valueName)}};
        if (kind == KESTO_REGISTRY_INTEGER) {
            int number = 0;
            read = registry->GetIntValue(kesto::wide(valueName), &number);
            if (read == S_OK) {
                out << number << "\n";
                value["kind"] = "integer";
                value["value"] = number;
            }
        } else if (read == S_OK) {
            kesto::String text;
            read = registry->GetStringValue(kesto::wide(valueName), text.out());
            if (read == S_OK) {
                out << Quoted(Utf8(text)) << "\n";
                value["kind"] = "string";
                value["value"] = Utf8(text);
            }
        }
        if (read != S_OK) {
            const std::string why = LastRegistryFailure(FAILED(read) ? read : REGDB_E_INVALIDVALUE);
            out << "(unreadable: " << why << ")\n";
            value["kind"] = "unreadable";
            value["value"] = why;
        }
        valueList.push_back(std::move(value));
    }
    if (FAILED(hr)) return hr;
    (*key)["values"] = std::move(valueList);
    return S_OK;
}

// Prints the current key's values and everything below it, walking down with
// OpenKey and back with OpenParent on a stack of its own: any depth costs time
// and memory linear in what is printed. A subkey whose name cannot be opened by
// name (empty, or holding '\\') is shown and not followed. *key gets the same
// tree as JSON.
HRESULT DumpTree(COM_IRegistry* registry, std::ostream& out, Json* key) {
    struct Level {
        std::vector<std::u16string> children;
        std::size_t next = 0;
        Json* key;
    };
    std::vector<Level> levels;
    auto enter = [&](Json* at) -> HRESULT {
        HRESULT hr = DumpValues(registry, std::string(2 * (levels.size() + 1), ' '), out, at);
        if (FAILED(hr)) return hr;
        kesto::Ref<COM_IRegistryEnum> subkeys;
        hr = registry->EnumSubkeys(subkeys.out());
        if (FAILED(hr)) return hr;
        Level level{{}, 0, at};
        kesto::String name;
        while ((hr = subkeys->Next(name.out())) == S_OK) level.children.emplace_back(name.view());
        if (FAILED(hr)) return hr;
        (*at)["subkeys"] = Json::array();
        (*at)["subkeys"].get_ref<Json::array_t&>().reserve(level.children.size());
        levels.push_back(std::move(level));
        return S_OK;
    };
    HRESULT hr = enter(key);
    while (SUCCEEDED(hr) && !levels.empty()) {
        Level& level = levels.back();
        if (level.next == level.children.size()) {
            levels.pop_back();
            if (!levels.empty()) hr = registry->OpenParent();
            continue;
        }
        const std::u16string child = level.children[level.next++];
        const std::string indent(2 * levels.size(), ' ');
        Json& subkeys = (*level.key)["subkeys"];
        subkeys.push_back(Json{{"name", ToUtf8(child)}});
        Json* childKey = &subkeys.back();
        if (child.empty() || child.find(u'\\') != std::u16string::npos) {
            out << indent << ShownName(child) << "  (not followed: not a name a key can be opened by)\n";
            (*childKey)["followed"] = false;
            continue;
        }
        out << indent << ShownName(child) << "\n";
        hr = registry->OpenKey(kesto::wide(child));
        if (hr == REGDB_E_KEYMISSING) {
            // A name that is not valid UTF-8 in the file lists as something else.
            out << indent << "  (cannot be opened: " << LastRegistryFailure(hr) << ")\n";
            (*childKey)["followed"] = false;
            hr = S_OK;
            continue;
        }
        if (SUCCEEDED(hr)) hr = enter(childKey);
    }
    return hr;
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
        return reply.Fail(kExitInternal, "registry " + registryFile + ": " + LastRegistryFailure(hr));
    }
    reply.Text() << "Registry " << registryFile << "\n";
    const std::pair<int, const char*> roots[] = {{1, "Classes"}, {2, "Settings"}};
    for (const auto& [root, title] : roots) {
        reply.Text() << title << " (root " << root << ")\n";
        Json key{{"name", ""}};
        hr = registry->OpenRoot(root, kesto::wide(u""));
        if (SUCCEEDED(hr)) hr = DumpTree(registry.get(), reply.Text(), &key);
        if (FAILED(hr)) {
            reply.Result(hr);
            return reply.Fail(kExitInternal, "registry " + registryFile + ": " + LastRegistryFailure(hr));
        }
        reply.Document()["roots"].push_back(Json{{"root", root}, {"name", title}, {"key", std::move(key)}});
    }
    registry->Close();
    reply.Result(S_OK);
    return reply.ExitCode();
}

}  // namespace vantle::tool
