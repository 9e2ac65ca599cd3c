// Recording doubles of the registry and the category manager, put in the place of
// the runtime's classes with KESTO_OverrideClass while a RecordingScope lives.
//
// Every call is written to the scope's log as text, e.g. "OpenRoot(1,)",
// "CreateKey(CLSID,1)", "SetStringValue(,VantleAssist)"; the enumerator's
// last release is logged as "Enum.Release". Any one registry call (by its index
// in the log) can be made to fail; GetIntValue finds the scripted install count
// (or nothing), and the subkey enumerator reports the scripted number of subkeys.
// The scope counts the doubles alive so that a test can check every one was
// released.
#ifndef VANTLE_TESTS_REGISTRY_RECORDINGREGISTRY_H_
#define VANTLE_TESTS_REGISTRY_RECORDINGREGISTRY_H_

#include <optional>
#include <set>
#include <string>
#include <vector>

#include "kesto/diagnostics.h"
#include "kesto/registry.h"
#include "registry/RegistryTestSupport.h"

namespace registry_test {

std::string GuidText(const COM_GUID& id);

class RecordingScope {
public:
    RecordingScope();
    ~RecordingScope();
    RecordingScope(const RecordingScope&) = delete;
    RecordingScope& operator=(const RecordingScope&) = delete;

    static RecordingScope& Current() { return *s_current; }

    // Registry calls. failAt counts the calls made since recordedCalls was last
    // reset (the enumerator's release is logged but not counted).
    std::vector<std::string> calls;
    std::size_t recordedCalls = 0;
    std::optional<std::size_t> failAt;
    HRESULT failWith = REGDB_E_WRITEREGDB;
    std::optional<int> installCount;
    unsigned int subkeyCount = 0;
    // Creation of the doubles: S_OK, or the failure to report instead.
    HRESULT createRegistryResult = S_OK;
    HRESULT createCategoriesResult = S_OK;
    int categoryManagersMade = 0;

    // Category-manager calls, with their own failures.
    std::vector<std::string> categoryCalls;
    std::set<std::size_t> failingCategoryCalls;

    long liveObjects = 0;

    HRESULT Record(std::string call);
    HRESULT RecordCategoryCall(std::string call);

private:
    static RecordingScope* s_current;
};

}  // namespace registry_test

#endif  // VANTLE_TESTS_REGISTRY_RECORDINGREGISTRY_H_
