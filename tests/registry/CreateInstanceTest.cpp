// Object creation: overrides, built-in classes, and in-process servers found
// through the registry and the module search order.
#include <dlfcn.h>
#include <gtest/gtest.h>

#include <filesystem>

#include "kesto/diagnostics.h"
#include "kesto/registry.h"
#include "registry/RegistryTestSupport.h"

namespace {

using registry_test::Ref;
using registry_test::ScopedEnv;
using registry_test::TempFolder;
using registry_test::Wide;
using registry_test::WriteFile;

const COM_GUID kPlainClass = {0x6B1D0001, 0x0000, 0x4000, {0x80, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x01}};
const COM_GUID kThrowingClass = {0x6B1D0002, 0x0000, 0x4000, {0x80, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x02}};
const COM_GUID kUnservedClass = {0x6B1D0003, 0x0000, 0x4000, {0x80, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x03}};

const std::string kModuleFolder = REGISTRY_TEST_MODULE_DIR;
const std::string kModuleName = "libregistry_test_module.so";

class CreateInstanceTest : public ::testing::Test {
protected:
    void TearDown() override { EXPECT_EQ(KESTO_LiveStringCount(), m_strings); }

    // Writes CLSID\{clsid}\InprocServer32 = module.
    void Register(const COM_GUID& clsid, const std::string& module) {
        BSTR text = nullptr;
        ASSERT_EQ(COM_CLSIDToString(clsid, &text), S_OK);
        Ref<COM_IRegistry> registry;
        ASSERT_EQ(COM_CreateInstance(COM_CLSID_Registry, nullptr, COM_IID_IRegistry, registry.Out()), S_OK);
        ASSERT_EQ(registry->OpenRoot(1, Wide(u"")), S_OK);
        ASSERT_EQ(registry->CreateKey(Wide(u"CLSID"), 1), S_OK);
        ASSERT_EQ(registry->CreateKey(text, 1), S_OK);
        ASSERT_EQ(registry->CreateKey(Wide(u"InprocServer32"), 1), S_OK);
        ASSERT_EQ(registry->SetStringValue(Wide(u""), Wide(module)), S_OK);
        ASSERT_EQ(registry->Close(), S_OK);
        COM_SysFreeString(text);
    }

    HRESULT Create(const COM_GUID& clsid, const COM_GUID& iid, Ref<COM_IUnknown>& object) {
        return COM_CreateInstance(clsid, nullptr, iid, object.Out());
    }

    TempFolder m_folder;
    std::filesystem::path m_file = m_folder.Path() / "registry.db";
    ScopedEnv m_registryEnv{"KESTO_REGISTRY", m_file.string()};
    ScopedEnv m_moduleEnv{"KESTO_MODULE_PATH", std::nullopt};
    long m_strings = KESTO_LiveStringCount();
};

TEST_F(CreateInstanceTest, RefusesAggregationAndANullOut) {
    COM_IUnknown* outer = reinterpret_cast<COM_IUnknown*>(this);
    void* out = this;
    EXPECT_EQ(COM_CreateInstance(COM_CLSID_Registry, outer, COM_IID_IRegistry, &out), CLASS_E_NOAGGREGATION);
    EXPECT_EQ(out, nullptr);
    EXPECT_EQ(COM_CreateInstance(COM_CLSID_Registry, nullptr, COM_IID_IRegistry, nullptr), E_POINTER);
}

TEST_F(CreateInstanceTest, AnOverrideTakesThePlaceOfABuiltInClassUntilRemoved) {
    KESTO_OverrideClass(COM_CLSID_Registry, [](const COM_GUID&, void** out) {
        *out = nullptr;
        return REGDB_E_WRITEREGDB;
    });
    Ref<COM_IUnknown> object;
    EXPECT_EQ(Create(COM_CLSID_Registry, COM_IID_IRegistry, object), REGDB_E_WRITEREGDB);
    KESTO_OverrideClass(COM_CLSID_Registry, nullptr);
    EXPECT_EQ(Create(COM_CLSID_Registry, COM_IID_IRegistry, object), S_OK);
    EXPECT_EQ(Create(COM_CLSID_CategoryManager, COM_IID_ICatRegister, object), S_OK);
    EXPECT_EQ(Create(COM_CLSID_CategoryManager, COM_IID_IRegistry, object), E_NOINTERFACE);
    EXPECT_EQ(object.Get(), nullptr);
}

TEST_F(CreateInstanceTest, AnUnregisteredClassIsNotAvailableAndMakesNoRegistry) {
    Ref<COM_IUnknown> object;
    EXPECT_EQ(Create(kPlainClass, COM_IID_IUnknown, object), CLASS_E_CLASSNOTAVAILABLE);
    EXPECT_FALSE(std::filesystem::exists(m_file)) << "a lookup must not create the registry";
    Register(kThrowingClass, kModuleName);
    EXPECT_EQ(Create(kPlainClass, COM_IID_IUnknown, object), CLASS_E_CLASSNOTAVAILABLE);
}

TEST_F(CreateInstanceTest, AnUnreadableRegistryIsReportedAsSuch) {
    WriteFile(m_file, "not a registry");
    Ref<COM_IUnknown> object;
    EXPECT_EQ(Create(kPlainClass, COM_IID_IUnknown, object), REGDB_E_READREGDB);
    EXPECT_EQ(registry_test::ReadFile(m_file), "not a registry");
}

TEST_F(CreateInstanceTest, FindsTheModuleInTheSearchPathAndCreatesTheObject) {
    Register(kPlainClass, kModuleName);
    ScopedEnv searchPath("KESTO_MODULE_PATH", "::" + (m_folder.Path() / "none").string() + ":" + kModuleFolder);
    Ref<COM_IUnknown> object;
    ASSERT_EQ(Create(kPlainClass, COM_IID_IUnknown, object), S_OK);
    ASSERT_NE(object.Get(), nullptr);

    void* module = dlopen((kModuleFolder + "/" + kModuleName).c_str(), RTLD_NOW | RTLD_NOLOAD);
    ASSERT_NE(module, nullptr) << "the runtime loaded the module from the search path";
    auto outstanding = reinterpret_cast<long (*)()>(dlsym(module, "TestModuleOutstanding"));
    EXPECT_EQ(outstanding(), 1) << "one object, and the factory was released";
    object.Reset();
    EXPECT_EQ(outstanding(), 0);

    EXPECT_EQ(Create(kPlainClass, COM_IID_IRegistry, object), E_NOINTERFACE);
    EXPECT_EQ(outstanding(), 0) << "a failed query leaves nothing behind";
    dlclose(module);
}

TEST_F(CreateInstanceTest, ALoadedModuleIsKeptForLaterCreations) {
    Register(kPlainClass, kModuleName);
    Ref<COM_IUnknown> object;
    {
        ScopedEnv searchPath("KESTO_MODULE_PATH", kModuleFolder);
        ASSERT_EQ(Create(kPlainClass, COM_IID_IUnknown, object), S_OK);
    }
    // The search path no longer leads to it; the module loaded before still serves.
    EXPECT_EQ(Create(kPlainClass, COM_IID_IUnknown, object), S_OK);
}

TEST_F(CreateInstanceTest, EachModuleFailureHasItsOwnCode) {
    const std::filesystem::path brokenModule = m_folder.Path() / "libregistry_broken.so";
    WriteFile(brokenModule, "not a shared object");
    ScopedEnv searchPath("KESTO_MODULE_PATH", m_folder.Path().string() + ":" + kModuleFolder);
    struct Case {
        const char* what;
        const COM_GUID* clsid;
        std::string module;
        HRESULT expected;
    };
    const Case cases[] = {
        {"module found nowhere", &kPlainClass, "libregistry_nowhere.so", CO_E_DLLNOTFOUND},
        {"empty module name", &kPlainClass, "", CO_E_DLLNOTFOUND},
        {"file that does not load", &kPlainClass, "libregistry_broken.so", CO_E_DLLNOTFOUND},
        {"no GetClassObject", &kPlainClass, "libregistry_test_module_noentry.so", CO_E_ERRORINDLL},
        {"module does not serve the class", &kUnservedClass, kModuleName, CLASS_E_CLASSNOTAVAILABLE},
        {"factory throws", &kThrowingClass, kModuleName, E_OUTOFMEMORY},
        {"absolute path", &kPlainClass, kModuleFolder + "/" + kModuleName, S_OK},
    };
    for (const Case& c : cases) {
        Register(*c.clsid, c.module);
        Ref<COM_IUnknown> object;
        EXPECT_EQ(Create(*c.clsid, COM_IID_IUnknown, object), c.expected) << c.what;
        EXPECT_EQ(object.Get() != nullptr, c.expected == S_OK) << c.what;
    }
}

}  // namespace
