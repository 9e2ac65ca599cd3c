// The registry file: an SQLite database with one table of keys (a tree by parent
// id) and one of values.
#include "registry_store.h"

#include <sqlite3.h>
#include <sys/stat.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <fstream>

#include "kesto/registry.h"
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

HRESULT ReadFailure(int rc) { return rc == SQLITE_NOMEM ? E_OUTOFMEMORY : REGDB_E_READREGDB; }
HRESULT WriteFailure(int rc) { return rc == SQLITE_NOMEM ? E_OUTOFMEMORY : REGDB_E_WRITEREGDB; }

int BusyTimeoutMs() {
    const char* text = std::getenv("KESTO_REGISTRY_BUSY_TIMEOUT_MS");
    if (text == nullptr || *text == '\0') return kDefaultBusyTimeoutMs;
    char* end = nullptr;
    long value = std::strtol(text, &end, 10);
    if (*end != '\0' || value < 0) return kDefaultBusyTimeoutMs;
    return value > 600000 ? 600000 : static_cast<int>(value);
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
    if (path.empty()) return REGDB_E_READREGDB;
    int flags = SQLITE_OPEN_READWRITE;
    if (mode == OpenMode::kExisting) {
        struct stat status;
        if (stat(path.c_str(), &status) != 0) return errno == ENOENT ? S_FALSE : REGDB_E_READREGDB;
    } else {
        if (!MakeParentFolders(path)) return REGDB_E_READREGDB;
        flags |= SQLITE_OPEN_CREATE;
    }
    if (!IsEmptyOrDatabase(path)) return REGDB_E_READREGDB;
    sqlite3* db = nullptr;
    int rc = sqlite3_open_v2(path.c_str(), &db, flags, nullptr);
    if (rc != SQLITE_OK) {
        sqlite3_close_v2(db);
        return ReadFailure(rc);
    }
    sqlite3_busy_timeout(db, BusyTimeoutMs());
    std::unique_ptr<RegistryStore> store(new RegistryStore(db));
    HRESULT hr = store->PrepareSchema(mode);
    if (hr != S_OK) return hr;
    *out = std::move(store);
    return S_OK;
}

RegistryStore::~RegistryStore() {
    Rollback();
    sqlite3_close_v2(m_db);
}

RegistryStore::KeyId RegistryStore::RootKey(int root) { return root == 1 || root == 2 ? root : kNoKey; }

HRESULT RegistryStore::Execute(const char* sql, HRESULT onError) {
    int rc = sqlite3_exec(m_db, sql, nullptr, nullptr, nullptr);
    if (rc == SQLITE_OK) return S_OK;
    return rc == SQLITE_NOMEM ? E_OUTOFMEMORY : onError;
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
    if (applicationId == kApplicationId) return version <= kSchemaVersion ? S_OK : REGDB_E_READREGDB;
    if (applicationId != 0 || objects != 0) return REGDB_E_READREGDB;
    if (mode == OpenMode::kExisting) return S_FALSE;

    // Several processes may find the same new file; the first one to get the
    // write lock makes the schema, the others then find it made.
    hr = Begin();
    if (FAILED(hr)) return hr;
    hr = readHeader(&applicationId, &version, &objects);
    if (SUCCEEDED(hr) && applicationId == 0 && objects == 0) hr = Execute(kSchema, REGDB_E_WRITEREGDB);
    else if (SUCCEEDED(hr) && applicationId != kApplicationId) hr = REGDB_E_READREGDB;
    if (FAILED(hr)) {
        Rollback();
        return hr;
    }
    return Commit();
}

bool RegistryStore::IsReadOnly() const { return sqlite3_db_readonly(m_db, "main") == 1; }

HRESULT RegistryStore::Begin() {
    return Execute(IsReadOnly() ? "BEGIN DEFERRED" : "BEGIN IMMEDIATE", REGDB_E_WRITEREGDB);
}

HRESULT RegistryStore::BeginRead() { return Execute("BEGIN DEFERRED", REGDB_E_READREGDB); }

HRESULT RegistryStore::Commit() {
    if (!InTransaction()) return REGDB_E_WRITEREGDB;
    HRESULT hr = Execute("COMMIT", REGDB_E_WRITEREGDB);
    if (FAILED(hr)) Rollback();
    return hr;
}

void RegistryStore::Rollback() {
    if (InTransaction()) sqlite3_exec(m_db, "ROLLBACK", nullptr, nullptr, nullptr);
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
    return FAILED(released) ? released : hr;
}

HRESULT RegistryStore::FindChild(KeyId parent, const std::string& name, KeyId* child) {
    *child = kNoKey;
    Statement query(m_db, "SELECT id FROM registry_keys WHERE parent = ?1 AND name = ?2");
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
            "WITH RECURSIVE tree(id) AS (SELECT ?1 UNION ALL"
            "  SELECT k.id FROM registry_keys k JOIN tree t ON k.parent = t.id)"
            " DELETE FROM registry_values WHERE key IN tree",
            "WITH RECURSIVE tree(id) AS (SELECT ?1 UNION ALL"
            "  SELECT k.id FROM registry_keys k JOIN tree t ON k.parent = t.id)"
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
                        "DELETE FROM registry_keys WHERE parent = ?1"
                        " AND NOT EXISTS (SELECT 1 FROM registry_keys c WHERE c.parent = registry_keys.id)"
                        " AND NOT EXISTS (SELECT 1 FROM registry_values v WHERE v.key = registry_keys.id)");
        int rc = erase.Bind(1, parent).Step();
        return rc == SQLITE_DONE ? S_OK : WriteFailure(rc);
    });
}

HRESULT RegistryStore::IsEmpty(KeyId key) {
    Statement query(m_db,
                    "SELECT EXISTS (SELECT 1 FROM registry_keys WHERE parent = ?1)"
                    "    OR EXISTS (SELECT 1 FROM registry_values WHERE key = ?1)");
    int rc = query.Bind(1, key).Step();
    if (rc != SQLITE_ROW) return ReadFailure(rc);
    return query.Integer(0) == 0 ? S_OK : S_FALSE;
}

HRESULT RegistryStore::ChildNames(KeyId parent, std::vector<std::string>* names) {
    return SelectNames("SELECT name FROM registry_keys WHERE parent = ?1 ORDER BY name", parent, names);
}

HRESULT RegistryStore::ValueNames(KeyId key, std::vector<std::string>* names) {
    return SelectNames("SELECT name FROM registry_values WHERE key = ?1 ORDER BY name", key, names);
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
