// BenchService.h: the service over the runtime's real tree, as the benchmarks use it.
//
// ServiceOverTree loads a dictionary text into a tree made by the runtime
// (COM_CLSID_TNodeManager), creates the service through the component's class
// factory and initialises it with that tree. Both are released on destruction.
// Setup failures abort: a benchmark that cannot set up has nothing to measure.
#ifndef VANTLE_BENCH_BENCHSERVICE_H_
#define VANTLE_BENCH_BENCHSERVICE_H_

#include <cstdio>
#include <cstdlib>
#include <string>

#include "vantle/assist.h"
#include "kesto/tnode.h"
#include "sysCom.h"

namespace vantle::bench {

using Units = std::basic_string<unsigned short>;

inline Units ToUnits(const std::string& text) { return Units(text.begin(), text.end()); }

inline void Require(bool condition, const char* what) {
    if (!condition) {
        std::fprintf(stderr, "benchmark setup failed: %s\n", what);
        std::abort();
    }
}

class ServiceOverTree {
public:
    explicit ServiceOverTree(const std::string& dictionary) {
        Require(COM_CreateInstance(COM_CLSID_TNodeManager, nullptr, COM_IID_ITNodeManager,
                                   reinterpret_cast<void**>(&manager)) == S_OK,
                "creating the runtime's tree");
        BSTR message = nullptr;
        Units source = ToUnits("generated.json");
        HRESULT loaded = manager->LoadDictionaryBuffer(dictionary.data(), dictionary.size(), source.c_str(), &message);
        COM_SysFreeString(message);
        Require(loaded == S_OK, "loading the dictionary");

        COM_IClassFactory* factory = nullptr;
        Require(GetClassObject(COM_CLSID_VantleAssist, COM_IID_IClassFactory, reinterpret_cast<void**>(&factory)) == S_OK,
                "getting the service's class factory");
        HRESULT created = factory->CreateInstance(COM_IID_IVantleAssist, reinterpret_cast<void**>(&assist));
        factory->Release();
        Require(created == S_OK, "creating the service");
        Require(assist->QueryInterface(COM_IID_IVantleAssist2, reinterpret_cast<void**>(&assist2)) == S_OK &&
                    assist->QueryInterface(COM_IID_IVantleAssist3, reinterpret_cast<void**>(&assist3)) == S_OK,
                "the service's interfaces");
        Require(assist->Initialize(manager) == S_OK, "initialising the service");
    }
    ~ServiceOverTree() {
        assist3->Release();
        assist2->Release();
        assist->Release();
        manager->Release();
    }
    ServiceOverTree(const ServiceOverTree&) = delete;
    ServiceOverTree& operator=(const ServiceOverTree&) = delete;

    COM_ITNodeManager* manager = nullptr;
    COM_IVantleAssist* assist = nullptr;
    COM_IVantleAssist2* assist2 = nullptr;
    COM_IVantleAssist3* assist3 = nullptr;
};

}  // namespace vantle::bench

#endif  // VANTLE_BENCH_BENCHSERVICE_H_
