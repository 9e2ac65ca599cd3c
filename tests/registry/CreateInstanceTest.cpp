// Object creation: overrides, built-in classes, and in-process servers found
// through the registry and the module search order.
#include <dlfcn.h>
#include <gtest/gtest.h>

#include "RegistryTestSupport.h"
#include "StringBalanceTest.h"
#include "kesto/diagnostics.h"

namespace {

using namespace registry_test;

// The classes of TestModule.cpp: 1 makes plain objects, 2 has a throwing factory, 3 is not served.
COM_GUID TestClass(unsigned char n) { return {0x6B1D0000u + n, 0, 0x4000, {0x80, 0, 0, 0, 0, 0, 0, n}}; }
const std::string kModuleFolder = REGISTRY_TEST_MODULE_DIR;
const std::string kModuleName = "libregistry_test_module.so";

class CreateInstanceTest : public StringBalanceTest {
protected:
    // Writes CLSID\{clsid}\InprocServer32 = module.
    void Register(const COM_GUID& clsid, const std::string& module) {
        kesto::String text;
        ASSERT_EQ(COM_CLSIDToString(clsid, text.out()), S_OK);
        Ref<COM_IRegistry> registry = OpenAt("");
        ASSERT_TRUE(registry);
        ASSERT_EQ(registry->CreateKey(W("CLSID\\" + Narrow(text) + "\\InprocServer32"), 1), S_OK);
        ASSERT_EQ(registry->SetStringValue(W(u""), W(module)), S_OK);
        ASSERT_EQ(registry->Close(), S_OK);
    }

    HRESULT Create(const COM_GUID& clsid, const COM_GUID& iid, Ref<COM_IUnknown>& object) {
        return COM_CreateInstance(clsid, nullptr, iid, object.out_void());
    }

    TempFolder m_folder;
    std::string m_file = m_folder / "registry.db";
    ScopedEnv m_registryEnv{"KESTO_REGISTRY", m_file};
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
    EXPECT_FALSE(object);
}

TEST_F(CreateInstanceTest, FindsTheModuleInTheSearchPathAndKeepsItLoaded) {
    Register(TestClass(1), kModuleName);
    Ref<COM_IUnknown> object;
    {
        ScopedEnv searchPath("KESTO_MODULE_PATH", "::" + m_folder / "none" + ":" + kModuleFolder);
        ASSERT_EQ(Create(TestClass(1), COM_IID_IUnknown, object), S_OK);
    }
    void* module = dlopen((kModuleFolder + "/" + kModuleName).c_str(), RTLD_NOW | RTLD_NOLOAD);
    ASSERT_NE(module, nullptr) << "the runtime loaded the module from the search path";
    auto outstanding = reinterpret_cast<long (*)()>(dlsym(module, "TestModuleOutstanding"));
    EXPECT_EQ(outstanding(), 1) << "one object, and the factory was released";
    object.reset();
    EXPECT_EQ(outstanding(), 0);
    EXPECT_EQ(Create(TestClass(1), COM_IID_IRegistry, object), E_NOINTERFACE);
    EXPECT_EQ(outstanding(), 0) << "a failed query leaves nothing behind";
    // The search path no longer leads to it; the module loaded before still serves.
    EXPECT_EQ(Create(TestClass(1), COM_IID_IUnknown, object), S_OK);
    object.reset();
    dlclose(module);
}

// The file an object's code was loaded from.
std::string LoadedFrom(COM_IUnknown* object) {
    Dl_info info;
    if (dladdr(*reinterpret_cast<void* const*>(object), &info) == 0 || info.dli_fname == nullptr) return {};
    return info.dli_fname;
}

TEST_F(CreateInstanceTest, TheRegisteredCopyIsLoadedWhileItIsThereAndTheNameIsSearchedOtherwise) {
    // Two copies: the one registered, and one the search path would find first.
    // The registered copy's folder is not UTF-8: its bytes must survive the record.
    const std::filesystem::path registered = m_folder.path / "regist\xFF" "ered", searched = m_folder.path / "searched";
    std::filesystem::create_directories(registered);
    std::filesystem::create_directories(searched);
    // A name of its own: modules stay loaded by name, and the other tests load theirs.
    const std::string name = "libregistry_copy.so";
    for (const auto& folder : {registered, searched})
        std::filesystem::copy_file(kModuleFolder + "/" + kModuleName, folder / name);
    ASSERT_EQ(KESTO_RegistryBeginTransaction((registered / name).c_str()), S_OK);
    Register(TestClass(1), name);
    ASSERT_EQ(KESTO_RegistryEndTransaction(1), S_OK);
    EXPECT_EQ(ValueAt("CLSID\\{6B1D0001-0000-4000-8000-000000000001}\\InprocServer32"), name)
        << "the record keeps the name the component wrote";

    ScopedEnv searchPath("KESTO_MODULE_PATH", searched.string());
    Ref<COM_IUnknown> object;
    ASSERT_EQ(Create(TestClass(1), COM_IID_IUnknown, object), S_OK);
    EXPECT_EQ(LoadedFrom(object.get()), (registered / name).string());
    object.reset();
    std::filesystem::remove(registered / name);
    ASSERT_EQ(Create(TestClass(1), COM_IID_IUnknown, object), S_OK);
    EXPECT_EQ(LoadedFrom(object.get()), (searched / name).string()) << "gone: the name is searched for";
}

TEST_F(CreateInstanceTest, EachModuleFailureHasItsOwnCode) {
    Ref<COM_IUnknown> object;
    EXPECT_EQ(Create(TestClass(1), COM_IID_IUnknown, object), CLASS_E_CLASSNOTAVAILABLE);
    EXPECT_FALSE(std::filesystem::exists(m_file)) << "a lookup must not create the registry";
    WriteFile(m_folder / "libregistry_broken.so", "not a shared object");
    ScopedEnv searchPath("KESTO_MODULE_PATH", m_folder.path.string() + ":" + kModuleFolder);
    const std::tuple<unsigned char, std::string, HRESULT> cases[] = {
        {1, "libregistry_nowhere.so", CO_E_DLLNOTFOUND},
        {1, "", CO_E_DLLNOTFOUND},
        {1, "libregistry_broken.so", CO_E_DLLNOTFOUND},
        {1, "libregistry_test_module_noentry.so", CO_E_ERRORINDLL},
        {3, kModuleName, CLASS_E_CLASSNOTAVAILABLE},
        {2, kModuleName, E_OUTOFMEMORY},  // the factory throws
        {1, kModuleFolder + "/" + kModuleName, S_OK},
    };
    for (const auto& [number, module, expected] : cases) {
        Register(TestClass(number), module);
        EXPECT_EQ(Create(TestClass(number), COM_IID_IUnknown, object), expected) << module;
        EXPECT_EQ(static_cast<bool>(object), expected == S_OK) << module;
    }
}

}  // namespace
