// Completion candidates at the prompt.
#include "ReplCompletion.h"

#include <algorithm>

#include "ToolCommandLine.h"
#include "ToolCommandTable.h"
#include "vantle/assist.h"

namespace vantle::tool {
namespace {

void Offer(std::vector<std::string>* out, const std::vector<std::string>& words, const std::string& prefix) {
    for (const std::string& word : words) {
        if (word.starts_with(prefix)) out->push_back(word);
    }
}

unsigned int FilterOf(unsigned int kinds) {
    unsigned int filter = MEMBER_INTERNAL | MEMBER_DATATYPES;
    if (kinds & kMethods) filter |= MEMBER_CLASSMETHODS | MEMBER_INSTANCEMETHODS;
    if (kinds & kProperties) filter |= MEMBER_PROPERTIES;
    if (kinds & kParameters) filter |= MEMBER_PARAMETERS;
    return filter;
}

}  // namespace

bool PromptTakesOption(const std::string& option) {
    const std::string name = option.substr(0, option.find('='));
    return name == "--json" || name == "--help" || name == "-h" || name == "--flags" || name == "--kind" ||
           name == "--extended";
}

std::vector<std::string> PromptCandidates(const ServiceSession& session, const std::vector<std::string>& before,
                                          const std::string& prefix) {
    std::vector<std::string> out;
    if (before.empty()) {
        std::vector<std::string> words{":set", ":reload", ":quit", "help"};
        for (const ToolCommand& command : ToolCommands()) {
            if (command.atPrompt) words.emplace_back(command.name);
        }
        std::sort(words.begin(), words.end());
        Offer(&out, words, prefix);
        return out;
    }
    if (before[0] == ":set" || before[0] == "set") {
        if (before.size() == 1) Offer(&out, {"flags", "relative", "imports", "inherited", "json"}, prefix);
        if (before.size() == 2 && before[1] == "relative") Offer(&out, session.ClassNames(), prefix);
        if (before.size() == 2 && (before[1] == "inherited" || before[1] == "json")) Offer(&out, {"on", "off"}, prefix);
        return out;
    }
    if (before[0] == "help") {
        if (before.size() == 1) {
            for (const ToolCommand& command : ToolCommands()) {
                if (command.atPrompt && command.name.starts_with(prefix)) out.emplace_back(command.name);
            }
        }
        return out;
    }
    const ToolCommand* command = FindToolCommand(before[0]);
    if (command == nullptr || !command->atPrompt) return out;
    if (before.back() == "--kind") {
        Offer(&out, {"method", "property", "parameter"}, prefix);
        return out;
    }
    if (before.back() == "--flags") return out;
    if (prefix.starts_with("-")) {
        std::vector<std::string> options{"--json", "--help"};
        for (std::string_view option : command->options) options.emplace_back(option);
        Offer(&out, options, prefix);
        return out;
    }
    // The arguments so far, without options and their values; --kind narrows members.
    std::vector<std::string> arguments;
    unsigned int kinds = command->memberKinds;
    for (std::size_t i = 1; i < before.size(); ++i) {
        const std::string& word = before[i];
        if (word == "--kind" || word == "--flags") {
            if (i + 1 < before.size() && word == "--kind") {
                int kind = 0;
                if (ParseMemberKind(before[i + 1], &kind))
                    kinds = kind == SYMBOL_PROPERTY ? kProperties : kind == SYMBOL_CLASSPARAMETER ? kParameters : kMethods;
            }
            ++i;
        } else if (!word.starts_with("-")) {
            arguments.push_back(word);
        }
    }
    if (arguments.size() >= command->completion.size()) return out;
    switch (command->completion[arguments.size()]) {
        case Completion::kClassName:
            Offer(&out, session.ClassNames(), prefix);
            break;
        case Completion::kMemberName:
            if (!arguments.empty()) {
                std::string full;
                if (session.ClassExists(arguments.back(), &full)) Offer(&out, session.MemberNames(full, FilterOf(kinds)), prefix);
            }
            break;
        default:
            break;
    }
    std::sort(out.begin(), out.end());
    out.erase(std::unique(out.begin(), out.end()), out.end());
    return out;
}

}  // namespace vantle::tool
