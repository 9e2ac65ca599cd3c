// Helpers shared by the registry tests: 16-bit text, counted references, a
// temporary folder, and environment variables set for the length of a test.
#ifndef VANTLE_TESTS_REGISTRY_REGISTRYTESTSUPPORT_H_
#define VANTLE_TESTS_REGISTRY_REGISTRYTESTSUPPORT_H_

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <optional>
#include <string>
#include <vector>

#include "kesto/com.h"

namespace registry_test {

// A NUL-terminated 16-bit text: each char16_t, or each byte of a narrow string, is one unit.
class Wide {
public:
    Wide(const char16_t* text) : m_units(text, text + std::char_traits<char16_t>::length(text) + 1) {}
    Wide(const std::string& text) : m_units(text.begin(), text.end()) {
        for (auto& unit : m_units) unit &= 0xFF;
        m_units.push_back(0);
    }
    operator CBSTR() const { return m_units.data(); }

private:
    std::vector<unsigned short> m_units;
};

// Units as bytes (the tests' names are all below 0x100); NULL as "(null)".
inline std::string Narrow(const unsigned short* text) {
    if (text == nullptr) return "(null)";
    std::string out;
    for (; *text != 0; ++text) out.push_back(static_cast<char>(*text));
    return out;
}

// Takes a BSTR, frees it, returns its narrow text.
inline std::string TakeString(BSTR text) {
    std::string out = Narrow(text);
    COM_SysFreeString(text);
    return out;
}

// One counted reference, released at the end of the scope.
template <typename I>
class Ref {
public:
    Ref() = default;
    ~Ref() { Reset(); }
    Ref(const Ref&) = delete;
    Ref& operator=(const Ref&) = delete;
    I* operator->() const { return m_p; }
    I* Get() const { return m_p; }
    void** Out() { return reinterpret_cast<void**>(Address()); }
    I** Address() { return Reset(), &m_p; }
    void Reset() {
        if (m_p != nullptr) m_p->Release();
        m_p = nullptr;
    }

private:
    I* m_p = nullptr;
};

class TempFolder {
public:
    TempFolder() {
        std::string pattern = (std::filesystem::temp_directory_path() / "kesto-registry-XXXXXX").string();
        if (mkdtemp(pattern.data()) != nullptr) m_path = pattern;
    }
    ~TempFolder() {
        std::error_code ignored;
        std::filesystem::remove_all(m_path, ignored);
    }
    const std::filesystem::path& Path() const { return m_path; }

private:
    std::filesystem::path m_path;
};

// Sets (or with nullopt unsets) a variable and restores it afterwards.
class ScopedEnv {
public:
    ScopedEnv(const char* name, std::optional<std::string> value) : m_name(name) {
        if (const char* old = std::getenv(name)) m_old = old;
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

}  // namespace registry_test

#endif  // VANTLE_TESTS_REGISTRY_REGISTRYTESTSUPPORT_H_
