// RegistryStore: one connection to the registry file, with keys addressed by id.
//
// Opening never changes a file that is not a registry: an SQLite database of
// another program, or any other file, gives REGDB_E_READREGDB and stays exactly
// as it was. A missing or empty file becomes a registry (in kCreate mode).
//
// Every change must happen inside a transaction (Begin ... Commit); a store that
// is destroyed within one rolls it back. Each changing call is atomic on its own
// too (a savepoint), so a call that fails halfway leaves nothing behind even if
// the transaction is later committed. Waits for another process's transaction are
// bounded by the busy timeout (KESTO_REGISTRY_BUSY_TIMEOUT_MS, default 5000 ms)
// and then fail with REGDB_E_WRITEREGDB.
//
// Inside an outer transaction (BeginOuter ... EndOuter, the registration
// transaction of registry_transaction.h) Begin/Commit/Rollback only set and end
// savepoints: nothing reaches the file before EndOuter commits, and a transaction
// SQLite dropped after an I/O error makes every later Begin fail rather than go
// on in autocommit mode.
//
// Damage is reported, never read as an empty registry: a file that fails
// SQLite's integrity check is refused when opened (once per version of the file in a
// process), and a damaged page met later fails the call. Every failure leaves its
// reason, in SQLite's or the system's own words, in the thread's last registry
// error (registry_error.h).
//
// Keys whose parent is a root's own descendant would make a cycle with it, so the
// roots are never anyone's child: lookups, enumerations and deletions below a key
// see a tree whatever the file holds, and each costs time linear in what it
// returns.
//
// Names and string values are UTF-8 (see registry_text.h). Calls on one store
// must come from one thread at a time.
#ifndef KESTO_RUNTIME_REGISTRY_STORE_H_
#define KESTO_RUNTIME_REGISTRY_STORE_H_

#include <memory>
#include <string>
#include <vector>

#include "kesto/com.h"

struct sqlite3;

namespace kesto {

class RegistryStore {
public:
    using KeyId = long long;
    static constexpr KeyId kNoKey = 0;

    enum class OpenMode {
        kCreate,    // make the folder and the file when missing
        kExisting,  // S_FALSE, and no store, when there is no registry yet
    };

    struct Value {
        int kind = 0;  // KESTO_REGISTRY_STRING or KESTO_REGISTRY_INTEGER
        std::string text;
        long long number = 0;
    };

    static HRESULT Open(const std::string& path, OpenMode mode, std::unique_ptr<RegistryStore>* out);
    ~RegistryStore();
    RegistryStore(const RegistryStore&) = delete;
    RegistryStore& operator=(const RegistryStore&) = delete;

    // The key of root 1 or 2; kNoKey for any other number.
    static KeyId RootKey(int root);

    bool IsReadOnly() const;
    // Takes the write lock at once (a read transaction on a read-only file).
    HRESULT Begin();
    // A read transaction: a consistent view, no lock against other readers.
    HRESULT BeginRead();
    // REGDB_E_WRITEREGDB when the commit fails or the transaction was already
    // lost (rolled back by SQLite after an I/O error); it is rolled back then.
    HRESULT Commit();
    void Rollback();
    bool InTransaction() const;

    // The outer transaction: the write lock is held until EndOuter, which commits
    // (commit non-zero) or rolls back everything done in between.
    HRESULT BeginOuter();
    HRESULT EndOuter(bool commit);

    // S_OK and the parent's id; S_FALSE and kNoKey for a root.
    HRESULT Parent(KeyId key, KeyId* parent);
    // S_OK when `key` is CLSID\{class}\InprocServer32 of root 1, else S_FALSE.
    HRESULT IsServerKey(KeyId key);
    const std::string& Path() const { return m_path; }

    // S_OK and the child's id, or S_FALSE and kNoKey.
    HRESULT FindChild(KeyId parent, const std::string& name, KeyId* child);
    // Finds or makes the child.
    HRESULT CreateChild(KeyId parent, const std::string& name, KeyId* child);
    // Deletes the key, its values and everything below it.
    HRESULT DeleteTree(KeyId key);
    // Deletes the children that have neither values nor children.
    HRESULT DeleteEmptyChildren(KeyId parent);
    // S_OK when the key has neither values nor children, else S_FALSE.
    HRESULT IsEmpty(KeyId key);
    HRESULT ChildNames(KeyId parent, std::vector<std::string>* names);
    HRESULT ValueNames(KeyId key, std::vector<std::string>* names);

    // S_FALSE when there is no such value.
    HRESULT GetValue(KeyId key, const std::string& name, Value* value);
    HRESULT SetString(KeyId key, const std::string& name, const std::string& text);
    HRESULT SetInteger(KeyId key, const std::string& name, long long number);
    // S_FALSE when there is no such value.
    HRESULT DeleteValue(KeyId key, const std::string& name);

private:
    class Statement;

    RegistryStore(sqlite3* db, std::string path) : m_db(db), m_path(std::move(path)) {}
    HRESULT PrepareSchema(OpenMode mode);
    // S_OK when SQLite's integrity check finds the file sound.
    HRESULT CheckIntegrity();
    // The status for SQLite's result `rc`, with the reason recorded.
    HRESULT ReadFailure(int rc);
    HRESULT WriteFailure(int rc);
    HRESULT Failure(int rc, HRESULT usual);
    // Runs `change` inside a savepoint that is undone when it fails.
    template <typename Change>
    HRESULT Atomically(Change change);
    HRESULT Execute(const char* sql, HRESULT onError);
    // The first column of every row `sql` selects with ?1 bound to `id`.
    HRESULT SelectNames(const char* sql, KeyId id, std::vector<std::string>* names);

    sqlite3* m_db;
    std::string m_path;
    bool m_outer = false;
    int m_savepoints = 0;  // chains open inside the outer transaction
};

}  // namespace kesto

#endif  // KESTO_RUNTIME_REGISTRY_STORE_H_
