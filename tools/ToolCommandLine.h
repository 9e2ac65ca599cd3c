// The host tool's command line: a command, its arguments and the options, parsed
// with CLI11 from the command table.
//
// Options may stand before or after the command, as "--name value" or
// "--name=value"; "--" ends the options. ParseCommandLine checks the command, the
// number of its arguments, that each option belongs to the command and that each
// value is one the option takes; it never exits or prints: a problem comes back as
// false with a message and, for a mistyped command or option, the names meant
// perhaps. With --help only the command's name is checked.
#ifndef VANTLE_TOOLS_TOOLCOMMANDLINE_H_
#define VANTLE_TOOLS_TOOLCOMMANDLINE_H_

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace vantle::tool {

enum class ColorChoice { kAuto, kAlways, kNever };

struct CommandLine {
    std::string command;  // empty when none was given
    std::vector<std::string> arguments;
    bool help = false;
    bool version = false;
    bool json = false;
    std::optional<std::string> dictionary;  // given: never empty
    std::string module;
    std::optional<std::string> relative;
    std::optional<std::string> imports;
    bool noInherited = false;
    ColorChoice color = ColorChoice::kAuto;
    std::optional<std::uint64_t> maxSize;
    std::optional<unsigned int> flags;  // members: the filter, 0..63
    bool extended = false;
    std::optional<int> kind;            // a SYMBOL_KIND: 2, 4, 5 or 10
};

struct UsageError {
    std::string message;
    std::vector<std::string> suggestions;
};

bool ParseCommandLine(const std::vector<std::string>& words, CommandLine* line, UsageError* error);

// Whole numbers for arguments: decimal, or hexadecimal with 0x. False when the text
// is not one or does not fit.
bool ParseUnsigned(const std::string& text, unsigned long maximum, unsigned long* value);
// A member kind by name ("method", "property", "parameter", also "classmethod",
// "instancemethod") or number (2, 4, 5, 10); false for anything else.
bool ParseMemberKind(const std::string& text, int* kind);
// "method", "property", "class parameter" for a SYMBOL_KIND.
const char* MemberKindName(int kind);

}  // namespace vantle::tool

#endif  // VANTLE_TOOLS_TOOLCOMMANDLINE_H_
