// server/Settings.h: the user's settings and where they come from.
//
// Settings arrive in initializationOptions, in workspace/didChangeConfiguration and
// as the answer to workspace/configuration (section "vantle"); keys may sit at the
// top level of that object or under "vantle" (which wins). The latest
// configuration is applied over initializationOptions, which is applied over the
// defaults. A key of the wrong type is reported and keeps its earlier value. Values.
#ifndef VANTLE_LSP_SERVER_SETTINGS_H_
#define VANTLE_LSP_SERVER_SETTINGS_H_

#include <string>
#include <vector>

#include <nlohmann/json.hpp>

namespace vantle::lsp {

struct Settings {
    std::string dictionary;  // a path; empty: the server's own (command line or bundled)
    std::string imports;     // comma-separated packages, as SetImportPackageList takes them
    int flags = 7;           // member filter flags, 0 to 63
    bool includeInherited = true;
    bool diagnostics = true;
    std::string sourceRoot;  // documents' paths below it name their classes
    bool operator==(const Settings&) const = default;
};

// Applies what `settings` holds; problems get one line for each key refused.
void ApplySettings(const nlohmann::json& settings, Settings& into, std::vector<std::string>& problems);

}  // namespace vantle::lsp

#endif  // VANTLE_LSP_SERVER_SETTINGS_H_
