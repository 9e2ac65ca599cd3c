// The host tool's command line: a command, its arguments and the options.
//
// Options may stand before or after the command, as "--name value" or
// "--name=value"; "--" ends the options. ParseCommandLine checks the command and
// the number of its arguments against the command table, and that an option
// belongs to the command; it never exits or prints: a problem comes back as false
// with a message. With --help only the command's name is checked.
#ifndef VANTLE_TOOLS_TOOLCOMMANDLINE_H_
#define VANTLE_TOOLS_TOOLCOMMANDLINE_H_

#include <string>
#include <vector>

namespace vantle::tool {

struct CommandLine {
    std::string command;  // empty when none was given
    std::vector<std::string> arguments;
    bool help = false;
    bool version = false;
    bool json = false;
    std::string dictionary;
    std::string module;
    std::string relative;
    std::string imports;
    bool noInherited = false;
    bool flagsGiven = false;
    unsigned int flags = 7;
    bool extended = false;
};

bool ParseCommandLine(const std::vector<std::string>& words, CommandLine* line, std::string* error);

// Whole numbers for arguments: decimal, or hexadecimal with 0x. False when the text
// is not one or does not fit.
bool ParseUnsigned(const std::string& text, unsigned long maximum, unsigned long* value);

}  // namespace vantle::tool

#endif  // VANTLE_TOOLS_TOOLCOMMANDLINE_H_
