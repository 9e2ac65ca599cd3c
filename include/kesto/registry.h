// kesto/registry.h: the registry and the category manager.
//
// The registry (COM_CLSID_Registry / COM_IID_IRegistry) is a tree of named keys
// with named string and integer values; the default value of a key is the value
// with the empty name. It lives in one database file shared by every process of
// the user (KESTO_REGISTRY, else $XDG_DATA_HOME/kesto/registry.db, else
// ~/.local/share/kesto/registry.db); the folder and the file are made on first
// use, and a file that is not a registry is never written to.
//
// Work happens on a "current key": OpenRoot makes a root the current key, OpenKey
// and CreateKey descend, Close ends the chain. One OpenRoot ... Close chain is one
// transaction: OpenRoot takes the write lock, Close commits, and releasing the
// object before Close rolls everything back. So a read-modify-write such as an
// install count is exact however many processes register at once. A process that
// has to wait for another's chain waits a few seconds at most and then fails with
// REGDB_E_WRITEREGDB; it never hangs.
//
// Roots: 1 holds the classes (class records, programmatic identifiers, monikers,
// component categories); 2 holds settings of programs. Any other root is
// E_INVALIDARG.
//
// Key names are matched exactly (case-sensitive). A key name given to OpenRoot,
// OpenKey, CreateKey or DeleteKey may be a path of names separated by '\'; empty
// path components are E_INVALIDARG. Value names are taken whole.
//
// Results shared by every operation: REGDB_E_READREGDB (the file cannot be opened
// or read, or is not a registry), REGDB_E_WRITEREGDB (a change or a commit failed,
// the file is read-only, or the wait for another process ran out),
// REGDB_E_KEYMISSING (a key that must exist does not, or there is no current key),
// REGDB_E_INVALIDVALUE (a value of the other type), E_POINTER (a NULL out
// argument), E_OUTOFMEMORY (a string could not be allocated). A NULL name counts
// as the empty name. A failed operation leaves the current key where it was,
// and its reason, in the database's or the system's words, for
// KESTO_RegistryLastError.
//
// A damaged file (one that fails SQLite's integrity check, or a damaged page met
// later) is REGDB_E_READREGDB with "damaged" in the reason, never an empty
// registry. Content the runtime never writes but a file edited by hand may hold
// is answered safely: keys are always a tree below the roots (a root is never
// a child), subkeys and values whose names are not text are not listed, and an
// integer outside 32 bits is REGDB_E_INVALIDVALUE. A listed name that is empty
// or holds '\' cannot be opened by name (OpenKey takes it as a path); callers
// that walk the tree show such names and go no further.
#ifndef KESTO_REGISTRY_H_
#define KESTO_REGISTRY_H_

#include "kesto/com.h"

// Names in the order the enumerated key held them when the enumerator was made
// (sorted by code point); later changes to the registry do not show.
class COM_IRegistryEnum : public COM_IUnknown {
public:
    // slot 5: the number of names, 0 when the key has none.
    virtual HRESULT GetCount(unsigned int* count) = 0;
    // slot 6: S_OK and a new BSTR (freed by the caller) for the next name, S_FALSE
    // and NULL at the end. E_OUTOFMEMORY does not advance.
    virtual HRESULT Next(BSTR* name) = 0;
};

class COM_IRegistry : public COM_IUnknown {
public:
    // slot 5: makes root `root` (then the key at `path` below it, which must
    // exist) the current key. Without an open chain this begins the transaction;
    // within one it only moves the current key back up. A read-only registry file
    // still allows reading: the chain then only reads.
    virtual HRESULT OpenRoot(int root, CBSTR path) = 0;
    // slot 6: commits the chain and leaves no current key. Without an open chain
    // it does nothing and returns S_OK.
    virtual HRESULT Close() = 0;
    // slot 7: descends into an existing subkey (REGDB_E_KEYMISSING if absent).
    virtual HRESULT OpenKey(CBSTR name) = 0;
    // slot 8: descends into a subkey, creating it (and the keys on its path) when
    // `create` is non-zero; with `create` 0 it acts as OpenKey.
    virtual HRESULT CreateKey(CBSTR name, int create) = 0;
    // slot 9: deletes a subkey with everything below it; S_FALSE when there is
    // no such subkey. The empty name deletes every subkey of the current key that
    // holds neither values nor subkeys (so an emptied "CLSID" goes with it).
    virtual HRESULT DeleteKey(CBSTR name) = 0;
    // slot 10: sets a string value (a NULL value is stored as empty), replacing
    // a value of either type.
    virtual HRESULT SetStringValue(CBSTR valueName, CBSTR value) = 0;
    // slot 11: S_OK and a new BSTR, or S_FALSE and NULL when there is no such
    // value; REGDB_E_INVALIDVALUE for an integer value.
    virtual HRESULT GetStringValue(CBSTR valueName, BSTR* value) = 0;
    // slot 12: sets a 32-bit integer value, replacing a value of either type.
    virtual HRESULT SetIntValue(CBSTR valueName, int value) = 0;
    // slot 13: S_OK and the integer, or S_FALSE with *value unchanged when there
    // is no such value; REGDB_E_INVALIDVALUE for a string value.
    virtual HRESULT GetIntValue(CBSTR valueName, int* value) = 0;
    // slot 14: deletes a value; S_FALSE when there is none.
    virtual HRESULT DeleteValue(CBSTR valueName) = 0;
    // slot 15: the names of the current key's subkeys.
    virtual HRESULT EnumSubkeys(COM_IRegistryEnum** out) = 0;
    // slot 16: the names of the current key's values (the default value as "").
    virtual HRESULT EnumValues(COM_IRegistryEnum** out) = 0;
    // slot 17: KESTO_REGISTRY_STRING or KESTO_REGISTRY_INTEGER; S_FALSE and
    // KESTO_REGISTRY_NONE when there is no such value.
    virtual HRESULT GetValueKind(CBSTR valueName, int* kind) = 0;
    // slot 18: makes the current key's parent the current key; S_FALSE (staying)
    // at a root. With OpenKey it walks any depth in time linear in the keys seen.
    virtual HRESULT OpenParent() = 0;
};

enum { KESTO_REGISTRY_NONE = 0, KESTO_REGISTRY_STRING = 1, KESTO_REGISTRY_INTEGER = 2 };

// The category manager keeps its records in root 1 of the registry:
// "Component Categories\{category}" with the description as default value, and
// "CLSID\{class}\Implemented Categories\{category}" for each class in a category.
// Each call is one transaction of its own. A NULL category pointer is E_POINTER.
class COM_ICatRegister : public COM_IUnknown {
public:
    // slot 5: creates or updates the category's key (a NULL description is empty).
    virtual HRESULT RegisterCategory(const COM_GUID& category, CBSTR description) = 0;
    // slot 6: records that the class implements the category.
    virtual HRESULT RegisterClassInCategory(const COM_GUID* category, const COM_GUID& clsid) = 0;
    // slot 7: deletes the category's key; S_FALSE when it was not registered.
    virtual HRESULT UnregisterCategory(const COM_GUID& category) = 0;
    // slot 8: removes the class from the category, and the class's
    // "Implemented Categories" key once it is empty; S_FALSE when the class or the
    // record was already gone (as after the class's own records were deleted).
    virtual HRESULT UnregisterClassFromCategory(const COM_GUID* category, const COM_GUID& clsid) = 0;
};

extern "C" {

// Writes the registry file's path, NUL-terminated, into buffer (when size allows)
// and returns its length without the NUL; 0 when no path can be made (no
// KESTO_REGISTRY, XDG_DATA_HOME or HOME).
KESTO_EXPORT unsigned long KESTO_RegistryFilePath(char* buffer, unsigned long size);

// The last registry failure on this thread: its status in *status (when not
// NULL; S_OK when there was none) and its reason (the file, then the database's
// or the system's own words, e.g. "...: the registry file is damaged: database
// disk image is malformed"), written and measured as by KESTO_RegistryFilePath.
// Both are reset by KESTO_RegistryBeginTransaction. Read it right after a call
// failed: a later success does not clear it.
KESTO_EXPORT unsigned long KESTO_RegistryLastError(HRESULT* status, char* buffer, unsigned long size);

// A registration as one transaction of the user's registry, for hosts that call
// DllRegisterServer or DllUnregisterServer:
//     KESTO_RegistryBeginTransaction(path); hr = DllRegisterServer();
//     KESTO_RegistryEndTransaction(hr == S_OK);
// Until it ends, the registry objects and category managers this thread creates
// share its connection; their OpenRoot ... Close chains still commit or roll back
// as a whole, but only into the transaction, which holds the write lock
// throughout. EndTransaction(non-zero) commits everything at once, 0 rolls
// everything back; a process that dies before the end leaves the registry as it
// was. Other threads and processes wait for it as for any chain.
//
// `modulePath` (may be NULL) names the module being registered: a server record
// (CLSID\{class}\InprocServer32 of root 1) whose default value is that file's
// name then also gets the value "Path" with the file's full path, and
// COM_CreateInstance loads that file while it exists, so the copy registered is
// the copy loaded. The name alone still works as before.
//
// E_UNEXPECTED for a second Begin or an End without Begin on this thread; else
// the registry's results (REGDB_E_WRITEREGDB when the commit fails).
KESTO_EXPORT HRESULT KESTO_RegistryBeginTransaction(const char* modulePath);
KESTO_EXPORT HRESULT KESTO_RegistryEndTransaction(int commit);

}  // extern "C"

#endif  // KESTO_REGISTRY_H_
