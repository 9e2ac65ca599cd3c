// The registry over files it did not write itself: content edited by hand (names
// it never makes, keys made into cycles, numbers outside 32 bits), damaged pages,
// files that cannot be written or may not grow (checked without root's rights even
// when the suite runs as root), and the reasons every failure gives; then the
// registration transaction that makes several chains one.
#include <gtest/gtest.h>
#include <grp.h>
#include <sqlite3.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <climits>
#include <csignal>
#include <filesystem>
#include <fstream>
#include <functional>
#include <thread>
#include <vector>

#include "RegistryTestSupport.h"
#include "StringBalanceTest.h"

namespace {

using namespace registry_test;
using Names = std::vector<std::string>;

// Runs SQL on the file behind the registry's back.
void Sql(const std::string& file, const std::string& statements) {
    sqlite3* db = nullptr;
    ASSERT_EQ(sqlite3_open_v2(file.c_str(), &db, SQLITE_OPEN_READWRITE, nullptr), SQLITE_OK);
    char* error = nullptr;
    EXPECT_EQ(sqlite3_exec(db, statements.c_str(), nullptr, nullptr, &error), SQLITE_OK)
        << statements << ": " << (error != nullptr ? error : "");
    sqlite3_free(error);
    sqlite3_close(db);
}

std::string LastError(HRESULT* status = nullptr) {
    char buffer[1024];
    unsigned long length = KESTO_RegistryLastError(status, buffer, sizeof buffer);
    return std::string(buffer, length < sizeof buffer ? length : 0);
}

Names Subkeys(COM_IRegistry* registry) {
    Names out;
    Ref<COM_IRegistryEnum> names;
    if (registry->EnumSubkeys(names.out()) != S_OK) return {"(failed)"};
    kesto::String name;
    while (names->Next(name.out()) == S_OK) out.push_back(Narrow(name));
    return out;
}

// Every key below root `root` reached with OpenKey and left with OpenParent, as
// "path" lines; names that cannot be opened by name are listed, not entered.
Names Walk(COM_IRegistry* registry, int root) {
    Names seen;
    EXPECT_EQ(registry->OpenRoot(root, W(u"")), S_OK);
    struct Level {
        Names children;
        std::size_t next = 0;
        std::string path;
    };
    std::vector<Level> levels{{Subkeys(registry), 0, ""}};
    while (!levels.empty() && seen.size() < 10000) {
        Level& level = levels.back();
        if (level.next == level.children.size()) {
            levels.pop_back();
            if (!levels.empty()) {
                EXPECT_EQ(registry->OpenParent(), S_OK);
            }
            continue;
        }
        const std::string child = level.children[level.next++];
        const std::string path = level.path + "\\" + child;
        seen.push_back(path);
        if (child.empty() || child.find('\\') != std::string::npos) continue;
        if (registry->OpenKey(W(child)) != S_OK) continue;
        levels.push_back({Subkeys(registry), 0, path});
    }
    EXPECT_EQ(registry->OpenParent(), S_FALSE) << "the walk ends at the root";
    return seen;
}

// Runs `checks` in a child process for which file permissions hold: as root, the
// child first becomes the unprivileged user and group 65534, to whom `folder` and
// everything in it are handed. `checks` returns what it found wrong, one per line;
// so does this, with the child's end if it did not exit normally.
std::string InUnprivilegedChild(const std::filesystem::path& folder, const std::function<std::string()>& checks) {
    constexpr uid_t kNobody = 65534;
    const bool root = geteuid() == 0;
    if (root) {
        if (chown(folder.c_str(), kNobody, kNobody) != 0) return "cannot hand the folder over";
        for (const auto& entry : std::filesystem::recursive_directory_iterator(folder))
            if (chown(entry.path().c_str(), kNobody, kNobody) != 0) return "cannot hand " + entry.path().string() + " over";
    }
    int channel[2];
    if (pipe(channel) != 0) return "no pipe";
    const pid_t child = fork();
    if (child == 0) {
        close(channel[0]);
        std::string found;
        if (root && (setgroups(0, nullptr) != 0 || setgid(kNobody) != 0 || setuid(kNobody) != 0 || geteuid() == 0))
            found = "cannot give up root";
        else
            found = checks();
        for (std::size_t at = 0; at < found.size();) {
            const ssize_t wrote = write(channel[1], found.data() + at, found.size() - at);
            if (wrote <= 0) break;
            at += static_cast<std::size_t>(wrote);
        }
        _exit(0);
    }
    close(channel[1]);
    std::string found;
    char buffer[512];
    for (ssize_t got; (got = read(channel[0], buffer, sizeof buffer)) > 0;) found.append(buffer, static_cast<std::size_t>(got));
    close(channel[0]);
    int status = 0;
    if (child < 0 || waitpid(child, &status, 0) != child || !WIFEXITED(status) || WEXITSTATUS(status) != 0)
        found += "the child did not exit normally\n";
    return found;
}

class RegistryDamageTest : public StringBalanceTest {
protected:
    void SetUp() override {
        Ref<COM_IRegistry> registry = OpenAt("");
        ASSERT_TRUE(registry);
        ASSERT_EQ(registry->CreateKey(W(u"CLSID\\{A}\\InprocServer32"), 1), S_OK);
        ASSERT_EQ(registry->SetStringValue(W(u""), W(u"liba.so")), S_OK);
        ASSERT_EQ(registry->Close(), S_OK);
    }

    TempFolder m_folder;
    std::string m_file = m_folder / "registry.db";
    ScopedEnv m_registryEnv{"KESTO_REGISTRY", m_file};
    ScopedEnv m_timeoutEnv{"KESTO_REGISTRY_BUSY_TIMEOUT_MS", std::string("100")};
};

TEST_F(RegistryDamageTest, ContentEditedByHandIsListedSafelyAndNeverFollowed) {
    // Keys 3, 4, 5 are CLSID, {A} and InprocServer32.
    struct Case {
        const char* what;
        const char* sql;
        Names classes;  // the walk of root 1
    };
    const Names tree = {"\\CLSID", "\\CLSID\\{A}", "\\CLSID\\{A}\\InprocServer32"};
    const Case cases[] = {
        {"an empty name under a root", "INSERT INTO registry_keys(parent, name) VALUES (1, '')",
         {"\\", "\\CLSID", "\\CLSID\\{A}", "\\CLSID\\{A}\\InprocServer32"}},
        {"an empty name under CLSID", "INSERT INTO registry_keys(parent, name) VALUES (3, '')",
         {"\\CLSID", "\\CLSID\\", "\\CLSID\\{A}", "\\CLSID\\{A}\\InprocServer32"}},
        {"a name holding the separator", "INSERT INTO registry_keys(parent, name) VALUES (3, 'x\\y')",
         {"\\CLSID", "\\CLSID\\x\\y", "\\CLSID\\{A}", "\\CLSID\\{A}\\InprocServer32"}},
        {"a root made a child of its own descendant", "UPDATE registry_keys SET parent = 5 WHERE id = 1", tree},
        {"a root made a child of the other root", "UPDATE registry_keys SET parent = 1 WHERE id = 2", tree},
        {"a key made its own parent", "UPDATE registry_keys SET parent = 5 WHERE id = 5",
         {"\\CLSID", "\\CLSID\\{A}"}},
        {"a key numbered 0, the number of no key", "INSERT INTO registry_keys(id, parent, name) VALUES (0, 3, 'zero')",
         tree},
        {"a name that is not text", "INSERT INTO registry_keys(parent, name) VALUES (3, x'41')", tree},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        const std::string copy = m_folder / "copy.db";
        std::filesystem::copy_file(m_file, copy, std::filesystem::copy_options::overwrite_existing);
        ScopedEnv registryEnv("KESTO_REGISTRY", copy);
        Sql(copy, c.sql);
        Ref<COM_IRegistry> registry;
        ASSERT_EQ(NewRegistry(registry), S_OK);
        EXPECT_EQ(Walk(registry.get(), 1), c.classes);
        EXPECT_EQ(Walk(registry.get(), 2), Names());
        EXPECT_EQ(registry->OpenRoot(1, W(u"CLSID")), S_OK);
        EXPECT_EQ(registry->OpenKey(W(u"")), E_INVALIDARG) << "an empty name is never followed";
        // Deleting below a key that a root now hangs from takes neither root.
        EXPECT_EQ(registry->DeleteKey(W(u"{A}")), S_OK);
        EXPECT_EQ(registry->OpenRoot(2, W(u"")), S_OK);
        EXPECT_EQ(registry->OpenRoot(1, W(u"")), S_OK);
        EXPECT_EQ(registry->Close(), S_OK);
    }
}

TEST_F(RegistryDamageTest, NumbersOutsideThirtyTwoBitsAreRefusedWithTheNumber) {
    Sql(m_file, "INSERT INTO registry_values VALUES (5, 'big', 2, 4294967296), (5, 'low', 2, -2147483649),"
                " (5, 'max', 2, 2147483647)");
    Ref<COM_IRegistry> registry = OpenAt("CLSID\\{A}\\InprocServer32");
    ASSERT_TRUE(registry);
    int number = 7;
    HRESULT status = S_OK;
    EXPECT_EQ(registry->GetIntValue(W(u"big"), &number), REGDB_E_INVALIDVALUE);
    EXPECT_NE(LastError(&status).find("4294967296"), std::string::npos);
    EXPECT_EQ(status, REGDB_E_INVALIDVALUE);
    EXPECT_EQ(registry->GetIntValue(W(u"low"), &number), REGDB_E_INVALIDVALUE);
    EXPECT_NE(LastError().find("-2147483649"), std::string::npos);
    EXPECT_EQ(number, 7) << "a refused number leaves the out argument alone";
    EXPECT_EQ(registry->GetIntValue(W(u"max"), &number), S_OK);
    EXPECT_EQ(number, INT_MAX);
}

TEST_F(RegistryDamageTest, ADamagedPageIsReportedAsDamageNeverAsAnEmptyRegistry) {
    // Each page in turn gets a page type SQLite does not know: the keys' table,
    // its index, the values.
    const std::string pristine = ReadFile(m_file);
    ASSERT_GE(pristine.size(), 4u * 4096);
    for (int page = 2; page <= 4; ++page) {
        SCOPED_TRACE("page " + std::to_string(page));
        std::string damaged = pristine;
        damaged[static_cast<std::size_t>(page - 1) * 4096] = '\x7F';
        WriteFile(m_file, damaged);
        Ref<COM_IRegistry> registry;
        EXPECT_EQ(NewRegistry(registry), REGDB_E_READREGDB);
        EXPECT_NE(LastError().find("damaged"), std::string::npos) << LastError();
        // A lookup says so as well, rather than "not registered".
        Ref<COM_IUnknown> object;
        const COM_GUID someClass = {0xA, 0, 0, {}};
        EXPECT_EQ(COM_CreateInstance(someClass, nullptr, COM_IID_IUnknown, object.out_void()), REGDB_E_READREGDB);
        EXPECT_EQ(ReadFile(m_file), damaged) << "a damaged file is left for repair, not written";
    }
    // A name changed in the keys' index only: every page is sound, but a lookup
    // through the index would no longer find CLSID.
    const std::size_t inIndex = pristine.find("CLSID", 2 * 4096);
    ASSERT_LT(inIndex, 3u * 4096) << "the index is the third page";
    std::string outOfStep = pristine;
    outOfStep[inIndex + 4] = 'E';
    WriteFile(m_file, outOfStep);
    Ref<COM_IRegistry> registry;
    EXPECT_EQ(NewRegistry(registry), REGDB_E_READREGDB);
    EXPECT_NE(LastError().find("damaged"), std::string::npos) << LastError();

    WriteFile(m_file, pristine);
    EXPECT_EQ(ValueAt("CLSID\\{A}\\InprocServer32"), "liba.so");
}

TEST_F(RegistryDamageTest, EveryFailureCarriesItsStatusAndTheRealReason) {
    // Another object holds the write lock longer than the wait allows.
    Ref<COM_IRegistry> holder = OpenAt("");
    ASSERT_TRUE(holder);
    Ref<COM_IRegistry> waiter;
    ASSERT_EQ(NewRegistry(waiter), S_OK);
    HRESULT status = S_OK;
    EXPECT_EQ(waiter->OpenRoot(1, W(u"")), REGDB_E_WRITEREGDB);
    EXPECT_NE(LastError(&status).find("locked"), std::string::npos) << LastError();
    EXPECT_EQ(status, REGDB_E_WRITEREGDB);
    holder.reset();

    WriteFile(m_folder / "other.db", "plain text, not a database");
    {
        ScopedEnv other("KESTO_REGISTRY", m_folder / "other.db");
        EXPECT_EQ(NewRegistry(waiter), REGDB_E_READREGDB);
        EXPECT_NE(LastError().find("not a registry"), std::string::npos) << LastError();
    }

    const std::string found = InUnprivilegedChild(m_folder.path, [&] {
        std::string wrong;
        const auto expect = [&](bool holds, const std::string& what) {
            if (!holds) wrong += what + ": " + LastError() + "\n";
        };
        chmod(m_file.c_str(), 0444);
        Ref<COM_IRegistry> reader = OpenAt("CLSID");
        expect(static_cast<bool>(reader), "a read-only registry still reads");
        if (reader) {
            expect(reader->CreateKey(W(u"new"), 1) == REGDB_E_WRITEREGDB, "a read-only registry refuses a key");
            expect(LastError().find("read-only") != std::string::npos, "and says it is read-only");
        }
        reader.reset();
        chmod(m_file.c_str(), 0644);

        const std::string locked = m_folder / "locked";
        mkdir(locked.c_str(), 0555);
        {
            ScopedEnv inLocked("KESTO_REGISTRY", locked + "/registry.db");
            Ref<COM_IRegistry> nowhere;
            expect(NewRegistry(nowhere) == REGDB_E_WRITEREGDB, "a registry that cannot be made cannot be written");
            expect(LastError().find("Permission denied") != std::string::npos, "and the system says why");
        }

        // A file that may not grow (as on a full disk): the write fails, says why,
        // and the registry holds what it held before, whole.
        signal(SIGXFSZ, SIG_IGN);
        const auto size = static_cast<rlim_t>(std::filesystem::file_size(m_file));
        const rlimit cap = {size, size};
        setrlimit(RLIMIT_FSIZE, &cap);
        Ref<COM_IRegistry> writer = OpenAt("CLSID");
        expect(static_cast<bool>(writer), "a registry that cannot grow still opens");
        if (writer) {
            expect(writer->CreateKey(W(u"{Big}"), 1) == S_OK, "a key that fits is made");
            const HRESULT hr = writer->SetStringValue(W(u"blob"), W(std::u16string(100000, u'x')));
            expect(hr == REGDB_E_WRITEREGDB, "a value the file has no room for is refused");
            expect(LastError().find("File too large") != std::string::npos, "with the system's reason");
        }
        writer.reset();
        expect(ValueAt("CLSID\\{A}\\InprocServer32") == "liba.so", "what was there is still there");
        expect(!ValueAt("CLSID\\{Big}", "blob"), "nothing of the refused value is");
        return wrong;
    });
    EXPECT_EQ(found, "");
}

TEST_F(RegistryDamageTest, ATransactionMakesEveryChainOfTheThreadOneAndRecordsTheModulesPath) {
    const std::string module = m_folder / "libmodule.so";
    WriteFile(module, "stands in for a module");
    for (int commit : {0, 1}) {
        SCOPED_TRACE(commit ? "committed" : "rolled back");
        ASSERT_EQ(KESTO_RegistryBeginTransaction(module.c_str()), S_OK);
        EXPECT_EQ(KESTO_RegistryBeginTransaction(nullptr), E_UNEXPECTED) << "one at a time";
        Ref<COM_IRegistry> registry = OpenAt("");
        ASSERT_TRUE(registry);
        ASSERT_EQ(registry->CreateKey(W(u"CLSID\\{B}\\InprocServer32"), 1), S_OK);
        ASSERT_EQ(registry->SetStringValue(W(u""), W(u"libmodule.so")), S_OK);
        ASSERT_EQ(registry->Close(), S_OK);
        // A chain released before Close goes back to where the transaction was.
        ASSERT_TRUE(registry = OpenAt(""));
        ASSERT_EQ(registry->CreateKey(W(u"dropped"), 1), S_OK);
        registry.reset();
        EXPECT_EQ(ValueAt("CLSID\\{B}\\InprocServer32", "Path"), std::filesystem::canonical(module).string());
        EXPECT_FALSE(KeyExists("dropped"));
        Ref<COM_ICatRegister> categories;
        ASSERT_EQ(COM_CreateInstance(COM_CLSID_CategoryManager, nullptr, COM_IID_ICatRegister, categories.out_void()),
                  S_OK);
        const COM_GUID category = {0xC, 0, 0, {}}, clsid = {0xB, 0, 0, {}};
        EXPECT_EQ(categories->RegisterClassInCategory(&category, clsid), S_OK);
        // Other threads wait for the transaction like for any chain.
        HRESULT elsewhere = S_OK;
        std::thread([&] {
            Ref<COM_IRegistry> other;
            elsewhere = NewRegistry(other);
            if (SUCCEEDED(elsewhere)) elsewhere = other->OpenRoot(1, W(u""));
        }).join();
        EXPECT_EQ(elsewhere, REGDB_E_WRITEREGDB);
        EXPECT_EQ(KESTO_RegistryEndTransaction(commit), S_OK);
        EXPECT_EQ(KeyExists("CLSID\\{B}\\InprocServer32"), commit == 1);
        EXPECT_EQ(KeyExists("CLSID\\{0000000B-0000-0000-0000-000000000000}\\Implemented Categories"), commit == 1);
    }
    EXPECT_EQ(KESTO_RegistryEndTransaction(1), E_UNEXPECTED) << "none open";
    // Only a server record that names the module gets its path.
    ASSERT_EQ(KESTO_RegistryBeginTransaction(module.c_str()), S_OK);
    Ref<COM_IRegistry> registry = OpenAt("");
    ASSERT_TRUE(registry);
    ASSERT_EQ(registry->CreateKey(W(u"CLSID\\{D}\\InprocServer32"), 1), S_OK);
    ASSERT_EQ(registry->SetStringValue(W(u""), W(u"libother.so")), S_OK);
    ASSERT_EQ(registry->OpenRoot(1, W(u"")), S_OK);
    ASSERT_EQ(registry->CreateKey(W(u"Elsewhere\\InprocServer32"), 1), S_OK);
    ASSERT_EQ(registry->SetStringValue(W(u""), W(u"libmodule.so")), S_OK);
    ASSERT_EQ(registry->Close(), S_OK);
    registry.reset();
    EXPECT_EQ(KESTO_RegistryEndTransaction(1), S_OK);
    EXPECT_EQ(ValueAt("CLSID\\{D}\\InprocServer32", "Path"), std::nullopt);
    EXPECT_EQ(ValueAt("Elsewhere\\InprocServer32", "Path"), std::nullopt);
}

}  // namespace
