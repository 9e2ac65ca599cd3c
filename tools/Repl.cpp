// The interactive prompt: line editing, history and completion from the service.
#include "Repl.h"

#include <editline/readline.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <initializer_list>
#include <iostream>
#include <string_view>

#include "QueryCommands.h"
#include "ToolCommandTable.h"
#include "ToolHelp.h"
#include "ToolText.h"

namespace vantle::tool {
namespace {

// The prompt's help: its commands in two columns, then the lines only it knows.
std::string PromptHelp() {
    const auto row = [](std::string_view left, std::string_view right) {
        std::string text = "  ";
        text += left;
        text += std::string(left.size() < 36 ? 36 - left.size() : 1, ' ');
        text += right;
        return text + "\n";
    };
    std::vector<std::string_view> cells;
    for (const ToolCommand& command : ToolCommands()) {
        if (command.IsQuery()) cells.push_back(command.usage);
    }
    cells.push_back("--json after any of them for JSON");
    std::string text = "Commands (as on the command line, without \"vantle-assist\"):\n";
    for (std::size_t i = 0; i < cells.size(); i += 2) {
        text += i + 1 < cells.size() ? row(cells[i], cells[i + 1]) : "  " + std::string(cells[i]) + "\n";
    }
    text += row("set relative CLASS | set relative", "resolve short names against CLASS (or none)");
    text += row("set import LIST | set import", "packages to try for short names (or none)");
    text += row("set inherited on|off", "include inherited members");
    text += row("help [COMMAND]", "quit (or end of input)");
    return text + "Tab completes commands, class names and member names.\n";
}

// The session the completion callbacks ask; readline's callbacks carry no context.
ServiceSession* g_completionSession = nullptr;
std::vector<std::string> g_candidates;
std::size_t g_nextCandidate = 0;

std::vector<std::string> ClassCandidates(const std::string& prefix) {
    kesto::String list;
    if (FAILED(g_completionSession->Assist()->GetClassList(kesto::wide(ToUtf16(prefix)), list.out()))) return {};
    return SplitList(Utf8(list));
}

std::vector<std::string> MemberCandidates(const std::string& className, const std::string& prefix) {
    kesto::String list;
    auto everything = static_cast<MEMBER_FILTER_FLAGS>(MEMBER_CLASSMETHODS | MEMBER_INSTANCEMETHODS |
                                                       MEMBER_PROPERTIES | MEMBER_INTERNAL | MEMBER_PARAMETERS |
                                                       MEMBER_DATATYPES);
    if (FAILED(g_completionSession->Assist()->GetClassMembers(kesto::wide(ToUtf16(className)), everything,
                                                               list.out())))
        return {};
    std::vector<std::string> names;
    for (std::string entry : SplitList(Utf8(list))) {
        if (!entry.empty() && entry.back() == '(') entry.pop_back();
        if (entry.rfind(prefix, 0) == 0) names.push_back(entry);
    }
    return names;
}

char* NextCandidate(const char*, int state) {
    if (state == 0) g_nextCandidate = 0;
    if (g_nextCandidate >= g_candidates.size()) return nullptr;
    return strdup(g_candidates[g_nextCandidate++].c_str());
}

void OfferWords(std::initializer_list<std::string_view> words, const std::string& prefix) {
    for (std::string_view word : words) {
        if (word.starts_with(prefix)) g_candidates.emplace_back(word);
    }
}

char** Complete(const char* text, int start, int) {
    rl_attempted_completion_over = 1;  // never fall back to file names
    std::string before(rl_line_buffer, rl_line_buffer + start);
    std::vector<std::string> words = SplitWords(before);
    std::string prefix = text;
    g_candidates.clear();
    if (words.empty()) {
        for (const ToolCommand& command : ToolCommands()) OfferWords({command.name}, prefix);
        OfferWords({"set", "quit"}, prefix);
    } else if (words[0] == "set") {
        if (words.size() == 1) OfferWords({"relative", "import", "inherited"}, prefix);
        if (words.size() == 2 && words[1] == "relative") g_candidates = ClassCandidates(prefix);
    } else if (const ToolCommand* command = FindToolCommand(words[0]); command && words.size() <= 2) {
        switch (command->completion[words.size() - 1]) {
            case Completion::kClassName:
                g_candidates = ClassCandidates(prefix);
                break;
            case Completion::kMemberName:
                g_candidates = MemberCandidates(words.back(), prefix);
                break;
            case Completion::kNothing:
                break;
        }
    }
    if (g_candidates.empty()) return nullptr;
    return rl_completion_matches(text, NextCandidate);
}

std::string HistoryPath() {
    const char* home = std::getenv("HOME");
    return home && *home ? std::string(home) + "/.vantle_assist_history" : std::string();
}

// A "set" line; false with a message when it is not one the prompt knows.
bool ApplySetting(ServiceSession& session, const std::vector<std::string>& words, std::ostream& err) {
    const std::string what = words.size() > 1 ? words[1] : "";
    const std::string value = words.size() > 2 ? words[2] : "";
    HRESULT hr = S_OK;
    if (what == "relative" && words.size() <= 3) {
        hr = session.SetRelativeClass(value);
    } else if (what == "import" && words.size() <= 3) {
        hr = session.SetImportList(value);
    } else if (what == "inherited" && words.size() == 3 && (value == "on" || value == "off")) {
        hr = session.SetIncludeInherited(value == "on");
    } else {
        err << "usage: set relative [CLASS] | set import [LIST] | set inherited on|off\n";
        return false;
    }
    if (FAILED(hr)) err << "the service refused the setting\n";
    return SUCCEEDED(hr);
}

}  // namespace

int RunRepl(ServiceSession& session, const CommandLine& line, std::ostream& out, std::ostream& err) {
    const bool interactive = isatty(STDIN_FILENO) != 0;
    QueryStyle style;
    style.highlight = interactive && isatty(STDOUT_FILENO) && std::getenv("NO_COLOR") == nullptr;
    QueryCommands queries(session, out, err, style);
    const std::string history = HistoryPath();
    if (interactive) {
        g_completionSession = &session;
        rl_readline_name = "vantle-assist";
        rl_basic_word_break_characters = " \t";
        rl_attempted_completion_function = Complete;
        stifle_history(500);
        if (!history.empty()) read_history(history.c_str());
        out << "vantle-assist: " << (line.dictionary.empty() ? "bundled dictionary" : line.dictionary)
            << ". Type help for commands, Tab to complete, quit to leave.\n";
    }
    int worstStatus = 0;  // a script fed to the prompt learns whether any line failed
    for (;;) {
        std::string text;
        if (interactive) {
            out.flush();
            char* read = readline("assist> ");
            if (read == nullptr) break;
            text = read;
            std::free(read);
            if (!text.empty()) add_history(text.c_str());
        } else if (!std::getline(std::cin, text)) {
            break;
        }
        std::vector<std::string> words = SplitWords(text);
        if (words.empty() || words[0][0] == '#') continue;
        if (words[0] == "quit" || words[0] == "exit") break;
        if (words[0] == "set") {
            if (!ApplySetting(session, words, err)) worstStatus = std::max(worstStatus, 2);
            continue;
        }
        if (words[0] == "help" || words[0] == "?") {
            std::string help = words.size() > 1 ? CommandHelp(words[1]) : std::string();
            out << (help.empty() ? PromptHelp() : help);
            continue;
        }
        CommandLine parsed;
        std::string error;
        if (!ParseCommandLine(words, &parsed, &error)) {
            err << error << "\n";
            worstStatus = std::max(worstStatus, 2);
            continue;
        }
        if (parsed.help) {
            out << CommandHelp(parsed.command);
            continue;
        }
        if (!parsed.dictionary.empty() || !parsed.module.empty() || !parsed.relative.empty() ||
            !parsed.imports.empty() || parsed.noInherited) {
            err << "inside the prompt use set relative / set import / set inherited; the dictionary and module "
                   "are fixed\n";
            worstStatus = std::max(worstStatus, 2);
            continue;
        }
        const ToolCommand* command = FindToolCommand(parsed.command);
        if (command == nullptr) {  // options alone
            err << "vantle-assist: \"\" is not a query\n";
            worstStatus = std::max(worstStatus, 2);
            continue;
        }
        if (!command->IsQuery()) {
            err << parsed.command << " is not available inside the prompt\n";
            worstStatus = std::max(worstStatus, 2);
            continue;
        }
        QueryStyle lineStyle = style;
        lineStyle.json = parsed.json || line.json;
        queries.SetStyle(lineStyle);
        worstStatus = std::max(worstStatus, std::get<QueryHandler>(command->handler)(queries, parsed, err));
    }
    if (interactive) {
        out << "\n";
        if (!history.empty()) write_history(history.c_str());
        g_completionSession = nullptr;
    }
    return worstStatus;
}

}  // namespace vantle::tool
