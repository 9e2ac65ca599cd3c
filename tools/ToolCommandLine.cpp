// The command line on CLI11, built from the command table.
#include "ToolCommandLine.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <cstring>

#include "DictionaryFile.h"
#include "Suggest.h"
#include "ToolCommandTable.h"
#include "vantle/assist.h"

namespace vantle::tool {
namespace {

// Raw option values, checked after CLI11 has placed them.
struct RawValues {
    std::string dictionary, relative, imports, color = "auto", maxSize, flags, kind;
};

std::vector<std::string> AllOptionNames() {
    std::vector<std::string> names;
    for (const ToolOption& option : ToolOptions()) names.emplace_back(option.name);
    return names;
}

std::vector<std::string> CommandNames() {
    std::vector<std::string> names;
    for (const ToolCommand& command : ToolCommands()) names.emplace_back(command.name);
    return names;
}

// CLI11 leaves what it could not place; say what is wrong with the first of it.
bool ExplainLeftOver(const std::vector<std::string>& left, const ToolCommand* command, UsageError* error) {
    for (const std::string& word : left) {
        if (word == "--") continue;
        if (word.size() > 1 && word[0] == '-') {
            const std::string name = word.substr(0, word.find('='));
            const ToolOption* option = FindToolOption(name);
            if (option != nullptr && command != nullptr) {
                std::string owners;
                for (const ToolCommand& other : ToolCommands()) {
                    if (CommandTakesOption(other, name)) owners += (owners.empty() ? "" : ", ") + std::string(other.name);
                }
                error->message = name + " is not an option of " + std::string(command->name) + " (it belongs to " +
                                 owners + ")";
                return false;
            }
            error->message = "unknown option " + name;
            error->suggestions = Suggest(name, AllOptionNames());
            return false;
        }
        if (command == nullptr) {
            error->message = "unknown command \"" + word + "\"";
            error->suggestions = Suggest(word, CommandNames());
            return false;
        }
    }
    return true;
}

std::string Unexpected(const CLI::ParseError& problem) {
    std::string text = problem.what();
    // CLI11's texts start with the option; keep them, without CLI11's own words for types.
    for (const char* type : {" TEXT", " UINT", " INT"}) {
        for (std::size_t at; (at = text.find(type)) != std::string::npos;) text.erase(at, std::strlen(type));
    }
    return text;
}

}  // namespace

bool ParseUnsigned(const std::string& text, unsigned long maximum, unsigned long* value) {
    if (text.empty() || text.size() > 20 || text[0] == '-' || text[0] == '+' || text[0] == ' ') return false;
    const bool hex = text.size() > 2 && text[0] == '0' && (text[1] == 'x' || text[1] == 'X');
    const std::string digits = hex ? text.substr(2) : text;
    if (digits.empty() || !std::all_of(digits.begin(), digits.end(), [hex](char c) {
            return (c >= '0' && c <= '9') || (hex && ((c >= 'a' && c <= 'f') || (c >= 'A' && c <= 'F')));
        }))
        return false;
    errno = 0;
    unsigned long long parsed = std::strtoull(digits.c_str(), nullptr, hex ? 16 : 10);
    if (errno == ERANGE || parsed > maximum) return false;
    *value = static_cast<unsigned long>(parsed);
    return true;
}

bool ParseMemberKind(const std::string& text, int* kind) {
    static const std::pair<const char*, int> kNames[] = {
        {"method", SYMBOL_MEMBERMETHOD}, {"property", SYMBOL_PROPERTY}, {"parameter", SYMBOL_CLASSPARAMETER},
        {"4", SYMBOL_MEMBERMETHOD},      {"2", SYMBOL_METHOD},          {"5", SYMBOL_PROPERTY},
        {"10", SYMBOL_CLASSPARAMETER}};
    for (const auto& [name, value] : kNames) {
        if (text == name) {
            *kind = value;
            return true;
        }
    }
    return false;
}

const char* MemberKindName(int kind) {
    switch (kind) {
        case SYMBOL_METHOD:
        case SYMBOL_MEMBERMETHOD:
            return "method";
        case SYMBOL_PROPERTY:
            return "property";
        case SYMBOL_CLASSPARAMETER:
            return "parameter";
        default:
            return "member";
    }
}

bool ParseCommandLine(const std::vector<std::string>& words, CommandLine* line, UsageError* error) {
    *line = CommandLine();
    *error = UsageError();
    RawValues raw;
    CLI::App app{"", "vantle-assist"};
    app.set_help_flag();
    app.allow_extras();
    app.require_subcommand(0, 1);

    // Every option lands in `raw` or `line`; CLI11 only places them.
    const auto attach = [&](CLI::App& to, const ToolOption& option) {
        const std::string name(option.name);
        if (name == "--help") {
            to.add_flag("-h,--help", line->help);
        } else if (name == "--version") {
            to.add_flag("--version", line->version);
        } else if (name == "--json") {
            to.add_flag("--json", line->json);
        } else if (name == "--no-inherited") {
            to.add_flag("--no-inherited", line->noInherited);
        } else if (name == "--extended") {
            to.add_flag("--extended", line->extended);
        } else {
            std::string* into = name == "--dictionary" ? &raw.dictionary
                                : name == "--module"   ? &line->module
                                : name == "--relative" ? &raw.relative
                                : name == "--import"   ? &raw.imports
                                : name == "--color"    ? &raw.color
                                : name == "--max-size" ? &raw.maxSize
                                : name == "--flags"    ? &raw.flags
                                                       : &raw.kind;
            to.add_option(name, *into);
        }
    };
    for (const ToolOption& option : ToolOptions()) {
        if (option.global) attach(app, option);
    }
    std::vector<std::vector<std::string>> arguments(ToolCommands().size());
    std::vector<CLI::App*> subcommands;
    for (std::size_t i = 0; i < ToolCommands().size(); ++i) {
        const ToolCommand& command = ToolCommands()[i];
        CLI::App* sub = app.add_subcommand(std::string(command.name));
        sub->set_help_flag();
        sub->fallthrough();
        sub->allow_extras();
        sub->add_option("arguments", arguments[i]);
        for (std::string_view own : command.options) attach(*sub, *FindToolOption(own));
        subcommands.push_back(sub);
    }

    std::vector<std::string> reversed(words.rbegin(), words.rend());
    try {
        app.parse(reversed);
    } catch (const CLI::ParseError& problem) {
        error->message = Unexpected(problem);
        return false;
    }

    const ToolCommand* command = nullptr;
    std::vector<std::string> left = app.remaining();
    for (std::size_t i = 0; i < subcommands.size(); ++i) {
        if (!subcommands[i]->parsed()) continue;
        command = &ToolCommands()[i];
        line->command = std::string(command->name);
        line->arguments = arguments[i];
        std::vector<std::string> own = subcommands[i]->remaining();
        left.insert(left.begin(), own.begin(), own.end());
    }
    if (!ExplainLeftOver(left, command, error)) return false;
    if (command == nullptr && !left.empty()) {
        const auto word = std::find_if(left.begin(), left.end(), [](const std::string& w) { return w != "--"; });
        if (word != left.end()) return ExplainLeftOver({*word}, nullptr, error);
    }

    // Values of the global options.
    if (app.count("--dictionary") > 0) {
        if (raw.dictionary.empty()) {
            error->message = "--dictionary needs a file name, not an empty text";
            return false;
        }
        line->dictionary = raw.dictionary;
    }
    if (app.count("--module") > 0 && line->module.empty()) {
        error->message = "--module needs a file name, not an empty text";
        return false;
    }
    if (app.count("--relative") > 0) line->relative = raw.relative;
    if (app.count("--import") > 0) line->imports = raw.imports;
    if (raw.color == "auto") {
        line->color = ColorChoice::kAuto;
    } else if (raw.color == "always") {
        line->color = ColorChoice::kAlways;
    } else if (raw.color == "never") {
        line->color = ColorChoice::kNever;
    } else {
        error->message = "--color takes auto, always or never, not \"" + raw.color + "\"";
        error->suggestions = Suggest(raw.color, {"auto", "always", "never"});
        return false;
    }
    if (app.count("--max-size") > 0) {
        std::uint64_t bytes = 0;
        if (!ParseSize(raw.maxSize, &bytes) || bytes == 0) {
            error->message = "--max-size needs a size in bytes above 0 (K, M and G allowed), not \"" + raw.maxSize +
                             "\"";
            return false;
        }
        line->maxSize = bytes;
    }
    if (line->help || line->version || command == nullptr) return true;

    // The command's own options and its arguments.
    const CLI::App& sub = *app.get_subcommand(std::string(command->name));
    if (CommandTakesOption(*command, "--flags") && sub.count("--flags") > 0) {
        unsigned long flags = 0;
        if (!ParseUnsigned(raw.flags, 63, &flags)) {
            error->message = "--flags takes a sum of 1, 2, 4, 8, 16 and 32 (0 to 63), not \"" + raw.flags + "\"";
            return false;
        }
        line->flags = static_cast<unsigned int>(flags);
    }
    if (CommandTakesOption(*command, "--kind") && sub.count("--kind") > 0) {
        int kind = 0;
        if (!ParseMemberKind(raw.kind, &kind)) {
            error->message = "--kind takes method, property or parameter (or 4, 2, 5, 10), not \"" + raw.kind + "\"";
            error->suggestions = Suggest(raw.kind, {"method", "property", "parameter"});
            return false;
        }
        line->kind = kind;
    }
    if (line->arguments.size() < command->minArguments || line->arguments.size() > command->maxArguments) {
        error->message = std::string(line->arguments.size() < command->minArguments ? "too few" : "too many") +
                         " arguments; usage: vantle-assist " + std::string(command->usage);
        return false;
    }
    return true;
}

}  // namespace vantle::tool
