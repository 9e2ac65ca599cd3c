// The host tool's exit codes, the same for every command, the prompt and the JSON
// output ("exitCode"), and documented in --help and the README.
#ifndef VANTLE_TOOLS_TOOLEXIT_H_
#define VANTLE_TOOLS_TOOLEXIT_H_

namespace vantle::tool {

enum Exit : int {
    kExitFound = 0,       // the service answered: the class, member or list exists
    kExitNotFound = 1,    // no such class or member, an empty answer, nothing registered
    kExitUsage = 2,       // a wrong command line or prompt line
    kExitDictionary = 3,  // the dictionary cannot be read or holds errors
    kExitInternal = 4,    // the service or the runtime failed, or the output cannot be written
};

// The word for programs: "found", "not-found", "usage", "dictionary", "internal".
const char* ExitStatusName(int code);

}  // namespace vantle::tool

#endif  // VANTLE_TOOLS_TOOLEXIT_H_
