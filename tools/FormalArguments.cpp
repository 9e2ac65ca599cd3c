// Formal argument lists, read by the rules the signature rendering uses.
#include "FormalArguments.h"

#include <algorithm>
#include <cctype>

namespace vantle::tool {
namespace {

constexpr std::size_t kEnd = std::string_view::npos;

// The next item up to `separator` at depth 0 outside quotes, from `start`; *next
// is the separator's index or kEnd.
std::string_view Token(std::string_view text, char separator, std::size_t start, std::size_t* next) {
    if (start >= text.size()) {
        *next = kEnd;
        return {};
    }
    bool quoted = false;
    long depth = 0;
    for (std::size_t i = start; i < text.size(); ++i) {
        const char c = text[i];
        if (c == '"') {
            quoted = !quoted;
        } else if (c == '(' && !quoted) {
            ++depth;
        } else if (c == ')' && !quoted) {
            --depth;
        } else if (c == separator && depth == 0 && !quoted) {
            *next = i;
            return text.substr(start, i - start);
        }
    }
    *next = kEnd;
    return text.substr(start);
}

// Text with a piece in it, appended piece by piece: GCC 12 at -O3 takes
// "literal" + string for an overlapping copy and warns.
std::string Said(const char* before, std::string_view piece, const char* after) {
    std::string text(before);
    text += piece;
    text += after;
    return text;
}

bool IsNameStart(char c) { return std::isalpha(static_cast<unsigned char>(c)) || c == '%' || c == '_'; }
bool IsNamePart(char c) { return std::isalnum(static_cast<unsigned char>(c)) || c == '_'; }

// The quotes and parentheses of the whole text; false after reporting the first imbalance.
bool CheckBalance(std::string_view text, std::size_t base, std::vector<SpecProblem>* problems) {
    bool quoted = false;
    std::size_t quoteAt = 0;
    std::vector<std::size_t> open;
    for (std::size_t i = 0; i < text.size(); ++i) {
        const char c = text[i];
        if (c == '"') {
            quoted = !quoted;
            quoteAt = i;
        } else if (quoted) {
            continue;
        } else if (c == '(') {
            open.push_back(i);
        } else if (c == ')') {
            if (open.empty()) {
                problems->push_back({base + i, true, "\")\" without a \"(\" before it",
                                     "remove it or add the \"(\"; until the depth is back at 0 no \",\" splits "
                                     "arguments"});
                return false;
            }
            open.pop_back();
        }
    }
    if (quoted) {
        problems->push_back({base + quoteAt, true, "this double quote is never closed",
                             "close the quoted text; an open quote keeps \",\" from splitting the rest"});
        return false;
    }
    if (!open.empty()) {
        problems->push_back({base + open.back(), true, "this \"(\" is never closed", "add the \")\""});
        return false;
    }
    return true;
}

void CheckType(std::string_view type, std::size_t at, std::vector<SpecProblem>* problems, SpecArgument* argument) {
    const std::size_t paren = type.find('(');
    const std::string_view name = type.substr(0, paren);
    argument->typeName = std::string(name);
    if (name.empty()) {
        problems->push_back({at, true, "the type is missing after \":\"", "write the type, or drop the \":\""});
        return;
    }
    if (name.find_first_of(" \t") != std::string_view::npos) {
        problems->push_back({at, true, Said("the type \"", name, "\" holds a blank"),
                             "blanks are not trimmed: remove it"});
        return;
    }
    if (paren == kEnd) return;
    if (type.back() != ')') {
        problems->push_back({at + paren, true, "the type's parameters do not end the type",
                             "the service takes the type's last character for the closing \")\""});
        return;
    }
    const std::string_view parameters = type.substr(paren + 1, type.size() - paren - 2);
    std::size_t next = 0;
    for (std::size_t start = 0; next != kEnd; start = next + 1) {
        std::string_view item = Token(parameters, ',', start, &next);
        if (item.empty()) {
            problems->push_back({at + paren + 1 + start, false, "an empty type parameter",
                                 "the type is shown without the parameters from here on"});
            return;
        }
    }
}

}  // namespace

std::vector<SpecProblem> CheckFormalSpec(std::string_view text, std::vector<SpecArgument>* arguments) {
    std::vector<SpecProblem> problems;
    if (!CheckBalance(text, 0, &problems)) return problems;
    // TrimParens: every enclosing pair, matching or not.
    std::size_t base = 0;
    std::string_view list = text;
    while (list.size() >= 2 && list.front() == '(' && list.back() == ')') {
        list = list.substr(1, list.size() - 2);
        ++base;
    }
    if (base > 0 && !CheckBalance(list, base, &problems)) {
        problems.back().message += " once the enclosing parentheses are removed";
        return problems;
    }
    if (list.empty()) return problems;
    std::vector<std::string> seen;
    std::size_t next = 0;
    for (std::size_t start = 0;; start = next + 1) {
        std::string_view item = Token(list, ',', start, &next);
        const std::size_t at = base + start;
        if (item.empty()) {
            problems.push_back({at, true, "an empty argument",
                                "the signature is cut here: the arguments after it are never shown; remove the "
                                "extra \",\""});
            break;
        }
        SpecArgument argument;
        std::size_t k = (item[0] == '&' || item[0] == '.' || item[0] == '*') ? 1 : 0;
        std::size_t colon = 0, equals = 0;
        std::string_view name, type, value;
        bool hasType = false, hasDefault = false;
        Token(item, ':', k, &colon);
        if (colon != kEnd) {
            name = item.substr(k, colon - k);
            std::string_view rest = item.substr(colon + 1);
            type = Token(rest, '=', 0, &equals);
            hasType = true;
            if (equals != kEnd) {
                hasDefault = true;
                value = rest.substr(equals + 1);
                equals += colon + 1;
            }
        } else {
            name = Token(item, '=', k, &equals);
            if (equals != kEnd) {
                hasDefault = true;
                value = item.substr(equals + 1);
            }
        }
        argument.name = std::string(name);
        if (name.empty()) {
            problems.push_back({at + k, true, "an argument without a name", "write the name before \":\" or \"=\""});
        } else if (name.find_first_of(" \t") != std::string_view::npos) {
            problems.push_back({at + k, true, Said("the argument name \"", name, "\" holds a blank"),
                                k == 0 && name[0] == ' ' ? "blanks are not trimmed: a blank before \"&\", \".\" or "
                                                           "\"*\" defeats the mode"
                                                         : "blanks are not trimmed: remove it"});
        } else if (!IsNameStart(name[0]) ||
                   !std::all_of(name.begin() + 1, name.end(), [](char c) { return IsNamePart(c); })) {
            problems.push_back({at + k, true, Said("\"", name, "\" is not an argument name"),
                                "a name is letters and digits, starting with a letter or %"});
        } else if (std::find(seen.begin(), seen.end(), argument.name) != seen.end()) {
            problems.push_back({at + k, true, Said("the argument ", argument.name, " is named twice"),
                                "rename one of them"});
        } else {
            seen.push_back(argument.name);
        }
        if (hasType) CheckType(type, at + colon + 1, &problems, &argument);
        if (hasDefault && value.empty())
            problems.push_back({at + equals, true, "\"=\" without a default value", "write the value, or drop the \"=\""});
        arguments->push_back(std::move(argument));
        if (next == kEnd) break;
    }
    return problems;
}

}  // namespace vantle::tool
