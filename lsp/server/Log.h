// server/Log.h: the server's log: standard error always, the client too once it
// is listening (window/logMessage), each at or above the chosen level.
//
// Log() may be called from any thread for standard error (lines are written
// whole); the client sink is only called on the thread that set it, the server's.
#ifndef VANTLE_LSP_SERVER_LOG_H_
#define VANTLE_LSP_SERVER_LOG_H_

#include <functional>
#include <optional>
#include <string>
#include <string_view>

namespace vantle::lsp {

enum class LogLevel { Error = 1, Warn = 2, Info = 3, Debug = 4 };  // LSP MessageType values

std::optional<LogLevel> ParseLogLevel(std::string_view name);

class Logger {
public:
    explicit Logger(LogLevel level) : level_(level) {}
    using Sink = std::function<void(LogLevel, const std::string&)>;
    void SetClientSink(Sink sink) { sink_ = std::move(sink); }
    bool Enabled(LogLevel level) const { return level <= level_; }
    void Log(LogLevel level, const std::string& text) const;

private:
    LogLevel level_;
    Sink sink_;
};

}  // namespace vantle::lsp

#endif  // VANTLE_LSP_SERVER_LOG_H_
