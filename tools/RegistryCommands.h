// The host tool's registration commands.
//
// "register"/"unregister" load a component library, call its DllRegisterServer or
// DllUnregisterServer, and say what happened to each of its classes in the
// registry (installed how many times, or removed). "registry" prints the registry
// tree: one key per line indented by depth, its values (the default value as
// "(default)") before its subkeys. Failures go to `err` with the message text of
// their status code, and give a non-zero exit code.
#ifndef VANTLE_TOOLS_REGISTRYCOMMANDS_H_
#define VANTLE_TOOLS_REGISTRYCOMMANDS_H_

#include <ostream>
#include <string>

namespace vantle::tool {

// Returns the exit code: 0 when the module reported success.
int RunRegisterCommand(const std::string& modulePath, bool doRegister, std::ostream& out, std::ostream& err);

// Returns the exit code: 0 when the registry could be read (or does not exist yet).
int RunRegistryDumpCommand(std::ostream& out, std::ostream& err);

}  // namespace vantle::tool

#endif  // VANTLE_TOOLS_REGISTRYCOMMANDS_H_
