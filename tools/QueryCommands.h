// The query commands of the host tool: one service call each (members may make a
// second to tell properties from parameters), answered for people or as fields of
// the invocation's JSON document (docs/json.md).
//
// Exit codes: 0 when the service found what was asked, 1 when the class or member
// does not exist or nothing matches (the message says which, with "did you mean"
// from the dictionary's class and member names), 2 for a malformed class name, 4
// when the service failed otherwise.
#ifndef VANTLE_TOOLS_QUERYCOMMANDS_H_
#define VANTLE_TOOLS_QUERYCOMMANDS_H_

#include "ServiceSession.h"
#include "ToolCommandLine.h"
#include "ToolReply.h"

namespace vantle::tool {

int RunClasses(const CommandLine& line, ServiceSession* session, Reply& reply);
int RunMembers(const CommandLine& line, ServiceSession* session, Reply& reply);
int RunType(const CommandLine& line, ServiceSession* session, Reply& reply);
int RunSignature(const CommandLine& line, ServiceSession* session, Reply& reply);
int RunOrigin(const CommandLine& line, ServiceSession* session, Reply& reply);

// The member filter a line asks for: --flags (default 7), narrowed by --kind.
unsigned int MemberFilter(const CommandLine& line);

}  // namespace vantle::tool

#endif  // VANTLE_TOOLS_QUERYCOMMANDS_H_
