// The thread's registration transaction.
#include "registry_transaction.h"

#include <climits>
#include <cstdlib>

#include "kesto/registry.h"
#include "registry_error.h"
#include "registry_path.h"
#include "registry_text.h"
#include "unicode_text.h"

namespace kesto {
namespace {

struct Transaction {
    std::shared_ptr<RegistryStore> store;
    std::string moduleName;
    std::string modulePath;
};

thread_local std::unique_ptr<Transaction> t_transaction;

std::string StoredPath(std::string_view bytes) {
    const std::u16string units = PathToUtf16(bytes);
    return StoredTextFromUnits(reinterpret_cast<const unsigned short*>(units.data()), units.size());
}

HRESULT OpenStore(std::shared_ptr<RegistryStore>* out) {
    std::unique_ptr<RegistryStore> store;
    HRESULT hr = RegistryStore::Open(RegistryFilePath(), RegistryStore::OpenMode::kCreate, &store);
    if (FAILED(hr)) return hr;
    *out = std::move(store);
    return S_OK;
}

}  // namespace

HRESULT ConnectRegistry(RegistryConnection* out) {
    if (t_transaction) {
        out->store = t_transaction->store;
        out->moduleName = t_transaction->moduleName;
        out->modulePath = t_transaction->modulePath;
        return S_OK;
    }
    return OpenStore(&out->store);
}

}  // namespace kesto

extern "C" HRESULT KESTO_RegistryBeginTransaction(const char* modulePath) {
    using namespace kesto;
    try {
        ClearRegistryError();
        if (t_transaction) {
            SetRegistryError(E_UNEXPECTED, "a registry transaction is already open on this thread");
            return E_UNEXPECTED;
        }
        auto transaction = std::make_unique<Transaction>();
        if (modulePath != nullptr && *modulePath != '\0') {
            // The folder is recorded as it really is, so that another working folder
            // or a linked folder does not change what loads; the file keeps the name
            // it was given (a link such as libx.so follows its library's updates).
            const std::string given = modulePath;
            const std::string::size_type slash = given.find_last_of('/');
            const std::string name = slash == std::string::npos ? given : given.substr(slash + 1);
            const std::string folder = slash == std::string::npos ? "." : slash == 0 ? "/" : given.substr(0, slash);
            char* resolved = realpath(folder.c_str(), nullptr);
            if (resolved != nullptr && !name.empty()) {
                std::string path = resolved;
                std::free(resolved);
                path += path == "/" ? name : "/" + name;
                transaction->moduleName = StoredPath(name);
                transaction->modulePath = StoredPath(path);
            } else {
                std::free(resolved);
            }
        }
        HRESULT hr = OpenStore(&transaction->store);
        if (FAILED(hr)) return hr;
        hr = transaction->store->BeginOuter();
        if (FAILED(hr)) return hr;
        t_transaction = std::move(transaction);
        return S_OK;
    } catch (const std::bad_alloc&) {
        return E_OUTOFMEMORY;
    }
}

extern "C" HRESULT KESTO_RegistryEndTransaction(int commit) {
    using namespace kesto;
    if (!t_transaction) {
        SetRegistryError(E_UNEXPECTED, "no registry transaction is open on this thread");
        return E_UNEXPECTED;
    }
    std::unique_ptr<Transaction> transaction = std::move(t_transaction);
    return transaction->store->EndOuter(commit != 0);
}
