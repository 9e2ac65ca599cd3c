// The registry object over a temporary registry file: location, keys and values,
// deletion, enumeration, transactions, files that are not a registry, and the
// category manager's records.
#include <gtest/gtest.h>
#include <sqlite3.h>

#include <vector>

#include "StringBalanceTest.h"
#include "kesto/diagnostics.h"
#include "registry/RegistryTestSupport.h"

namespace {

using namespace registry_test;
using Names = std::vector<std::string>;

const COM_GUID kUnregistered = {0x6B1D00FF, 0, 0x4000, {0x80, 0, 0, 0, 0, 0, 0, 0xFF}};

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

class RegistryTest : public StringBalanceTest {
protected:
    // A registry object with a chain open at `path` below root 1.
    void Open(Ref<COM_IRegistry>& registry, const char16_t* path = u"") {
        ASSERT_EQ(NewRegistry(registry), S_OK);
        ASSERT_EQ(registry->OpenRoot(1, W(path)), S_OK);
    }

    static Names Drain(COM_IRegistryEnum* names) {
        Names out;
        kesto::String name;
        while (names->Next(name.out()) == S_OK) out.push_back(Narrow(name));
        EXPECT_TRUE(name.is_null());
        return out;
    }

    static Names Subkeys(COM_IRegistry* registry) {
        Ref<COM_IRegistryEnum> names;
        EXPECT_EQ(registry->EnumSubkeys(names.out()), S_OK);
        return names.get() ? Drain(names.get()) : Names();
    }

    TempFolder m_folder;
    std::filesystem::path m_file = m_folder.Path() / "data" / "kesto" / "registry.db";
    ScopedEnv m_registryEnv{"KESTO_REGISTRY", m_file.string()};
    ScopedEnv m_timeoutEnv{"KESTO_REGISTRY_BUSY_TIMEOUT_MS", std::string("200")};
};

TEST_F(RegistryTest, KeepsValuesExactlyAcrossObjects) {
    const unsigned short name[] = {'n', 0x00E9, 0};
    const Units text = {0x4E2D, 0xD83D, 0xDE00, 0xD800, 'x', 0xDC00, 0xFFFF};  // unpaired surrogates too
    {
        Ref<COM_IRegistry> writer;
        Open(writer);
        EXPECT_TRUE(std::filesystem::is_regular_file(m_file)) << "folders and file are made on first use";
        ASSERT_EQ(writer->CreateKey(W(u"CLSID\\{X}"), 1), S_OK);
        EXPECT_EQ(writer->SetStringValue(name, text.c_str()), S_OK);
        EXPECT_EQ(writer->SetIntValue(W(u"Count"), -7), S_OK);
        EXPECT_EQ(writer->SetIntValue(W(u"Max"), 2147483647), S_OK);
        EXPECT_EQ(writer->SetIntValue(W(u"Min"), -2147483647 - 1), S_OK);
        EXPECT_EQ(writer->SetStringValue(nullptr, nullptr), S_OK);  // NULL name and text: default, empty
        EXPECT_EQ(writer->Close(), S_OK);
    }
    Ref<COM_IRegistry> reader;
    Open(reader, u"CLSID\\{X}");
    kesto::String read;
    ASSERT_EQ(reader->GetStringValue(name, read.out()), S_OK);
    EXPECT_EQ(UnitsOf(read), text);
    ASSERT_EQ(reader->GetStringValue(W(u""), read.out()), S_OK);
    EXPECT_EQ(Narrow(read), "");
    int number = 0, kind = -1;
    for (auto [value, expected] : {std::pair{u"Count", -7}, {u"Max", 2147483647}, {u"Min", -2147483647 - 1}}) {
        EXPECT_EQ(reader->GetIntValue(W(value), &number), S_OK);
        EXPECT_EQ(number, expected);
    }
    EXPECT_EQ(reader->GetValueKind(W(u"Count"), &kind), S_OK);
    EXPECT_EQ(kind, KESTO_REGISTRY_INTEGER);
}

TEST_F(RegistryTest, MissingValuesAndWrongTypes) {
    Ref<COM_IRegistry> registry;
    Open(registry);
    ASSERT_EQ(registry->CreateKey(W(u"K"), 1), S_OK);
    ASSERT_EQ(registry->SetStringValue(W(u"s"), W(u"12")), S_OK);
    int number = 42, kind = -1;
    BSTR text = reinterpret_cast<BSTR>(&number);
    EXPECT_EQ(registry->GetIntValue(W(u"missing"), &number), S_FALSE);
    EXPECT_EQ(number, 42) << "a missing integer leaves the caller's value alone";
    EXPECT_EQ(registry->GetStringValue(W(u"missing"), &text), S_FALSE);
    EXPECT_EQ(text, nullptr);
    EXPECT_EQ(registry->GetValueKind(W(u"missing"), &kind), S_FALSE);
    EXPECT_EQ(kind, KESTO_REGISTRY_NONE);
    EXPECT_EQ(registry->GetIntValue(W(u"s"), &number), REGDB_E_INVALIDVALUE);
    ASSERT_EQ(registry->SetIntValue(W(u"s"), 5), S_OK);  // replaces the string
    EXPECT_EQ(registry->GetStringValue(W(u"s"), &text), REGDB_E_INVALIDVALUE);
    EXPECT_EQ(text, nullptr);
    EXPECT_EQ(registry->DeleteValue(W(u"s")), S_OK);
    EXPECT_EQ(registry->DeleteValue(W(u"s")), S_FALSE);
}

TEST_F(RegistryTest, RefusesMissingKeysAndBadNamesAndStaysWhereItWas) {
    Ref<COM_IRegistry> registry;
    Open(registry);
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
    Ref<COM_IRegistry> registry;
    for (const char16_t* path : {u"Top\\Middle\\Leaf", u"Top\\Sibling", u"WithValue", u"WithChild\\Grandchild"}) {
        Open(registry);
        ASSERT_EQ(registry->CreateKey(W(path), 1), S_OK);
        ASSERT_EQ(registry->SetIntValue(W(u"v"), 1), S_OK);
        ASSERT_EQ(registry->Close(), S_OK);
    }
    Open(registry, u"Top");
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

TEST_F(RegistryTest, EnumeratesASnapshotInNameOrderAndSurvivesExhaustion) {
    Ref<COM_IRegistry> registry;
    Open(registry);
    for (const char16_t* name : {u"E\\b", u"E\\a", u"E\\c"}) {
        ASSERT_EQ(registry->OpenRoot(1, W(u"")), S_OK);
        ASSERT_EQ(registry->CreateKey(W(name), 1), S_OK);
    }
    ASSERT_EQ(registry->OpenRoot(1, W(u"E")), S_OK);
    ASSERT_EQ(registry->SetIntValue(W(u"x"), 1), S_OK);
    ASSERT_EQ(registry->SetStringValue(W(u""), W(u"text")), S_OK);
    Ref<COM_IRegistryEnum> subkeys, values;
    ASSERT_EQ(registry->EnumSubkeys(subkeys.out()), S_OK);
    ASSERT_EQ(registry->CreateKey(W(u"later"), 1), S_OK);
    unsigned int count = 0;
    EXPECT_EQ(subkeys->GetCount(&count), S_OK);
    EXPECT_EQ(count, 3u);
    BSTR name = reinterpret_cast<BSTR>(&count);
    KESTO_FaultInjectStrings(0, 1);
    EXPECT_EQ(subkeys->Next(&name), E_OUTOFMEMORY);
    EXPECT_EQ(name, nullptr);
    EXPECT_EQ(Drain(subkeys.get()), Names({"a", "b", "c"})) << "a failed Next does not advance";

    ASSERT_EQ(registry->OpenRoot(1, W(u"E")), S_OK);
    ASSERT_EQ(registry->EnumValues(values.out()), S_OK);
    EXPECT_EQ(Drain(values.get()), Names({"", "x"}));
    KESTO_FaultInjectStrings(0, 1);
    EXPECT_EQ(registry->GetStringValue(W(u""), &name), E_OUTOFMEMORY);
    EXPECT_EQ(name, nullptr);
    ASSERT_EQ(registry->OpenKey(W(u"a")), S_OK);
    EXPECT_EQ(Subkeys(registry.get()), Names());
}

TEST_F(RegistryTest, CloseCommitsAndReleaseBeforeCloseRollsBack) {
    {
        Ref<COM_IRegistry> committed, abandoned;
        Open(committed);
        ASSERT_EQ(committed->CreateKey(W(u"Kept"), 1), S_OK);
        ASSERT_EQ(committed->Close(), S_OK);
        Open(abandoned);
        ASSERT_EQ(abandoned->CreateKey(W(u"Lost"), 1), S_OK);
        ASSERT_EQ(abandoned->OpenRoot(1, W(u"Kept")), S_OK);  // the same chain goes on: this goes too
        ASSERT_EQ(abandoned->SetIntValue(W(u"lost"), 1), S_OK);
    }
    Ref<COM_IRegistry> reader;
    Open(reader);
    EXPECT_EQ(Subkeys(reader.get()), Names({"Kept"}));
    reader.reset();
    EXPECT_EQ(ValueAt("Kept", "lost"), std::nullopt);
}

// A chain that a failed OpenRoot began ends with it and holds nothing.
TEST_F(RegistryTest, ASecondWriterWaitsABoundedTimeThenFails) {
    Ref<COM_IRegistry> first, second;
    ASSERT_EQ(NewRegistry(first), S_OK);
    EXPECT_EQ(first->OpenRoot(1, W(u"Missing")), REGDB_E_KEYMISSING);
    Open(second);
    ASSERT_EQ(second->Close(), S_OK);
    Open(first);
    ASSERT_EQ(first->CreateKey(W(u"First"), 1), S_OK);
    ASSERT_EQ(NewRegistry(second), S_OK);
    EXPECT_EQ(second->OpenRoot(1, W(u"")), REGDB_E_WRITEREGDB);
    EXPECT_EQ(second->CreateKey(W(u"Second"), 1), REGDB_E_KEYMISSING) << "no chain was opened";
    ASSERT_EQ(first->Close(), S_OK);
    ASSERT_EQ(second->OpenRoot(1, W(u"")), S_OK);
    EXPECT_EQ(Subkeys(second.get()), Names({"First"}));
}

TEST_F(RegistryTest, AFileThatIsNotARegistryIsRefusedAndKept) {
    std::filesystem::create_directories(m_file.parent_path());
    const std::string other = (m_folder.Path() / "other.db").string();
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
        EXPECT_EQ(registry.get(), nullptr);
        Ref<COM_IUnknown> object;
        EXPECT_EQ(COM_CreateInstance(kUnregistered, nullptr, COM_IID_IUnknown, object.out_void()), REGDB_E_READREGDB)
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
    ScopedEnv underAFile("KESTO_REGISTRY", (m_folder.Path() / "other.db" / "registry.db").string());
    EXPECT_EQ(NewRegistry(registry), REGDB_E_READREGDB);
}

const COM_GUID kCategory = {0x11111111, 0x2222, 0x3333, {0x44, 0x44, 0x55, 0x55, 0x55, 0x55, 0x55, 0x55}};
const COM_GUID kOtherCategory = {0x11111111, 0x2222, 0x3333, {0x44, 0x44, 0x55, 0x55, 0x55, 0x55, 0x55, 0x56}};
const COM_GUID kClass = {0xAAAAAAAA, 0xBBBB, 0xCCCC, {0xDD, 0xDD, 0xEE, 0xEE, 0xEE, 0xEE, 0xEE, 0xEE}};
const std::string kClassKey = "CLSID\\{AAAAAAAA-BBBB-CCCC-DDDD-EEEEEEEEEEEE}";
const std::string kImplemented = kClassKey + "\\Implemented Categories";
const std::string kCategoryText = "{11111111-2222-3333-4444-555555555555}";

// The category manager's records in the registry.
class CategoryManagerTest : public RegistryTest {
protected:
    void SetUp() override {
        ASSERT_EQ(COM_CreateInstance(COM_CLSID_CategoryManager, nullptr, COM_IID_ICatRegister,
                                     m_categories.out_void()), S_OK);
    }
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
