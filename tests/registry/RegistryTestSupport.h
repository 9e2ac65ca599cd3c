// Helpers shared by the registry tests: 16-bit text from narrow literals and back,
// a temporary folder that is removed again, and environment variables set for the
// length of a test.
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

// A NUL-terminated 16-bit text: each char16_t unit, or each byte of a narrow
// string, becomes one unit.
class Wide {
public:
    Wide(const char16_t* text) {
        for (; *text != 0; ++text) m_units.push_back(static_cast<unsigned short>(*text));
        m_units.push_back(0);
    }
    Wide(const std::string& text) {
        for (unsigned char c : text) m_units.push_back(c);
        m_units.push_back(0);
    }
    operator CBSTR() const { return m_units.data(); }
    CBSTR c_str() const { return m_units.data(); }

private:
    std::vector<unsigned short> m_units;
};

// Units below 0x100 as bytes, others as \uXXXX; NULL as "(null)".
inline std::string Narrow(const unsigned short* text) {
    if (text == nullptr) return "(null)";
    std::string out;
    static const char kHex[] = "0123456789ABCDEF";
    for (; *text != 0; ++text) {
        if (*text < 0x100) {
            out.push_back(static_cast<char>(*text));
        } else {
            out += "\\u";
            for (int shift = 12; shift >= 0; shift -= 4) out.push_back(kHex[(*text >> shift) & 0xF]);
        }
    }
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
    void** Out() {
        Reset();
        return reinterpret_cast<void**>(&m_p);
    }
    I** Address() {
        Reset();
        return &m_p;
    }
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
        std::vector<char> buffer(pattern.begin(), pattern.end());
        buffer.push_back('\0');
        if (mkdtemp(buffer.data()) != nullptr) m_path = buffer.data();
    }
    ~TempFolder() {
        std::error_code ignored;
        std::filesystem::remove_all(m_path, ignored);
    }
    TempFolder(const TempFolder&) = delete;
    TempFolder& operator=(const TempFolder&) = delete;
    const std::filesystem::path& Path() const { return m_path; }

private:
    std::filesystem::path m_path;
};

// Sets (or with nullopt unsets) a variable and restores it afterwards.
class ScopedEnv {
public:
    ScopedEnv(const char* name, std::optional<std::string> value) : m_name(name) {
        if (const char* old = std::getenv(name)) m_old = old;
        if (value) {
            setenv(name, value->c_str(), 1);
        } else {
            unsetenv(name);
        }
    }
    ~ScopedEnv() {
        if (m_old) {
            setenv(m_name.c_str(), m_old->c_str(), 1);
        } else {
            unsetenv(m_name.c_str());
        }
    }
    ScopedEnv(const ScopedEnv&) = delete;
    ScopedEnv& operator=(const ScopedEnv&) = delete;

private:
    std::string m_name;
    std::optional<std::string> m_old;
};

inline std::string ReadFile(const std::filesystem::path& path) {
    std::ifstream in(path, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
}

inline void WriteFile(const std::filesystem::path& path, const std::string& content) {
    std::ofstream out(path, std::ios::binary);
    out << content;
}

}  // namespace registry_test

#endif  // VANTLE_TESTS_REGISTRY_REGISTRYTESTSUPPORT_H_
