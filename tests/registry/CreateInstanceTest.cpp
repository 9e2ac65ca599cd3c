// Object creation: overrides, built-in classes, and in-process servers found
// through the registry and the module search order.
#include <dlfcn.h>
#include <gtest/gtest.h>

#include "StringBalanceTest.h"
#include "kesto/diagnostics.h"
#include "registry/RegistryTestSupport.h"

namespace {

using namespace registry_test;

const COM_GUID kPlainClass = {0x6B1D0001, 0x0000, 0x4000, {0x80, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x01}};
const COM_GUID kThrowingClass = {0x6B1D0002, 0x0000, 0x4000, {0x80, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x02}};
const COM_GUID kUnservedClass = {0x6B1D0003, 0x0000, 0x4000, {0x80, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x03}};
const std::string kModuleFolder = REGISTRY_TEST_MODULE_DIR;
const std::string kModuleName = "libregistry_test_module.so";

class CreateInstanceTest : public StringBalanceTest {
protected:
    // Writes CLSID\{clsid}\InprocServer32 = module.
    void Register(const COM_GUID& clsid, const std::string& module) {
        BSTR text = nullptr;
        ASSERT_EQ(COM_CLSIDToString(clsid, &text), S_OK);
        const std::string key = "CLSID\\" + Take(text) + "\\InprocServer32";
        Ref<COM_IRegistry> registry;
        ASSERT_EQ(NewRegistry(registry), S_OK);
        ASSERT_EQ(registry->OpenRoot(1, W(u"")), S_OK);
        ASSERT_EQ(registry->CreateKey(W(key), 1), S_OK);
        ASSERT_EQ(registry->SetStringValue(W(u""), W(module)), S_OK);
        ASSERT_EQ(registry->Close(), S_OK);
    }

    HRESULT Create(const COM_GUID& clsid, const COM_GUID& iid, Ref<COM_IUnknown>& object) {
        return COM_CreateInstance(clsid, nullptr, iid, object.out_void());
    }

    TempFolder m_folder;
    std::filesystem::path m_file = m_folder.Path() / "registry.db";
    ScopedEnv m_registryEnv{"KESTO_REGISTRY", m_file.string()};
    ScopedEnv m_moduleEnv{"KESTO_MODULE_PATH", std::nullopt};
};

TEST_F(CreateInstanceTest, BuiltInClassesOverridesAndBadArguments) {
    void* out = this;
    EXPECT_EQ(COM_CreateInstance(COM_CLSID_Registry, reinterpret_cast<COM_IUnknown*>(this), COM_IID_IRegistry, &out),
              CLASS_E_NOAGGREGATION);
    EXPECT_EQ(out, nullptr);
    EXPECT_EQ(COM_CreateInstance(COM_CLSID_Registry, nullptr, COM_IID_IRegistry, nullptr), E_POINTER);
    KESTO_OverrideClass(COM_CLSID_Registry, [](const COM_GUID&, void** made) {
        *made = nullptr;
        return REGDB_E_WRITEREGDB;
    });
    Ref<COM_IUnknown> object;
    EXPECT_EQ(Create(COM_CLSID_Registry, COM_IID_IRegistry, object), REGDB_E_WRITEREGDB);
    KESTO_OverrideClass(COM_CLSID_Registry, nullptr);
    EXPECT_EQ(Create(COM_CLSID_Registry, COM_IID_IRegistry, object), S_OK);
    EXPECT_EQ(Create(COM_CLSID_CategoryManager, COM_IID_ICatRegister, object), S_OK);
    EXPECT_EQ(Create(COM_CLSID_CategoryManager, COM_IID_IRegistry, object), E_NOINTERFACE);
    EXPECT_EQ(object.get(), nullptr);
}

TEST_F(CreateInstanceTest, AnUnregisteredClassOrAnUnreadableRegistry) {
    Ref<COM_IUnknown> object;
    EXPECT_EQ(Create(kPlainClass, COM_IID_IUnknown, object), CLASS_E_CLASSNOTAVAILABLE);
    EXPECT_FALSE(std::filesystem::exists(m_file)) << "a lookup must not create the registry";
    WriteFile(m_file, "not a registry");
    EXPECT_EQ(Create(kPlainClass, COM_IID_IUnknown, object), REGDB_E_READREGDB);
    EXPECT_EQ(ReadFile(m_file), "not a registry");
}

TEST_F(CreateInstanceTest, FindsTheModuleInTheSearchPathAndKeepsItLoaded) {
    Register(kPlainClass, kModuleName);
    Ref<COM_IUnknown> object;
    {
        ScopedEnv searchPath("KESTO_MODULE_PATH", "::" + (m_folder.Path() / "none").string() + ":" + kModuleFolder);
        ASSERT_EQ(Create(kPlainClass, COM_IID_IUnknown, object), S_OK);
    }
    void* module = dlopen((kModuleFolder + "/" + kModuleName).c_str(), RTLD_NOW | RTLD_NOLOAD);
    ASSERT_NE(module, nullptr) << "the runtime loaded the module from the search path";
    auto outstanding = reinterpret_cast<long (*)()>(dlsym(module, "TestModuleOutstanding"));
    EXPECT_EQ(outstanding(), 1) << "one object, and the factory was released";
    object.reset();
    EXPECT_EQ(outstanding(), 0);
    EXPECT_EQ(Create(kPlainClass, COM_IID_IRegistry, object), E_NOINTERFACE);
    EXPECT_EQ(outstanding(), 0) << "a failed query leaves nothing behind";
    // The search path no longer leads to it; the module loaded before still serves.
    EXPECT_EQ(Create(kPlainClass, COM_IID_IUnknown, object), S_OK);
    object.reset();
    dlclose(module);
}

TEST_F(CreateInstanceTest, EachModuleFailureHasItsOwnCode) {
    WriteFile(m_folder.Path() / "libregistry_broken.so", "not a shared object");
    ScopedEnv searchPath("KESTO_MODULE_PATH", m_folder.Path().string() + ":" + kModuleFolder);
    struct Case {
        const COM_GUID* clsid;
        std::string module;
        HRESULT expected;
    };
    const Case cases[] = {
        {&kPlainClass, "libregistry_nowhere.so", CO_E_DLLNOTFOUND},
        {&kPlainClass, "", CO_E_DLLNOTFOUND},
        {&kPlainClass, "libregistry_broken.so", CO_E_DLLNOTFOUND},
        {&kPlainClass, "libregistry_test_module_noentry.so", CO_E_ERRORINDLL},
        {&kUnservedClass, kModuleName, CLASS_E_CLASSNOTAVAILABLE},
        {&kThrowingClass, kModuleName, E_OUTOFMEMORY},  // the factory throws
        {&kPlainClass, kModuleFolder + "/" + kModuleName, S_OK},
    };
    for (const Case& c : cases) {
        Register(*c.clsid, c.module);
        Ref<COM_IUnknown> object;
        EXPECT_EQ(Create(*c.clsid, COM_IID_IUnknown, object), c.expected) << c.module;
        EXPECT_EQ(object.get() != nullptr, c.expected == S_OK) << c.module;
    }
}

}  // namespace
