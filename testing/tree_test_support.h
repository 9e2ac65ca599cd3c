// Helpers for tests of the runtime's class-definition tree: counted references,
// a tree manager created the way a component creates it, and dictionary text
// loaded from memory together with the message it produced.
#ifndef VANTLE_TESTS_DICTIONARY_TREE_TEST_SUPPORT_H_
#define VANTLE_TESTS_DICTIONARY_TREE_TEST_SUPPORT_H_

#include <memory>

#include "TestText.h"
#include "kesto/tnode.h"

namespace treetest {

struct Releaser {
    void operator()(COM_IUnknown* object) const { object->Release(); }
};
template <typename T>
using Ref = std::unique_ptr<T, Releaser>;

inline Ref<COM_ITNodeManager> NewManager() {
    void* out = nullptr;
    COM_CreateInstance(COM_CLSID_TNodeManager, nullptr, COM_IID_ITNodeManager, &out);
    return Ref<COM_ITNodeManager>(static_cast<COM_ITNodeManager*>(out));
}

struct LoadOutcome {
    HRESULT status;
    std::string message;
};

inline LoadOutcome LoadText(COM_ITNodeManager* manager, std::string_view json, const char* source = "test.json") {
    BSTR message = nullptr;
    HRESULT hr = manager->LoadDictionaryBuffer(json.data(), json.size(), W(source), &message);
    return {hr, Take(message)};
}

}  // namespace treetest

#endif  // VANTLE_TESTS_DICTIONARY_TREE_TEST_SUPPORT_H_
