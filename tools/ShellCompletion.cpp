// Completion scripts from the command table.
#include "ShellCompletion.h"

#include "Suggest.h"
#include "ToolCommandTable.h"
#include "ToolExit.h"

namespace vantle::tool {
namespace {

std::string Join(std::span<const std::string_view> words) {
    std::string text;
    for (std::string_view word : words) {
        if (!text.empty()) text += ' ';
        text += word;
    }
    return text;
}

std::string GlobalOptionWords() {
    std::string text;
    for (const ToolOption& option : ToolOptions()) {
        if (!option.global) continue;
        if (!text.empty()) text += ' ';
        text += option.name;
    }
    return text;
}

const char* CompletionWord(Completion completion) {
    switch (completion) {
        case Completion::kClassName: return "class";
        case Completion::kMemberName: return "member";
        case Completion::kFile: return "file";
        case Completion::kCommand: return "command";
        case Completion::kShell: return "shell";
        case Completion::kNothing: break;
    }
    return "none";
}

// What a command's Nth argument completes to, and its options, as shell case arms.
std::string Arms(const char* indent, const char* joiner) {
    std::string arms;
    for (const ToolCommand& command : ToolCommands()) {
        arms += indent + std::string(command.name) + ")" + joiner + " own=\"" + Join(command.options) +
                "\"; kinds=\"";
        for (Completion completion : command.completion) arms += std::string(CompletionWord(completion)) + " ";
        arms += "\";" + std::string(joiner) + " ;;\n";
    }
    return arms;
}

std::string ValueArms(const char* indent) {
    std::string arms;
    for (const ToolOption& option : ToolOptions()) {
        if (option.valueName.empty()) continue;
        arms += indent + std::string(option.name) + ") values=\"";
        if (!option.values.empty()) {
            arms += Join(option.values) + "\"; files=0 ;;\n";
        } else {
            const bool files = option.name == "--dictionary" || option.name == "--module";
            arms += "\"; files=" + std::string(files ? "1" : "0") + " ;;\n";
        }
    }
    return arms;
}

std::string CommandWords() {
    std::string text;
    for (const ToolCommand& command : ToolCommands()) {
        if (!text.empty()) text += ' ';
        text += command.name;
    }
    return text;
}

// Texts are appended piece by piece throughout: GCC 12 at -O3 takes "literal" +
// string for an overlapping copy and warns.

// Options that take a value, as a shell pattern ("--a|--b").
std::string ValueOptionPattern() {
    std::string text;
    for (const ToolOption& option : ToolOptions()) {
        if (option.valueName.empty()) continue;
        if (!text.empty()) text += '|';
        text += option.name;
    }
    return text;
}

// The member filter each command's member argument completes from.
std::string MemberFilterArms(const char* indent) {
    std::string arms;
    for (const ToolCommand& command : ToolCommands()) {
        if (command.memberKinds == 0) continue;
        unsigned int filter = 8;  // internal members too
        if (command.memberKinds & kMethods) filter |= 1 | 2;
        if (command.memberKinds & kProperties) filter |= 4;
        if (command.memberKinds & kParameters) filter |= 16;
        arms += indent + std::string(command.name) + ") filter=" + std::to_string(filter) + " ;;\n";
    }
    return arms;
}

// The shell-neutral core, in POSIX sh words that bash and zsh both read: sets
// `candidates` (words) or `files` for the word being completed. Class and member
// names come from the tool, from the dictionary the line names if it names one.
std::string Core() {
    std::string text = "  local verbs=\"";
    text += CommandWords();
    return text + "\" globals=\"" + GlobalOptionWords() +
           "\"\n"
           "  local command=\"\" own=\"\" kinds=\"\" values=\"\" files=0 position=0 class=\"\" i=1 skip=0\n"
           "  local option=\"\" dictionary=\"\" filter=\"\" kindOption=\"\"\n"
           "  while [ $i -lt $current ]; do\n"
           "    word=\"${line[$i]}\"\n"
           "    if [ $skip = 1 ]; then\n"
           "      skip=0\n"
           "      [ \"$option\" = --dictionary ] && dictionary=\"$word\"\n"
           "      [ \"$option\" = --kind ] && kindOption=\"$word\"\n"
           "    else case \"$word\" in\n"
           "      --dictionary=*) dictionary=\"${word#--dictionary=}\" ;;\n"
           "      --kind=*) kindOption=\"${word#--kind=}\" ;;\n"
           "      --*=*) ;;\n"
           "      " + ValueOptionPattern() + ") skip=1; option=\"$word\" ;;\n"
           "      -*) ;;\n"
           "      *) if [ -z \"$command\" ]; then command=\"$word\"; else position=$((position + 1)); "
           "[ $position = 1 ] && class=\"$word\"; fi ;;\n"
           "    esac; fi\n"
           "    i=$((i + 1))\n"
           "  done\n"
           "  case \"$command\" in\n" +
           Arms("    ", "") +
           "  esac\n"
           "  case \"$command\" in\n" +
           MemberFilterArms("    ") +
           "  esac\n"
           "  case \"$kindOption\" in\n"
           "    method|4|2) filter=11 ;;\n"
           "    property|5) filter=12 ;;\n"
           "    parameter|10) filter=24 ;;\n"
           "  esac\n"
           "  candidates=\"\"\n"
           "  if [ $skip = 1 ]; then\n"
           "    case \"$previous\" in\n" +
           ValueArms("      ") +
           "    esac\n"
           "    candidates=\"$values\"\n"
           "    [ \"$previous\" = --relative ] && candidates=\"$(vantle-assist ${dictionary:+--dictionary "
           "\"$dictionary\"} classes \"$cur\" 2>/dev/null)\"\n"
           "  elif [ \"${cur#-}\" != \"$cur\" ]; then candidates=\"$globals $own\"\n"
           "  elif [ -z \"$command\" ]; then candidates=\"$verbs\"\n"
           "  else\n"
           "    set -- $kinds\n"
           "    kind=\"\"; [ $((position + 1)) -le $# ] && eval \"kind=\\${$((position + 1))}\"\n"
           "    [ \"$command\" = check ] && kind=file\n"
           "    case \"$kind\" in\n"
           "      class) candidates=\"$(vantle-assist ${dictionary:+--dictionary \"$dictionary\"} classes \"$cur\" "
           "2>/dev/null)\" ;;\n"
           "      member) candidates=\"$(vantle-assist ${dictionary:+--dictionary \"$dictionary\"} members \"$class\" "
           "--flags \"$filter\" 2>/dev/null | sed 's/()$//')\" ;;\n"
           "      file) files=1 ;;\n"
           "      command) candidates=\"$verbs\" ;;\n"
           "      shell) candidates=\"bash zsh fish\" ;;\n"
           "    esac\n"
           "  fi\n";
}

std::string Bash() {
    return "# bash completion for vantle-assist (written by \"vantle-assist completion bash\")\n"
           "_vantle_assist() {\n"
           "  local -a line=(\"${COMP_WORDS[@]}\")\n"
           "  local current=$COMP_CWORD cur=\"${COMP_WORDS[COMP_CWORD]}\" previous=\"${COMP_WORDS[COMP_CWORD-1]}\"\n"
           "  local word kind candidates\n" +
           Core() +
           "  if [ $files = 1 ]; then COMPREPLY=($(compgen -f -- \"$cur\")); return; fi\n"
           "  COMPREPLY=($(compgen -W \"$candidates\" -- \"$cur\"))\n"
           "}\n"
           "complete -F _vantle_assist vantle-assist\n";
}

std::string Zsh() {
    return "#compdef vantle-assist\n"
           "# zsh completion for vantle-assist (written by \"vantle-assist completion zsh\")\n"
           "_vantle_assist() {\n"
           "  setopt localoptions shwordsplit\n"
           "  local -a line\n"
           "  line=(\"${words[@]:1}\")\n"
           "  local current=$((CURRENT - 1)) cur=\"${words[CURRENT]}\" previous=\"${words[CURRENT-1]}\"\n"
           "  local word kind candidates\n" +
           Core() +
           "  if [ $files = 1 ]; then _files; return; fi\n"
           "  compadd -- $candidates\n"
           "}\n"
           "_vantle_assist \"$@\"\n";
}

// Text for inside fish's single quotes: a quote and a backslash escaped.
std::string FishQuoted(const std::string& text) {
    std::string out;
    for (char c : text) {
        if (c == '\'' || c == '\\') out += '\\';
        out += c;
    }
    return out;
}

// Options that take a value, as fish case words.
std::string FishValueOptions() {
    std::string text;
    for (const ToolOption& option : ToolOptions()) {
        if (option.valueName.empty()) continue;
        if (!text.empty()) text += ' ';
        text += option.name;
    }
    return text;
}

// The member filter of each command whose second argument is a member.
std::string FishFilterArms() {
    std::string arms;
    for (const ToolCommand& command : ToolCommands()) {
        if (command.memberKinds == 0) continue;
        unsigned int filter = 8;
        if (command.memberKinds & kMethods) filter |= 1 | 2;
        if (command.memberKinds & kProperties) filter |= 4;
        if (command.memberKinds & kParameters) filter |= 16;
        arms += "        case ";
        arms += command.name;
        arms += "\n            set filter ";
        arms += std::to_string(filter);
        arms += '\n';
    }
    return arms;
}

std::string Fish() {
    std::string text =
        "# fish completion for vantle-assist (written by \"vantle-assist completion fish\")\n"
        "complete -c vantle-assist -f\n";
    const std::string commands = CommandWords();
    for (const ToolCommand& command : ToolCommands()) {
        std::string summary(command.help.substr(0, command.help.find(". ")));
        summary = FishQuoted(summary);
        text += "complete -c vantle-assist -n 'not __fish_seen_subcommand_from " + commands + "' -a " +
                std::string(command.name) + " -d '" + summary + "'\n";
    }
    for (const ToolOption& option : ToolOptions()) {
        std::string help(option.help);
        help = FishQuoted(help);
        std::string condition;
        if (!option.global) {
            std::string owners;
            for (const ToolCommand& command : ToolCommands()) {
                if (!CommandTakesOption(command, option.name)) continue;
                owners += ' ';
                owners += command.name;
            }
            condition = " -n '__fish_seen_subcommand_from" + owners + "'";
        }
        text += "complete -c vantle-assist" + condition + " -l " + std::string(option.name.substr(2));
        if (!option.valueName.empty()) {
            const bool files = option.name == "--dictionary" || option.name == "--module";
            text += files ? " -r -F" : " -x";
            if (!option.values.empty()) text += " -a '" + Join(option.values) + "'";
        }
        text += " -d '" + help + "'\n";
    }
    text +=
        "function __vantle_assist_words\n"
        "    set -l skip 0\n"
        "    for word in (commandline -opc)[2..-1]\n"
        "        if test $skip = 1\n"
        "            set skip 0\n"
        "            continue\n"
        "        end\n"
        "        switch $word\n"
        "            case " + FishValueOptions() + "\n"
        "                set skip 1\n"
        "            case '-*'\n"
        "            case '*'\n"
        "                echo $word\n"
        "        end\n"
        "    end\n"
        "end\n"
        "function __vantle_assist_dictionary\n"
        "    set -l next 0\n"
        "    set -l chosen\n"
        "    for word in (commandline -opc)[2..-1]\n"
        "        if test $next = 1\n"
        "            set chosen --dictionary=$word\n"
        "            set next 0\n"
        "            continue\n"
        "        end\n"
        "        switch $word\n"
        "            case --dictionary\n"
        "                set next 1\n"
        "            case '--dictionary=*'\n"
        "                set chosen $word\n"
        "        end\n"
        "    end\n"
        "    test -n \"$chosen\"; and echo -- $chosen\n"
        "end\n"
        "function __vantle_assist_members\n"
        "    set -l words (__vantle_assist_words)\n"
        "    test (count $words) -eq 2; or return\n"
        "    set -l filter\n"
        "    switch $words[1]\n" +
        FishFilterArms() +
        "        case '*'\n"
        "            return\n"
        "    end\n"
        "    vantle-assist (__vantle_assist_dictionary) members $words[2] --flags $filter 2>/dev/null | "
        "string replace -r '\\(\\)$' ''\n"
        "end\n"
        "complete -c vantle-assist -n '__fish_seen_subcommand_from classes members type signature origin; and test "
        "(count (__vantle_assist_words)) -eq 1' -a '(vantle-assist (__vantle_assist_dictionary) classes (commandline -ct) "
        "2>/dev/null)'\n"
        "complete -c vantle-assist -n 'test (count (__vantle_assist_words)) -eq 2' -a '(__vantle_assist_members)'\n"
        "complete -c vantle-assist -n '__fish_seen_subcommand_from check register unregister' -F\n"
        "complete -c vantle-assist -n '__fish_seen_subcommand_from completion' -a 'bash zsh fish'\n"
        "complete -c vantle-assist -n '__fish_seen_subcommand_from help' -a '" +
        commands + "'\n";
    return text;
}

}  // namespace

std::string CompletionScript(std::string_view shell) {
    if (shell == "bash") return Bash();
    if (shell == "zsh") return Zsh();
    if (shell == "fish") return Fish();
    return {};
}

int RunCompletionCommand(const CommandLine& line, ServiceSession*, Reply& reply) {
    const std::string& shell = line.arguments[0];
    std::string script = CompletionScript(shell);
    if (script.empty())
        return reply.Fail(kExitUsage, "completion: no script for the shell \"" + shell + "\" (bash, zsh or fish)",
                          Suggest(shell, {"bash", "zsh", "fish"}));
    reply.Document()["shell"] = shell;
    reply.Document()["script"] = script;
    reply.Text() << script;
    return reply.ExitCode();
}

}  // namespace vantle::tool
