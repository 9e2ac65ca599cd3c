// ShellCompletion: completion scripts for bash, zsh and fish, written from the
// command table, so they offer exactly the commands and options the parser
// takes. Class and member names come from the tool itself at completion time
// ("vantle-assist classes PREFIX", "vantle-assist members CLASS").
#ifndef VANTLE_TOOLS_SHELLCOMPLETION_H_
#define VANTLE_TOOLS_SHELLCOMPLETION_H_

#include <string>
#include <string_view>

#include "ToolCommandLine.h"
#include "ToolReply.h"

namespace vantle::tool {

// Empty for a shell it does not know.
std::string CompletionScript(std::string_view shell);

int RunCompletionCommand(const CommandLine& line, class ServiceSession* session, Reply& reply);

}  // namespace vantle::tool

#endif  // VANTLE_TOOLS_SHELLCOMPLETION_H_
