// ToolHelp: the tool's help texts, written from the command table, and the help
// command. A command's help is its usage, its description and the options every
// command takes; the overview lists each command with the first line of its help.
#ifndef VANTLE_TOOLS_TOOLHELP_H_
#define VANTLE_TOOLS_TOOLHELP_H_

#include <ostream>
#include <string>
#include <string_view>

#include "ToolCommandLine.h"

namespace vantle::tool {

// Empty for a name that is no command.
std::string CommandHelp(std::string_view command);
std::string GeneralHelp();

// "help [COMMAND]": the overview, or one command's help (exit 2 for an unknown one).
int RunHelpCommand(const CommandLine& line, std::ostream& out, std::ostream& err);

}  // namespace vantle::tool

#endif  // VANTLE_TOOLS_TOOLHELP_H_
