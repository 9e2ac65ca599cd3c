// The host tool's registration commands.
//
// "register"/"unregister" load a component's shared library, call its
// DllRegisterServer or DllUnregisterServer, and say what happened to each of its
// classes in the registry (installed how many times, or removed); the module is
// named by its canonical path. Unregistering a module that is not registered is
// exit 1. "registry" prints the registry tree: one key per line indented by depth,
// its values (the default value as "(default)") before its subkeys. Failures give
// the message text of their status code and a non-zero exit code; --json gives the
// same as one document.
#ifndef VANTLE_TOOLS_REGISTRYCOMMANDS_H_
#define VANTLE_TOOLS_REGISTRYCOMMANDS_H_

#include "ServiceSession.h"
#include "ToolCommandLine.h"
#include "ToolReply.h"

namespace vantle::tool {

int RunRegister(const CommandLine& line, ServiceSession* session, Reply& reply);
int RunUnregister(const CommandLine& line, ServiceSession* session, Reply& reply);
int RunRegistry(const CommandLine& line, ServiceSession* session, Reply& reply);

}  // namespace vantle::tool

#endif  // VANTLE_TOOLS_REGISTRYCOMMANDS_H_
