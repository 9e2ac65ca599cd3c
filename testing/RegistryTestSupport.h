// RegistryTestSupport.h: what the registry and tool tests share: a temporary
// folder, environment variables set for the length of a test, files read and
// written whole, and the registry's values read back by path.
#ifndef VANTLE_TESTING_REGISTRYTESTSUPPORT_H_
#define VANTLE_TESTING_REGISTRYTESTSUPPORT_H_

#include <stdlib.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <optional>
#include <string>

#include "TestText.h"
#include "kesto/owned.h"
#include "kesto/registry.h"

namespace registry_test {

using kesto::Ref;

struct TempFolder {
    TempFolder() {
        std::string pattern = (std::filesystem::temp_directory_path() / "kesto-registry-XXXXXX").string();
        if (mkdtemp(pattern.data()) != nullptr) path = pattern;
    }
    ~TempFolder() {
        std::error_code ignored;
        std::filesystem::remove_all(path, ignored);
    }
    std::string operator/(const std::string& name) const { return (path / name).string(); }
    std::filesystem::path path;
};

// Sets (or with nullopt unsets) a variable and restores it afterwards.
class ScopedEnv {
public:
    ScopedEnv(const char* name, std::optional<std::string> value) : m_name(name) {
        if (const char* old = getenv(name)) m_old = old;
        Set(value);
    }
    ~ScopedEnv() { Set(m_old); }

private:
    void Set(const std::optional<std::string>& value) {
        value ? setenv(m_name.c_str(), value->c_str(), 1) : unsetenv(m_name.c_str());
    }
    std::string m_name;
    std::optional<std::string> m_old;
};

inline std::string ReadFile(const std::filesystem::path& path) {
    std::ifstream in(path, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
}

inline void WriteFile(const std::filesystem::path& path, const std::string& content) {
    std::ofstream(path, std::ios::binary) << content;
}

inline HRESULT NewRegistry(Ref<COM_IRegistry>& registry) {
    return COM_CreateInstance(COM_CLSID_Registry, nullptr, COM_IID_IRegistry, registry.out_void());
}

// A registry object with a chain open at `path` below root 1, or none.
inline Ref<COM_IRegistry> OpenAt(const std::string& path) {
    Ref<COM_IRegistry> registry;
    if (NewRegistry(registry) != S_OK || registry->OpenRoot(1, W(path)) != S_OK) registry.reset();
    return registry;
}

inline bool KeyExists(const std::string& path) { return static_cast<bool>(OpenAt(path)); }

// The value `name` of the key at `path` below root 1: its text, an integer as
// decimal text, or nullopt when the key or the value is missing.
inline std::optional<std::string> ValueAt(const std::string& path, const std::string& name = "") {
    Ref<COM_IRegistry> registry = OpenAt(path);
    int number = 0;
    kesto::String text;
    if (!registry) return std::nullopt;
    if (registry->GetIntValue(W(name), &number) == S_OK) return std::to_string(number);
    if (registry->GetStringValue(W(name), text.out()) == S_OK) return Narrow(text);
    return std::nullopt;
}

}  // namespace registry_test

#endif  // VANTLE_TESTING_REGISTRYTESTSUPPORT_H_
