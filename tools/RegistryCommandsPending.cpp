// Stand-in for the registration commands until their implementation lands in
// tools/RegistryCommands.cpp (this file is then left out of the build).
#include <ostream>
#include <string>

#include "kesto/com.h"

namespace vantle::tool {

int RunRegisterCommand(const std::string& modulePath, bool doRegister, std::ostream&, std::ostream& err) {
    err << "vantle-assist: " << (doRegister ? "register" : "unregister") << " " << modulePath
        << ": not available in this build\n";
    return 1;
}

int RunRegistryDumpCommand(std::ostream&, std::ostream& err) {
    err << "vantle-assist: registry: not available in this build\n";
    return 1;
}

}  // namespace vantle::tool
