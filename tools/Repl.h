// The interactive prompt: query commands typed one line at a time, and the
// prompt's own commands (:set, :reload, help, :quit). On a terminal it edits lines
// (libedit), keeps a history in $XDG_STATE_HOME/vantle/history (default
// ~/.local/state/vantle/history; a history file that is not a regular file, or is
// larger than 1 MiB, is left alone) and completes commands, options, classes and
// members; Ctrl-C cancels the line, Ctrl-D leaves. Otherwise it reads standard
// input line by line. Returns the worst exit code of the lines it ran.
#ifndef VANTLE_TOOLS_REPL_H_
#define VANTLE_TOOLS_REPL_H_

#include <string>

#include "ServiceSession.h"
#include "ToolCommandLine.h"
#include "ToolReply.h"

namespace vantle::tool {

int RunRepl(const CommandLine& line, ServiceSession* session, Reply& reply);

// Where the history is kept; empty when neither XDG_STATE_HOME nor HOME is set.
std::string HistoryPath();

}  // namespace vantle::tool

#endif  // VANTLE_TOOLS_REPL_H_
