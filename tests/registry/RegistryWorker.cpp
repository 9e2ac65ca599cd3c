// A worker process for the multi-process registry tests. It registers or
// unregisters one test class through the module's UpdateRegistryClass, with every
// optional record (display name, description, moniker values), against the
// registry that KESTO_REGISTRY names.
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

#include "registry/RegistryWorkerClass.h"
#include "sys/sysCom.h"

namespace {

HRESULT UpdateWorkerClass(int doRegister) {
    using namespace registry_worker;
    return g_theModule.UpdateRegistryClass(kWorkerClass, kWorkerName, 0, doRegister, kWorkerDisplayName,
                                           kWorkerDescription, kWorkerMonikerKey, kWorkerExtensions);
}

int ExitCodeFor(HRESULT hr) {
    if (hr == S_OK) return 0;
    if (hr == S_FALSE) return 1;
    std::fprintf(stderr, "registry_worker: update failed with 0x%08X\n", static_cast<unsigned>(hr));
    return 2;
}

}  // namespace

int main(int argc, char** argv) {
    if (argc < 2) {
        std::fprintf(stderr, "usage: registry_worker register|unregister [--wait] | cycle\n");
        return 64;
    }
    if (argc > 2 && std::strcmp(argv[2], "--wait") == 0) {
        char ignored;
        while (read(STDIN_FILENO, &ignored, 1) > 0) {
        }
    }
    if (std::strcmp(argv[1], "register") == 0) return ExitCodeFor(UpdateWorkerClass(1));
    if (std::strcmp(argv[1], "unregister") == 0) return ExitCodeFor(UpdateWorkerClass(0));
    if (std::strcmp(argv[1], "cycle") == 0) {
        if (write(STDOUT_FILENO, "r", 1) != 1) return 2;
        while (true) {
            if (FAILED(UpdateWorkerClass(1)) || FAILED(UpdateWorkerClass(0))) return 2;
        }
    }
    std::fprintf(stderr, "registry_worker: unknown command %s\n", argv[1]);
    return 64;
}
