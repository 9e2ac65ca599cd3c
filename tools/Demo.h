// The tour: each query a user would try, under a heading, with the command line
// that asks it. On the bundled dictionary the tour is a fixed one; on any other
// (--dictionary) it is made from that dictionary's first classes and members.
// Returns the worst exit code of its queries. With --json one document holds every
// step's own document.
#ifndef VANTLE_TOOLS_DEMO_H_
#define VANTLE_TOOLS_DEMO_H_

#include "ServiceSession.h"
#include "ToolCommandLine.h"
#include "ToolReply.h"

namespace vantle::tool {

int RunDemo(const CommandLine& line, ServiceSession* session, Reply& reply);

}  // namespace vantle::tool

#endif  // VANTLE_TOOLS_DEMO_H_
