// vantle-lsp: the code-assistance component as a Language Server Protocol server
// over standard input and output.
#include <unistd.h>

#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <iostream>
#include <string>
#include <string_view>

#include "bridge/Assistant.h"
#include "server/EventLoop.h"
#include "server/Server.h"
#include "vantle/version.h"

namespace {

constexpr const char* kUsage =
    "usage: vantle-lsp [--dictionary FILE] [--log-level error|warn|info|debug]\n"
    "       vantle-lsp --version | --help\n"
    "\n"
    "A Language Server Protocol 3.17 server for the class dictionary's language,\n"
    "over standard input and output. Logs go to standard error.\n"
    "\n"
    "  --dictionary FILE   the class dictionary (default: $VANTLE_DICTIONARY, else the\n"
    "                      bundled one); the setting \"dictionary\" overrides it\n"
    "  --log-level LEVEL   what to log, to standard error and to the client (default warn)\n"
    "  --version           print the version and exit\n"
    "  --help              print this text and exit\n";

// As the host tool finds it: $VANTLE_DICTIONARY, else the bundled dictionary
// relative to the executable.
std::string DefaultDictionaryPath() {
    if (const char* fromEnvironment = std::getenv("VANTLE_DICTIONARY"); fromEnvironment && *fromEnvironment)
        return fromEnvironment;
    return vantle::lsp::ExecutableDirectory() + "/" VANTLE_BIN_TO_DATA "/vantle/dictionaries/shop.json";
}

}  // namespace

int main(int argc, char** argv) {
    using namespace vantle::lsp;
    ServerOptions options;
    options.dictionaryPath = DefaultDictionaryPath();
    for (int i = 1; i < argc; ++i) {
        const std::string_view argument = argv[i];
        auto value = [&](std::string_view name) -> std::optional<std::string> {
            if (argument.substr(0, name.size() + 1) == std::string(name) + "=")
                return std::string(argument.substr(name.size() + 1));
            if (argument != name) return std::nullopt;
            if (i + 1 >= argc) {
                std::cerr << "vantle-lsp: " << name << " needs a value\n" << kUsage;
                std::exit(2);
            }
            return std::string(argv[++i]);
        };
        if (argument == "--help" || argument == "-h") {
            std::cout << kUsage;
            return 0;
        }
        if (argument == "--version") {
            std::cout << "vantle-lsp " VANTLE_VERSION_STRING "\n";
            return 0;
        }
        if (argument == "--stdio") continue;  // what some clients pass to say "standard streams"
        if (auto path = value("--dictionary")) {
            options.dictionaryPath = *path;
        } else if (auto level = value("--log-level")) {
            const auto parsed = ParseLogLevel(*level);
            if (!parsed) {
                std::cerr << "vantle-lsp: unknown log level \"" << *level << "\"\n" << kUsage;
                return 2;
            }
            options.logLevel = *parsed;
        } else {
            std::cerr << "vantle-lsp: unknown argument \"" << argument << "\"\n" << kUsage;
            return 2;
        }
    }
    std::error_code error;
    const std::filesystem::path absolute = std::filesystem::absolute(options.dictionaryPath, error);
    if (!error) options.dictionaryPath = absolute.lexically_normal().string();

    std::signal(SIGPIPE, SIG_IGN);  // a client that goes away is noticed when writing
    EventLoop loop(STDIN_FILENO, STDOUT_FILENO);
    Server server(
        options, [&loop](const Outgoing& message) { loop.Write(message); }, [&loop] { loop.Wake(); });
    return loop.Run(server);
}
