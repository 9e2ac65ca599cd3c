// Helpers for tests of the runtime's class-definition tree: 16-bit literals,
// BSTR ownership, and a tree manager created the way a component creates it.
#ifndef VANTLE_TESTS_DICTIONARY_TREE_TEST_SUPPORT_H_
#define VANTLE_TESTS_DICTIONARY_TREE_TEST_SUPPORT_H_

#include <memory>
#include <string>
#include <string_view>

#include "kesto/com.h"
#include "kesto/tnode.h"

namespace treetest {

// ASCII/UTF-8 test text as 16-bit units (tests use ASCII names only).
inline std::u16string U(std::string_view text) {
    std::u16string out;
    for (unsigned char c : text) out.push_back(c);
    return out;
}
inline CBSTR W(const std::u16string& text) { return reinterpret_cast<CBSTR>(text.c_str()); }

// Takes ownership of a BSTR and gives back its text (NULL as "<null>").
inline std::string Take(BSTR value) {
    if (value == nullptr) return "<null>";
    std::string out;
    unsigned int length = COM_SysStringLen(value);
    for (unsigned int i = 0; i < length; ++i) out.push_back(value[i] < 0x80 ? static_cast<char>(value[i]) : '?');
    COM_SysFreeString(value);
    return out;
}

struct Releaser {
    void operator()(COM_IUnknown* object) const {
        if (object != nullptr) object->Release();
    }
};
template <typename T>
using Ref = std::unique_ptr<T, Releaser>;

inline Ref<COM_ITNodeManager> NewManager() {
    void* out = nullptr;
    HRESULT hr = COM_CreateInstance(COM_CLSID_TNodeManager, nullptr, COM_IID_ITNodeManager, &out);
    if (hr != S_OK) return nullptr;
    return Ref<COM_ITNodeManager>(static_cast<COM_ITNodeManager*>(out));
}

struct LoadOutcome {
    HRESULT status;
    std::string message;
};

inline LoadOutcome LoadText(COM_ITNodeManager* manager, std::string_view json, const char* source = "test.json") {
    BSTR message = nullptr;
    std::u16string name = U(source);
    HRESULT hr = manager->LoadDictionaryBuffer(json.data(), json.size(), W(name), &message);
    return {hr, Take(message)};
}

}  // namespace treetest

#endif  // VANTLE_TESTS_DICTIONARY_TREE_TEST_SUPPORT_H_
