// Command-line parsing and help texts.
#include "tools/ToolCommandLine.h"

#include <cerrno>
#include <cstdlib>

namespace vantle::tool {
namespace {

struct CommandSpec {
    const char* name;
    std::size_t minArguments;
    std::size_t maxArguments;
    bool memberOptions;  // --flags, --extended
    const char* usage;
    const char* help;
};

const CommandSpec kCommands[] = {
    {"classes", 0, 1, false, "classes [PREFIX]",
     "Lists every class whose full name starts with PREFIX (all classes without one),\n"
     "in code-unit order."},
    {"members", 1, 1, true, "members CLASS [--flags N] [--extended]",
     "Lists the members of CLASS as the editor's completion list does. --flags picks\n"
     "them (a sum of: 1 class methods, 2 instance methods, 4 properties, 8 also internal\n"
     "members, 16 class parameters, 32 allow data-type classes; default 7). --extended\n"
     "adds the markers C (class method) and P (private)."},
    {"type", 2, 2, false, "type CLASS MEMBER",
     "What MEMBER of CLASS yields: a method's return type, or a property's type with\n"
     "\"list of\", \"array of\" or \"relm of\" for collections and relationships."},
    {"signature", 2, 3, false, "signature CLASS METHOD [ARGUMENT]",
     "The signature of METHOD, with argument number ARGUMENT (from 1) singled out\n"
     "(highlighted on a terminal). Without ARGUMENT the whole signature in one piece."},
    {"origin", 2, 3, false, "origin CLASS MEMBER [KIND]",
     "The class that defines MEMBER as CLASS sees it. KIND: 4 or 2 method (default 4),\n"
     "5 property, 10 class parameter."},
    {"repl", 0, 0, false, "repl",
     "An interactive prompt with line editing, history and tab completion of class\n"
     "and member names. Type \"help\" there for its commands."},
    {"demo", 0, 0, false, "demo", "Shows, on the bundled dictionary, each query a user would try."},
    {"register", 0, 1, false, "register [MODULE]",
     "Registers the assistance component (default: the library beside the tool) in\n"
     "the runtime's registry, so that editors create it by its class identifier."},
    {"unregister", 0, 1, false, "unregister [MODULE]", "Removes the registration that register made."},
    {"registry", 0, 0, false, "registry", "Prints the runtime's registry as indented keys and values."},
    {"help", 0, 1, false, "help [COMMAND]", "Shows the help of a command, or this overview."},
};

const CommandSpec* FindCommand(const std::string& name) {
    for (const CommandSpec& entry : kCommands) {
        if (name == entry.name) return &entry;
    }
    return nullptr;
}

const char kCommonOptions[] =
    "Options of every command:\n"
    "  --json              one JSON object per command, for programs\n"
    "  --dictionary FILE   the class dictionary to load (default: the bundled one)\n"
    "  --module PATH       load the assistance component from PATH instead of\n"
    "                      creating it as a registered class\n"
    "  --relative CLASS    resolve short class names against CLASS's package\n"
    "  --import LIST       comma-separated packages to try for short class names\n"
    "  --no-inherited      leave inherited members out\n"
    "  --help              help for the command\n";

}  // namespace

bool ParseUnsigned(const std::string& text, unsigned long maximum, unsigned long* value) {
    if (text.empty() || text[0] == '-' || text[0] == '+' || text[0] == ' ') return false;
    int base = 10;
    const char* digits = text.c_str();
    if (text.size() > 2 && text[0] == '0' && (text[1] == 'x' || text[1] == 'X')) {
        base = 16;
        digits += 2;
    }
    char* end = nullptr;
    errno = 0;
    unsigned long parsed = std::strtoul(digits, &end, base);
    if (errno != 0 || end == digits || *end != '\0' || parsed > maximum) return false;
    *value = parsed;
    return true;
}

const std::vector<std::string>& CommandNames() {
    static const std::vector<std::string> names = [] {
        std::vector<std::string> all;
        for (const CommandSpec& entry : kCommands) all.emplace_back(entry.name);
        return all;
    }();
    return names;
}

bool IsCommand(const std::string& command) { return FindCommand(command) != nullptr; }

std::string CommandHelp(const std::string& command) {
    const CommandSpec* entry = FindCommand(command);
    if (entry == nullptr) return {};
    return std::string("Usage: vantle-assist ") + entry->usage + "\n\n" + entry->help + "\n\n" + kCommonOptions;
}

std::string GeneralHelp() {
    std::string text =
        "Usage: vantle-assist COMMAND [ARGUMENTS] [OPTIONS]\n\n"
        "Asks the code-assistance service about the classes of a class dictionary,\n"
        "as an editor does while the user types.\n\nCommands:\n";
    for (const CommandSpec& entry : kCommands) {
        std::string usage = entry.usage;
        text += "  " + usage + std::string(usage.size() < 40 ? 40 - usage.size() : 1, ' ');
        std::string first = entry.help;
        text += first.substr(0, first.find('\n')) + "\n";
    }
    text += "\n";
    text += kCommonOptions;
    text +=
        "\nExit status: 0 when the service answered (found or not), 1 when it failed\n"
        "(the message goes to standard error), 2 for a wrong command line.\n";
    return text;
}

bool ParseCommandLine(const std::vector<std::string>& words, CommandLine* line, std::string* error) {
    *line = CommandLine{};
    bool optionsEnded = false;
    std::vector<std::string> positional;
    for (std::size_t i = 0; i < words.size(); ++i) {
        const std::string& word = words[i];
        if (optionsEnded || word.size() < 2 || word[0] != '-') {
            positional.push_back(word);
            continue;
        }
        if (word == "--") {
            optionsEnded = true;
            continue;
        }
        std::string name = word;
        std::string value;
        bool inlineValue = false;
        if (std::size_t equals = word.find('='); equals != std::string::npos && word.rfind("--", 0) == 0) {
            name = word.substr(0, equals);
            value = word.substr(equals + 1);
            inlineValue = true;
        }
        auto takeValue = [&](std::string* into) {
            if (inlineValue) {
                *into = value;
                return true;
            }
            if (i + 1 >= words.size()) {
                *error = "option " + name + " needs a value";
                return false;
            }
            *into = words[++i];
            return true;
        };
        auto noValue = [&](bool* into) {
            if (inlineValue) {
                *error = "option " + name + " takes no value";
                return false;
            }
            *into = true;
            return true;
        };
        bool ok;
        if (name == "--help" || name == "-h") {
            ok = noValue(&line->help);
        } else if (name == "--json") {
            ok = noValue(&line->json);
        } else if (name == "--no-inherited") {
            ok = noValue(&line->noInherited);
        } else if (name == "--extended") {
            ok = noValue(&line->extended);
        } else if (name == "--dictionary") {
            ok = takeValue(&line->dictionary);
        } else if (name == "--module") {
            ok = takeValue(&line->module);
        } else if (name == "--relative") {
            ok = takeValue(&line->relative);
        } else if (name == "--import") {
            ok = takeValue(&line->imports);
        } else if (name == "--flags") {
            std::string text;
            unsigned long flags = 0;
            ok = takeValue(&text);
            if (ok && !ParseUnsigned(text, 0xFFFFFFFFul, &flags)) {
                *error = "--flags needs a whole number, not \"" + text + "\"";
                ok = false;
            }
            line->flags = static_cast<unsigned int>(flags);
            line->flagsGiven = true;
        } else {
            *error = "unknown option " + name;
            ok = false;
        }
        if (!ok) return false;
    }
    if (positional.empty()) return true;
    line->command = positional.front();
    line->arguments.assign(positional.begin() + 1, positional.end());
    const CommandSpec* entry = FindCommand(line->command);
    if (entry == nullptr) {
        *error = "unknown command \"" + line->command + "\"";
        return false;
    }
    if (line->help) return true;
    if (line->arguments.size() < entry->minArguments || line->arguments.size() > entry->maxArguments) {
        *error = std::string("usage: vantle-assist ") + entry->usage;
        return false;
    }
    if (!entry->memberOptions && (line->flagsGiven || line->extended)) {
        *error = std::string("--flags and --extended belong to the members command");
        return false;
    }
    return true;
}

}  // namespace vantle::tool
