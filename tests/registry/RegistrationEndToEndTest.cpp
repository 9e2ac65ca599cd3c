// The whole road through a real registry file: the library registers itself, the
// runtime creates the service by its class identifier, and after the last
// unregistration the class is no longer available.
#include <dlfcn.h>
#include <gtest/gtest.h>

#include "assist/VantleAssistInterfaces.h"
#include "kesto/diagnostics.h"
#include "registry/RegistryTestSupport.h"

namespace {

using namespace registry_test;

TEST(RegistrationEndToEndTest, RegisterCreateReleaseUnregister) {
    TempFolder folder;
    ScopedEnv registryEnv("KESTO_REGISTRY", (folder.Path() / "registry.db").string());
    ScopedEnv moduleEnv("KESTO_MODULE_PATH", std::nullopt);  // the runtime finds the module beside itself
    const long strings = KESTO_LiveStringCount();
    void* module = dlopen(VANTLE_COMPONENT_PATH, RTLD_NOW | RTLD_LOCAL);
    ASSERT_NE(module, nullptr) << dlerror();
    auto entry = [module](const char* name) { return dlsym(module, name); };
    auto registerServer = reinterpret_cast<HRESULT (*)()>(entry("DllRegisterServer"));
    auto unregisterServer = reinterpret_cast<HRESULT (*)()>(entry("DllUnregisterServer"));
    auto canUnloadNow = reinterpret_cast<HRESULT (*)()>(entry("CanUnloadNow"));
    const auto* service = static_cast<const COM_GUID*>(entry("COM_CLSID_VantleAssist"));
    const auto* iidAssist = static_cast<const COM_GUID*>(entry("COM_IID_IVantleAssist"));
    const auto* iidAssist3 = static_cast<const COM_GUID*>(entry("COM_IID_IVantleAssist3"));
    ASSERT_TRUE(registerServer && unregisterServer && canUnloadNow && service && iidAssist && iidAssist3);
    BSTR text = nullptr;
    ASSERT_EQ(COM_CLSIDToString(*service, &text), S_OK);
    const std::string key = "CLSID\\" + Take(text);

    Ref<COM_IVantleAssist> assist;
    EXPECT_EQ(COM_CreateInstance(*service, nullptr, *iidAssist, assist.Out()), CLASS_E_CLASSNOTAVAILABLE);
    ASSERT_EQ(registerServer(), 0);
    EXPECT_EQ(ValueAt(key), "VantleAssist");
    EXPECT_EQ(ValueAt(key + "\\InprocServer32"), "libvantleassist.so");
    EXPECT_EQ(ValueAt("VantleAssist\\CLSID"), key.substr(6));
    ASSERT_EQ(registerServer(), 0);
    EXPECT_EQ(unregisterServer(), 0) << "still installed is not a failure";
    EXPECT_EQ(ValueAt(key + "\\InstallCount"), "1");

    ASSERT_EQ(COM_CreateInstance(*service, nullptr, *iidAssist, assist.Out()), S_OK);
    Ref<COM_IUnknown> third;
    EXPECT_EQ(assist->QueryInterface(*iidAssist3, third.Out()), S_OK);
    MEMBER_FILTER_FLAGS flags = MEMBER_INTERNAL;
    EXPECT_EQ(assist->GetFlags(&flags), S_FALSE);
    EXPECT_EQ(flags, 7) << "a fresh service has the default filter";
    EXPECT_EQ(canUnloadNow(), S_FALSE);
    third.Reset();
    assist.Reset();
    EXPECT_EQ(canUnloadNow(), S_OK);

    ASSERT_EQ(unregisterServer(), 0);
    EXPECT_FALSE(KeyExists("CLSID") || KeyExists("VantleAssist"));
    EXPECT_EQ(COM_CreateInstance(*service, nullptr, *iidAssist, assist.Out()), CLASS_E_CLASSNOTAVAILABLE);
    EXPECT_EQ(unregisterServer(), 1) << "nothing left to unregister: its keys are missing";
    dlclose(module);
    EXPECT_EQ(KESTO_LiveStringCount(), strings);
}

}  // namespace
