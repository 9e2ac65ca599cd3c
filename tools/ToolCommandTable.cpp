// The command table and the handlers that adapt a parsed line to each command.
#include "ToolCommandTable.h"

#include <algorithm>
#include <iterator>
#include <string>
#include <vector>

#include "Demo.h"
#include "QueryCommands.h"
#include "RegistryCommands.h"
#include "Repl.h"
#include "ServiceSession.h"
#include "ToolHelp.h"

namespace vantle::tool {
namespace {

int Classes(QueryCommands& queries, const CommandLine& line, std::ostream&) {
    return queries.Classes(line.arguments.empty() ? std::string() : line.arguments[0]);
}

int Members(QueryCommands& queries, const CommandLine& line, std::ostream&) {
    return queries.Members(line.arguments[0], line.flags, line.extended);
}

int Type(QueryCommands& queries, const CommandLine& line, std::ostream&) {
    return queries.Type(line.arguments[0], line.arguments[1]);
}

int Signature(QueryCommands& queries, const CommandLine& line, std::ostream& err) {
    const std::vector<std::string>& args = line.arguments;
    unsigned long argument = 0;
    if (args.size() > 2 && !ParseUnsigned(args[2], 0xFFFFFFFFul, &argument)) {
        err << "vantle-assist: ARGUMENT must be a whole number, not \"" << args[2] << "\"\n";
        return 2;
    }
    return queries.Signature(args[0], args[1], argument);
}

int Origin(QueryCommands& queries, const CommandLine& line, std::ostream& err) {
    const std::vector<std::string>& args = line.arguments;
    unsigned long kind = SYMBOL_MEMBERMETHOD;
    if (args.size() > 2 && !ParseUnsigned(args[2], 0x7FFFFFFFul, &kind)) {
        err << "vantle-assist: KIND must be a whole number, not \"" << args[2] << "\"\n";
        return 2;
    }
    return queries.Origin(args[0], args[1], static_cast<int>(kind));
}

std::string ModuleArgument(const CommandLine& line) {
    return line.arguments.empty() ? DefaultModulePath() : line.arguments[0];
}

int Register(const CommandLine& line, std::ostream& out, std::ostream& err) {
    return RunRegisterCommand(ModuleArgument(line), true, out, err);
}

int Unregister(const CommandLine& line, std::ostream& out, std::ostream& err) {
    return RunRegisterCommand(ModuleArgument(line), false, out, err);
}

int Registry(const CommandLine&, std::ostream& out, std::ostream& err) { return RunRegistryDumpCommand(out, err); }

constexpr Completion kNone = Completion::kNothing, kClass = Completion::kClassName,
                     kMember = Completion::kMemberName;

const ToolCommand kCommands[] = {
    {"classes", 0, 1, false, {kClass, kNone}, "classes [PREFIX]",
     "Lists every class whose full name starts with PREFIX (all classes without one),\n"
     "in code-unit order.",
     &Classes},
    {"members", 1, 1, true, {kClass, kNone}, "members CLASS [--flags N] [--extended]",
     "Lists the members of CLASS as the editor's completion list does. --flags picks\n"
     "them (a sum of: 1 class methods, 2 instance methods, 4 properties, 8 also internal\n"
     "members, 16 class parameters, 32 allow data-type classes; default 7). --extended\n"
     "adds the markers C (class method) and P (private).",
     &Members},
    {"type", 2, 2, false, {kClass, kMember}, "type CLASS MEMBER",
     "What MEMBER of CLASS yields: a method's return type, or a property's type with\n"
     "\"list of\", \"array of\" or \"relm of\" for collections and relationships.",
     &Type},
    {"signature", 2, 3, false, {kClass, kMember}, "signature CLASS METHOD [ARGUMENT]",
     "The signature of METHOD, with argument number ARGUMENT (from 1) singled out\n"
     "(highlighted on a terminal). Without ARGUMENT the whole signature in one piece.",
     &Signature},
    {"origin", 2, 3, false, {kClass, kMember}, "origin CLASS MEMBER [KIND]",
     "The class that defines MEMBER as CLASS sees it. KIND: 4 or 2 method (default 4),\n"
     "5 property, 10 class parameter.",
     &Origin},
    {"repl", 0, 0, false, {kNone, kNone}, "repl",
     "An interactive prompt with line editing, history and tab completion of class\n"
     "and member names. Type \"help\" there for its commands.",
     &RunRepl},
    {"demo", 0, 0, false, {kNone, kNone}, "demo", "Shows, on the bundled dictionary, each query a user would try.",
     &RunDemo},
    {"register", 0, 1, false, {kNone, kNone}, "register [MODULE]",
     "Registers the assistance component (default: the library beside the tool) in\n"
     "the runtime's registry, so that editors create it by its class identifier.",
     &Register},
    {"unregister", 0, 1, false, {kNone, kNone}, "unregister [MODULE]", "Removes the registration that register made.",
     &Unregister},
    {"registry", 0, 0, false, {kNone, kNone}, "registry", "Prints the runtime's registry as indented keys and values.",
     &Registry},
    {"help", 0, 1, false, {kNone, kNone}, "help [COMMAND]", "Shows the help of a command, or this overview.",
     &RunHelpCommand},
};

}  // namespace

std::span<const ToolCommand> ToolCommands() { return kCommands; }

const ToolCommand* FindToolCommand(std::string_view name) {
    auto found = std::find_if(std::begin(kCommands), std::end(kCommands),
                              [name](const ToolCommand& command) { return command.name == name; });
    return found == std::end(kCommands) ? nullptr : found;
}

}  // namespace vantle::tool
