// The registry object over a temporary registry file: location, keys and values,
// deletion, enumeration, transactions, files that are not a registry, and the
// category manager's records.
#include <gtest/gtest.h>
#include <sqlite3.h>

#include <vector>

#include "RegistryTestSupport.h"
#include "StringBalanceTest.h"
#include "kesto/diagnostics.h"

namespace {

using namespace registry_test;
using Names = std::vector<std::string>;

TEST(RegistryLocationTest, FollowsTheEnvironmentInOrder) {
    struct Case {
        std::optional<std::string> registry, dataHome;
        std::string expected;
    };
    const Case cases[] = {
        {"/r/x.db", "/xdg", "/r/x.db"},
        {"", "/xdg", "/xdg/kesto/registry.db"},
        {std::nullopt, "/xdg", "/xdg/kesto/registry.db"},
        {std::nullopt, "relative/xdg", "/home/u/.local/share/kesto/registry.db"},  // relative: ignored
        {std::nullopt, "", "/home/u/.local/share/kesto/registry.db"},
    };
    ScopedEnv home("HOME", "/home/u");
    for (const Case& c : cases) {
        ScopedEnv registry("KESTO_REGISTRY", c.registry), dataHome("XDG_DATA_HOME", c.dataHome);
        char buffer[256];
        unsigned long length = KESTO_RegistryFilePath(buffer, sizeof buffer);
        EXPECT_EQ(std::string(buffer, length), c.expected);
    }
}

Names Drain(COM_IRegistryEnum* names) {
    Names out;
    kesto::String name;
    while (names->Next(name.out()) == S_OK) out.push_back(Narrow(name));
    EXPECT_TRUE(name.is_null());
    return out;
}

Names Subkeys(COM_IRegistry* registry) {
    Ref<COM_IRegistryEnum> names;
    EXPECT_EQ(registry->EnumSubkeys(names.out()), S_OK);
    return names ? Drain(names.get()) : Names();
}

class RegistryTest : public StringBalanceTest {
protected:
    TempFolder m_folder;
    std::filesystem::path m_file = m_folder.path / "data" / "kesto" / "registry.db";
    ScopedEnv m_registryEnv{"KESTO_REGISTRY", m_file.string()};
    ScopedEnv m_timeoutEnv{"KESTO_REGISTRY_BUSY_TIMEOUT_MS", std::string("200")};
};

TEST_F(RegistryTest, ValuesComeBackExactlyAndMissingOrMistypedOnesAreReported) {
    const unsigned short name[] = {'n', 0x00E9, 0};
    const Units text = {0x4E2D, 0xD83D, 0xDE00, 0xD800, 'x', 0xDC00, 0xFFFF};  // unpaired surrogates too
    const int numbers[] = {-7, 2147483647, -2147483647 - 1};
    Ref<COM_IRegistry> registry = OpenAt("");
    ASSERT_TRUE(registry);
    EXPECT_TRUE(std::filesystem::is_regular_file(m_file)) << "folders and file are made on first use";
    ASSERT_EQ(registry->CreateKey(W(u"CLSID\\{X}"), 1), S_OK);
    EXPECT_EQ(registry->SetStringValue(name, text.c_str()), S_OK);
    for (int number : numbers) EXPECT_EQ(registry->SetIntValue(W(std::to_string(number)), number), S_OK);
    EXPECT_EQ(registry->SetStringValue(nullptr, nullptr), S_OK);  // NULL name and text: default, empty
    EXPECT_EQ(registry->SetStringValue(W(u"s"), W(u"12")), S_OK);
    EXPECT_EQ(registry->Close(), S_OK);

    ASSERT_TRUE(registry = OpenAt("CLSID\\{X}")) << "read back by another object";
    kesto::String read;
    ASSERT_EQ(registry->GetStringValue(name, read.out()), S_OK);
    EXPECT_EQ(UnitsOf(read), text);
    ASSERT_EQ(registry->GetStringValue(W(u""), read.out()), S_OK);
    EXPECT_EQ(Narrow(read), "");
    int number = 0, kind = -1;
    for (int expected : numbers) {
        EXPECT_EQ(registry->GetIntValue(W(std::to_string(expected)), &number), S_OK);
        EXPECT_EQ(number, expected);
    }
    EXPECT_EQ(registry->GetValueKind(W(u"-7"), &kind), S_OK);
    EXPECT_EQ(kind, KESTO_REGISTRY_INTEGER);
    EXPECT_EQ(registry->GetIntValue(W(u"missing"), &number), S_FALSE);
    EXPECT_EQ(number, -2147483647 - 1) << "a missing integer leaves the caller's value alone";
    EXPECT_EQ(registry->GetStringValue(W(u"missing"), read.out()), S_FALSE);
    EXPECT_TRUE(read.is_null());
    EXPECT_EQ(registry->GetValueKind(W(u"missing"), &kind), S_FALSE);
    EXPECT_EQ(kind, KESTO_REGISTRY_NONE);
    EXPECT_EQ(registry->GetIntValue(W(u"s"), &number), REGDB_E_INVALIDVALUE);
    ASSERT_EQ(registry->SetIntValue(W(u"s"), 5), S_OK);  // replaces the string
    EXPECT_EQ(registry->GetStringValue(W(u"s"), read.out()), REGDB_E_INVALIDVALUE);
    EXPECT_TRUE(read.is_null());
    EXPECT_EQ(registry->DeleteValue(W(u"s")), S_OK);
    EXPECT_EQ(registry->DeleteValue(W(u"s")), S_FALSE);
}

TEST_F(RegistryTest, RefusesMissingKeysAndBadNamesAndStaysWhereItWas) {
    Ref<COM_IRegistry> registry = OpenAt("");
    ASSERT_TRUE(registry);
    ASSERT_EQ(registry->CreateKey(W(u"Here"), 1), S_OK);
    struct Case {
        const char* what;
        HRESULT (*call)(COM_IRegistry*);
        HRESULT expected;
    };
    const Case cases[] = {
        {"open missing", [](COM_IRegistry* r) { return r->OpenKey(W(u"nope")); }, REGDB_E_KEYMISSING},
        {"case-sensitive", [](COM_IRegistry* r) { return r->OpenKey(W(u"here")); }, REGDB_E_KEYMISSING},
        {"create 0 only opens", [](COM_IRegistry* r) { return r->CreateKey(W(u"nope"), 0); }, REGDB_E_KEYMISSING},
        {"empty name", [](COM_IRegistry* r) { return r->CreateKey(W(u""), 1); }, E_INVALIDARG},
        {"empty path step", [](COM_IRegistry* r) { return r->CreateKey(W(u"a\\\\b"), 1); }, E_INVALIDARG},
        {"trailing separator", [](COM_IRegistry* r) { return r->DeleteKey(W(u"a\\")); }, E_INVALIDARG},
        {"unknown root", [](COM_IRegistry* r) { return r->OpenRoot(3, W(u"")); }, E_INVALIDARG},
        {"missing root path", [](COM_IRegistry* r) { return r->OpenRoot(1, W(u"Here\\no")); }, REGDB_E_KEYMISSING},
    };
    for (const Case& c : cases) {
        ASSERT_EQ(registry->OpenRoot(1, W(u"Here")), S_OK);
        EXPECT_EQ(c.call(registry.get()), c.expected) << c.what;
        EXPECT_EQ(registry->SetIntValue(W(u"after"), 1), S_OK) << c.what;
        EXPECT_EQ(Subkeys(registry.get()), Names()) << c.what;
    }
    ASSERT_EQ(registry->Close(), S_OK);
    EXPECT_EQ(registry->CreateKey(W(u"CLSID"), 1), REGDB_E_KEYMISSING) << "Close leaves no current key";
    EXPECT_EQ(registry->SetIntValue(W(u""), 1), REGDB_E_KEYMISSING);
}

TEST_F(RegistryTest, DeletionTakesTheSubtreeAndTheEmptyNameTidiesEmptySubkeys) {
    Ref<COM_IRegistry> registry = OpenAt("");
    ASSERT_TRUE(registry);
    for (const char16_t* path : {u"Top\\Middle\\Leaf", u"Top\\Sibling", u"WithValue", u"WithChild\\Grandchild"}) {
        ASSERT_EQ(registry->OpenRoot(1, W(u"")), S_OK);
        ASSERT_EQ(registry->CreateKey(W(path), 1), S_OK);
        ASSERT_EQ(registry->SetIntValue(W(u"v"), 1), S_OK);
    }
    ASSERT_EQ(registry->OpenRoot(1, W(u"Top")), S_OK);
    EXPECT_EQ(registry->DeleteKey(W(u"Middle")), S_OK);
    EXPECT_EQ(registry->DeleteKey(W(u"Middle")), S_FALSE);
    EXPECT_EQ(Subkeys(registry.get()), Names({"Sibling"}));
    ASSERT_EQ(registry->CreateKey(W(u"Middle\\Leaf"), 1), S_OK);
    int number = 0;
    EXPECT_EQ(registry->GetIntValue(W(u"v"), &number), S_FALSE) << "nothing of the old subtree comes back";
    ASSERT_EQ(registry->OpenRoot(1, W(u"Top\\Sibling")), S_OK);
    ASSERT_EQ(registry->DeleteValue(W(u"v")), S_OK);
    ASSERT_EQ(registry->OpenRoot(1, W(u"")), S_OK);
    ASSERT_EQ(registry->CreateKey(W(u"Empty"), 1), S_OK);
    ASSERT_EQ(registry->OpenRoot(1, W(u"")), S_OK);
    EXPECT_EQ(registry->DeleteKey(W(u"")), S_OK);
    EXPECT_EQ(Subkeys(registry.get()), Names({"Top", "WithChild", "WithValue"}));
    ASSERT_EQ(registry->OpenKey(W(u"Top")), S_OK);
    EXPECT_EQ(Subkeys(registry.get()), Names({"Middle", "Sibling"})) << "only direct subkeys are tidied";
}

// (Enumerators count what they deliver, in name order: the registry's fuzz target.)
TEST_F(RegistryTest, EnumeratesASnapshotAndSurvivesExhaustion) {
    Ref<COM_IRegistry> registry = OpenAt("");
    ASSERT_TRUE(registry);
    for (const char16_t* name : {u"E\\b", u"E\\a"}) {
        ASSERT_EQ(registry->OpenRoot(1, W(u"")), S_OK);
        ASSERT_EQ(registry->CreateKey(W(name), 1), S_OK);
    }
    ASSERT_EQ(registry->OpenRoot(1, W(u"E")), S_OK);
    ASSERT_EQ(registry->SetStringValue(W(u""), W(u"text")), S_OK);
    Ref<COM_IRegistryEnum> subkeys;
    ASSERT_EQ(registry->EnumSubkeys(subkeys.out()), S_OK);
    kesto::String name;
    KESTO_FaultInjectStrings(0, 1);
    EXPECT_EQ(registry->GetStringValue(W(u""), name.out()), E_OUTOFMEMORY);
    EXPECT_TRUE(name.is_null());
    ASSERT_EQ(registry->CreateKey(W(u"later"), 1), S_OK);
    KESTO_FaultInjectStrings(0, 1);
    EXPECT_EQ(subkeys->Next(name.out()), E_OUTOFMEMORY);
    EXPECT_TRUE(name.is_null());
    EXPECT_EQ(Drain(subkeys.get()), Names({"a", "b"})) << "a failed Next does not advance; later keys are not seen";
    EXPECT_EQ(Subkeys(registry.get()), Names()) << "a leaf has none";
}

// Close commits a chain; releasing the object before rolls it back; a second writer
// waits a bounded time for it, then fails; a chain that a failed OpenRoot began
// ends with it and holds nothing.
TEST_F(RegistryTest, AChainIsOneTransactionThatOtherWritersWaitFor) {
    Ref<COM_IRegistry> first, second;
    ASSERT_EQ(NewRegistry(first), S_OK);
    EXPECT_EQ(first->OpenRoot(1, W(u"Missing")), REGDB_E_KEYMISSING);
    ASSERT_TRUE(second = OpenAt(""));
    ASSERT_EQ(second->CreateKey(W(u"Lost"), 1), S_OK);
    ASSERT_EQ(second->OpenRoot(1, W(u"")), S_OK);  // the same chain goes on: this goes too
    ASSERT_EQ(second->SetIntValue(W(u"lost"), 1), S_OK);
    second.reset();
    ASSERT_TRUE(first = OpenAt(""));
    ASSERT_EQ(first->CreateKey(W(u"Kept"), 1), S_OK);
    ASSERT_EQ(NewRegistry(second), S_OK);
    EXPECT_EQ(second->OpenRoot(1, W(u"")), REGDB_E_WRITEREGDB);
    EXPECT_EQ(second->CreateKey(W(u"Second"), 1), REGDB_E_KEYMISSING) << "no chain was opened";
    ASSERT_EQ(first->Close(), S_OK);
    ASSERT_EQ(second->OpenRoot(1, W(u"")), S_OK);
    EXPECT_EQ(Subkeys(second.get()), Names({"Kept"}));
    int number = 0;
    EXPECT_EQ(second->GetIntValue(W(u"lost"), &number), S_FALSE);
}

TEST_F(RegistryTest, AFileThatIsNotARegistryIsRefusedAndKept) {
    const COM_GUID unregistered = {0x6B1D00FF, 0, 0x4000, {0x80, 0, 0, 0, 0, 0, 0, 0xFF}};
    std::filesystem::create_directories(m_file.parent_path());
    const std::string other = m_folder / "other.db";
    sqlite3* db = nullptr;
    ASSERT_EQ(sqlite3_open(other.c_str(), &db), SQLITE_OK);
    ASSERT_EQ(sqlite3_exec(db, "CREATE TABLE notes(text); INSERT INTO notes VALUES ('mine');", 0, 0, 0), SQLITE_OK);
    sqlite3_close(db);
    // "x" is too short for a header: SQLite alone would take it as empty.
    for (const std::string& content : {std::string("my notes\n"), std::string("x"),
                                       std::string("SQLite format 3\0cut short", 25), std::string(4096, '\0'),
                                       ReadFile(other)}) {
        WriteFile(m_file, content);
        Ref<COM_IRegistry> registry;
        EXPECT_EQ(NewRegistry(registry), REGDB_E_READREGDB);
        EXPECT_FALSE(registry);
        Ref<COM_IUnknown> object;
        EXPECT_EQ(COM_CreateInstance(unregistered, nullptr, COM_IID_IUnknown, object.out_void()), REGDB_E_READREGDB)
            << "a lookup reads no foreign file either";
        EXPECT_EQ(ReadFile(m_file), content);
        EXPECT_FALSE(std::filesystem::exists(m_file.string() + "-journal"));
    }
    WriteFile(m_file, "");
    Ref<COM_IRegistry> registry;
    EXPECT_EQ(NewRegistry(registry), S_OK) << "an empty file becomes a registry";
    std::filesystem::remove(m_file);
    std::filesystem::create_directories(m_file);  // a folder where the file should be
    EXPECT_EQ(NewRegistry(registry), REGDB_E_READREGDB);
    // Its folder cannot be made: the registry cannot be written, and says why.
    ScopedEnv underAFile("KESTO_REGISTRY", m_folder / "other.db/registry.db");
    EXPECT_EQ(NewRegistry(registry), REGDB_E_WRITEREGDB);
    HRESULT status = S_OK;
    char reason[512];
    const unsigned long length = KESTO_RegistryLastError(&status, reason, sizeof reason);
    EXPECT_EQ(status, REGDB_E_WRITEREGDB);
    EXPECT_NE(std::string(reason, length < sizeof reason ? length : 0).find("Not a directory"), std::string::npos);
}

TEST_F(RegistryTest, TheCategoryManagerKeepsClassesAndCategoriesWithTheirDescriptions) {
    const COM_GUID category = {0x11111111, 0x2222, 0x3333, {0x44, 0x44, 0x55, 0x55, 0x55, 0x55, 0x55, 0x55}};
    COM_GUID otherCategory = category;
    otherCategory.Data4[7] = 0x56;
    const COM_GUID clsid = {0xAAAAAAAA, 0xBBBB, 0xCCCC, {0xDD, 0xDD, 0xEE, 0xEE, 0xEE, 0xEE, 0xEE, 0xEE}};
    const std::string classKey = "CLSID\\{AAAAAAAA-BBBB-CCCC-DDDD-EEEEEEEEEEEE}", categoryText =
                                 "{11111111-2222-3333-4444-555555555555}";
    const std::string implemented = classKey + "\\Implemented Categories";
    Ref<COM_ICatRegister> categories;
    ASSERT_EQ(COM_CreateInstance(COM_CLSID_CategoryManager, nullptr, COM_IID_ICatRegister, categories.out_void()),
              S_OK);
    EXPECT_EQ(categories->UnregisterClassFromCategory(&category, clsid), S_FALSE) << "a gone class is no failure";
    EXPECT_FALSE(KeyExists(classKey)) << "removal makes no keys";
    ASSERT_EQ(categories->RegisterClassInCategory(&category, clsid), S_OK);
    ASSERT_EQ(categories->RegisterClassInCategory(&otherCategory, clsid), S_OK);
    EXPECT_TRUE(KeyExists(implemented + "\\" + categoryText));
    EXPECT_EQ(categories->UnregisterClassFromCategory(&category, clsid), S_OK);
    EXPECT_FALSE(KeyExists(implemented + "\\" + categoryText));
    EXPECT_TRUE(KeyExists(implemented)) << "the other category is still there";
    EXPECT_EQ(categories->UnregisterClassFromCategory(&otherCategory, clsid), S_OK);
    EXPECT_FALSE(KeyExists(implemented)) << "the emptied list goes with its last entry";
    EXPECT_TRUE(KeyExists(classKey));
    EXPECT_EQ(categories->RegisterClassInCategory(nullptr, clsid), E_POINTER);
    EXPECT_EQ(categories->UnregisterClassFromCategory(nullptr, clsid), E_POINTER);

    ASSERT_EQ(categories->RegisterCategory(category, W(u"Code assistants")), S_OK);
    EXPECT_EQ(ValueAt("Component Categories\\" + categoryText), "Code assistants");
    EXPECT_EQ(categories->UnregisterCategory(category), S_OK);
    EXPECT_EQ(categories->UnregisterCategory(category), S_FALSE);
    EXPECT_FALSE(KeyExists("Component Categories"));
}

}  // namespace
