// Help texts from the command table.
#include "ToolHelp.h"

#include <sys/ioctl.h>
#include <unistd.h>

#include "Suggest.h"
#include "ToolCommandTable.h"
#include "ToolExit.h"

namespace vantle::tool {
namespace {

struct ExitRow {
    int code;
    const char* meaning;
};

const ExitRow kExitRows[] = {
    {kExitFound, "found: the service answered, the class or member exists"},
    {kExitNotFound, "not found: no such class or member, nothing matches, or not registered"},
    {kExitUsage, "usage: a wrong command line or prompt line"},
    {kExitDictionary, "dictionary: it cannot be read or holds errors"},
    {kExitInternal, "internal: the service or the runtime failed, or the output cannot be written"},
};

std::string Summary(std::string_view help) {
    std::size_t end = help.find(". ");
    return std::string(end == std::string_view::npos ? help : help.substr(0, end + 1));
}

// "  --name VALUE   description" with the description wrapped in its column.
std::string Row(std::string_view left, std::string_view right, std::size_t width, std::size_t column = 22) {
    std::string text = "  ";
    text += left;
    if (text.size() + 2 > column) {
        text += "\n";
        text += std::string(column, ' ');
    } else {
        text += std::string(column - text.size(), ' ');
    }
    text += Wrap(right, width > column + 20 ? width - column : 20, column);
    return text + "\n";
}

std::string OptionLeft(const ToolOption& option) {
    std::string left(option.name);
    if (!option.valueName.empty()) {
        left += ' ';
        left += option.valueName;
    }
    return left;
}

std::string GlobalOptions(std::size_t width) {
    std::string text = "Options of every command:\n";
    for (const ToolOption& option : ToolOptions()) {
        if (option.global) text += Row(OptionLeft(option), option.help, width);
    }
    return text;
}

std::string ExitCodes(std::size_t width) {
    std::string text = "Exit status:\n";
    for (const ExitRow& row : kExitRows) text += Row(std::to_string(row.code), row.meaning, width, 6);
    return text;
}

Json OptionJson(const ToolOption& option) {
    return Json{{"name", option.name},
                {"value", option.valueName.empty() ? Json(nullptr) : Json(option.valueName)},
                {"description", option.help}};
}

Json CommandJson(const ToolCommand& command) {
    Json options = Json::array();
    for (std::string_view name : command.options) options.push_back(OptionJson(*FindToolOption(name)));
    return Json{{"name", command.name},
                {"usage", "vantle-assist " + std::string(command.usage)},
                {"summary", Summary(command.help)},
                {"description", command.help},
                {"options", options},
                {"atPrompt", command.atPrompt}};
}

}  // namespace

Json HelpCommands(std::string_view name, bool promptOnly) {
    Json commands = Json::array();
    for (const ToolCommand& command : ToolCommands()) {
        if ((name.empty() || command.name == name) && (!promptOnly || command.atPrompt))
            commands.push_back(CommandJson(command));
    }
    return commands;
}

std::size_t HelpWidth() {
    struct winsize size {};
    if (isatty(STDOUT_FILENO) && ioctl(STDOUT_FILENO, TIOCGWINSZ, &size) == 0 && size.ws_col > 0)
        return std::clamp<std::size_t>(size.ws_col, 40, 120);
    return 80;
}

std::string Wrap(std::string_view text, std::size_t width, std::size_t indent) {
    std::string out;
    std::size_t column = 0;
    std::size_t start = 0;
    while (start < text.size()) {
        if (text[start] == ' ') {
            ++start;
            continue;
        }
        if (text[start] == '\n') {
            out += '\n';
            out.append(indent, ' ');
            column = 0;
            ++start;
            continue;
        }
        std::size_t end = text.find_first_of(" \n", start);
        if (end == std::string_view::npos) end = text.size();
        const std::size_t length = end - start;
        if (column > 0 && column + 1 + length > width) {
            out += '\n';
            out.append(indent, ' ');
            column = 0;
        } else if (column > 0) {
            out += " ";
            ++column;
        }
        out += text.substr(start, length);
        column += length;
        start = end;
    }
    return out;
}

std::string CommandHelp(std::string_view name, std::size_t width, bool atPrompt) {
    const ToolCommand* command = FindToolCommand(name);
    if (command == nullptr) return {};
    std::string text = "Usage: vantle-assist " + std::string(command->usage) + "\n\n" + Wrap(command->help, width, 0) +
                       "\n\n";
    if (!command->options.empty()) {
        text += "Options of " + std::string(command->name) + ":\n";
        for (std::string_view option : command->options) {
            const ToolOption& entry = *FindToolOption(option);
            text += Row(OptionLeft(entry), entry.help, width);
        }
        text += "\n";
    }
    if (atPrompt) {
        return text + "Options of every query at the prompt:\n" +
               Row(OptionLeft(*FindToolOption("--json")), FindToolOption("--json")->help, width) +
               Row(OptionLeft(*FindToolOption("--help")), FindToolOption("--help")->help, width);
    }
    return text + GlobalOptions(width);
}

std::string GeneralHelp(std::size_t width) {
    std::string text =
        "Usage: vantle-assist COMMAND [ARGUMENTS] [OPTIONS]\n\n" +
        Wrap("Asks the code-assistance service about the classes of a class dictionary, as an editor does while "
             "the user types, checks dictionaries, and registers the component.",
             width, 0) +
        "\n\nCommands:\n";
    for (const ToolCommand& command : ToolCommands()) text += Row(command.usage, Summary(command.help), width, 38);
    text += '\n';
    text += GlobalOptions(width);
    text += "\nOptions of single commands:\n";
    for (const ToolOption& option : ToolOptions()) {
        if (!option.global) text += Row(OptionLeft(option), option.help, width);
    }
    text += '\n';
    text += ExitCodes(width);
    text += '\n';
    text += Wrap("Environment: NO_COLOR (no colours), TERM=dumb (no colours), VANTLE_DICTIONARY (the "
                        "default dictionary), KESTO_REGISTRY (the registry file), XDG_STATE_HOME (the prompt's "
                        "history).",
                        width, 0) +
            "\n";
    return text;
}

std::string PromptHelp(std::size_t width) {
    std::string text = "Queries (as on the command line, without \"vantle-assist\"):\n";
    for (const ToolCommand& command : ToolCommands()) {
        if (command.atPrompt) text += Row(command.usage, Summary(command.help), width, 38);
    }
    text += "Options at the prompt: --json, --extended, --flags N, --kind KIND, --help.\n\n";
    text += "Prompt commands:\n";
    text += Row(":set", "show the settings", width, 38);
    text += Row(":set flags N", "the default --flags of members", width, 38);
    text += Row(":set relative [CLASS]", "resolve short class names against CLASS (none without)", width, 38);
    text += Row(":set imports [LIST]", "packages to try for short class names (none without)", width, 38);
    text += Row(":set inherited on|off", "include inherited members", width, 38);
    text += Row(":set json on|off", "answer as JSON documents", width, 38);
    text += Row(":reload", "read the dictionary again (the loaded one stays on an error)", width, 38);
    text += Row("help [COMMAND]", "this text, or a query's help", width, 38);
    text += Row(":quit", "leave (Ctrl-D too; Ctrl-C cancels the line)", width, 38);
    return text + "Tab completes commands, options, class names and member names.\n";
}

int RunHelpCommand(const CommandLine& line, Reply& reply) {
    const std::size_t width = HelpWidth();
    const std::string topic = !line.arguments.empty() ? line.arguments[0]
                              : line.command != "help"  ? line.command
                                                        : std::string();
    if (topic.empty()) {
        Json options = Json::array(), exits = Json::array();
        for (const ToolOption& option : ToolOptions()) {
            if (option.global) options.push_back(OptionJson(option));
        }
        for (const ExitRow& row : kExitRows)
            exits.push_back(Json{{"code", row.code}, {"status", ExitStatusName(row.code)}, {"meaning", row.meaning}});
        reply.Document()["commands"] = HelpCommands("", false);
        reply.Document()["options"] = options;
        reply.Document()["exitCodes"] = exits;
        reply.Text() << GeneralHelp(width);
        return reply.ExitCode();
    }
    const ToolCommand* command = FindToolCommand(topic);
    if (command == nullptr) {
        std::vector<std::string> names;
        for (const ToolCommand& entry : ToolCommands()) names.emplace_back(entry.name);
        return reply.Fail(kExitUsage, "unknown command \"" + topic + "\"", Suggest(topic, names));
    }
    reply.Document()["commands"] = HelpCommands(topic, false);
    reply.Text() << CommandHelp(topic, width);
    return reply.ExitCode();
}

}  // namespace vantle::tool
