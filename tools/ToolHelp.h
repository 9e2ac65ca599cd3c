// ToolHelp: the tool's help texts, written from the command table and wrapped at
// word boundaries to the terminal's width (80 columns when not a terminal), and
// the help command. A command's help is its usage, its description, its own
// options and those of every command; the overview lists each command with its
// summary, the options and the exit codes. The prompt's help lists what the
// prompt accepts only.
#ifndef VANTLE_TOOLS_TOOLHELP_H_
#define VANTLE_TOOLS_TOOLHELP_H_

#include <cstddef>
#include <string>
#include <string_view>

#include "ToolCommandLine.h"
#include "ToolReply.h"

namespace vantle::tool {

// Columns for help text: the terminal's width on a terminal (40 to 120), else 80.
std::size_t HelpWidth();
// `text` wrapped to `width` columns, each line after the first indented by `indent`.
std::string Wrap(std::string_view text, std::size_t width, std::size_t indent);

// Empty for a name that is no command. At the prompt only the options the prompt
// takes are listed.
std::string CommandHelp(std::string_view command, std::size_t width, bool atPrompt = false);
std::string GeneralHelp(std::size_t width);
// The commands and settings of the prompt.
std::string PromptHelp(std::size_t width);

// The "commands" of a help document: every command, those the prompt runs, or one.
Json HelpCommands(std::string_view command, bool promptOnly);

// "help [COMMAND]" and --help: the overview, or one command's help (exit 2 for an
// unknown one); with --json the same as a document.
int RunHelpCommand(const CommandLine& line, Reply& reply);

}  // namespace vantle::tool

#endif  // VANTLE_TOOLS_TOOLHELP_H_
