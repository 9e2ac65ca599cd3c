// Where the registry file lives and how key paths are spelled.
//
// The file is KESTO_REGISTRY when set and not empty, else
// $XDG_DATA_HOME/kesto/registry.db when that is an absolute path, else
// $HOME/.local/share/kesto/registry.db (HOME from the password database when the
// environment has none). The path is looked up again on every call, so a process
// that changes KESTO_REGISTRY reaches the new file with its next registry object.
#ifndef KESTO_RUNTIME_REGISTRY_PATH_H_
#define KESTO_RUNTIME_REGISTRY_PATH_H_

#include <string>
#include <vector>

#include "kesto/com.h"

namespace kesto {

// Empty when no path can be made.
std::string RegistryFilePath();

// Makes every missing folder above `file` (mode 0700, as the data folder of a
// user should be). False when a folder cannot be made.
bool MakeParentFolders(const std::string& file);

// Splits a key path at '\'. The empty path gives no names; an empty name inside
// a path ("a\\b", "\a", "a\") gives E_INVALIDARG.
HRESULT SplitKeyPath(const std::string& path, std::vector<std::string>* names);

}  // namespace kesto

#endif  // KESTO_RUNTIME_REGISTRY_PATH_H_
