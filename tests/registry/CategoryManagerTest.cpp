// The category manager's records in the registry.
#include <gtest/gtest.h>

#include "kesto/diagnostics.h"
#include "kesto/registry.h"
#include "registry/RegistryTestSupport.h"

namespace {

using registry_test::Ref;
using registry_test::ScopedEnv;
using registry_test::TakeString;
using registry_test::TempFolder;
using registry_test::Wide;

const COM_GUID kCategory = {0x11111111, 0x2222, 0x3333, {0x44, 0x44, 0x55, 0x55, 0x55, 0x55, 0x55, 0x55}};
const COM_GUID kOtherCategory = {0x11111111, 0x2222, 0x3333, {0x44, 0x44, 0x55, 0x55, 0x55, 0x55, 0x55, 0x56}};
const COM_GUID kClass = {0xAAAAAAAA, 0xBBBB, 0xCCCC, {0xDD, 0xDD, 0xEE, 0xEE, 0xEE, 0xEE, 0xEE, 0xEE}};
const char16_t kClassKey[] = u"CLSID\\{AAAAAAAA-BBBB-CCCC-DDDD-EEEEEEEEEEEE}";
const char16_t kImplemented[] =
    u"CLSID\\{AAAAAAAA-BBBB-CCCC-DDDD-EEEEEEEEEEEE}\\Implemented Categories";
const char16_t kImplementedCategory[] =
    u"CLSID\\{AAAAAAAA-BBBB-CCCC-DDDD-EEEEEEEEEEEE}\\Implemented Categories\\"
    u"{11111111-2222-3333-4444-555555555555}";

class CategoryManagerTest : public ::testing::Test {
protected:
    void SetUp() override {
        ASSERT_EQ(COM_CreateInstance(COM_CLSID_CategoryManager, nullptr, COM_IID_ICatRegister, m_categories.Out()),
                  S_OK);
    }
    void TearDown() override {
        m_categories.Reset();
        EXPECT_EQ(KESTO_LiveStringCount(), m_strings);
    }

    bool KeyExists(const char16_t* path) {
        Ref<COM_IRegistry> registry;
        EXPECT_EQ(COM_CreateInstance(COM_CLSID_Registry, nullptr, COM_IID_IRegistry, registry.Out()), S_OK);
        HRESULT hr = registry->OpenRoot(1, Wide(path));
        registry->Close();
        return hr == S_OK;
    }

    TempFolder m_folder;
    ScopedEnv m_registryEnv{"KESTO_REGISTRY", (m_folder.Path() / "registry.db").string()};
    long m_strings = KESTO_LiveStringCount();
    Ref<COM_ICatRegister> m_categories;
};

TEST_F(CategoryManagerTest, ClassesJoinAndLeaveCategories) {
    ASSERT_EQ(m_categories->RegisterClassInCategory(&kCategory, kClass), S_OK);
    ASSERT_EQ(m_categories->RegisterClassInCategory(&kOtherCategory, kClass), S_OK);
    EXPECT_TRUE(KeyExists(kImplementedCategory));

    EXPECT_EQ(m_categories->UnregisterClassFromCategory(&kCategory, kClass), S_OK);
    EXPECT_FALSE(KeyExists(kImplementedCategory));
    EXPECT_TRUE(KeyExists(kImplemented)) << "the other category is still there";
    EXPECT_EQ(m_categories->UnregisterClassFromCategory(&kOtherCategory, kClass), S_OK);
    EXPECT_FALSE(KeyExists(kImplemented)) << "the emptied list goes with its last entry";
    EXPECT_TRUE(KeyExists(kClassKey));
}

TEST_F(CategoryManagerTest, CategoriesCarryTheirDescription) {
    ASSERT_EQ(m_categories->RegisterCategory(kCategory, Wide(u"Code assistants")), S_OK);
    Ref<COM_IRegistry> registry;
    ASSERT_EQ(COM_CreateInstance(COM_CLSID_Registry, nullptr, COM_IID_IRegistry, registry.Out()), S_OK);
    ASSERT_EQ(registry->OpenRoot(1, Wide(u"Component Categories\\{11111111-2222-3333-4444-555555555555}")), S_OK);
    BSTR description = nullptr;
    EXPECT_EQ(registry->GetStringValue(Wide(u""), &description), S_OK);
    EXPECT_EQ(TakeString(description), "Code assistants");
    registry->Close();

    EXPECT_EQ(m_categories->UnregisterCategory(kCategory), S_OK);
    EXPECT_EQ(m_categories->UnregisterCategory(kCategory), S_FALSE);
    EXPECT_FALSE(KeyExists(u"Component Categories"));
}

TEST_F(CategoryManagerTest, AGoneClassOrANullCategoryIsNoFailureOrABadPointer) {
    // As after the class's own records were deleted by its unregistration.
    EXPECT_EQ(m_categories->UnregisterClassFromCategory(&kCategory, kClass), S_FALSE);
    EXPECT_FALSE(KeyExists(kClassKey)) << "removal makes no keys";
    EXPECT_EQ(m_categories->RegisterClassInCategory(nullptr, kClass), E_POINTER);
    EXPECT_EQ(m_categories->UnregisterClassFromCategory(nullptr, kClass), E_POINTER);
}

}  // namespace
