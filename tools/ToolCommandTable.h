// ToolCommandTable: every command of the host tool, once. The command-line parser
// checks arguments and options against it, the help texts are written from it, the
// prompt completes and refuses by it, and the dispatcher runs its handlers.
//
// A handler's type says what it needs: nothing but its line (help, registration),
// an open service session (the prompt, the demo), or a query runner. Handlers
// return the process exit code and see only lines the parser accepted.
#ifndef VANTLE_TOOLS_TOOLCOMMANDTABLE_H_
#define VANTLE_TOOLS_TOOLCOMMANDTABLE_H_

#include <array>
#include <cstddef>
#include <ostream>
#include <span>
#include <string_view>
#include <variant>

#include "ToolCommandLine.h"

namespace vantle::tool {

class QueryCommands;
class ServiceSession;

using PlainHandler = int (*)(const CommandLine& line, std::ostream& out, std::ostream& err);
using SessionHandler = int (*)(ServiceSession& session, const CommandLine& line, std::ostream& out,
                               std::ostream& err);
using QueryHandler = int (*)(QueryCommands& queries, const CommandLine& line, std::ostream& err);

// What Tab offers at the prompt for an argument.
enum class Completion { kNothing, kClassName, kMemberName /* of the class in the argument before */ };

struct ToolCommand {
    std::string_view name;
    std::size_t minArguments;
    std::size_t maxArguments;
    bool memberOptions;                    // --flags and --extended are allowed
    std::array<Completion, 2> completion;  // of the first and second argument
    std::string_view usage;                // "name ARGUMENTS [OPTIONS]"
    std::string_view help;                 // its first line is the summary
    std::variant<PlainHandler, SessionHandler, QueryHandler> handler;

    // Queries are what the prompt runs.
    bool IsQuery() const { return std::holds_alternative<QueryHandler>(handler); }
};

// In the order the help lists them.
std::span<const ToolCommand> ToolCommands();
// NULL for a name that is no command.
const ToolCommand* FindToolCommand(std::string_view name);

}  // namespace vantle::tool

#endif  // VANTLE_TOOLS_TOOLCOMMANDTABLE_H_
