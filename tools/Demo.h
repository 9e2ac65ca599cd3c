// The tour of the bundled dictionary: each query a user would try, under a heading,
// with the command line that asks it. Returns the worst exit code of its queries.
#ifndef VANTLE_TOOLS_DEMO_H_
#define VANTLE_TOOLS_DEMO_H_

#include <ostream>

#include "ServiceSession.h"
#include "ToolCommandLine.h"

namespace vantle::tool {

int RunDemo(ServiceSession& session, const CommandLine& line, std::ostream& out, std::ostream& err);

}  // namespace vantle::tool

#endif  // VANTLE_TOOLS_DEMO_H_
