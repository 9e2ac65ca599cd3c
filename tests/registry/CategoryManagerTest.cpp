// The category manager's records in the registry.
#include <gtest/gtest.h>

#include "StringBalanceTest.h"
#include "registry/RegistryTestSupport.h"

namespace {

using namespace registry_test;

const COM_GUID kCategory = {0x11111111, 0x2222, 0x3333, {0x44, 0x44, 0x55, 0x55, 0x55, 0x55, 0x55, 0x55}};
const COM_GUID kOtherCategory = {0x11111111, 0x2222, 0x3333, {0x44, 0x44, 0x55, 0x55, 0x55, 0x55, 0x55, 0x56}};
const COM_GUID kClass = {0xAAAAAAAA, 0xBBBB, 0xCCCC, {0xDD, 0xDD, 0xEE, 0xEE, 0xEE, 0xEE, 0xEE, 0xEE}};
const std::string kClassKey = "CLSID\\{AAAAAAAA-BBBB-CCCC-DDDD-EEEEEEEEEEEE}";
const std::string kImplemented = kClassKey + "\\Implemented Categories";
const std::string kCategoryText = "{11111111-2222-3333-4444-555555555555}";

class CategoryManagerTest : public StringBalanceTest {
protected:
    void SetUp() override { ASSERT_EQ(COM_CreateInstance(COM_CLSID_CategoryManager, nullptr, COM_IID_ICatRegister,
                                                         m_categories.Out()), S_OK); }
    TempFolder m_folder;
    ScopedEnv m_registryEnv{"KESTO_REGISTRY", (m_folder.Path() / "registry.db").string()};
    Ref<COM_ICatRegister> m_categories;
};

TEST_F(CategoryManagerTest, ClassesJoinAndLeaveCategories) {
    EXPECT_EQ(m_categories->UnregisterClassFromCategory(&kCategory, kClass), S_FALSE) << "a gone class is no failure";
    EXPECT_FALSE(KeyExists(kClassKey)) << "removal makes no keys";
    ASSERT_EQ(m_categories->RegisterClassInCategory(&kCategory, kClass), S_OK);
    ASSERT_EQ(m_categories->RegisterClassInCategory(&kOtherCategory, kClass), S_OK);
    EXPECT_TRUE(KeyExists(kImplemented + "\\" + kCategoryText));
    EXPECT_EQ(m_categories->UnregisterClassFromCategory(&kCategory, kClass), S_OK);
    EXPECT_FALSE(KeyExists(kImplemented + "\\" + kCategoryText));
    EXPECT_TRUE(KeyExists(kImplemented)) << "the other category is still there";
    EXPECT_EQ(m_categories->UnregisterClassFromCategory(&kOtherCategory, kClass), S_OK);
    EXPECT_FALSE(KeyExists(kImplemented)) << "the emptied list goes with its last entry";
    EXPECT_TRUE(KeyExists(kClassKey));
    EXPECT_EQ(m_categories->RegisterClassInCategory(nullptr, kClass), E_POINTER);
    EXPECT_EQ(m_categories->UnregisterClassFromCategory(nullptr, kClass), E_POINTER);
}

TEST_F(CategoryManagerTest, CategoriesCarryTheirDescription) {
    ASSERT_EQ(m_categories->RegisterCategory(kCategory, W(u"Code assistants")), S_OK);
    EXPECT_EQ(ValueAt("Component Categories\\" + kCategoryText), "Code assistants");
    EXPECT_EQ(m_categories->UnregisterCategory(kCategory), S_OK);
    EXPECT_EQ(m_categories->UnregisterCategory(kCategory), S_FALSE);
    EXPECT_FALSE(KeyExists("Component Categories"));
}

}  // namespace
