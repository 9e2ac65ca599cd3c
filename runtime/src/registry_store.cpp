// The registry file: an SQLite database with one table of keys (a tree by parent
// id) and one of values.
#include "registry_store.h"

#include <sqlite3.h>
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <mutex>
#include <set>
#include <tuple>

#include "kesto/registry.h"
#include "registry_error.h"
#include "registry_path.h"

namespace kesto {
namespace {

// "KREG": marks a database as a registry, so that no other file is ever written.
constexpr int kApplicationId = 0x4B524547;
constexpr int kSchemaVersion = 1;
constexpr int kDefaultBusyTimeoutMs = 5000;

constexpr const char* kSchema =
    "CREATE TABLE registry_keys("
    "  id INTEGER PRIMARY KEY,"
    "  parent INTEGER,"
    "  name TEXT NOT NULL,"
    "  UNIQUE(parent, name));"
    "CREATE TABLE registry_values("
    "  key INTEGER NOT NULL,"
    "  name TEXT NOT NULL,"
    "  kind INTEGER NOT NULL,"
    "  data NOT NULL,"
    "  CHECK((kind = 1 AND typeof(data) = 'text') OR (kind = 2 AND typeof(data) = 'integer')),"
    "  PRIMARY KEY(key, name)) WITHOUT ROWID;"
    "INSERT INTO registry_keys(id, parent, name) VALUES (1, NULL, 'Classes'), (2, NULL, 'Settings');"
    "PRAGMA application_id = 1263682887;"
    "PRAGMA user_version = 1;";
static_assert(kApplicationId == 1263682887, "the schema text spells the application id");

// Ids that are never anyone's child: the roots, and 0, which stands for no key.
#define KESTO_NOT_A_CHILD "(0, 1, 2)"

int BusyTimeoutMs() {
    const char* text = std::getenv("KESTO_REGISTRY_BUSY_TIMEOUT_MS");
    if (text == nullptr || *text == '\0') return kDefaultBusyTimeoutMs;
    char* end = nullptr;
    long value = std::strtol(text, &end, 10);
    if (*end != '\0' || value < 0) return kDefaultBusyTimeoutMs;
    return value > 600000 ? 600000 : static_cast<int>(value);
}

// The test hook of kesto/diagnostics.h: the process dies right after its Nth
// change, with its transaction still open, as a process killed by a user would.
void CountChangeForKillHook() {
    static const long killAt = [] {
        const char* text = std::getenv("KESTO_REGISTRY_KILL_AT_CHANGE");
        return text == nullptr ? 0L : std::strtol(text, nullptr, 10);
    }();
    static std::atomic<long> changes{0};
    if (killAt > 0 && ++changes == killAt) std::raise(SIGKILL);
}

std::string SystemReason(int error) { return error == 0 ? std::string() : std::string(": ") + std::strerror(error); }

// Versions of files (device, inode, size, change time) that passed the quick
// check in this process: a file is checked again only after it changed.
using FileVersion = std::tuple<dev_t, ino_t, off_t, long long, long long>;

bool FileVersionOf(const std::string& path, FileVersion* version) {
    struct stat status;
    if (stat(path.c_str(), &status) != 0) return false;
    *version = {status.st_dev, status.st_ino, status.st_size, static_cast<long long>(status.st_mtim.tv_sec),
                static_cast<long long>(status.st_mtim.tv_nsec)};
    return true;
}

std::mutex& CheckedLock() {
    static std::mutex lock;
    return lock;
}

std::set<FileVersion>& CheckedVersions() {
    static std::set<FileVersion> versions;
    return versions;
}

}  // namespace

class RegistryStore::Statement {
public:
    Statement(sqlite3* db, const char* sql) : m_rc(sqlite3_prepare_v2(db, sql, -1, &m_stmt, nullptr)) {}
    ~Statement() { sqlite3_finalize(m_stmt); }
    Statement(const Statement&) = delete;
    Statement& operator=(const Statement&) = delete;

    // SQLITE_OK, or the error of preparing or binding.
    int Status() const { return m_rc; }
    Statement& Bind(int index, long long value) {
        if (m_rc == SQLITE_OK) m_rc = sqlite3_bind_int64(m_stmt, index, value);
        return *this;
    }
    Statement& Bind(int index, const std::string& text) {
        if (m_rc == SQLITE_OK)
            m_rc = sqlite3_bind_text(m_stmt, index, text.data(), static_cast<int>(text.size()), SQLITE_TRANSIENT);
        return *this;
    }
    // SQLITE_ROW, SQLITE_DONE or an error.
    int Step() { return m_rc == SQLITE_OK ? sqlite3_step(m_stmt) : m_rc; }
    long long Integer(int column) const { return sqlite3_column_int64(m_stmt, column); }
    std::string Text(int column) const {
        const unsigned char* text = sqlite3_column_text(m_stmt, column);
        int size = sqlite3_column_bytes(m_stmt, column);
        return text == nullptr ? std::string() : std::string(reinterpret_cast<const char*>(text), size);
    }
    int Type(int column) const { return sqlite3_column_type(m_stmt, column); }

private:
    sqlite3_stmt* m_stmt = nullptr;
    int m_rc;
};

namespace {

// SQLite takes a file too short to hold its header (a single byte, say) for an
// empty database and writes a new one over it. Anything that is not empty must
// therefore start with the database header before SQLite may open it.
bool IsEmptyOrDatabase(const std::string& path) {
    static const char kHeader[16] = {'S', 'Q', 'L', 'i', 't', 'e', ' ', 'f', 'o', 'r', 'm', 'a', 't', ' ', '3', 0};
    std::ifstream file(path, std::ios::binary);
    if (!file) return true;  // missing: made on first use; unreadable: SQLite says why
    char header[sizeof kHeader] = {};
    file.read(header, sizeof header);
    if (file.gcount() == 0) return true;
    return file.gcount() == sizeof header && std::memcmp(header, kHeader, sizeof header) == 0;
}

}  // namespace

HRESULT RegistryStore::Open(const std::string& path, OpenMode mode, std::unique_ptr<RegistryStore>* out) {
    out->reset();
    if (path.empty()) {
        SetRegistryError(REGDB_E_READREGDB,
                         "no place for the registry file: set KESTO_REGISTRY, XDG_DATA_HOME or HOME");
        return REGDB_E_READREGDB;
    }
    int flags = SQLITE_OPEN_READWRITE;
    struct stat status;
    const bool existed = stat(path.c_str(), &status) == 0;
    const int statError = errno;
    if (mode == OpenMode::kExisting) {
        if (!existed) {
            if (statError == ENOENT) return S_FALSE;
            SetRegistryError(REGDB_E_READREGDB, path + SystemReason(statError));
            return REGDB_E_READREGDB;
        }
    } else {
        if (!MakeParentFolders(path)) {
            SetRegistryError(REGDB_E_WRITEREGDB, path + ": its folder cannot be made" + SystemReason(errno));
            return REGDB_E_WRITEREGDB;
        }
        flags |= SQLITE_OPEN_CREATE;
    }
    if (!IsEmptyOrDatabase(path)) {
        SetRegistryError(REGDB_E_READREGDB, path + ": not a registry (the file is not an SQLite database)");
        return REGDB_E_READREGDB;
    }
    sqlite3* db = nullptr;
    int rc = sqlite3_open_v2(path.c_str(), &db, flags, nullptr);
    if (rc != SQLITE_OK) {
        int error = db != nullptr ? sqlite3_system_errno(db) : 0;
        // SQLite's own errno is of its last attempt, not of the folder that refused.
        const std::string::size_type slash = path.find_last_of('/');
        const std::string folder = slash == std::string::npos ? "." : slash == 0 ? "/" : path.substr(0, slash);
        if (!existed && access(folder.c_str(), W_OK | X_OK) != 0) error = errno;
        // A registry that cannot be made (a read-only folder, say) is a failure to
        // write, not to read.
        const HRESULT hr = rc == SQLITE_NOMEM ? E_OUTOFMEMORY : existed ? REGDB_E_READREGDB : REGDB_E_WRITEREGDB;
        SetRegistryError(hr, path + (existed ? ": cannot be opened: " : ": cannot be made: ") +
                                 (db != nullptr ? sqlite3_errmsg(db) : sqlite3_errstr(rc)) + SystemReason(error));
        sqlite3_close_v2(db);
        return hr;
    }
    sqlite3_busy_timeout(db, BusyTimeoutMs());
    sqlite3_extended_result_codes(db, 1);
    std::unique_ptr<RegistryStore> store(new RegistryStore(db, path));
    HRESULT hr = store->PrepareSchema(mode);
    if (hr != S_OK) return hr;
    *out = std::move(store);
    return S_OK;
}

RegistryStore::~RegistryStore() {
    if (InTransaction()) sqlite3_exec(m_db, "ROLLBACK", nullptr, nullptr, nullptr);
    sqlite3_close_v2(m_db);
}

HRESULT RegistryStore::Failure(int rc, HRESULT usual) {
    if (rc == SQLITE_NOMEM) {
        SetRegistryError(E_OUTOFMEMORY, m_path + ": out of memory");
        return E_OUTOFMEMORY;
    }
    HRESULT hr = usual;
    const char* cause = nullptr;
    switch (rc & 0xFF) {
        case SQLITE_CORRUPT:
        case SQLITE_NOTADB:
            hr = REGDB_E_READREGDB;
            cause = "the registry file is damaged";
            break;
        case SQLITE_BUSY:
        case SQLITE_LOCKED:
            hr = REGDB_E_WRITEREGDB;
            cause = "another process kept the registry locked longer than KESTO_REGISTRY_BUSY_TIMEOUT_MS allows";
            break;
        case SQLITE_FULL: hr = REGDB_E_WRITEREGDB; cause = "the disk is full"; break;
        case SQLITE_READONLY: hr = REGDB_E_WRITEREGDB; cause = "the registry file or its folder is read-only"; break;
        case SQLITE_CANTOPEN: cause = "a file of the registry cannot be opened"; break;
        case SQLITE_IOERR: cause = "reading or writing the registry file failed"; break;
        default: break;
    }
    std::string reason = m_path + ": ";
    if (cause != nullptr) reason += std::string(cause) + ": ";
    reason += sqlite3_errmsg(m_db);
    reason += SystemReason(sqlite3_system_errno(m_db));
    reason += " (SQLite " + std::to_string(rc) + ")";
    SetRegistryError(hr, std::move(reason));
    return hr;
}

HRESULT RegistryStore::ReadFailure(int rc) { return Failure(rc, REGDB_E_READREGDB); }

HRESULT RegistryStore::WriteFailure(int rc) { return Failure(rc, REGDB_E_WRITEREGDB); }

RegistryStore::KeyId RegistryStore::RootKey(int root) { return root == 1 || root == 2 ? root : kNoKey; }

HRESULT RegistryStore::Execute(const char* sql, HRESULT onError) {
    int rc = sqlite3_exec(m_db, sql, nullptr, nullptr, nullptr);
    if (rc == SQLITE_OK) return S_OK;
    return Failure(rc, onError);
}

HRESULT RegistryStore::PrepareSchema(OpenMode mode) {
    // Only the header is read until the file is known to be ours.
    auto readHeader = [this](long long* applicationId, long long* version, long long* objects) {
        Statement query(m_db,
                        "SELECT (SELECT application_id FROM pragma_application_id),"
                        "       (SELECT user_version FROM pragma_user_version),"
                        "       (SELECT count(*) FROM sqlite_master)");
        int rc = query.Step();
        if (rc != SQLITE_ROW) return ReadFailure(rc);
        *applicationId = query.Integer(0);
        *version = query.Integer(1);
        *objects = query.Integer(2);
        return S_OK;
    };
    long long applicationId = 0, version = 0, objects = 0;
    HRESULT hr = readHeader(&applicationId, &version, &objects);
    if (FAILED(hr)) return hr;
    if (applicationId == kApplicationId) {
        if (version <= kSchemaVersion) return CheckIntegrity();
        SetRegistryError(REGDB_E_READREGDB,
                         m_path + ": a registry of a newer version (" + std::to_string(version) + ")");
        return REGDB_E_READREGDB;
    }
    if (applicationId != 0 || objects != 0) {
        SetRegistryError(REGDB_E_READREGDB, m_path + ": not a registry (an SQLite database of another program)");
        return REGDB_E_READREGDB;
    }
    if (mode == OpenMode::kExisting) return S_FALSE;

    // Several processes may find the same new file; the first one to get the
    // write lock makes the schema, the others then find it made.
    hr = Begin();
    if (FAILED(hr)) return hr;
    hr = readHeader(&applicationId, &version, &objects);
    if (SUCCEEDED(hr) && applicationId == 0 && objects == 0) hr = Execute(kSchema, REGDB_E_WRITEREGDB);
    else if (SUCCEEDED(hr) && applicationId != kApplicationId) {
        SetRegistryError(REGDB_E_READREGDB, m_path + ": not a registry (an SQLite database of another program)");
        hr = REGDB_E_READREGDB;
    }
    if (FAILED(hr)) {
        Rollback();
        return hr;
    }
    return Commit();
}

HRESULT RegistryStore::CheckIntegrity() {
    FileVersion version;
    const bool known = FileVersionOf(m_path, &version);
    if (known) {
        std::lock_guard<std::mutex> guard(CheckedLock());
        if (CheckedVersions().count(version) != 0) return S_OK;
    }
    // The full check: a quick check passes an index that no longer matches its
    // table, and lookups through such an index answer wrongly without an error.
    Statement check(m_db, "PRAGMA integrity_check(3)");
    std::string findings;
    int rc;
    while ((rc = check.Step()) == SQLITE_ROW) {
        std::string line = check.Text(0);
        if (line == "ok") continue;
        findings += findings.empty() ? line : "; " + line;
    }
    if (rc != SQLITE_DONE) return ReadFailure(rc);
    if (!findings.empty()) {
        SetRegistryError(REGDB_E_READREGDB, m_path + ": the registry file is damaged: " + findings);
        return REGDB_E_READREGDB;
    }
    if (known) {
        std::lock_guard<std::mutex> guard(CheckedLock());
        CheckedVersions().insert(version);
    }
    return S_OK;
}

bool RegistryStore::IsReadOnly() const { return sqlite3_db_readonly(m_db, "main") == 1; }

HRESULT RegistryStore::Begin() {
    if (m_outer) {
        if (!InTransaction()) {
            SetRegistryError(REGDB_E_WRITEREGDB,
                             m_path + ": the registration's transaction was lost after an earlier failure");
            return REGDB_E_WRITEREGDB;
        }
        HRESULT hr = Execute("SAVEPOINT registry_chain", REGDB_E_WRITEREGDB);
        if (SUCCEEDED(hr)) ++m_savepoints;
        return hr;
    }
    return Execute(IsReadOnly() ? "BEGIN DEFERRED" : "BEGIN IMMEDIATE", REGDB_E_WRITEREGDB);
}

HRESULT RegistryStore::BeginRead() { return Execute("BEGIN DEFERRED", REGDB_E_READREGDB); }

HRESULT RegistryStore::Commit() {
    if (!InTransaction()) {
        SetRegistryError(REGDB_E_WRITEREGDB, m_path + ": the transaction was lost after an earlier failure");
        return REGDB_E_WRITEREGDB;
    }
    if (m_outer) {
        if (m_savepoints == 0) return S_OK;
        --m_savepoints;
        return Execute("RELEASE registry_chain", REGDB_E_WRITEREGDB);
    }
    HRESULT hr = Execute("COMMIT", REGDB_E_WRITEREGDB);
    if (FAILED(hr)) Rollback();
    return hr;
}

void RegistryStore::Rollback() {
    if (!InTransaction()) return;
    if (!m_outer) {
        sqlite3_exec(m_db, "ROLLBACK", nullptr, nullptr, nullptr);
        return;
    }
    if (m_savepoints == 0) return;  // only EndOuter ends the outer transaction
    --m_savepoints;
    sqlite3_exec(m_db, "ROLLBACK TO registry_chain", nullptr, nullptr, nullptr);
    sqlite3_exec(m_db, "RELEASE registry_chain", nullptr, nullptr, nullptr);
}

HRESULT RegistryStore::BeginOuter() {
    if (m_outer || InTransaction()) return E_UNEXPECTED;
    HRESULT hr = Execute(IsReadOnly() ? "BEGIN DEFERRED" : "BEGIN IMMEDIATE", REGDB_E_WRITEREGDB);
    if (SUCCEEDED(hr)) {
        m_outer = true;
        m_savepoints = 0;
    }
    return hr;
}

HRESULT RegistryStore::EndOuter(bool commit) {
    if (!m_outer) return E_UNEXPECTED;
    m_outer = false;
    m_savepoints = 0;
    if (!commit) {
        if (InTransaction()) sqlite3_exec(m_db, "ROLLBACK", nullptr, nullptr, nullptr);
        return S_OK;
    }
    return Commit();
}

bool RegistryStore::InTransaction() const { return sqlite3_get_autocommit(m_db) == 0; }

template <typename Change>
HRESULT RegistryStore::Atomically(Change change) {
    HRESULT hr = Execute("SAVEPOINT registry_change", REGDB_E_WRITEREGDB);
    if (FAILED(hr)) return hr;
    hr = change();
    if (FAILED(hr)) {
        // After an I/O error SQLite may have rolled back everything already.
        sqlite3_exec(m_db, "ROLLBACK TO registry_change", nullptr, nullptr, nullptr);
        sqlite3_exec(m_db, "RELEASE registry_change", nullptr, nullptr, nullptr);
        return hr;
    }
    HRESULT released = Execute("RELEASE registry_change", REGDB_E_WRITEREGDB);
    if (FAILED(released)) return released;
    CountChangeForKillHook();
    return hr;
}

HRESULT RegistryStore::FindChild(KeyId parent, const std::string& name, KeyId* child) {
    *child = kNoKey;
    Statement query(m_db,
                    "SELECT id FROM registry_keys WHERE parent = ?1 AND name = ?2 AND id NOT IN " KESTO_NOT_A_CHILD);
    int rc = query.Bind(1, parent).Bind(2, name).Step();
    if (rc == SQLITE_DONE) return S_FALSE;
    if (rc != SQLITE_ROW) return ReadFailure(rc);
    *child = query.Integer(0);
    return S_OK;
}

HRESULT RegistryStore::CreateChild(KeyId parent, const std::string& name, KeyId* child) {
    HRESULT hr = FindChild(parent, name, child);
    if (hr != S_FALSE) return hr;
    return Atomically([&]() -> HRESULT {
        Statement insert(m_db, "INSERT INTO registry_keys(parent, name) VALUES (?1, ?2)");
        int rc = insert.Bind(1, parent).Bind(2, name).Step();
        if (rc != SQLITE_DONE) return WriteFailure(rc);
        *child = sqlite3_last_insert_rowid(m_db);
        return S_OK;
    });
}

HRESULT RegistryStore::DeleteTree(KeyId key) {
    if (key == kNoKey || RootKey(static_cast<int>(key)) == key) return E_INVALIDARG;
    return Atomically([&]() -> HRESULT {
        static const char* const kDeletes[] = {
            "WITH RECURSIVE tree(id) AS (SELECT ?1 UNION"
            "  SELECT k.id FROM registry_keys k JOIN tree t ON k.parent = t.id"
            "  WHERE k.id NOT IN " KESTO_NOT_A_CHILD ")"
            " DELETE FROM registry_values WHERE key IN tree",
            "WITH RECURSIVE tree(id) AS (SELECT ?1 UNION"
            "  SELECT k.id FROM registry_keys k JOIN tree t ON k.parent = t.id"
            "  WHERE k.id NOT IN " KESTO_NOT_A_CHILD ")"
            " DELETE FROM registry_keys WHERE id IN tree",
        };
        for (const char* sql : kDeletes) {
            Statement erase(m_db, sql);
            int rc = erase.Bind(1, key).Step();
            if (rc != SQLITE_DONE) return WriteFailure(rc);
        }
        return S_OK;
    });
}

HRESULT RegistryStore::DeleteEmptyChildren(KeyId parent) {
    return Atomically([&]() -> HRESULT {
        Statement erase(m_db,
                        "DELETE FROM registry_keys WHERE parent = ?1 AND id NOT IN " KESTO_NOT_A_CHILD
                        " AND NOT EXISTS (SELECT 1 FROM registry_keys c WHERE c.parent = registry_keys.id"
                        "                 AND c.id NOT IN " KESTO_NOT_A_CHILD ")"
                        " AND NOT EXISTS (SELECT 1 FROM registry_values v WHERE v.key = registry_keys.id)");
        int rc = erase.Bind(1, parent).Step();
        return rc == SQLITE_DONE ? S_OK : WriteFailure(rc);
    });
}

HRESULT RegistryStore::IsEmpty(KeyId key) {
    Statement query(m_db,
                    "SELECT EXISTS (SELECT 1 FROM registry_keys WHERE parent = ?1 AND id NOT IN " KESTO_NOT_A_CHILD ")"
                    "    OR EXISTS (SELECT 1 FROM registry_values WHERE key = ?1)");
    int rc = query.Bind(1, key).Step();
    if (rc != SQLITE_ROW) return ReadFailure(rc);
    return query.Integer(0) == 0 ? S_OK : S_FALSE;
}

HRESULT RegistryStore::ChildNames(KeyId parent, std::vector<std::string>* names) {
    // A name that is not text (a file edited by hand) could never be looked up.
    return SelectNames("SELECT name FROM registry_keys WHERE parent = ?1 AND id NOT IN " KESTO_NOT_A_CHILD
                       " AND typeof(name) = 'text' ORDER BY name",
                       parent, names);
}

HRESULT RegistryStore::ValueNames(KeyId key, std::vector<std::string>* names) {
    return SelectNames("SELECT name FROM registry_values WHERE key = ?1 AND typeof(name) = 'text' ORDER BY name", key,
                       names);
}

HRESULT RegistryStore::Parent(KeyId key, KeyId* parent) {
    *parent = kNoKey;
    if (RootKey(static_cast<int>(key)) == key) return S_FALSE;
    Statement query(m_db, "SELECT parent FROM registry_keys WHERE id = ?1");
    int rc = query.Bind(1, key).Step();
    if (rc == SQLITE_DONE) return S_FALSE;
    if (rc != SQLITE_ROW) return ReadFailure(rc);
    *parent = query.Integer(0);
    return *parent == kNoKey ? S_FALSE : S_OK;
}

HRESULT RegistryStore::IsServerKey(KeyId key) {
    Statement query(m_db,
                    "SELECT 1 FROM registry_keys k JOIN registry_keys c ON c.id = k.parent"
                    " JOIN registry_keys l ON l.id = c.parent"
                    " WHERE k.id = ?1 AND k.name = 'InprocServer32' AND l.name = 'CLSID' AND l.parent = 1");
    int rc = query.Bind(1, key).Step();
    if (rc == SQLITE_DONE) return S_FALSE;
    return rc == SQLITE_ROW ? S_OK : ReadFailure(rc);
}

HRESULT RegistryStore::SelectNames(const char* sql, KeyId id, std::vector<std::string>* names) {
    names->clear();
    Statement query(m_db, sql);
    query.Bind(1, id);
    int rc;
    while ((rc = query.Step()) == SQLITE_ROW) names->push_back(query.Text(0));
    return rc == SQLITE_DONE ? S_OK : ReadFailure(rc);
}

HRESULT RegistryStore::GetValue(KeyId key, const std::string& name, Value* value) {
    *value = Value();
    Statement query(m_db, "SELECT kind, data FROM registry_values WHERE key = ?1 AND name = ?2");
    int rc = query.Bind(1, key).Bind(2, name).Step();
    if (rc == SQLITE_DONE) return S_FALSE;
    if (rc != SQLITE_ROW) return ReadFailure(rc);
    long long kind = query.Integer(0);
    if (kind == KESTO_REGISTRY_STRING && query.Type(1) == SQLITE_TEXT) {
        value->kind = KESTO_REGISTRY_STRING;
        value->text = query.Text(1);
    } else if (kind == KESTO_REGISTRY_INTEGER && query.Type(1) == SQLITE_INTEGER) {
        value->kind = KESTO_REGISTRY_INTEGER;
        value->number = query.Integer(1);
    } else {
        SetRegistryError(REGDB_E_INVALIDVALUE,
                         m_path + ": the value \"" + name + "\" holds data of another kind than it is marked with");
        return REGDB_E_INVALIDVALUE;
    }
    return S_OK;
}

HRESULT RegistryStore::SetString(KeyId key, const std::string& name, const std::string& text) {
    return Atomically([&]() -> HRESULT {
        Statement upsert(m_db,
                         "INSERT INTO registry_values(key, name, kind, data) VALUES (?1, ?2, 1, ?3)"
                         " ON CONFLICT(key, name) DO UPDATE SET kind = excluded.kind, data = excluded.data");
        int rc = upsert.Bind(1, key).Bind(2, name).Bind(3, text).Step();
        return rc == SQLITE_DONE ? S_OK : WriteFailure(rc);
    });
}

HRESULT RegistryStore::SetInteger(KeyId key, const std::string& name, long long number) {
    return Atomically([&]() -> HRESULT {
        Statement upsert(m_db,
                         "INSERT INTO registry_values(key, name, kind, data) VALUES (?1, ?2, 2, ?3)"
                         " ON CONFLICT(key, name) DO UPDATE SET kind = excluded.kind, data = excluded.data");
        int rc = upsert.Bind(1, key).Bind(2, name).Bind(3, number).Step();
        return rc == SQLITE_DONE ? S_OK : WriteFailure(rc);
    });
}

HRESULT RegistryStore::DeleteValue(KeyId key, const std::string& name) {
    int deleted = 0;
    HRESULT hr = Atomically([&]() -> HRESULT {
        Statement erase(m_db, "DELETE FROM registry_values WHERE key = ?1 AND name = ?2");
        int rc = erase.Bind(1, key).Bind(2, name).Step();
        deleted = sqlite3_changes(m_db);
        return rc == SQLITE_DONE ? S_OK : WriteFailure(rc);
    });
    if (FAILED(hr)) return hr;
    return deleted == 0 ? S_FALSE : S_OK;
}

}  // namespace kesto
