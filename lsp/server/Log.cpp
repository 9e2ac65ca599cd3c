// Log lines to standard error and the client.
#include "server/Log.h"

#include <cstdio>

namespace vantle::lsp {

std::optional<LogLevel> ParseLogLevel(std::string_view name) {
    if (name == "error") return LogLevel::Error;
    if (name == "warn") return LogLevel::Warn;
    if (name == "info") return LogLevel::Info;
    if (name == "debug") return LogLevel::Debug;
    return std::nullopt;
}

void Logger::Log(LogLevel level, const std::string& text) const {
    if (!Enabled(level)) return;
    static const char* const kNames[] = {"", "error", "warn", "info", "debug"};
    const std::string line = "vantle-lsp [" + std::string(kNames[static_cast<int>(level)]) + "] " + text + "\n";
    std::fwrite(line.data(), 1, line.size(), stderr);  // one call: lines of two threads do not interleave
    if (sink_) sink_(level, text);
}

}  // namespace vantle::lsp
