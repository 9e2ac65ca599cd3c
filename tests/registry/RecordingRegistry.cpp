// Recording doubles of the registry, its enumerator and the category manager.
#include "registry/RecordingRegistry.h"

#include <cstdio>

namespace registry_test {

RecordingScope* RecordingScope::s_current = nullptr;

std::string GuidText(const COM_GUID& id) {
    char text[39];
    std::snprintf(text, sizeof text, "{%08X-%04X-%04X-%02X%02X-%02X%02X%02X%02X%02X%02X}", id.Data1, id.Data2,
                  id.Data3, id.Data4[0], id.Data4[1], id.Data4[2], id.Data4[3], id.Data4[4], id.Data4[5],
                  id.Data4[6], id.Data4[7]);
    return text;
}

namespace {

template <typename Interface>
class RecordingObject : public Interface {
public:
    RecordingObject() { ++RecordingScope::Current().liveObjects; }
    ~RecordingObject() override { --RecordingScope::Current().liveObjects; }
    HRESULT QueryInterface(const COM_GUID&, void** out) override {
        *out = nullptr;
        return E_NOINTERFACE;
    }
    unsigned long AddRef() override { return ++m_references; }
    unsigned long Release() override {
        unsigned long left = --m_references;
        if (left == 0) {
            OnLastRelease();
            delete this;
        }
        return left;
    }

protected:
    virtual void OnLastRelease() {}

private:
    unsigned long m_references = 1;
};

class RecordingEnum final : public RecordingObject<COM_IRegistryEnum> {
public:
    HRESULT GetCount(unsigned int* count) override {
        HRESULT hr = RecordingScope::Current().Record("GetCount()");
        if (SUCCEEDED(hr)) *count = RecordingScope::Current().subkeyCount;
        return hr;
    }
    HRESULT Next(BSTR* name) override {
        *name = nullptr;
        return RecordingScope::Current().Record("Next()");
    }

private:
    void OnLastRelease() override { RecordingScope::Current().calls.push_back("Enum.Release"); }
};

class RecordingRegistry final : public RecordingObject<COM_IRegistry> {
public:
    HRESULT OpenRoot(int root, CBSTR path) override {
        return Scope().Record("OpenRoot(" + std::to_string(root) + "," + Narrow(path) + ")");
    }
    HRESULT Close() override { return Scope().Record("Close()"); }
    HRESULT OpenKey(CBSTR name) override { return Scope().Record("OpenKey(" + Narrow(name) + ")"); }
    HRESULT CreateKey(CBSTR name, int create) override {
        return Scope().Record("CreateKey(" + Narrow(name) + "," + std::to_string(create) + ")");
    }
    HRESULT DeleteKey(CBSTR name) override { return Scope().Record("DeleteKey(" + Narrow(name) + ")"); }
    HRESULT SetStringValue(CBSTR valueName, CBSTR value) override {
        return Scope().Record("SetStringValue(" + Narrow(valueName) + "," + Narrow(value) + ")");
    }
    HRESULT GetStringValue(CBSTR valueName, BSTR* value) override {
        *value = nullptr;
        return Scope().Record("GetStringValue(" + Narrow(valueName) + ")");
    }
    HRESULT SetIntValue(CBSTR valueName, int value) override {
        return Scope().Record("SetIntValue(" + Narrow(valueName) + "," + std::to_string(value) + ")");
    }
    HRESULT GetIntValue(CBSTR valueName, int* value) override {
        HRESULT hr = Scope().Record("GetIntValue(" + Narrow(valueName) + ")");
        if (FAILED(hr)) return hr;
        if (!Scope().installCount) return S_FALSE;
        *value = *Scope().installCount;
        return S_OK;
    }
    HRESULT DeleteValue(CBSTR valueName) override { return Scope().Record("DeleteValue(" + Narrow(valueName) + ")"); }
    HRESULT EnumSubkeys(COM_IRegistryEnum** out) override {
        *out = nullptr;
        HRESULT hr = Scope().Record("EnumSubkeys()");
        if (SUCCEEDED(hr)) *out = new RecordingEnum;
        return hr;
    }
    HRESULT EnumValues(COM_IRegistryEnum** out) override {
        *out = nullptr;
        return Scope().Record("EnumValues()");
    }
    HRESULT GetValueKind(CBSTR valueName, int* kind) override {
        *kind = KESTO_REGISTRY_NONE;
        return Scope().Record("GetValueKind(" + Narrow(valueName) + ")");
    }

private:
    static RecordingScope& Scope() { return RecordingScope::Current(); }
};

class RecordingCategories final : public RecordingObject<COM_ICatRegister> {
public:
    HRESULT RegisterCategory(const COM_GUID& category, CBSTR) override {
        return Scope().RecordCategoryCall("RegisterCategory(" + GuidText(category) + ")");
    }
    HRESULT RegisterClassInCategory(const COM_GUID* category, const COM_GUID& clsid) override {
        return Scope().RecordCategoryCall("Register(" + GuidText(*category) + "," + GuidText(clsid) + ")");
    }
    HRESULT UnregisterCategory(const COM_GUID& category) override {
        return Scope().RecordCategoryCall("UnregisterCategory(" + GuidText(category) + ")");
    }
    HRESULT UnregisterClassFromCategory(const COM_GUID* category, const COM_GUID& clsid) override {
        return Scope().RecordCategoryCall("Unregister(" + GuidText(*category) + "," + GuidText(clsid) + ")");
    }

private:
    static RecordingScope& Scope() { return RecordingScope::Current(); }
};

HRESULT MakeRecordingRegistry(const COM_GUID& iid, void** out) {
    *out = nullptr;
    RecordingScope& scope = RecordingScope::Current();
    if (FAILED(scope.createRegistryResult)) return scope.createRegistryResult;
    if (!COM_IsEqualGUID(iid, COM_IID_IRegistry)) return E_NOINTERFACE;
    *out = static_cast<COM_IRegistry*>(new RecordingRegistry);
    return S_OK;
}

HRESULT MakeRecordingCategories(const COM_GUID& iid, void** out) {
    *out = nullptr;
    RecordingScope& scope = RecordingScope::Current();
    if (FAILED(scope.createCategoriesResult)) return scope.createCategoriesResult;
    if (!COM_IsEqualGUID(iid, COM_IID_ICatRegister)) return E_NOINTERFACE;
    ++scope.categoryManagersMade;
    *out = static_cast<COM_ICatRegister*>(new RecordingCategories);
    return S_OK;
}

}  // namespace

RecordingScope::RecordingScope() {
    s_current = this;
    KESTO_OverrideClass(COM_CLSID_Registry, MakeRecordingRegistry);
    KESTO_OverrideClass(COM_CLSID_CategoryManager, MakeRecordingCategories);
}

RecordingScope::~RecordingScope() {
    KESTO_OverrideClass(COM_CLSID_Registry, nullptr);
    KESTO_OverrideClass(COM_CLSID_CategoryManager, nullptr);
    s_current = nullptr;
}

HRESULT RecordingScope::Record(std::string call) {
    calls.push_back(std::move(call));
    const std::size_t index = recordedCalls++;
    return failAt && *failAt == index ? failWith : S_OK;
}

HRESULT RecordingScope::RecordCategoryCall(std::string call) {
    categoryCalls.push_back(std::move(call));
    return failingCategoryCalls.count(categoryCalls.size() - 1) ? E_FAIL : S_OK;
}

}  // namespace registry_test
