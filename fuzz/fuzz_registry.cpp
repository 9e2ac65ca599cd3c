// Sequences of registry and category operations on a scratch database, and
// registries edited by hand or damaged.
//
// An input that starts with kEditedMarker is a list of edits made behind the
// runtime's back to a small registry (names it never makes, keys moved into
// cycles or under a root's descendant, numbers beyond 32 bits, values of the wrong
// kind, a changed header, bytes overwritten anywhere); then the registry is
// opened, walked whole with OpenKey/OpenParent, read and changed. Whatever the
// file holds: nothing crashes or loops, every failure is a registry status with
// a reason, enumerations deliver what they count, and a refused file is not written.
//
// Any other input starts from a fresh file (KESTO_REGISTRY points into a private
// folder). Besides surviving any sequence, the registry keeps three promises that
// are checked here against a snapshot of the whole tree read back through the
// enumerators:
//   - a value read right after it was written is what was written;
//   - a chain ended by Close is committed whole, and a chain whose object is
//     released before Close leaves the file as the last commit left it;
//   - a file that is not a registry is refused and never written to.
// Enumerators count what they deliver, in sorted order, ending with S_FALSE/NULL.
#include <fcntl.h>
#include <sqlite3.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdlib>
#include <cstring>
#include <fstream>
#include <iterator>
#include <map>
#include <string>
#include <vector>

#include "FuzzSupport.h"
#include "kesto/registry.h"


namespace {

std::string g_folder;
std::string g_file;
std::string g_pristine;  // the small registry that edited inputs start from
constexpr uint8_t kEditedMarker = 0xD7;

struct Value {
    int kind = 0;
    Units text;
    int number = 0;
    bool operator==(const Value&) const = default;
};
// Full key path ("1\A\B") -> value name -> value.
using Snapshot = std::map<Units, std::map<Units, Value>>;

void RemoveScratchFiles() {
    for (const char* suffix : {"", "-journal", "-wal", "-shm"}) unlink((g_file + suffix).c_str());
}

// Names from a small set so that sequences meet the same keys again; sometimes a
// fuzzed name, which may hold separators and empty path components.
Units ConsumeName(FuzzedDataProvider& input) {
    static const char* const kNames[] = {"", "A", "B", "a", "CLSID", "A\\B", "B\\A", "\\", "A\\\\B", "x y"};
    unsigned char pick = input.ConsumeIntegral<unsigned char>();
    if (pick < 200) return W(kNames[pick % (sizeof(kNames) / sizeof(kNames[0]))]).units();
    return vantle::fuzz::ConsumeUnits(input, 12);
}

COM_GUID ConsumeGuid(FuzzedDataProvider& input) {
    COM_GUID guid{};
    guid.Data1 = input.ConsumeIntegralInRange<unsigned int>(0, 3);  // few categories, so they meet again
    guid.Data4[7] = input.ConsumeIntegralInRange<unsigned char>(0, 3);
    return guid;
}

kesto::Ref<COM_IRegistry> CreateRegistry() {
    kesto::Ref<COM_IRegistry> registry;
    HRESULT hr = COM_CreateInstance(COM_CLSID_Registry, nullptr, COM_IID_IRegistry, registry.out_void());
    if (FAILED(hr)) std::fprintf(stderr, "creating the registry at %s: 0x%08X\n", g_file.c_str(), static_cast<unsigned>(hr));
    FUZZ_CHECK(SUCCEEDED(hr) && registry, "the registry cannot be created");
    return registry;
}

std::vector<Units> Enumerate(COM_IRegistryEnum* names) {
    unsigned int count = 12345;
    FUZZ_CHECK(names->GetCount(&count) == S_OK, "GetCount failed");
    std::vector<Units> delivered;
    for (;;) {
        kesto::String name;
        HRESULT hr = names->Next(name.out());
        if (hr == S_FALSE) {
            FUZZ_CHECK(name.get() == nullptr, "the end of an enumeration came with a name");
            break;
        }
        FUZZ_CHECK(hr == S_OK, "Next failed");
        FUZZ_CHECK(delivered.size() < count, "an enumeration delivered more names than it counted");
        delivered.push_back(UnitsOf(name));
    }
    FUZZ_CHECK(delivered.size() == count, "an enumeration delivered fewer names than it counted");
    for (size_t i = 1; i < delivered.size(); ++i) {
        FUZZ_CHECK(delivered[i - 1] < delivered[i], "an enumeration is not sorted and unique");
    }
    return delivered;
}

// Reads the key at `path` below `root` and everything beneath it into `out`.
// Moves the current key; the caller decides what comes after.
void ReadTree(COM_IRegistry* registry, int root, const Units& path, Snapshot& out) {
    FUZZ_CHECK(registry->OpenRoot(root, path.c_str()) == S_OK, "a key seen in an enumeration cannot be opened");
    Units full = W(root == 1 ? "1" : "2").units();
    if (!path.empty()) full += Units(1, '\\') + path;
    std::map<Units, Value>& values = out[full];

    kesto::Ref<COM_IRegistryEnum> names;
    FUZZ_CHECK(registry->EnumValues(names.out()) == S_OK && names, "EnumValues failed");
    std::vector<Units> valueNames = Enumerate(names.get());
    for (const Units& name : valueNames) {
        Value value;
        FUZZ_CHECK(registry->GetValueKind(name.c_str(), &value.kind) == S_OK, "an enumerated value has no kind");
        if (value.kind == KESTO_REGISTRY_STRING) {
            kesto::String text;
            FUZZ_CHECK(registry->GetStringValue(name.c_str(), text.out()) == S_OK, "a string value cannot be read");
            value.text = UnitsOf(text);
        } else {
            FUZZ_CHECK(value.kind == KESTO_REGISTRY_INTEGER, "a value of an unknown kind");
            FUZZ_CHECK(registry->GetIntValue(name.c_str(), &value.number) == S_OK, "an integer value cannot be read");
        }
        values[name] = value;
    }

    kesto::Ref<COM_IRegistryEnum> subkeys;
    FUZZ_CHECK(registry->EnumSubkeys(subkeys.out()) == S_OK && subkeys, "EnumSubkeys failed");
    std::vector<Units> children = Enumerate(subkeys.get());
    for (const Units& child : children) {
        FUZZ_CHECK(!child.empty(), "a key with an empty name");
        ReadTree(registry, root, path.empty() ? child : path + Units(1, '\\') + child, out);
    }
}

Snapshot ReadEverything(COM_IRegistry* registry) {
    Snapshot snapshot;
    ReadTree(registry, 1, Units(), snapshot);
    ReadTree(registry, 2, Units(), snapshot);
    return snapshot;
}

// What a fresh object reads in a chain of its own.
Snapshot ReadCommitted() {
    kesto::Ref<COM_IRegistry> reader = CreateRegistry();
    Snapshot snapshot = ReadEverything(reader.get());
    FUZZ_CHECK(reader->Close() == S_OK, "closing a reading chain failed");
    return snapshot;
}

void CheckStoredValue(COM_IRegistry* registry, const Units& name, const Value& expected) {
    int kind = -1;
    FUZZ_CHECK(registry->GetValueKind(name.c_str(), &kind) == S_OK && kind == expected.kind,
               "a value just written has another kind");
    if (expected.kind == KESTO_REGISTRY_STRING) {
        kesto::String text;
        FUZZ_CHECK(registry->GetStringValue(name.c_str(), text.out()) == S_OK, "a string just written cannot be read");
        FUZZ_CHECK(UnitsOf(text) == expected.text, "a string value does not read back as written");
        int number = 0;
        FUZZ_CHECK(registry->GetIntValue(name.c_str(), &number) == REGDB_E_INVALIDVALUE,
                   "a string value read as an integer");
    } else {
        int number = ~expected.number;  // anything but the expected value
        FUZZ_CHECK(registry->GetIntValue(name.c_str(), &number) == S_OK && number == expected.number,
                   "an integer value does not read back as written");
    }
}

void RunCategoryOperation(FuzzedDataProvider& input) {
    kesto::Ref<COM_ICatRegister> categories;
    HRESULT hr = COM_CreateInstance(COM_CLSID_CategoryManager, nullptr, COM_IID_ICatRegister, categories.out_void());
    FUZZ_CHECK(SUCCEEDED(hr) && categories, "the category manager cannot be created");
    COM_GUID category = ConsumeGuid(input);
    COM_GUID clsid = ConsumeGuid(input);
    switch (input.ConsumeIntegralInRange<int>(0, 4)) {
        case 0: {
            Units description = vantle::fuzz::ConsumeUnits(input, 8);
            categories->RegisterCategory(category, input.ConsumeBool() ? nullptr : description.c_str());
            break;
        }
        case 1: categories->RegisterClassInCategory(&category, clsid); break;
        case 2: categories->UnregisterCategory(category); break;
        case 3: categories->UnregisterClassFromCategory(&category, clsid); break;
        default:
            FUZZ_CHECK(categories->RegisterClassInCategory(nullptr, clsid) == E_POINTER, "a NULL category");
            FUZZ_CHECK(categories->UnregisterClassFromCategory(nullptr, clsid) == E_POINTER, "a NULL category");
            break;
    }
}

std::string ReadFile(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
}


// --- Registries edited by hand or damaged.

// Keys 1..8 of the pristine registry: the roots, CLSID, {A}, InprocServer32,
// InstallCount, S, S\T.
void MakePristine() {
    RemoveScratchFiles();
    kesto::Ref<COM_IRegistry> registry = CreateRegistry();
    FUZZ_CHECK(registry->OpenRoot(1, W(u"")) == S_OK, "the pristine registry");
    registry->CreateKey(W(u"CLSID\\{A}\\InprocServer32"), 1);
    registry->SetStringValue(W(u""), W(u"liba.so"));
    registry->OpenRoot(1, W(u"CLSID\\{A}"));
    registry->CreateKey(W(u"InstallCount"), 1);
    registry->SetIntValue(W(u""), 1);
    registry->OpenRoot(2, W(u""));
    registry->CreateKey(W(u"S\\T"), 1);
    registry->SetStringValue(W(u"v"), W(u"text"));
    FUZZ_CHECK(registry->Close() == S_OK, "the pristine registry cannot be committed");
    g_pristine = ReadFile(g_file);
}

// Applies one edit (op, a, b) to the open database.
void Edit(sqlite3* db, uint8_t op, uint8_t a, uint8_t b) {
    static const long long kNumbers[] = {2147483647LL, -2147483647LL - 1, 2147483648LL, -2147483649LL,
                                         9223372036854775807LL, -9223372036854775807LL - 1, -1, 0};
    static const char* const kNames[] = {"", "\\", "a\\b", "\\a", "a\\", "CLSID", "Classes", "InprocServer32"};
    static const char* const kEdits[] = {
        "INSERT OR IGNORE INTO registry_keys(parent, name) VALUES (?1, ?3)",
        "UPDATE OR IGNORE registry_keys SET parent = ?2 WHERE id = ?1",
        "UPDATE OR IGNORE registry_keys SET name = ?3 WHERE id = ?1",
        "INSERT OR REPLACE INTO registry_values VALUES (?1, '', 2, ?4)",
        "INSERT OR REPLACE INTO registry_values VALUES (?1, ?3, 1, ?4)",  // a string value holding a number
        "INSERT OR IGNORE INTO registry_keys(id, parent, name) VALUES (?4, ?1, 'odd')",
        "INSERT OR IGNORE INTO registry_keys(parent, name) VALUES (?1, CAST(x'C0AFFF41' AS TEXT))",
        "INSERT OR IGNORE INTO registry_keys(parent, name) VALUES (?1, x'41')",
        "DELETE FROM registry_keys WHERE id = ?1",
        "UPDATE registry_keys SET parent = NULL WHERE id = ?1",
        "PRAGMA user_version = 2",
        "DELETE FROM registry_values WHERE key = ?1",
    };
    sqlite3_stmt* statement = nullptr;
    if (sqlite3_prepare_v2(db, kEdits[op % (sizeof kEdits / sizeof kEdits[0])], -1, &statement, nullptr) != SQLITE_OK)
        return;
    for (int i = 1; i <= sqlite3_bind_parameter_count(statement); ++i) {
        if (i == 1) sqlite3_bind_int64(statement, i, a % 10);
        if (i == 2) sqlite3_bind_int64(statement, i, b % 10);
        if (i == 3) sqlite3_bind_text(statement, i, kNames[b % 8], -1, SQLITE_STATIC);
        if (i == 4) sqlite3_bind_int64(statement, i, kNumbers[b % 8]);
    }
    sqlite3_step(statement);
    sqlite3_finalize(statement);
}

// A failure must be one of the registry's own, with its reason told.
void CheckFailure(HRESULT hr, const char* what) {
    if (SUCCEEDED(hr) || hr == REGDB_E_KEYMISSING || hr == E_INVALIDARG) return;
    if (hr != REGDB_E_READREGDB && hr != REGDB_E_WRITEREGDB && hr != REGDB_E_INVALIDVALUE && hr != E_OUTOFMEMORY) {
        std::fprintf(stderr, "%s: 0x%08X\n", what, static_cast<unsigned>(hr));
        FUZZ_CHECK(false, "a failure that is not the registry's");
    }
    HRESULT status = S_OK;
    FUZZ_CHECK(KESTO_RegistryLastError(&status, nullptr, 0) > 0 && status == hr, "a failure without its reason");
}

// Delivered names, as many as counted; sorted and unique only as stored text, so
// not checked here.
std::vector<Units> Names(COM_IRegistryEnum* names) {
    unsigned int count = 0;
    FUZZ_CHECK(names->GetCount(&count) == S_OK, "GetCount failed");
    std::vector<Units> delivered;
    kesto::String name;
    HRESULT hr;
    while ((hr = names->Next(name.out())) == S_OK) delivered.push_back(UnitsOf(name));
    FUZZ_CHECK(hr == S_FALSE && name.get() == nullptr && delivered.size() == count,
               "an enumeration delivered other than it counted");
    return delivered;
}

// Walks root `root` whole; returns the number of keys, or -1 after a failure.
long WalkEdited(COM_IRegistry* registry, int root) {
    HRESULT hr = registry->OpenRoot(root, W(u""));
    CheckFailure(hr, "OpenRoot");
    if (FAILED(hr)) return -1;
    std::vector<std::pair<std::vector<Units>, size_t>> levels;
    long keys = 0;
    for (bool enter = true;;) {
        if (enter) {
            kesto::Ref<COM_IRegistryEnum> values, subkeys;
            hr = registry->EnumValues(values.out());
            CheckFailure(hr, "EnumValues");
            if (FAILED(hr)) return -1;
            for (const Units& name : Names(values.get())) {
                int kind = 0, number = 0;
                kesto::String text;
                CheckFailure(registry->GetValueKind(name.c_str(), &kind), "GetValueKind");
                CheckFailure(registry->GetIntValue(name.c_str(), &number), "GetIntValue");
                CheckFailure(registry->GetStringValue(name.c_str(), text.out()), "GetStringValue");
            }
            hr = registry->EnumSubkeys(subkeys.out());
            CheckFailure(hr, "EnumSubkeys");
            if (FAILED(hr)) return -1;
            levels.emplace_back(Names(subkeys.get()), 0);
            FUZZ_CHECK(++keys < 100000, "the walk does not end");
        }
        auto& [children, next] = levels.back();
        if (next == children.size()) {
            levels.pop_back();
            if (levels.empty()) break;
            FUZZ_CHECK(registry->OpenParent() == S_OK, "a key entered has no parent");
            enter = false;
            continue;
        }
        const Units child = children[next++];
        enter = false;
        if (child.empty()) {
            FUZZ_CHECK(registry->OpenKey(child.c_str()) == E_INVALIDARG, "an empty name was followed");
            continue;
        }
        if (child.find(u'\\') != Units::npos) continue;  // OpenKey would take it for a path
        hr = registry->OpenKey(child.c_str());
        CheckFailure(hr, "OpenKey");
        enter = hr == S_OK;
    }
    FUZZ_CHECK(registry->OpenParent() == S_FALSE, "a root has a parent");
    return keys;
}

// The category manager on a registry that may be damaged: it works or fails with a reason.
void RunCategoryOperationOn(const COM_GUID& clsid) {
    kesto::Ref<COM_ICatRegister> categories;
    HRESULT hr = COM_CreateInstance(COM_CLSID_CategoryManager, nullptr, COM_IID_ICatRegister, categories.out_void());
    CheckFailure(hr, "creating the category manager");
    if (FAILED(hr)) return;
    const COM_GUID category = {0xC, 0, 0, {}};
    CheckFailure(categories->RegisterClassInCategory(&category, clsid), "RegisterClassInCategory");
    CheckFailure(categories->UnregisterClassFromCategory(&category, clsid), "UnregisterClassFromCategory");
}

void RunEdited(const uint8_t* data, size_t size) {
    RemoveScratchFiles();
    std::ofstream(g_file, std::ios::binary) << g_pristine;
    sqlite3* db = nullptr;
    if (sqlite3_open_v2(g_file.c_str(), &db, SQLITE_OPEN_READWRITE, nullptr) == SQLITE_OK) {
        sqlite3_exec(db, "PRAGMA ignore_check_constraints = 1", nullptr, nullptr, nullptr);
        for (size_t i = 0; i + 3 <= size; i += 3) {
            if (data[i] == 0xFF) continue;  // an overwritten byte, below
            Edit(db, data[i], data[i + 1], data[i + 2]);
        }
    }
    sqlite3_close(db);
    std::string file = ReadFile(g_file);
    for (size_t i = 0; i + 3 <= size; i += 3) {
        if (data[i] != 0xFF || file.empty()) continue;
        const size_t at = ((static_cast<size_t>(data[i + 1]) << 8) | data[i + 2]) * 31 % file.size();
        file[at] = static_cast<char>(file[at] ^ (data[i + 1] | 1));
    }
    std::ofstream(g_file, std::ios::binary | std::ios::trunc) << file;
    // Every input is a new version of the file, however fast they come.
    static long long version = 0;
    const timespec times[2] = {{0, UTIME_OMIT}, {1000000 + ++version, 0}};
    utimensat(AT_FDCWD, g_file.c_str(), times, 0);

    kesto::Ref<COM_IRegistry> registry;
    HRESULT hr = COM_CreateInstance(COM_CLSID_Registry, nullptr, COM_IID_IRegistry, registry.out_void());
    CheckFailure(hr, "creating the registry");
    if (FAILED(hr)) {
        FUZZ_CHECK(ReadFile(g_file) == file, "a refused registry was written");
        return;
    }
    WalkEdited(registry.get(), 1);
    WalkEdited(registry.get(), 2);
    // Changes work or fail with a reason, and a second object sees them.
    hr = registry->OpenRoot(1, W(u""));
    if (SUCCEEDED(hr)) hr = registry->DeleteKey(W(u"CLSID\\{A}"));
    CheckFailure(hr, "DeleteKey");
    if (SUCCEEDED(hr)) hr = registry->CreateKey(W(u"N\\M"), 1);
    CheckFailure(hr, "CreateKey");
    if (SUCCEEDED(hr)) CheckFailure(registry->SetIntValue(W(u""), 5), "SetIntValue");
    CheckFailure(registry->DeleteKey(W(u"")), "DeleteKey of empty keys");
    CheckFailure(registry->Close(), "Close");
    registry.reset();
    hr = COM_CreateInstance(COM_CLSID_Registry, nullptr, COM_IID_IRegistry, registry.out_void());
    CheckFailure(hr, "creating the registry again");
    if (SUCCEEDED(hr)) {
        WalkEdited(registry.get(), 1);
        registry->Close();
    }
    const COM_GUID classA = {0xA, 0, 0, {}};
    kesto::Ref<COM_IUnknown> object;
    COM_CreateInstance(classA, nullptr, COM_IID_IUnknown, object.out_void());
    RunCategoryOperationOn(classA);
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
    // Every input commits a few times; in memory that costs no disk flushes.
    const char* temp = std::getenv("TMPDIR");
    std::string base = temp != nullptr && *temp != 0 ? temp : access("/dev/shm", W_OK) == 0 ? "/dev/shm" : "/tmp";
    std::string pattern = base + "/vantle-fuzz-registry-XXXXXX";
    std::vector<char> folder(pattern.begin(), pattern.end());
    folder.push_back(0);
    FUZZ_CHECK(mkdtemp(folder.data()) != nullptr, "no scratch folder");
    g_folder = folder.data();
    g_file = g_folder + "/registry.db";
    setenv("KESTO_REGISTRY", g_file.c_str(), 1);
    setenv("KESTO_REGISTRY_BUSY_TIMEOUT_MS", "50", 1);
    std::atexit([] {
        RemoveScratchFiles();
        rmdir(g_folder.c_str());
    });
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    vantle::fuzz::LiveStringGuard strings;
    if (size > 0 && data[0] == kEditedMarker) {
        if (g_pristine.empty()) MakePristine();
        RunEdited(data + 1, size - 1);
        return 0;
    }
    FuzzedDataProvider input(data, size);
    RemoveScratchFiles();

    // Now and then the file is something else already; it must be refused, untouched.
    std::string foreign;
    if (input.ConsumeIntegralInRange<int>(0, 15) == 15) {
        foreign = input.ConsumeRandomLengthString(64);
        if (foreign.empty()) foreign = "not a registry";
        std::ofstream(g_file, std::ios::binary) << foreign;
        // The file is opened when the object is made, and refused there.
        kesto::Ref<COM_IRegistry> registry;
        HRESULT hr = COM_CreateInstance(COM_CLSID_Registry, nullptr, COM_IID_IRegistry, registry.out_void());
        FUZZ_CHECK(hr == REGDB_E_READREGDB && !registry, "a file that is not a registry was accepted");
        kesto::Ref<COM_ICatRegister> categories;
        hr = COM_CreateInstance(COM_CLSID_CategoryManager, nullptr, COM_IID_ICatRegister, categories.out_void());
        if (SUCCEEDED(hr)) {
            FUZZ_CHECK(FAILED(categories->RegisterCategory(ConsumeGuid(input), nullptr)),
                       "a category was registered in a file that is not a registry");
        }
        FUZZ_CHECK(ReadFile(g_file) == foreign, "a file that is not a registry was written");
        return 0;
    }
    Snapshot committed = ReadCommitted();
    kesto::Ref<COM_IRegistry> registry = CreateRegistry();
    bool chainOpen = false;

    for (int step = 0; step < 48 && input.remaining_bytes() > 0; ++step) {
        Units name = ConsumeName(input);
        HRESULT hr = S_OK;
        switch (input.ConsumeIntegralInRange<int>(0, 13)) {
            case 0:
                hr = registry->OpenRoot(input.ConsumeIntegralInRange<int>(0, 3), name.c_str());
                if (SUCCEEDED(hr)) chainOpen = true;
                break;
            case 1: {
                // Close commits exactly what the chain could see.
                Snapshot inChain;
                bool readable = chainOpen;
                if (readable) inChain = ReadEverything(registry.get());
                hr = registry->Close();
                FUZZ_CHECK(hr == S_OK, "Close failed");
                if (readable) {
                    committed = inChain;
                    FUZZ_CHECK(ReadCommitted() == committed, "a closed chain was not committed whole");
                }
                chainOpen = false;
                break;
            }
            case 2: hr = registry->OpenKey(name.c_str()); break;
            case 3: hr = registry->CreateKey(name.c_str(), input.ConsumeIntegralInRange<int>(0, 2)); break;
            case 4: hr = registry->DeleteKey(name.c_str()); break;
            case 5: {
                Units text = vantle::fuzz::ConsumeUnits(input, 16, true);
                bool nullValue = input.ConsumeIntegralInRange<int>(0, 7) == 0;
                hr = registry->SetStringValue(name.c_str(), nullValue ? nullptr : text.c_str());
                // The value is NUL-terminated text: an embedded NUL ends it.
                Value expected{KESTO_REGISTRY_STRING, nullValue ? Units() : Units(text.c_str()), 0};
                if (hr == S_OK) CheckStoredValue(registry.get(), name, expected);
                break;
            }
            case 6: {
                kesto::String text;
                hr = registry->GetStringValue(name.c_str(), text.out());
                if (hr != S_OK) FUZZ_CHECK(text.get() == nullptr, "a failed GetStringValue gave a string");
                break;
            }
            case 7: {
                Value expected{KESTO_REGISTRY_INTEGER, Units(), input.ConsumeIntegral<int>()};
                hr = registry->SetIntValue(name.c_str(), expected.number);
                if (hr == S_OK) CheckStoredValue(registry.get(), name, expected);
                break;
            }
            case 8: {
                int number = 0;
                hr = registry->GetIntValue(name.c_str(), &number);
                break;
            }
            case 9:
                hr = registry->DeleteValue(name.c_str());
                if (hr == S_OK) {
                    int kind = -1;
                    FUZZ_CHECK(registry->GetValueKind(name.c_str(), &kind) == S_FALSE && kind == KESTO_REGISTRY_NONE,
                               "a deleted value is still there");
                }
                break;
            case 10:
            case 11: {
                kesto::Ref<COM_IRegistryEnum> names;
                hr = input.ConsumeBool() ? registry->EnumSubkeys(names.out()) : registry->EnumValues(names.out());
                if (SUCCEEDED(hr)) {
                    FUZZ_CHECK(names, "an enumeration succeeded without an enumerator");
                    Enumerate(names.get());
                } else {
                    FUZZ_CHECK(!names, "a failed enumeration gave an enumerator");
                }
                break;
            }
            case 12:
                // Releasing before Close rolls the chain back.
                registry.reset();
                FUZZ_CHECK(ReadCommitted() == committed, "a released chain was not rolled back");
                registry = CreateRegistry();
                chainOpen = false;
                break;
            default:
                // The category manager works in transactions of its own, so it runs
                // only while no chain of ours holds the file.
                if (chainOpen) break;
                RunCategoryOperation(input);
                committed = ReadCommitted();
                break;
        }
        (void)hr;
    }
    registry.reset();
    FUZZ_CHECK(ReadCommitted() == committed, "the last chain was not rolled back");
    return 0;
}
