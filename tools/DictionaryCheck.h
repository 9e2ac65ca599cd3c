// DictionaryCheck: the check command. Each file is read within the size limit
// (DictionaryFile) and loaded into a tree of its own; every problem the runtime's
// loader reports is listed with its place, class, member and a hint. A file that
// loads is checked further: each method's formal argument list (FormalSpec) and
// the types that return types, arguments, properties and parameters refer to (an
// unknown type is a warning). Exit 3 when any file has an error, else 0.
#ifndef VANTLE_TOOLS_DICTIONARYCHECK_H_
#define VANTLE_TOOLS_DICTIONARYCHECK_H_

#include <optional>
#include <string>

#include "ServiceSession.h"
#include "ToolCommandLine.h"
#include "ToolReply.h"

namespace vantle::tool {

struct DictionaryProblem {
    bool error = true;
    std::optional<unsigned int> line, column;
    std::string className, memberKind, member;  // empty when not known
    std::string message;
    std::string hint;
};

// One line of the loader's list ("FILE:LINE:COLUMN: what (class C, method M)"),
// taken apart; `file` is the name the load was given.
DictionaryProblem ReadLoaderProblem(const std::string& file, const std::string& text);

int RunCheckCommand(const CommandLine& line, ServiceSession* session, Reply& reply);

}  // namespace vantle::tool

#endif  // VANTLE_TOOLS_DICTIONARYCHECK_H_
