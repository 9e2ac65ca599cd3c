// Location of the registry file and key-path splitting.
#include "registry_path.h"

#include <dlfcn.h>
#include <pwd.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>

#include "kesto/registry.h"

namespace kesto {
namespace {

std::string HomeFolder() {
    const char* home = std::getenv("HOME");
    if (home != nullptr && home[0] != '\0') return home;
    struct passwd entry;
    struct passwd* found = nullptr;
    char buffer[4096];
    if (getpwuid_r(getuid(), &entry, buffer, sizeof buffer, &found) == 0 && found != nullptr &&
        found->pw_dir != nullptr && found->pw_dir[0] != '\0') {
        return found->pw_dir;
    }
    return std::string();
}

}  // namespace

std::string RegistryFilePath() {
    const char* explicitPath = std::getenv("KESTO_REGISTRY");
    if (explicitPath != nullptr && explicitPath[0] != '\0') return explicitPath;
    // A relative XDG_DATA_HOME is invalid and must be ignored.
    const char* dataHome = std::getenv("XDG_DATA_HOME");
    if (dataHome != nullptr && dataHome[0] == '/') return std::string(dataHome) + "/kesto/registry.db";
    std::string home = HomeFolder();
    if (home.empty()) return std::string();
    return home + "/.local/share/kesto/registry.db";
}

std::string SystemRegistryFilePath() {
    const char* explicitPath = std::getenv("KESTO_SYSTEM_REGISTRY");
    if (explicitPath != nullptr && explicitPath[0] != '\0') return explicitPath;
    const std::string folder = RuntimeFolder();
    if (folder.empty()) return std::string();
    // Set by the build: the registry's place relative to the installed library folder.
    return folder + "/" KESTO_SYSTEM_REGISTRY_FROM_LIBDIR;
}

std::string RuntimeFolder() {
    Dl_info info;
    if (dladdr(reinterpret_cast<void*>(&COM_CreateInstance), &info) == 0 || info.dli_fname == nullptr) return {};
    std::string file = info.dli_fname;
    std::string::size_type slash = file.find_last_of('/');
    return slash == std::string::npos ? std::string() : file.substr(0, slash);
}

bool MakeParentFolders(const std::string& file) {
    std::string::size_type slash = file.find_last_of('/');
    if (slash == std::string::npos || slash == 0) return true;
    std::string folder = file.substr(0, slash);
    struct stat status;
    if (stat(folder.c_str(), &status) == 0) return S_ISDIR(status.st_mode);
    if (!MakeParentFolders(folder)) return false;
    // Another process may make the same folder at the same moment.
    return mkdir(folder.c_str(), 0700) == 0 || errno == EEXIST;
}

HRESULT SplitKeyPath(const std::string& path, std::vector<std::string>* names) {
    names->clear();
    if (path.empty()) return S_OK;
    std::string::size_type start = 0;
    while (true) {
        std::string::size_type end = path.find('\\', start);
        std::string name = path.substr(start, end == std::string::npos ? std::string::npos : end - start);
        if (name.empty()) return E_INVALIDARG;
        names->push_back(std::move(name));
        if (end == std::string::npos) return S_OK;
        start = end + 1;
    }
}

}  // namespace kesto

extern "C" unsigned long KESTO_RegistryFilePath(char* buffer, unsigned long size) {
    std::string path = kesto::RegistryFilePath();
    if (buffer != nullptr && size > path.size()) std::memcpy(buffer, path.c_str(), path.size() + 1);
    return path.size();
}
