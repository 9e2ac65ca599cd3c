// vantle-assist: asks the code-assistance service what an editor would ask.
#include <unistd.h>

#include <cstdlib>
#include <iostream>
#include <string>
#include <vector>

#include "QueryCommands.h"
#include "ServiceSession.h"
#include "ToolCommandLine.h"
#include "ToolCommandTable.h"
#include "ToolHelp.h"
#include "vantle/version.h"

namespace vantle::tool {
namespace {

// Runs one command line (without the program name); returns the exit status.
int RunTool(const std::vector<std::string>& words, std::ostream& out, std::ostream& err) {
    CommandLine line;
    std::string error;
    if (!ParseCommandLine(words, &line, &error)) {
        err << "vantle-assist: " << error << "\n(see vantle-assist --help)\n";
        return 2;
    }
    if (line.version) {
        out << "vantle-assist " VANTLE_VERSION_STRING "\n";
        return 0;
    }
    if (line.command.empty()) {
        (line.help ? out : err) << GeneralHelp();
        return line.help ? 0 : 2;
    }
    const ToolCommand& command = *FindToolCommand(line.command);
    // "help" answers --help with what it answers anyway.
    if (line.help && command.name != "help") {
        out << CommandHelp(line.command);
        return 0;
    }
    if (const PlainHandler* run = std::get_if<PlainHandler>(&command.handler)) return (*run)(line, out, err);

    SessionSettings settings;
    settings.modulePath = line.module;
    settings.dictionaryPath = line.dictionary.empty() ? DefaultDictionaryPath() : line.dictionary;
    settings.relativeClass = line.relative;
    settings.importList = line.imports;
    settings.includeInherited = !line.noInherited;
    ServiceSession session;
    if (!session.Open(settings, &error)) {
        err << "vantle-assist: " << error << "\n";
        return 1;
    }
    if (const SessionHandler* run = std::get_if<SessionHandler>(&command.handler))
        return (*run)(session, line, out, err);
    QueryStyle style;
    style.json = line.json;
    style.highlight = &out == &std::cout && isatty(STDOUT_FILENO) && std::getenv("NO_COLOR") == nullptr;
    QueryCommands queries(session, out, err, style);
    return std::get<QueryHandler>(command.handler)(queries, line, err);
}

}  // namespace
}  // namespace vantle::tool

int main(int argc, char** argv) {
    std::vector<std::string> words(argv + 1, argv + argc);
    int status = vantle::tool::RunTool(words, std::cout, std::cerr);
    std::cout.flush();
    return status;
}
