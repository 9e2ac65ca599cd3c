// A worker process for the multi-process registry tests: the library's own
// registration code, reached through the shared library as a host would, against
// the registry that KESTO_REGISTRY names.
//
//   registry_worker register|unregister [--wait]   one update; exit 0 for S_OK,
//                                                  1 for S_FALSE, 2 for a failure
//   registry_worker cycle                          register and unregister until killed
//
// --wait holds the update back until standard input reaches its end, so that a
// test can release many workers at the same moment. "cycle" writes one byte to
// standard output once it is about to begin.
#include <unistd.h>

#include <cstdio>
#include <cstring>

#include "TestText.h"
#include "registry/RegistryWorkerClass.h"
#include "sysCom.h"

namespace {

HRESULT UpdateWorkerClass(int doRegister) {
    using namespace registry_worker;
    const std::string extensions = std::string(kExtensions[0]) + "," + kExtensions[1] + "," + kExtensions[2];
    return g_theModule.UpdateRegistryClass(kClass, W(kName), 0, doRegister, W(kDisplayName), W(kDescription),
                                           W(kMonikerKey), W(extensions));
}

int ExitCodeFor(HRESULT hr) {
    if (hr == S_OK || hr == S_FALSE) return hr;
    std::fprintf(stderr, "registry_worker: update failed with 0x%08X\n", static_cast<unsigned>(hr));
    return 2;
}

}  // namespace

int main(int argc, char** argv) {
    if (argc > 2 && std::strcmp(argv[2], "--wait") == 0) {
        char ignored;
        while (read(STDIN_FILENO, &ignored, 1) > 0) {
        }
    }
    const char* command = argc > 1 ? argv[1] : "";
    if (std::strcmp(command, "register") == 0) return ExitCodeFor(UpdateWorkerClass(1));
    if (std::strcmp(command, "unregister") == 0) return ExitCodeFor(UpdateWorkerClass(0));
    if (std::strcmp(command, "cycle") == 0) {
        if (write(STDOUT_FILENO, "r", 1) != 1) return 2;
        while (SUCCEEDED(UpdateWorkerClass(1)) && SUCCEEDED(UpdateWorkerClass(0))) {
        }
        return 2;
    }
    std::fprintf(stderr, "usage: registry_worker register|unregister [--wait] | cycle\n");
    return 64;
}
