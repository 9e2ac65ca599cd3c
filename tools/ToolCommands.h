// The commands of the host tool that need a service: queries, the interactive
// prompt and the demo. RunTool is the whole program behind main().
#ifndef VANTLE_TOOLS_TOOLCOMMANDS_H_
#define VANTLE_TOOLS_TOOLCOMMANDS_H_

#include <iostream>
#include <string>
#include <vector>

#include "tools/QueryCommands.h"
#include "tools/RegistryCommands.h"
#include "tools/ServiceSession.h"
#include "tools/ToolCommandLine.h"

namespace vantle::tool {

// Runs one command line (without the program name); returns the exit status.
int RunTool(const std::vector<std::string>& words, std::ostream& out, std::ostream& err);

// The interactive prompt; reads `in` line by line when it is not a terminal.
int RunRepl(ServiceSession& session, const CommandLine& line, std::ostream& out, std::ostream& err);

// The tour of the bundled dictionary.
int RunDemo(ServiceSession& session, const CommandLine& line, std::ostream& out, std::ostream& err);

// Runs one query command of a parsed line against an open session.
int RunQuery(QueryCommands& queries, const CommandLine& line, std::ostream& err);

}  // namespace vantle::tool

#endif  // VANTLE_TOOLS_TOOLCOMMANDS_H_
