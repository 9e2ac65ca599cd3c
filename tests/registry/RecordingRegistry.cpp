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
    HRESULT Next(BSTR* name) override { return *name = nullptr, RecordingScope::Current().Record("Next()"); }

private:
    void OnLastRelease() override { RecordingScope::Current().calls.push_back("Enum.Release"); }
};

std::string Arg(CBSTR text) { return Narrow(text); }
std::string Arg(int number) { return std::to_string(number); }

// Logs "Name(arg,arg)" and returns the scripted result.
template <typename... Args>
HRESULT Log(const char* name, Args... args) {
    std::string call;
    ((call += "," + Arg(args)), ...);
    return RecordingScope::Current().Record(std::string(name) + "(" + (call.empty() ? call : call.substr(1)) + ")");
}

class RecordingRegistry final : public RecordingObject<COM_IRegistry> {
public:
    HRESULT OpenRoot(int root, CBSTR path) override { return Log("OpenRoot", root, path); }
    HRESULT Close() override { return Log("Close"); }
    HRESULT OpenKey(CBSTR name) override { return Log("OpenKey", name); }
    HRESULT CreateKey(CBSTR name, int create) override { return Log("CreateKey", name, create); }
    HRESULT DeleteKey(CBSTR name) override { return Log("DeleteKey", name); }
    HRESULT SetStringValue(CBSTR name, CBSTR value) override { return Log("SetStringValue", name, value); }
    HRESULT GetStringValue(CBSTR name, BSTR* value) override { return *value = nullptr, Log("GetStringValue", name); }
    HRESULT SetIntValue(CBSTR name, int value) override { return Log("SetIntValue", name, value); }
    HRESULT GetIntValue(CBSTR name, int* value) override {
        HRESULT hr = Log("GetIntValue", name);
        const std::optional<int>& count = RecordingScope::Current().installCount;
        if (FAILED(hr) || !count) return FAILED(hr) ? hr : S_FALSE;
        *value = *count;
        return S_OK;
    }
    HRESULT DeleteValue(CBSTR name) override { return Log("DeleteValue", name); }
    HRESULT EnumSubkeys(COM_IRegistryEnum** out) override {
        HRESULT hr = Log("EnumSubkeys");
        *out = SUCCEEDED(hr) ? new RecordingEnum : nullptr;
        return hr;
    }
    HRESULT EnumValues(COM_IRegistryEnum** out) override { return *out = nullptr, Log("EnumValues"); }
    HRESULT GetValueKind(CBSTR name, int* kind) override {
        return *kind = KESTO_REGISTRY_NONE, Log("GetValueKind", name);
    }
};

class RecordingCategories final : public RecordingObject<COM_ICatRegister> {
public:
    HRESULT RegisterCategory(const COM_GUID& category, CBSTR) override {
        return Log("RegisterCategory(" + GuidText(category));
    }
    HRESULT RegisterClassInCategory(const COM_GUID* category, const COM_GUID& clsid) override {
        return Log("Register(" + GuidText(*category) + "," + GuidText(clsid));
    }
    HRESULT UnregisterCategory(const COM_GUID& category) override {
        return Log("UnregisterCategory(" + GuidText(category));
    }
    HRESULT UnregisterClassFromCategory(const COM_GUID* category, const COM_GUID& clsid) override {
        return Log("Unregister(" + GuidText(*category) + "," + GuidText(clsid));
    }

private:
    static HRESULT Log(const std::string& call) { return RecordingScope::Current().RecordCategoryCall(call + ")"); }
};

// Makes a double of the given interface unless the scope scripts a failure.
template <typename Double, typename Interface>
HRESULT Make(HRESULT scripted, const COM_GUID& iid, const COM_GUID& expected, void** out) {
    *out = nullptr;
    if (FAILED(scripted)) return scripted;
    if (!COM_IsEqualGUID(iid, expected)) return E_NOINTERFACE;
    *out = static_cast<Interface*>(new Double);
    return S_OK;
}

HRESULT MakeRecordingRegistry(const COM_GUID& iid, void** out) {
    return Make<RecordingRegistry, COM_IRegistry>(RecordingScope::Current().createRegistryResult, iid,
                                                  COM_IID_IRegistry, out);
}

HRESULT MakeRecordingCategories(const COM_GUID& iid, void** out) {
    RecordingScope& scope = RecordingScope::Current();
    HRESULT hr = Make<RecordingCategories, COM_ICatRegister>(scope.createCategoriesResult, iid, COM_IID_ICatRegister, out);
    if (SUCCEEDED(hr)) ++scope.categoryManagersMade;
    return hr;
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
