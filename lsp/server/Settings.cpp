// Reading settings objects, key by key.
#include "server/Settings.h"

namespace vantle::lsp {
namespace {

void ApplyKeys(const nlohmann::json& object, Settings& into, std::vector<std::string>& problems) {
    for (const auto& [key, value] : object.items()) {
        auto refuse = [&, &key = key](const char* what) { problems.push_back("setting \"" + key + "\" " + what); };
        if (key == "dictionary" || key == "imports" || key == "sourceRoot") {
            if (!value.is_string() && !value.is_null()) {
                refuse("must be a string");
                continue;
            }
            std::string text = value.is_null() ? "" : value.get<std::string>();
            (key == "dictionary" ? into.dictionary
             : key == "imports"  ? into.imports
                                 : into.sourceRoot) = std::move(text);
        } else if (key == "flags") {
            if (!value.is_number_integer() || value.get<long long>() < 0 || value.get<long long>() > 63)
                refuse("must be a whole number from 0 to 63");
            else
                into.flags = value.get<int>();
        } else if (key == "includeInherited" || key == "diagnostics") {
            if (!value.is_boolean())
                refuse("must be true or false");
            else
                (key == "diagnostics" ? into.diagnostics : into.includeInherited) = value.get<bool>();
        }
    }
}

}  // namespace

void ApplySettings(const nlohmann::json& settings, Settings& into, std::vector<std::string>& problems) {
    if (!settings.is_object()) return;
    ApplyKeys(settings, into, problems);
    if (const auto section = settings.find("vantle"); section != settings.end() && section->is_object())
        ApplyKeys(*section, into, problems);
}

}  // namespace vantle::lsp
