// The command table: every command, every option, and which command takes which.
#include "ToolCommandTable.h"

#include <algorithm>
#include <iterator>

#include "Demo.h"
#include "DictionaryCheck.h"
#include "QueryCommands.h"
#include "RegistryCommands.h"
#include "Repl.h"
#include "ShellCompletion.h"
#include "ToolHelp.h"

namespace vantle::tool {
namespace {

constexpr std::string_view kColorWords[] = {"auto", "always", "never"};
constexpr std::string_view kKindWords[] = {"method", "property", "parameter"};
constexpr std::string_view kFlagWords[] = {"1", "2", "3", "4", "7", "15", "23", "31", "39", "63"};

const ToolOption kOptions[] = {
    {"--json", "", "one JSON document for programs (see docs/json.md)", {}, true},
    {"--dictionary", "FILE", "the class dictionary to load (default: the bundled one)", {}, true},
    {"--max-size", "BYTES", "refuse dictionaries larger than this (default 256M; K, M, G allowed)", {}, true},
    {"--module", "PATH", "load the assistance component from PATH instead of creating it as a registered class", {},
     true},
    {"--relative", "CLASS", "resolve short class names against the package of CLASS", {}, true},
    {"--import", "LIST", "comma-separated packages to try for short class names", {}, true},
    {"--no-inherited", "", "leave inherited members out", {}, true},
    {"--color", "WHEN", "auto, always or never: terminal colours (auto: only on a terminal, not with NO_COLOR "
                        "set or TERM=dumb)",
     kColorWords, true},
    {"--help", "", "help for the command", {}, true},
    {"--version", "", "the version of vantle-assist", {}, true},
    {"--flags", "N", "which members: a sum of 1 class methods, 2 instance methods, 4 properties, 8 also internal "
                     "members, 16 class parameters, 32 allow data-type classes (default 7)",
     kFlagWords, false},
    {"--kind", "KIND", "method, property or parameter (numbers 4, 2, 5, 10 too)", kKindWords, false},
    {"--extended", "", "mark class methods and private members", {}, false},
};

constexpr std::string_view kMembersOptions[] = {"--flags", "--kind", "--extended"};
constexpr std::string_view kOriginOptions[] = {"--kind"};

constexpr Completion kNone = Completion::kNothing, kClass = Completion::kClassName,
                     kMember = Completion::kMemberName, kFile = Completion::kFile;

int RunHelp(const CommandLine& line, ServiceSession*, Reply& reply) { return RunHelpCommand(line, reply); }

const ToolCommand kCommands[] = {
    {"classes", 0, 1, {}, {kClass, kNone, kNone}, 0, true, true, "classes [PREFIX]",
     "Lists every class whose full name starts with PREFIX (all classes without one), in code-unit order. "
     "Exit 1 when none does.",
     &RunClasses},
    {"members", 1, 1, kMembersOptions, {kClass, kNone, kNone}, 0, true, true,
     "members CLASS [--flags N] [--kind KIND] [--extended]",
     "Lists the members of CLASS as the editor's completion list does. --flags picks them (a sum of: 1 class "
     "methods, 2 instance methods, 4 properties, 8 also internal members, 16 class parameters, 32 allow data-type "
     "classes; default 7); --kind keeps one kind. --extended marks class methods and private members.",
     &RunMembers},
    {"type", 2, 2, {}, {kClass, kMember, kNone}, kMethods | kProperties, true, true, "type CLASS MEMBER",
     "What MEMBER of CLASS yields: a method's return type, or a property's type with \"list of\", \"array of\" or "
     "\"relm of\" for collections and relationships.",
     &RunType},
    {"signature", 2, 3, {}, {kClass, kMember, kNone}, kMethods, true, true, "signature CLASS METHOD [ARGUMENT]",
     "The signature of METHOD, with argument number ARGUMENT (from 1) singled out (highlighted on a terminal). "
     "Without ARGUMENT, or with 0, the whole signature in one piece.",
     &RunSignature},
    {"origin", 2, 3, kOriginOptions, {kClass, kMember, kNone}, kMethods, true, true,
     "origin CLASS MEMBER [--kind KIND]",
     "The class that defines MEMBER as CLASS sees it. KIND is method (the default), property or parameter; it "
     "may also stand as a third argument.",
     &RunOrigin},
    {"check", 0, 1000, {}, {kFile, kFile, kFile}, 0, false, false, "check [FILE...]",
     "Checks class dictionaries (default: the one --dictionary names, else the bundled one) and reports every "
     "problem it finds, with line and column, class, member and a hint: the JSON and its keys, names, super "
     "classes, the formal argument lists of methods, and the types members refer to (unknown types are "
     "warnings). Exit 3 when a dictionary has an error.",
     &RunCheckCommand},
    {"repl", 0, 0, {}, {kNone, kNone, kNone}, 0, true, false, "repl",
     "An interactive prompt with line editing, history and completion of commands, options, classes and members. "
     "Type help there for its commands.",
     &RunRepl},
    {"demo", 0, 0, {}, {kNone, kNone, kNone}, 0, true, false, "demo",
     "Shows, on the dictionary in use, each query a user would try.", &RunDemo},
    {"register", 0, 1, {}, {kFile, kNone, kNone}, 0, false, false, "register [MODULE]",
     "Registers the assistance component (default: the shared library beside the tool) in the runtime's "
     "registry, so that editors create it by its class identifier.",
     &RunRegister},
    {"unregister", 0, 1, {}, {kFile, kNone, kNone}, 0, false, false, "unregister [MODULE]",
     "Removes the registration that register made. Exit 1 when the module was not registered.", &RunUnregister},
    {"registry", 0, 0, {}, {kNone, kNone, kNone}, 0, false, false, "registry",
     "Prints the runtime's registry as indented keys and values.", &RunRegistry},
    {"completion", 1, 1, {}, {Completion::kShell, kNone, kNone}, 0, false, false, "completion SHELL",
     "Prints the completion script for SHELL (bash, zsh or fish).", &RunCompletionCommand},
    {"help", 0, 1, {}, {Completion::kCommand, kNone, kNone}, 0, false, false, "help [COMMAND]",
     "Shows the help of a command, or this overview.", &RunHelp},
};

}  // namespace

std::span<const ToolCommand> ToolCommands() { return kCommands; }
std::span<const ToolOption> ToolOptions() { return kOptions; }

const ToolCommand* FindToolCommand(std::string_view name) {
    auto found = std::find_if(std::begin(kCommands), std::end(kCommands),
                              [name](const ToolCommand& command) { return command.name == name; });
    return found == std::end(kCommands) ? nullptr : found;
}

const ToolOption* FindToolOption(std::string_view name) {
    if (name == "-h") name = "--help";
    auto found = std::find_if(std::begin(kOptions), std::end(kOptions),
                              [name](const ToolOption& option) { return option.name == name; });
    return found == std::end(kOptions) ? nullptr : found;
}

bool CommandTakesOption(const ToolCommand& command, std::string_view option) {
    const ToolOption* found = FindToolOption(option);
    if (found == nullptr) return false;
    return found->global || std::find(command.options.begin(), command.options.end(), found->name) != command.options.end();
}

}  // namespace vantle::tool
