// FuzzService.h: the assistance service under a fuzz target.
//
// ServiceUnderTest is the shared AssistService with the module's promise checked
// around it: unloadable before it was made, unloadable again once every reference
// is given back, so that no object and no factory reference outlived the input.
#ifndef VANTLE_TESTING_FUZZSERVICE_H_
#define VANTLE_TESTING_FUZZSERVICE_H_

#include "AssistService.h"
#include "FuzzSupport.h"

namespace vantle::fuzz {

struct ServiceUnderTest : AssistService {
    ServiceUnderTest() {
        FUZZ_CHECK(CanUnloadNow() == S_OK, "the module is in use before the service was created");
        FUZZ_CHECK(Create() == S_OK, "the service cannot be created with its four interfaces");
    }
    ~ServiceUnderTest() {
        FUZZ_CHECK(Release() == 0, "a reference to the service outlived the input");
        FUZZ_CHECK(CanUnloadNow() == S_OK, "an object or a factory reference outlived its release");
    }
    ServiceUnderTest(const ServiceUnderTest&) = delete;
    ServiceUnderTest& operator=(const ServiceUnderTest&) = delete;
};

}  // namespace vantle::fuzz

#endif  // VANTLE_TESTING_FUZZSERVICE_H_
