// The whole road through a real registry file: the library registers itself, the
// runtime creates the service by its class identifier, and after the last
// unregistration the class is no longer available.
#include <dlfcn.h>
#include <gtest/gtest.h>

#include <filesystem>

#include "assist/VantleAssistInterfaces.h"
#include "kesto/diagnostics.h"
#include "kesto/registry.h"
#include "registry/RegistryTestSupport.h"

namespace {

using registry_test::Ref;
using registry_test::ScopedEnv;
using registry_test::TakeString;
using registry_test::TempFolder;
using registry_test::Wide;

const std::string kComponent = VANTLE_COMPONENT_PATH;

class RegistrationEndToEndTest : public ::testing::Test {
protected:
    void SetUp() override {
        m_module = dlopen(kComponent.c_str(), RTLD_NOW | RTLD_LOCAL);
        ASSERT_NE(m_module, nullptr) << dlerror();
        m_register = Entry<HRESULT (*)()>("DllRegisterServer");
        m_unregister = Entry<HRESULT (*)()>("DllUnregisterServer");
        m_canUnloadNow = Entry<HRESULT (*)()>("CanUnloadNow");
        m_service = Entry<const COM_GUID*>("COM_CLSID_VantleAssist");
        m_iidAssist = Entry<const COM_GUID*>("COM_IID_IVantleAssist");
        m_iidAssist3 = Entry<const COM_GUID*>("COM_IID_IVantleAssist3");
    }
    void TearDown() override {
        if (m_module != nullptr) dlclose(m_module);
        EXPECT_EQ(KESTO_LiveStringCount(), m_strings);
    }

    template <typename T>
    T Entry(const char* name) {
        void* symbol = dlsym(m_module, name);
        EXPECT_NE(symbol, nullptr) << name;
        return reinterpret_cast<T>(symbol);
    }

    std::string ServiceKey() {
        BSTR text = nullptr;
        EXPECT_EQ(COM_CLSIDToString(*m_service, &text), S_OK);
        return "CLSID\\" + TakeString(text);
    }

    std::optional<std::string> DefaultAt(const std::string& path) {
        Ref<COM_IRegistry> registry;
        EXPECT_EQ(COM_CreateInstance(COM_CLSID_Registry, nullptr, COM_IID_IRegistry, registry.Out()), S_OK);
        BSTR text = nullptr;
        int number = 0;
        if (registry->OpenRoot(1, Wide(path)) != S_OK) return std::nullopt;
        if (registry->GetIntValue(Wide(u""), &number) == S_OK) return std::to_string(number);
        if (registry->GetStringValue(Wide(u""), &text) != S_OK) return std::string("(no value)");
        return TakeString(text);
    }

    HRESULT CreateService(Ref<COM_IVantleAssist>& service) {
        return COM_CreateInstance(*m_service, nullptr, *m_iidAssist, service.Out());
    }

    TempFolder m_folder;
    ScopedEnv m_registryEnv{"KESTO_REGISTRY", (m_folder.Path() / "registry.db").string()};
    // Without a search path the runtime finds the module beside itself.
    ScopedEnv m_moduleEnv{"KESTO_MODULE_PATH", std::nullopt};
    long m_strings = KESTO_LiveStringCount();
    void* m_module = nullptr;
    HRESULT (*m_register)() = nullptr;
    HRESULT (*m_unregister)() = nullptr;
    HRESULT (*m_canUnloadNow)() = nullptr;
    const COM_GUID* m_service = nullptr;
    const COM_GUID* m_iidAssist = nullptr;
    const COM_GUID* m_iidAssist3 = nullptr;
};

TEST_F(RegistrationEndToEndTest, RegisterCreateReleaseUnregister) {
    Ref<COM_IVantleAssist> service;
    EXPECT_EQ(CreateService(service), CLASS_E_CLASSNOTAVAILABLE) << "nothing is registered yet";

    ASSERT_EQ(m_register(), 0);
    EXPECT_EQ(DefaultAt(ServiceKey()), "VantleAssist");
    EXPECT_EQ(DefaultAt(ServiceKey() + "\\InprocServer32"), "libvantleassist.so");
    EXPECT_EQ(DefaultAt(ServiceKey() + "\\ProgID"), "VantleAssist");
    EXPECT_EQ(DefaultAt(ServiceKey() + "\\InstallCount"), "1");
    EXPECT_EQ(DefaultAt("VantleAssist\\CLSID"), ServiceKey().substr(6));
    ASSERT_EQ(m_register(), 0);
    EXPECT_EQ(DefaultAt(ServiceKey() + "\\InstallCount"), "2");
    EXPECT_EQ(m_unregister(), 0) << "still installed is not a failure";
    EXPECT_EQ(DefaultAt(ServiceKey() + "\\InstallCount"), "1");

    ASSERT_EQ(CreateService(service), S_OK);
    Ref<COM_IUnknown> third;
    EXPECT_EQ(service->QueryInterface(*m_iidAssist3, third.Out()), S_OK);
    MEMBER_FILTER_FLAGS flags = MEMBER_INTERNAL;
    EXPECT_EQ(service->GetFlags(&flags), S_FALSE) << "flags not yet set";
    EXPECT_EQ(flags, 7) << "a fresh service has the default filter";
    EXPECT_EQ(m_canUnloadNow(), S_FALSE);
    third.Reset();
    service.Reset();
    EXPECT_EQ(m_canUnloadNow(), S_OK);

    ASSERT_EQ(m_unregister(), 0);
    EXPECT_EQ(DefaultAt(ServiceKey()), std::nullopt);
    EXPECT_EQ(DefaultAt("VantleAssist"), std::nullopt);
    EXPECT_EQ(DefaultAt("CLSID"), std::nullopt) << "the emptied CLSID key goes too";
    EXPECT_EQ(CreateService(service), CLASS_E_CLASSNOTAVAILABLE);
    EXPECT_EQ(m_unregister(), 1) << "nothing left to unregister: its keys are missing";
}

}  // namespace
