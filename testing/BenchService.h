// BenchService.h: the service over the runtime's real tree, as the benchmarks use it.
//
// ServiceOverTree loads a dictionary text into a tree made by the runtime and
// initialises the shared AssistService with it; both go with the object. Setup
// failures abort: a benchmark that cannot set up has nothing to measure.
#ifndef VANTLE_TESTING_BENCHSERVICE_H_
#define VANTLE_TESTING_BENCHSERVICE_H_

#include <cstdio>
#include <cstdlib>
#include <string>

#include "AssistService.h"

namespace vantle::bench {

inline void Require(bool condition, const char* what) {
    if (!condition) {
        std::fprintf(stderr, "benchmark setup failed: %s\n", what);
        std::abort();
    }
}

struct ServiceOverTree : AssistService {
    explicit ServiceOverTree(const std::string& dictionary) : manager(NewTree()) {
        Require(manager && Load(manager.get(), dictionary, "generated.json").status == S_OK, "loading the dictionary");
        Require(Create() == S_OK, "creating the service with its interfaces");
        Require(assist->Initialize(manager.get()) == S_OK, "initialising the service");
    }

    kesto::Ref<COM_ITNodeManager> manager;
};

}  // namespace vantle::bench

#endif  // VANTLE_TESTING_BENCHSERVICE_H_
