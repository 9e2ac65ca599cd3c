// The thread's last registry failure.
#include "registry_error.h"

#include <cstring>

#include "kesto/registry.h"

namespace kesto {
namespace {

thread_local std::string t_reason;
thread_local HRESULT t_status = S_OK;

}  // namespace

void SetRegistryError(HRESULT status, std::string reason) {
    t_status = status;
    t_reason = std::move(reason);
}

void ClearRegistryError() {
    t_status = S_OK;
    t_reason.clear();
}

const std::string& RegistryError() { return t_reason; }

HRESULT RegistryErrorStatus() { return t_status; }

}  // namespace kesto

extern "C" unsigned long KESTO_RegistryLastError(HRESULT* status, char* buffer, unsigned long size) {
    const std::string& reason = kesto::RegistryError();
    if (status != nullptr) *status = kesto::RegistryErrorStatus();
    if (buffer != nullptr && size > reason.size()) std::memcpy(buffer, reason.c_str(), reason.size() + 1);
    return reason.size();
}
