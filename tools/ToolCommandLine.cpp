// Command-line parsing against the command table.
#include "ToolCommandLine.h"

#include <cerrno>
#include <cstdlib>

#include "ToolCommandTable.h"

namespace vantle::tool {

bool ParseUnsigned(const std::string& text, unsigned long maximum, unsigned long* value) {
    if (text.empty() || text[0] == '-' || text[0] == '+' || text[0] == ' ') return false;
    int base = 10;
    const char* digits = text.c_str();
    if (text.size() > 2 && text[0] == '0' && (text[1] == 'x' || text[1] == 'X')) {
        base = 16;
        digits += 2;
    }
    char* end = nullptr;
    errno = 0;
    unsigned long parsed = std::strtoul(digits, &end, base);
    if (errno != 0 || end == digits || *end != '\0' || parsed > maximum) return false;
    *value = parsed;
    return true;
}

bool ParseCommandLine(const std::vector<std::string>& words, CommandLine* line, std::string* error) {
    *line = CommandLine{};
    bool optionsEnded = false;
    std::vector<std::string> positional;
    for (std::size_t i = 0; i < words.size(); ++i) {
        const std::string& word = words[i];
        if (optionsEnded || word.size() < 2 || word[0] != '-') {
            positional.push_back(word);
            continue;
        }
        if (word == "--") {
            optionsEnded = true;
            continue;
        }
        std::string name = word;
        std::string value;
        bool inlineValue = false;
        if (std::size_t equals = word.find('='); equals != std::string::npos && word.rfind("--", 0) == 0) {
            name = word.substr(0, equals);
            value = word.substr(equals + 1);
            inlineValue = true;
        }
        auto takeValue = [&](std::string* into) {
            if (inlineValue) {
                *into = value;
                return true;
            }
            if (i + 1 >= words.size()) {
                *error = "option " + name + " needs a value";
                return false;
            }
            *into = words[++i];
            return true;
        };
        auto noValue = [&](bool* into) {
            if (inlineValue) {
                *error = "option " + name + " takes no value";
                return false;
            }
            *into = true;
            return true;
        };
        bool ok;
        if (name == "--help" || name == "-h") {
            ok = noValue(&line->help);
        } else if (name == "--version") {
            ok = noValue(&line->version);
        } else if (name == "--json") {
            ok = noValue(&line->json);
        } else if (name == "--no-inherited") {
            ok = noValue(&line->noInherited);
        } else if (name == "--extended") {
            ok = noValue(&line->extended);
        } else if (name == "--dictionary") {
            ok = takeValue(&line->dictionary);
        } else if (name == "--module") {
            ok = takeValue(&line->module);
        } else if (name == "--relative") {
            ok = takeValue(&line->relative);
        } else if (name == "--import") {
            ok = takeValue(&line->imports);
        } else if (name == "--flags") {
            std::string text;
            unsigned long flags = 0;
            ok = takeValue(&text);
            if (ok && !ParseUnsigned(text, 0xFFFFFFFFul, &flags)) {
                *error = "--flags needs a whole number, not \"" + text + "\"";
                ok = false;
            }
            line->flags = static_cast<unsigned int>(flags);
            line->flagsGiven = true;
        } else {
            *error = "unknown option " + name;
            ok = false;
        }
        if (!ok) return false;
    }
    if (positional.empty()) return true;
    line->command = positional.front();
    line->arguments.assign(positional.begin() + 1, positional.end());
    const ToolCommand* entry = FindToolCommand(line->command);
    if (entry == nullptr) {
        *error = "unknown command \"" + line->command + "\"";
        return false;
    }
    if (line->help) return true;
    if (line->arguments.size() < entry->minArguments || line->arguments.size() > entry->maxArguments) {
        *error = "usage: vantle-assist " + std::string(entry->usage);
        return false;
    }
    if (!entry->memberOptions && (line->flagsGiven || line->extended)) {
        *error = "--flags and --extended belong to the members command";
        return false;
    }
    return true;
}

}  // namespace vantle::tool
