// AssistService.h: the assistance service as an editor obtains it (through
// GetClassObject and the factory, one reference to each of the four interfaces;
// Release() answers what the last Release answered), and the runtime's own tree
// from NewTree(), loaded from text with Load() or from a file with LoadFile().
#ifndef VANTLE_TESTING_ASSISTSERVICE_H_
#define VANTLE_TESTING_ASSISTSERVICE_H_

#include <string>
#include <string_view>

#include "TestText.h"
#include "kesto/owned.h"
#include "kesto/tnode.h"
#include "vantle/assist.h"
#include "vantle/server.h"

struct AssistService {
    HRESULT Create() {
        kesto::Ref<COM_IClassFactory> factory;
        HRESULT hr = GetClassObject(COM_CLSID_VantleAssist, COM_IID_IClassFactory, factory.out_void());
        if (SUCCEEDED(hr)) hr = factory->CreateInstance(COM_IID_IVantleAssist, assist.out_void());
        if (SUCCEEDED(hr)) hr = assist->QueryInterface(COM_IID_IVantleAssistEx, assistEx.out_void());
        if (SUCCEEDED(hr)) hr = assist->QueryInterface(COM_IID_IVantleAssist2, assist2.out_void());
        if (SUCCEEDED(hr)) hr = assist->QueryInterface(COM_IID_IVantleAssist3, assist3.out_void());
        if (FAILED(hr)) Release();
        return hr;
    }
    unsigned long Release() {
        assist3.reset();
        assist2.reset();
        assistEx.reset();
        COM_IVantleAssist* last = assist.release();
        return last == nullptr ? 0 : last->Release();
    }

    kesto::Ref<COM_IVantleAssist> assist;
    kesto::Ref<COM_IVantleAssistEx> assistEx;
    kesto::Ref<COM_IVantleAssist2> assist2;
    kesto::Ref<COM_IVantleAssist3> assist3;
};

inline kesto::Ref<COM_ITNodeManager> NewTree() {
    kesto::Ref<COM_ITNodeManager> manager;
    COM_CreateInstance(COM_CLSID_TNodeManager, nullptr, COM_IID_ITNodeManager, manager.out_void());
    return manager;
}

struct LoadOutcome {
    HRESULT status;
    std::string message;  // "(null)" when the loader had nothing to say
};

inline LoadOutcome Load(COM_ITNodeManager* tree, std::string_view json, const char* source = "test.json") {
    kesto::String message;
    HRESULT hr = tree->LoadDictionaryBuffer(json.data(), json.size(), W(source), message.out());
    return {hr, Narrow(message)};
}

inline LoadOutcome LoadFile(COM_ITNodeManager* tree, const std::string& path) {
    kesto::String message;
    HRESULT hr = tree->LoadDictionary(W(path), message.out());
    return {hr, Narrow(message)};
}

#endif  // VANTLE_TESTING_ASSISTSERVICE_H_
