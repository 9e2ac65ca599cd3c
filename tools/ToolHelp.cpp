// Help texts from the command table.
#include "ToolHelp.h"

#include "ToolCommandTable.h"

namespace vantle::tool {
namespace {

const char kCommonOptions[] =
    "Options of every command:\n"
    "  --json              one JSON object per command, for programs\n"
    "  --dictionary FILE   the class dictionary to load (default: the bundled one)\n"
    "  --module PATH       load the assistance component from PATH instead of\n"
    "                      creating it as a registered class\n"
    "  --relative CLASS    resolve short class names against CLASS's package\n"
    "  --import LIST       comma-separated packages to try for short class names\n"
    "  --no-inherited      leave inherited members out\n"
    "  --help              help for the command\n"
    "  --version           the version of vantle-assist\n";

}  // namespace

std::string CommandHelp(std::string_view command) {
    const ToolCommand* entry = FindToolCommand(command);
    if (entry == nullptr) return {};
    std::string text = "Usage: vantle-assist ";
    text += entry->usage;
    text += "\n\n";
    text += entry->help;
    return text + "\n\n" + kCommonOptions;
}

std::string GeneralHelp() {
    std::string text =
        "Usage: vantle-assist COMMAND [ARGUMENTS] [OPTIONS]\n\n"
        "Asks the code-assistance service about the classes of a class dictionary,\n"
        "as an editor does while the user types.\n\nCommands:\n";
    for (const ToolCommand& entry : ToolCommands()) {
        text += "  ";
        text += entry.usage;
        text += std::string(entry.usage.size() < 40 ? 40 - entry.usage.size() : 1, ' ');
        text += entry.help.substr(0, entry.help.find('\n'));
        text += "\n";
    }
    text += "\n";
    text += kCommonOptions;
    text +=
        "\nExit status: 0 when the service answered (found or not), 1 when it failed\n"
        "(the message goes to standard error), 2 for a wrong command line.\n";
    return text;
}

int RunHelpCommand(const CommandLine& line, std::ostream& out, std::ostream& err) {
    if (line.arguments.empty()) {
        out << GeneralHelp();
        return 0;
    }
    std::string help = CommandHelp(line.arguments[0]);
    if (help.empty()) {
        err << "vantle-assist: unknown command \"" << line.arguments[0] << "\"\n";
        return 2;
    }
    out << help;
    return 0;
}

}  // namespace vantle::tool
