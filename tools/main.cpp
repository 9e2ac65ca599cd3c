// vantle-assist: asks the code-assistance service what an editor would ask.
#include <unistd.h>

#include <cstdlib>

#include "tools/ToolCommands.h"

namespace vantle::tool {

int RunQuery(QueryCommands& queries, const CommandLine& line, std::ostream& err) {
    const std::vector<std::string>& args = line.arguments;
    const std::string& command = line.command;
    if (command == "classes") return queries.Classes(args.empty() ? std::string() : args[0]);
    if (command == "members") return queries.Members(args[0], line.flags, line.extended);
    if (command == "type") return queries.Type(args[0], args[1]);
    unsigned long number = 0;
    if (command == "signature") {
        if (args.size() > 2 && !ParseUnsigned(args[2], 0xFFFFFFFFul, &number)) {
            err << "vantle-assist: ARGUMENT must be a whole number, not \"" << args[2] << "\"\n";
            return 2;
        }
        return queries.Signature(args[0], args[1], number);
    }
    if (command == "origin") {
        number = SYMBOL_MEMBERMETHOD;
        if (args.size() > 2 && !ParseUnsigned(args[2], 0x7FFFFFFFul, &number)) {
            err << "vantle-assist: KIND must be a whole number, not \"" << args[2] << "\"\n";
            return 2;
        }
        return queries.Origin(args[0], args[1], static_cast<int>(number));
    }
    err << "vantle-assist: \"" << command << "\" is not a query\n";
    return 2;
}

int RunTool(const std::vector<std::string>& words, std::ostream& out, std::ostream& err) {
    CommandLine line;
    std::string error;
    if (!ParseCommandLine(words, &line, &error)) {
        err << "vantle-assist: " << error << "\n(see vantle-assist --help)\n";
        return 2;
    }
    if (line.command.empty()) {
        (line.help ? out : err) << GeneralHelp();
        return line.help ? 0 : 2;
    }
    if (line.command == "help") {
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
    if (line.help) {
        out << CommandHelp(line.command);
        return 0;
    }
    if (line.command == "register" || line.command == "unregister") {
        std::string module = line.arguments.empty() ? DefaultModulePath() : line.arguments[0];
        return RunRegisterCommand(module, line.command == "register", out, err);
    }
    if (line.command == "registry") return RunRegistryDumpCommand(out, err);

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
    if (line.command == "repl") return RunRepl(session, line, out, err);
    if (line.command == "demo") return RunDemo(session, line, out, err);
    QueryStyle style;
    style.json = line.json;
    style.highlight = &out == &std::cout && isatty(STDOUT_FILENO) && std::getenv("NO_COLOR") == nullptr;
    QueryCommands queries(session, out, err, style);
    return RunQuery(queries, line, err);
}

}  // namespace vantle::tool

int main(int argc, char** argv) {
    std::vector<std::string> words(argv + 1, argv + argc);
    int status = vantle::tool::RunTool(words, std::cout, std::cerr);
    std::cout.flush();
    return status;
}
