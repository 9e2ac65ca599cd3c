// The registry object over a temporary registry file: location, keys and values,
// deletion, enumeration, transactions, and files that are not a registry.
#include <gtest/gtest.h>
#include <sqlite3.h>

#include <filesystem>

#include "kesto/diagnostics.h"
#include "kesto/registry.h"
#include "registry/RegistryTestSupport.h"

namespace {

using registry_test::ReadFile;
using registry_test::Ref;
using registry_test::ScopedEnv;
using registry_test::TakeString;
using registry_test::TempFolder;
using registry_test::Wide;
using registry_test::WriteFile;

std::string RegistryPath() {
    char buffer[4096];
    unsigned long length = KESTO_RegistryFilePath(buffer, sizeof buffer);
    return length < sizeof buffer ? std::string(buffer, length) : std::string();
}

TEST(RegistryLocationTest, FollowsTheEnvironmentInOrder) {
    struct Case {
        std::optional<std::string> registry, dataHome, home;
        std::string expected;
    };
    const Case cases[] = {
        {"/r/x.db", "/xdg", "/home/u", "/r/x.db"},
        {"", "/xdg", "/home/u", "/xdg/kesto/registry.db"},
        {std::nullopt, "/xdg", "/home/u", "/xdg/kesto/registry.db"},
        // A relative XDG_DATA_HOME is invalid and ignored.
        {std::nullopt, "relative/xdg", "/home/u", "/home/u/.local/share/kesto/registry.db"},
        {std::nullopt, "", "/home/u", "/home/u/.local/share/kesto/registry.db"},
    };
    for (const Case& c : cases) {
        ScopedEnv registry("KESTO_REGISTRY", c.registry);
        ScopedEnv dataHome("XDG_DATA_HOME", c.dataHome);
        ScopedEnv home("HOME", c.home);
        EXPECT_EQ(RegistryPath(), c.expected);
    }
}

class RegistryTest : public ::testing::Test {
protected:
    void TearDown() override { EXPECT_EQ(KESTO_LiveStringCount(), m_strings); }

    HRESULT Create(Ref<COM_IRegistry>& registry) {
        return COM_CreateInstance(COM_CLSID_Registry, nullptr, COM_IID_IRegistry, registry.Out());
    }

    // A registry object with a chain open at root 1.
    void OpenAtRoot(Ref<COM_IRegistry>& registry) {
        ASSERT_EQ(Create(registry), S_OK);
        ASSERT_EQ(registry->OpenRoot(1, Wide(u"")), S_OK);
    }

    std::vector<std::string> Names(COM_IRegistryEnum* names) {
        std::vector<std::string> out;
        BSTR name = nullptr;
        while (names->Next(&name) == S_OK) out.push_back(TakeString(name));
        EXPECT_EQ(name, nullptr);
        return out;
    }

    std::vector<std::string> Subkeys(COM_IRegistry* registry) {
        Ref<COM_IRegistryEnum> names;
        EXPECT_EQ(registry->EnumSubkeys(names.Address()), S_OK);
        return names.Get() ? Names(names.Get()) : std::vector<std::string>();
    }

    TempFolder m_folder;
    std::filesystem::path m_file = m_folder.Path() / "data" / "kesto" / "registry.db";
    ScopedEnv m_registryEnv{"KESTO_REGISTRY", m_file.string()};
    ScopedEnv m_timeoutEnv{"KESTO_REGISTRY_BUSY_TIMEOUT_MS", std::string("200")};
    long m_strings = KESTO_LiveStringCount();
};

TEST_F(RegistryTest, KeepsStringAndIntegerValuesAcrossObjects) {
    ASSERT_FALSE(std::filesystem::exists(m_file.parent_path()));
    {
        Ref<COM_IRegistry> writer;
        OpenAtRoot(writer);
        EXPECT_TRUE(std::filesystem::is_regular_file(m_file)) << "folders and file are made on first use";
        ASSERT_EQ(writer->CreateKey(Wide(u"CLSID\\{X}"), 1), S_OK);
        EXPECT_EQ(writer->SetStringValue(Wide(u""), Wide(u"Name")), S_OK);
        EXPECT_EQ(writer->SetIntValue(Wide(u"Count"), -7), S_OK);
        EXPECT_EQ(writer->SetStringValue(nullptr, nullptr), S_OK);  // NULL name and text: default, empty
        EXPECT_EQ(writer->Close(), S_OK);
    }
    Ref<COM_IRegistry> reader;
    ASSERT_EQ(Create(reader), S_OK);
    ASSERT_EQ(reader->OpenRoot(1, Wide(u"CLSID\\{X}")), S_OK);
    BSTR text = nullptr;
    EXPECT_EQ(reader->GetStringValue(Wide(u""), &text), S_OK);
    EXPECT_EQ(TakeString(text), "");
    int number = 0;
    EXPECT_EQ(reader->GetIntValue(Wide(u"Count"), &number), S_OK);
    EXPECT_EQ(number, -7);
    int kind = -1;
    EXPECT_EQ(reader->GetValueKind(Wide(u"Count"), &kind), S_OK);
    EXPECT_EQ(kind, KESTO_REGISTRY_INTEGER);
    EXPECT_EQ(reader->Close(), S_OK);
}

TEST_F(RegistryTest, MissingValuesAndWrongTypes) {
    Ref<COM_IRegistry> registry;
    OpenAtRoot(registry);
    ASSERT_EQ(registry->CreateKey(Wide(u"K"), 1), S_OK);
    ASSERT_EQ(registry->SetStringValue(Wide(u"s"), Wide(u"12")), S_OK);
    ASSERT_EQ(registry->SetIntValue(Wide(u"i"), 12), S_OK);

    int number = 42;
    EXPECT_EQ(registry->GetIntValue(Wide(u"missing"), &number), S_FALSE);
    EXPECT_EQ(number, 42) << "a missing integer leaves the caller's value alone";
    BSTR text = reinterpret_cast<BSTR>(&number);
    EXPECT_EQ(registry->GetStringValue(Wide(u"missing"), &text), S_FALSE);
    EXPECT_EQ(text, nullptr);
    int kind = -1;
    EXPECT_EQ(registry->GetValueKind(Wide(u"missing"), &kind), S_FALSE);
    EXPECT_EQ(kind, KESTO_REGISTRY_NONE);

    EXPECT_EQ(registry->GetIntValue(Wide(u"s"), &number), REGDB_E_INVALIDVALUE);
    EXPECT_EQ(registry->GetStringValue(Wide(u"i"), &text), REGDB_E_INVALIDVALUE);
    EXPECT_EQ(text, nullptr);

    // Setting replaces a value of the other type.
    EXPECT_EQ(registry->SetIntValue(Wide(u"s"), 5), S_OK);
    EXPECT_EQ(registry->GetIntValue(Wide(u"s"), &number), S_OK);
    EXPECT_EQ(number, 5);

    EXPECT_EQ(registry->DeleteValue(Wide(u"s")), S_OK);
    EXPECT_EQ(registry->DeleteValue(Wide(u"s")), S_FALSE);
}

TEST_F(RegistryTest, KeepsEverySixteenBitStringExactly) {
    const unsigned short name[] = {'n', 0x00E9, 0};
    const unsigned short value[] = {0x4E2D, 0xD83D, 0xDE00, 0xD800, 'x', 0xDC00, 0xFFFF, 0};
    {
        Ref<COM_IRegistry> writer;
        OpenAtRoot(writer);
        ASSERT_EQ(writer->CreateKey(name, 1), S_OK);
        ASSERT_EQ(writer->SetStringValue(name, value), S_OK);
        ASSERT_EQ(writer->Close(), S_OK);
    }
    Ref<COM_IRegistry> reader;
    OpenAtRoot(reader);
    ASSERT_EQ(reader->OpenKey(name), S_OK);
    BSTR text = nullptr;
    ASSERT_EQ(reader->GetStringValue(name, &text), S_OK);
    std::vector<unsigned short> read(text, text + COM_SysStringLen(text));
    COM_SysFreeString(text);
    EXPECT_EQ(read, std::vector<unsigned short>(value, value + 7));
}

TEST_F(RegistryTest, RefusesMissingKeysAndBadNames) {
    Ref<COM_IRegistry> registry;
    OpenAtRoot(registry);
    ASSERT_EQ(registry->CreateKey(Wide(u"Here"), 1), S_OK);
    struct Case {
        const char* what;
        HRESULT (*call)(COM_IRegistry*);
        HRESULT expected;
    };
    const Case cases[] = {
        {"open missing", [](COM_IRegistry* r) { return r->OpenKey(Wide(u"nope")); }, REGDB_E_KEYMISSING},
        {"names are case-sensitive", [](COM_IRegistry* r) { return r->OpenKey(Wide(u"here")); }, REGDB_E_KEYMISSING},
        {"create 0 only opens", [](COM_IRegistry* r) { return r->CreateKey(Wide(u"nope"), 0); }, REGDB_E_KEYMISSING},
        {"empty name", [](COM_IRegistry* r) { return r->CreateKey(Wide(u""), 1); }, E_INVALIDARG},
        {"empty path step", [](COM_IRegistry* r) { return r->CreateKey(Wide(u"a\\\\b"), 1); }, E_INVALIDARG},
        {"trailing separator", [](COM_IRegistry* r) { return r->DeleteKey(Wide(u"a\\")); }, E_INVALIDARG},
        {"unknown root", [](COM_IRegistry* r) { return r->OpenRoot(3, Wide(u"")); }, E_INVALIDARG},
        {"missing root path", [](COM_IRegistry* r) { return r->OpenRoot(1, Wide(u"Here\\nope")); },
         REGDB_E_KEYMISSING},
    };
    for (const Case& c : cases) {
        ASSERT_EQ(registry->OpenRoot(1, Wide(u"Here")), S_OK);
        EXPECT_EQ(c.call(registry.Get()), c.expected) << c.what;
        // The failed call left the current key where it was.
        EXPECT_EQ(registry->SetIntValue(Wide(u"after"), 1), S_OK) << c.what;
        EXPECT_EQ(Subkeys(registry.Get()), std::vector<std::string>()) << c.what;
    }
    EXPECT_EQ(registry->Close(), S_OK);
}

TEST_F(RegistryTest, WithoutAChainThereIsNoCurrentKey) {
    Ref<COM_IRegistry> registry;
    ASSERT_EQ(Create(registry), S_OK);
    EXPECT_EQ(registry->Close(), S_OK);
    EXPECT_EQ(registry->CreateKey(Wide(u"CLSID"), 1), REGDB_E_KEYMISSING);
    EXPECT_EQ(registry->SetIntValue(Wide(u""), 1), REGDB_E_KEYMISSING);
    ASSERT_EQ(registry->OpenRoot(1, Wide(u"")), S_OK);
    ASSERT_EQ(registry->Close(), S_OK);
    EXPECT_EQ(registry->DeleteKey(Wide(u"CLSID")), REGDB_E_KEYMISSING) << "Close leaves no current key";
}

TEST_F(RegistryTest, DeletingAKeyTakesEverythingBelowIt) {
    Ref<COM_IRegistry> registry;
    OpenAtRoot(registry);
    ASSERT_EQ(registry->CreateKey(Wide(u"Top\\Middle\\Leaf"), 1), S_OK);
    ASSERT_EQ(registry->SetIntValue(Wide(u"v"), 1), S_OK);
    ASSERT_EQ(registry->OpenRoot(1, Wide(u"")), S_OK);
    ASSERT_EQ(registry->CreateKey(Wide(u"Top\\Sibling"), 1), S_OK);
    ASSERT_EQ(registry->OpenRoot(1, Wide(u"Top")), S_OK);
    EXPECT_EQ(registry->DeleteKey(Wide(u"Middle")), S_OK);
    EXPECT_EQ(registry->DeleteKey(Wide(u"Middle")), S_FALSE);
    EXPECT_EQ(Subkeys(registry.Get()), std::vector<std::string>({"Sibling"}));
    // Re-creating the key finds nothing of the old subtree.
    ASSERT_EQ(registry->CreateKey(Wide(u"Middle\\Leaf"), 1), S_OK);
    int number = 0;
    EXPECT_EQ(registry->GetIntValue(Wide(u"v"), &number), S_FALSE);
    EXPECT_EQ(registry->Close(), S_OK);
}

TEST_F(RegistryTest, DeletingTheEmptyNameRemovesOnlyEmptySubkeys) {
    Ref<COM_IRegistry> registry;
    OpenAtRoot(registry);
    for (const char16_t* path : {u"Empty", u"WithValue", u"WithChild\\Grandchild"}) {
        ASSERT_EQ(registry->OpenRoot(1, Wide(u"")), S_OK);
        ASSERT_EQ(registry->CreateKey(Wide(path), 1), S_OK);
    }
    ASSERT_EQ(registry->OpenRoot(1, Wide(u"WithValue")), S_OK);
    ASSERT_EQ(registry->SetStringValue(Wide(u""), Wide(u"kept")), S_OK);
    ASSERT_EQ(registry->OpenRoot(1, Wide(u"")), S_OK);
    EXPECT_EQ(registry->DeleteKey(Wide(u"")), S_OK);
    EXPECT_EQ(Subkeys(registry.Get()), std::vector<std::string>({"WithChild", "WithValue"}));
    ASSERT_EQ(registry->OpenKey(Wide(u"WithChild")), S_OK);
    EXPECT_EQ(Subkeys(registry.Get()), std::vector<std::string>({"Grandchild"}))
        << "only direct subkeys are tidied";
    EXPECT_EQ(registry->Close(), S_OK);
}

TEST_F(RegistryTest, EnumeratesASnapshotInNameOrder) {
    Ref<COM_IRegistry> registry;
    OpenAtRoot(registry);
    ASSERT_EQ(registry->CreateKey(Wide(u"E"), 1), S_OK);
    for (const char16_t* name : {u"b", u"a", u"c"}) {
        ASSERT_EQ(registry->OpenRoot(1, Wide(u"E")), S_OK);
        ASSERT_EQ(registry->CreateKey(Wide(name), 1), S_OK);
    }
    ASSERT_EQ(registry->OpenRoot(1, Wide(u"E")), S_OK);
    ASSERT_EQ(registry->SetIntValue(Wide(u"x"), 1), S_OK);
    ASSERT_EQ(registry->SetIntValue(Wide(u""), 1), S_OK);

    Ref<COM_IRegistryEnum> subkeys;
    ASSERT_EQ(registry->EnumSubkeys(subkeys.Address()), S_OK);
    ASSERT_EQ(registry->CreateKey(Wide(u"later"), 1), S_OK);
    unsigned int count = 0;
    EXPECT_EQ(subkeys->GetCount(&count), S_OK);
    EXPECT_EQ(count, 3u);
    EXPECT_EQ(Names(subkeys.Get()), std::vector<std::string>({"a", "b", "c"}));

    ASSERT_EQ(registry->OpenRoot(1, Wide(u"E")), S_OK);
    Ref<COM_IRegistryEnum> values;
    ASSERT_EQ(registry->EnumValues(values.Address()), S_OK);
    EXPECT_EQ(Names(values.Get()), std::vector<std::string>({"", "x"}));

    ASSERT_EQ(registry->OpenKey(Wide(u"a")), S_OK);
    Ref<COM_IRegistryEnum> none;
    ASSERT_EQ(registry->EnumSubkeys(none.Address()), S_OK);
    EXPECT_EQ(none->GetCount(&count), S_OK);
    EXPECT_EQ(count, 0u);
    EXPECT_EQ(registry->Close(), S_OK);
}

TEST_F(RegistryTest, OutOfMemoryLosesNothing) {
    Ref<COM_IRegistry> registry;
    OpenAtRoot(registry);
    ASSERT_EQ(registry->CreateKey(Wide(u"M\\a"), 1), S_OK);
    ASSERT_EQ(registry->SetStringValue(Wide(u""), Wide(u"text")), S_OK);
    ASSERT_EQ(registry->OpenRoot(1, Wide(u"M")), S_OK);
    Ref<COM_IRegistryEnum> subkeys;
    ASSERT_EQ(registry->EnumSubkeys(subkeys.Address()), S_OK);

    BSTR name = nullptr;
    KESTO_FaultInjectStrings(0, 1);
    EXPECT_EQ(subkeys->Next(&name), E_OUTOFMEMORY);
    EXPECT_EQ(name, nullptr);
    EXPECT_EQ(Names(subkeys.Get()), std::vector<std::string>({"a"})) << "a failed Next does not advance";

    ASSERT_EQ(registry->OpenKey(Wide(u"a")), S_OK);
    BSTR text = nullptr;
    KESTO_FaultInjectStrings(0, 1);
    EXPECT_EQ(registry->GetStringValue(Wide(u""), &text), E_OUTOFMEMORY);
    EXPECT_EQ(text, nullptr);
    KESTO_FaultInjectStrings(0, 0);
    EXPECT_EQ(registry->Close(), S_OK);
}

class RegistryTransactionTest : public RegistryTest {};

TEST_F(RegistryTransactionTest, CloseCommitsAndReleaseBeforeCloseRollsBack) {
    {
        Ref<COM_IRegistry> committed;
        OpenAtRoot(committed);
        ASSERT_EQ(committed->CreateKey(Wide(u"Kept"), 1), S_OK);
        ASSERT_EQ(committed->Close(), S_OK);
    }
    {
        Ref<COM_IRegistry> abandoned;
        OpenAtRoot(abandoned);
        ASSERT_EQ(abandoned->CreateKey(Wide(u"Lost"), 1), S_OK);
        // A second OpenRoot continues the same chain: this goes too.
        ASSERT_EQ(abandoned->OpenRoot(1, Wide(u"Kept")), S_OK);
        ASSERT_EQ(abandoned->SetIntValue(Wide(u"lost"), 1), S_OK);
    }
    Ref<COM_IRegistry> reader;
    OpenAtRoot(reader);
    EXPECT_EQ(Subkeys(reader.Get()), std::vector<std::string>({"Kept"}));
    ASSERT_EQ(reader->OpenKey(Wide(u"Kept")), S_OK);
    int number = 0;
    EXPECT_EQ(reader->GetIntValue(Wide(u"lost"), &number), S_FALSE);
    EXPECT_EQ(reader->Close(), S_OK);
}

TEST_F(RegistryTransactionTest, ASecondWriterWaitsABoundedTimeThenFails) {
    Ref<COM_IRegistry> first;
    OpenAtRoot(first);
    ASSERT_EQ(first->CreateKey(Wide(u"First"), 1), S_OK);

    Ref<COM_IRegistry> second;
    ASSERT_EQ(Create(second), S_OK);
    EXPECT_EQ(second->OpenRoot(1, Wide(u"")), REGDB_E_WRITEREGDB);
    EXPECT_EQ(second->CreateKey(Wide(u"Second"), 1), REGDB_E_KEYMISSING) << "no chain was opened";

    ASSERT_EQ(first->Close(), S_OK);
    ASSERT_EQ(second->OpenRoot(1, Wide(u"")), S_OK);
    EXPECT_EQ(Subkeys(second.Get()), std::vector<std::string>({"First"}));
    EXPECT_EQ(second->Close(), S_OK);
}

class RegistryFileTest : public RegistryTest {
protected:
    void ExpectRefusedAndUntouched(const std::string& content) {
        std::filesystem::create_directories(m_file.parent_path());
        WriteFile(m_file, content);
        Ref<COM_IRegistry> registry;
        EXPECT_EQ(Create(registry), REGDB_E_READREGDB);
        EXPECT_EQ(registry.Get(), nullptr);
        EXPECT_EQ(ReadFile(m_file), content);
        EXPECT_FALSE(std::filesystem::exists(m_file.string() + "-journal"));
    }
};

TEST_F(RegistryFileTest, AFileThatIsNotADatabaseStaysAsItWas) {
    ExpectRefusedAndUntouched("my notes, not a database\n");
    ExpectRefusedAndUntouched("x");  // too short for a header: SQLite alone would take it as empty
    ExpectRefusedAndUntouched(std::string("SQLite format 3\0", 16) + "cut short");
    ExpectRefusedAndUntouched(std::string(4096, '\0'));
}

TEST_F(RegistryFileTest, ADatabaseOfAnotherProgramStaysAsItWas) {
    std::filesystem::create_directories(m_file.parent_path());
    sqlite3* db = nullptr;
    ASSERT_EQ(sqlite3_open(m_file.c_str(), &db), SQLITE_OK);
    ASSERT_EQ(sqlite3_exec(db, "CREATE TABLE notes(text); INSERT INTO notes VALUES ('mine');", nullptr, nullptr,
                           nullptr),
              SQLITE_OK);
    sqlite3_close(db);
    ExpectRefusedAndUntouched(ReadFile(m_file));
}

TEST_F(RegistryFileTest, AnEmptyFileBecomesARegistry) {
    std::filesystem::create_directories(m_file.parent_path());
    WriteFile(m_file, "");
    Ref<COM_IRegistry> registry;
    EXPECT_EQ(Create(registry), S_OK);
}

TEST_F(RegistryFileTest, UnusablePathsAreReadErrors) {
    std::filesystem::create_directories(m_file);  // a folder where the file should be
    Ref<COM_IRegistry> registry;
    EXPECT_EQ(Create(registry), REGDB_E_READREGDB);

    WriteFile(m_folder.Path() / "plain", "x");
    ScopedEnv underAFile("KESTO_REGISTRY", (m_folder.Path() / "plain" / "registry.db").string());
    EXPECT_EQ(Create(registry), REGDB_E_READREGDB);
}

}  // namespace
