// FuzzService.h: the assistance service as an editor obtains it.
//
// ServiceUnderTest creates the service through the component's GetClassObject and
// class factory, holds one reference to each of its four interfaces, and on
// destruction releases them all and checks that the module may be unloaded again,
// that is that no object and no factory reference outlived the input.
#ifndef VANTLE_FUZZ_FUZZSERVICE_H_
#define VANTLE_FUZZ_FUZZSERVICE_H_

#include "FuzzSupport.h"
#include "vantle/assist.h"
#include "sysCom.h"

namespace vantle::fuzz {

class ServiceUnderTest {
public:
    ServiceUnderTest() {
        FUZZ_CHECK(CanUnloadNow() == S_OK, "the module is in use before the service was created");
        COM_IClassFactory* factory = nullptr;
        FUZZ_CHECK(GetClassObject(COM_CLSID_VantleAssist, COM_IID_IClassFactory,
                                  reinterpret_cast<void**>(&factory)) == S_OK,
                   "no class factory for the service");
        HRESULT hr = factory->CreateInstance(COM_IID_IVantleAssist, reinterpret_cast<void**>(&assist));
        factory->Release();
        FUZZ_CHECK(hr == S_OK && assist != nullptr, "the service cannot be created");
        FUZZ_CHECK(assist->QueryInterface(COM_IID_IVantleAssistEx, reinterpret_cast<void**>(&ex)) == S_OK &&
                       assist->QueryInterface(COM_IID_IVantleAssist2, reinterpret_cast<void**>(&assist2)) == S_OK &&
                       assist->QueryInterface(COM_IID_IVantleAssist3, reinterpret_cast<void**>(&assist3)) == S_OK,
                   "the service does not answer its interfaces");
    }
    ~ServiceUnderTest() {
        assist3->Release();
        assist2->Release();
        ex->Release();
        assist->Release();
        FUZZ_CHECK(CanUnloadNow() == S_OK, "an object or a factory reference outlived its release");
    }
    ServiceUnderTest(const ServiceUnderTest&) = delete;
    ServiceUnderTest& operator=(const ServiceUnderTest&) = delete;

    COM_IVantleAssist* assist = nullptr;
    COM_IVantleAssistEx* ex = nullptr;
    COM_IVantleAssist2* assist2 = nullptr;
    COM_IVantleAssist3* assist3 = nullptr;
};

}  // namespace vantle::fuzz

#endif  // VANTLE_FUZZ_FUZZSERVICE_H_
