// The registration transaction of a thread (KESTO_RegistryBeginTransaction in
// kesto/registry.h): while it is open, every registry object and category
// manager the thread creates works on its one connection, their chains become
// savepoints inside it, and nothing reaches the file before it commits. So a
// registration killed at any point leaves nothing of itself behind.
//
// The transaction may name the module being registered: a server record written
// inside it whose default value is that module's file name also gets the module's
// full path (value "Path"), so that the copy registered is the copy loaded.
#ifndef KESTO_RUNTIME_REGISTRY_TRANSACTION_H_
#define KESTO_RUNTIME_REGISTRY_TRANSACTION_H_

#include <memory>
#include <string>

#include "registry_store.h"

namespace kesto {

// What a new registry object or category manager works on.
struct RegistryConnection {
    std::shared_ptr<RegistryStore> store;
    // Set only inside a transaction that names its module: the module's file name
    // and its full path, both as stored text.
    std::string moduleName;
    std::string modulePath;
};

// The thread's open transaction, else a new connection to the user's registry.
HRESULT ConnectRegistry(RegistryConnection* out);

}  // namespace kesto

#endif  // KESTO_RUNTIME_REGISTRY_TRANSACTION_H_
