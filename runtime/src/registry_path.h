// Where the registry file lives and how key paths are spelled.
//
// The user's file is KESTO_REGISTRY when set and not empty, else
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

// The registry an installation ships beside the runtime, read only and consulted
// after the user's for classes the user has not registered: KESTO_SYSTEM_REGISTRY
// when set and not empty, else the install's share/kesto/registry.db found from
// the folder that holds libkestocom.so, so a moved installation still finds it.
std::string SystemRegistryFilePath();

// The folder that holds libkestocom.so, without a trailing '/'; empty when unknown.
std::string RuntimeFolder();

// Makes every missing folder above `file` (mode 0700, as the data folder of a
// user should be). False when a folder cannot be made.
bool MakeParentFolders(const std::string& file);

// Splits a key path at '\'. The empty path gives no names; an empty name inside
// a path ("a\\b", "\a", "a\") gives E_INVALIDARG.
HRESULT SplitKeyPath(const std::string& path, std::vector<std::string>* names);

}  // namespace kesto

#endif  // KESTO_RUNTIME_REGISTRY_PATH_H_
