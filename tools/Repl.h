// The interactive prompt: query commands typed one line at a time, with "set" lines
// for the session's settings. On a terminal it edits lines, keeps a history and
// completes commands, class and member names; otherwise it reads standard input
// line by line. Returns the worst exit code of the lines it ran.
#ifndef VANTLE_TOOLS_REPL_H_
#define VANTLE_TOOLS_REPL_H_

#include <ostream>

#include "ServiceSession.h"
#include "ToolCommandLine.h"

namespace vantle::tool {

int RunRepl(ServiceSession& session, const CommandLine& line, std::ostream& out, std::ostream& err);

}  // namespace vantle::tool

#endif  // VANTLE_TOOLS_REPL_H_
