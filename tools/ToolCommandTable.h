// ToolCommandTable: every command and option of the host tool, once. The
// command-line parser builds its CLI11 parser from it, the help texts, the man
// page and the shell completions are written from it, the prompt completes and
// refuses by it, and the dispatcher runs its handlers.
//
// A handler sees only lines the parser accepted. It gets the open service session
// when the command needs one (else NULL), answers through the Reply and returns
// the exit code.
#ifndef VANTLE_TOOLS_TOOLCOMMANDTABLE_H_
#define VANTLE_TOOLS_TOOLCOMMANDTABLE_H_

#include <array>
#include <cstddef>
#include <span>
#include <string_view>

#include "ToolCommandLine.h"

namespace vantle::tool {

class Reply;
class ServiceSession;

using Handler = int (*)(const CommandLine& line, ServiceSession* session, Reply& reply);

// What Tab offers for an argument.
enum class Completion {
    kNothing,
    kClassName,
    kMemberName,  // of the class in the argument before, of the kinds the command accepts
    kFile,
    kCommand,
    kShell,
};

// Member kinds as bits, for the completion of member names.
enum MemberKindBits : unsigned int { kMethods = 1, kProperties = 2, kParameters = 4 };

struct ToolOption {
    std::string_view name;       // "--flags"
    std::string_view valueName;  // "N"; empty for a switch
    std::string_view help;
    std::span<const std::string_view> values;  // the allowed words, for completion; may be empty
    bool global;                                // taken by every command
};

struct ToolCommand {
    std::string_view name;
    std::size_t minArguments;
    std::size_t maxArguments;
    std::span<const std::string_view> options;  // the command's own options, beyond the global ones
    std::array<Completion, 3> completion;       // of the first three arguments (check: every one)
    unsigned int memberKinds;                   // what kMemberName offers
    bool needsSession;
    bool atPrompt;  // a query the prompt runs
    std::string_view usage;  // "name ARGUMENTS [OPTIONS]"
    std::string_view help;   // its first sentence is the summary
    Handler run;
};

// In the order the help lists them.
std::span<const ToolCommand> ToolCommands();
std::span<const ToolOption> ToolOptions();
// NULL for a name that is no command or option.
const ToolCommand* FindToolCommand(std::string_view name);
const ToolOption* FindToolOption(std::string_view name);
// Whether `command` takes `option` (global, or its own).
bool CommandTakesOption(const ToolCommand& command, std::string_view option);

}  // namespace vantle::tool

#endif  // VANTLE_TOOLS_TOOLCOMMANDTABLE_H_
