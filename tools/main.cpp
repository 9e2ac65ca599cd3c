// vantle-assist: asks the code-assistance service what an editor would ask.
#include <signal.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <iostream>
#include <string>
#include <vector>

#include "ServiceSession.h"
#include "ToolCommandLine.h"
#include "ToolCommandTable.h"
#include "ToolExit.h"
#include "ToolHelp.h"
#include "ToolOutput.h"
#include "ToolReply.h"
#include "vantle/version.h"

namespace vantle::tool {
namespace {

bool WantsColor(ColorChoice choice) {
    if (choice != ColorChoice::kAuto) return choice == ColorChoice::kAlways;
    const char* noColor = std::getenv("NO_COLOR");
    const char* term = std::getenv("TERM");
    return isatty(STDOUT_FILENO) && (noColor == nullptr || *noColor == '\0') && term != nullptr &&
           std::strcmp(term, "dumb") != 0;
}

// Runs one command line (without the program name); returns the exit status.
int RunTool(const std::vector<std::string>& words, std::ostream& out, std::ostream& err) {
    CommandLine line;
    UsageError error;
    if (!ParseCommandLine(words, &line, &error)) {
        // The line is not understood, but a program that asked for JSON gets JSON.
        const bool json = std::find(words.begin(), words.end(), "--json") != words.end();
        Reply reply(out, err, json, line.command);
        reply.Fail(kExitUsage, error.message, error.suggestions, "see vantle-assist --help");
        return reply.Emit();
    }
    // --help of a command answers as the help command does.
    Reply reply(out, err, line.json, line.help ? std::string("help") : line.command, TextStyle{WantsColor(line.color)});
    if (line.version) {
        reply.Document()["version"] = VANTLE_VERSION_STRING;
        reply.Text() << "vantle-assist " VANTLE_VERSION_STRING "\n";
        return reply.Emit();
    }
    if (line.command.empty()) {
        if (!line.help) {
            reply.Fail(kExitUsage, "no command given", {}, "see vantle-assist --help");
            return reply.Emit();
        }
        RunHelpCommand(line, reply);
        return reply.Emit();
    }
    const ToolCommand& command = *FindToolCommand(line.command);
    if (line.help) {
        RunHelpCommand(line, reply);
        return reply.Emit();
    }
    if (!command.needsSession) {
        command.run(line, nullptr, reply);
        return reply.Emit();
    }
    SessionSettings settings;
    settings.modulePath = line.module;
    settings.dictionaryPath = line.dictionary.value_or(DefaultDictionaryPath());
    settings.sizeLimit = line.maxSize.value_or(kDefaultDictionaryLimit);
    settings.relativeClass = line.relative.value_or("");
    settings.importList = line.imports.value_or("");
    settings.includeInherited = !line.noInherited;
    ServiceSession session;
    std::vector<std::string> problems;
    if (int status = session.Open(settings, &problems); status != kExitFound) {
        const std::string hint = status == kExitDictionary && problems.size() > 1
                                     ? "vantle-assist check " + settings.dictionaryPath + " explains each problem"
                                     : std::string();
        for (std::size_t i = 0; i < problems.size(); ++i)
            reply.Fail(status, problems[i], {}, i + 1 == problems.size() ? hint : std::string());
        return reply.Emit();
    }
    command.run(line, &session, reply);
    return reply.Emit();
}

}  // namespace
}  // namespace vantle::tool

int main(int argc, char** argv) {
    using namespace vantle::tool;
    // A closed pipe is a failed write like any other; its errno tells it apart.
    signal(SIGPIPE, SIG_IGN);
    OutputBuffer buffer(STDOUT_FILENO);
    std::ostream out(&buffer);
    std::vector<std::string> words(argv + 1, argv + argc);
    int status = kExitInternal;
    try {
        status = RunTool(words, out, std::cerr);
    } catch (const std::exception& problem) {
        std::cerr << "vantle-assist: internal error: " << problem.what() << "\n";
        status = kExitInternal;
    }
    out.flush();
    if (buffer.Error() != 0) {
        // The reader of a pipe went away (| head): end quietly.
        if (buffer.Error() != EPIPE)
            std::cerr << "vantle-assist: cannot write the output: " << std::strerror(buffer.Error()) << "\n";
        return kExitInternal;
    }
    return status;
}
