// The interactive prompt: line editing, history and completion from the service.
#include "Repl.h"

#include <editline/readline.h>
#include <signal.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <iostream>

#include "DictionaryFile.h"
#include "QueryCommands.h"
#include "ReplCompletion.h"
#include "Suggest.h"
#include "ToolCommandTable.h"
#include "ToolExit.h"
#include "ToolHelp.h"
#include "ToolText.h"

namespace vantle::tool {
namespace {

constexpr std::uint64_t kHistoryLimit = 1 << 20;
constexpr int kHistoryLines = 500;

// The session the completion callbacks ask; readline's callbacks carry no context.
const ServiceSession* g_completionSession = nullptr;
std::vector<std::string> g_candidates;
std::size_t g_nextCandidate = 0;
volatile sig_atomic_t g_interrupted = 0;

void OnInterrupt(int) { g_interrupted = 1; }

char* NextCandidate(const char*, int state) {
    if (state == 0) g_nextCandidate = 0;
    if (g_nextCandidate >= g_candidates.size()) return nullptr;
    return strdup(g_candidates[g_nextCandidate++].c_str());
}

char** Complete(const char* text, int start, int) {
    rl_attempted_completion_over = 1;  // never fall back to file names
    const std::vector<std::string> before = SplitWords(std::string(rl_line_buffer, rl_line_buffer + start));
    g_candidates = PromptCandidates(*g_completionSession, before, text);
    if (g_candidates.empty()) return nullptr;
    return rl_completion_matches(text, NextCandidate);
}

// The history file, if it is one we may use: missing, or a regular file within the limit.
bool UsableHistory(const std::string& path, std::ostream& err) {
    struct stat status {};
    if (::stat(path.c_str(), &status) != 0) return errno == ENOENT;
    if (!S_ISREG(status.st_mode)) {
        err << "vantle-assist: the history file " << path << " is not a regular file; history is not kept\n";
        return false;
    }
    return true;
}

void LoadHistory(const std::string& path, std::ostream& err) {
    struct stat status {};
    if (::stat(path.c_str(), &status) != 0 || !UsableHistory(path, err)) return;
    if (static_cast<std::uint64_t>(status.st_size) > kHistoryLimit) {
        err << "vantle-assist: the history file " << path << " is larger than " << SizeText(kHistoryLimit)
            << "; it is not read (and not overwritten)\n";
        return;
    }
    read_history(path.c_str());
}

void SaveHistory(const std::string& path, std::ostream& err) {
    std::error_code ignored;
    std::filesystem::create_directories(std::filesystem::path(path).parent_path(), ignored);
    struct stat status {};
    if (::stat(path.c_str(), &status) == 0 &&
        (!S_ISREG(status.st_mode) || static_cast<std::uint64_t>(status.st_size) > kHistoryLimit))
        return;
    if (write_history(path.c_str()) != 0) err << "vantle-assist: cannot write the history to " << path << "\n";
}

// The prompt's own settings, besides those the session keeps.
struct PromptState {
    std::optional<unsigned int> flags;
    bool json = false;
};

std::string OnOff(bool on) { return on ? "on" : "off"; }

int ShowSettings(const ServiceSession& session, const PromptState& state, Reply& reply) {
    const SessionSettings& settings = session.Settings();
    const unsigned int flags = state.flags.value_or(MEMBER_CLASSMETHODS | MEMBER_INSTANCEMETHODS | MEMBER_PROPERTIES);
    Json& document = reply.Document();
    document["settings"] = Json{{"flags", flags},
                                {"relative", settings.relativeClass},
                                {"imports", settings.importList},
                                {"inherited", settings.includeInherited},
                                {"json", state.json},
                                {"dictionary", settings.dictionaryPath}};
    reply.Text() << "flags      " << flags << "\n"
                 << "relative   " << (settings.relativeClass.empty() ? "(none)" : settings.relativeClass) << "\n"
                 << "imports    " << (settings.importList.empty() ? "(none)" : settings.importList) << "\n"
                 << "inherited  " << OnOff(settings.includeInherited) << "\n"
                 << "json       " << OnOff(state.json) << "\n"
                 << "dictionary " << settings.dictionaryPath << "\n";
    return reply.ExitCode();
}

int ApplySetting(ServiceSession& session, PromptState& state, const std::vector<std::string>& words, Reply& reply) {
    if (words.size() == 1) return ShowSettings(session, state, reply);
    const std::string& what = words[1];
    const std::string value = words.size() > 2 ? words[2] : "";
    const char* usage = ":set [flags N | relative [CLASS] | imports [LIST] | inherited on|off | json on|off]";
    HRESULT hr = S_OK;
    if (words.size() > 3) return reply.Fail(kExitUsage, "too many words; usage: " + std::string(usage));
    if (what == "relative") {
        if (!value.empty() && !session.ClassExists(value))
            return reply.Fail(kExitNotFound, "class " + value + " does not exist", Suggest(value, session.ClassNames()));
        hr = session.SetRelativeClass(value);
    } else if (what == "imports" || what == "import") {
        hr = session.SetImportList(value);
    } else if ((what == "inherited" || what == "json") && (value == "on" || value == "off")) {
        if (what == "json") {
            state.json = value == "on";
        } else {
            hr = session.SetIncludeInherited(value == "on");
        }
    } else if (what == "flags") {
        unsigned long flags = 0;
        if (!ParseUnsigned(value, 63, &flags))
            return reply.Fail(kExitUsage, "flags is a sum of 1, 2, 4, 8, 16 and 32 (0 to 63), not \"" + value + "\"");
        state.flags = static_cast<unsigned int>(flags);
    } else {
        return reply.Fail(kExitUsage, "usage: " + std::string(usage),
                          Suggest(what, {"flags", "relative", "imports", "inherited", "json"}));
    }
    if (FAILED(hr)) return reply.Fail(kExitInternal, "the service refused the setting");
    return ShowSettings(session, state, reply);
}

// One prompt line; returns its exit code.
int RunLine(ServiceSession& session, PromptState& state, const std::string& text, std::ostream& out,
            std::ostream& err, const TextStyle& style, bool* quit) {
    std::vector<std::string> words = SplitWords(text);
    if (words.empty() || words[0][0] == '#') return kExitFound;
    const std::string& first = words[0];
    if (first == ":quit" || first == "quit" || first == "exit" || first == ":q") {
        *quit = true;
        return kExitFound;
    }
    Reply reply(out, err, state.json, first, style);
    if (text.find('\0') != std::string::npos) {
        reply.Fail(kExitUsage, "the line holds a NUL character; nothing was run");
        return reply.Emit();
    }
    if (first == ":set" || first == "set") {
        ApplySetting(session, state, words, reply);
        return reply.Emit();
    }
    if (first == ":reload") {
        std::vector<std::string> problems;
        if (int status = session.Reload(&problems); status != kExitFound) {
            for (std::size_t i = 1; i < problems.size(); ++i) reply.Fail(status, problems[i]);
            reply.Fail(status, problems.empty() ? "the dictionary cannot be read" : problems[0], {},
                       "the dictionary loaded before stays in use");
        } else {
            reply.Document()["dictionary"] = session.Settings().dictionaryPath;
            reply.Text() << "reloaded " << session.Settings().dictionaryPath << "\n";
        }
        return reply.Emit();
    }
    if (first == "help" || first == "?" || first == ":help") {
        if (words.size() > 1) {
            const ToolCommand* command = FindToolCommand(words[1]);
            if (command == nullptr || !command->atPrompt) {
                reply.Fail(kExitUsage, "no query \"" + words[1] + "\" at the prompt");
                return reply.Emit();
            }
            reply.Document()["commands"] = HelpCommands(words[1], true);
            reply.Text() << CommandHelp(words[1], HelpWidth(), true);
        } else {
            reply.Document()["commands"] = HelpCommands("", true);
            reply.Text() << PromptHelp(HelpWidth());
        }
        return reply.Emit();
    }
    for (const std::string& word : words) {
        if (word.starts_with("-") && word != "--" && !PromptTakesOption(word) && FindToolOption(word.substr(0, word.find('=')))) {
            reply.Fail(kExitUsage, word.substr(0, word.find('=')) + " is not taken at the prompt",
                       {}, "use :set for the settings; the dictionary and module are fixed (:reload reads it again)");
            return reply.Emit();
        }
    }
    CommandLine parsed;
    UsageError error;
    if (!ParseCommandLine(words, &parsed, &error)) {
        std::vector<std::string> suggestions = error.suggestions;
        // Suggest only what the prompt runs.
        suggestions.erase(std::remove_if(suggestions.begin(), suggestions.end(),
                                         [](const std::string& name) {
                                             const ToolCommand* command = FindToolCommand(name);
                                             return command != nullptr && !command->atPrompt;
                                         }),
                          suggestions.end());
        reply.Fail(kExitUsage, error.message, suggestions);
        return reply.Emit();
    }
    const ToolCommand* command = FindToolCommand(parsed.command);
    if (command == nullptr || !command->atPrompt) {
        reply.Fail(kExitUsage, (parsed.command.empty() ? std::string("options alone are") : parsed.command + " is") +
                                   " not a query; type help for what the prompt runs");
        return reply.Emit();
    }
    Reply answer(out, err, state.json || parsed.json, parsed.help ? "help" : parsed.command, style);
    if (parsed.help) {
        answer.Document()["commands"] = HelpCommands(parsed.command, true);
        answer.Text() << CommandHelp(parsed.command, HelpWidth(), true);
        return answer.Emit();
    }
    if (!parsed.flags && state.flags) parsed.flags = state.flags;
    command->run(parsed, &session, answer);
    return answer.Emit();
}

}  // namespace

std::string HistoryPath() {
    if (const char* state = std::getenv("XDG_STATE_HOME"); state != nullptr && state[0] == '/')
        return std::string(state) + "/vantle/history";
    const char* home = std::getenv("HOME");
    return home && *home ? std::string(home) + "/.local/state/vantle/history" : std::string();
}

int RunRepl(const CommandLine& line, ServiceSession* session, Reply& reply) {
    const bool interactive = isatty(STDIN_FILENO) != 0;
    PromptState state;
    state.json = line.json;
    std::ostream& lineOut = reply.Output();
    const TextStyle style = reply.Style();
    const std::string history = interactive ? HistoryPath() : std::string();
    struct sigaction previous {};
    if (interactive) {
        g_completionSession = session;
        rl_readline_name = "vantle-assist";
        rl_basic_word_break_characters = " \t";
        rl_attempted_completion_function = Complete;
        rl_catch_signals = 0;
        rl_initialize();
        stifle_history(kHistoryLines);
        if (!history.empty()) LoadHistory(history, reply.Err());
        struct sigaction interrupt {};
        interrupt.sa_handler = OnInterrupt;
        sigemptyset(&interrupt.sa_mask);
        interrupt.sa_flags = 0;  // no SA_RESTART: the read returns, the line is dropped
        sigaction(SIGINT, &interrupt, &previous);
        lineOut << "vantle-assist: " << session->Settings().dictionaryPath
                << ". Type help for commands, Tab to complete, Ctrl-D to leave.\n";
    }
    int worst = kExitFound;
    for (bool quit = false; !quit;) {
        std::string text;
        if (interactive) {
            lineOut.flush();
            g_interrupted = 0;
            char* read = readline("assist> ");
            if (g_interrupted) {
                std::free(read);
                lineOut << "^C\n";
                continue;
            }
            if (read == nullptr) break;
            text = read;
            std::free(read);
            if (!text.empty()) add_history(text.c_str());
        } else if (!std::getline(std::cin, text)) {
            break;
        }
        worst = std::max(worst, RunLine(*session, state, text, lineOut, reply.Err(), style, &quit));
        if (!lineOut) break;  // the reader went away
    }
    if (interactive) {
        sigaction(SIGINT, &previous, nullptr);
        lineOut << "\n";
        if (!history.empty()) SaveHistory(history, reply.Err());
        g_completionSession = nullptr;
    }
    reply.Silence();
    // A script fed to the prompt learns whether a line failed; a person saw it.
    return reply.Raise(interactive ? kExitFound : worst);
}

}  // namespace vantle::tool
