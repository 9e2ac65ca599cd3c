// Registration records: each class of the object map writes or removes its keys
// in root 1 of the runtime's registry, counting installations in InstallCount so
// that the records go only with the last installation.
//
// Every OpenRoot ... Close chain below is one transaction of the registry, so the
// chains are cut where a half-done registration may be seen by others: the class
// key with its server, the programmatic identifier, the count, the optional
// records, the name key. A failure ends the call at once; releasing the registry
// without Close then rolls the open chain back.
#include "sysComRegister.h"

#include <climits>

#include "kesto/registry.h"
#include "utlLiteral.h"

namespace {

typedef utlAutoIf<COM_IRegistry, &COM_IID_IRegistry> utlRegistryIf;
typedef utlAutoIf<COM_IRegistryEnum, &COM_IID_IRegistryEnum> utlRegistryEnumIf;
typedef utlAutoIf<COM_ICatRegister, &COM_IID_ICatRegister> utlCatRegisterIf;

const int s_nClassesRoot = 1;

constexpr const unsigned short* s_wszEmpty = utlLiteral<"">;
constexpr const unsigned short* s_wszCLSID = utlLiteral<"CLSID">;
constexpr const unsigned short* s_wszInprocServer32 = utlLiteral<"InprocServer32">;
constexpr const unsigned short* s_wszProgID = utlLiteral<"ProgID">;
constexpr const unsigned short* s_wszInstallCount = utlLiteral<"InstallCount">;
constexpr const unsigned short* s_wszDisplayName = utlLiteral<"DisplayName">;
constexpr const unsigned short* s_wszDescription = utlLiteral<"Description">;
constexpr const unsigned short* s_wszMoniker = utlLiteral<"Moniker">;

// Registration reports failures by throwing the HRESULT and catches them itself.
void sysCheck(HRESULT hr) {
    if (FAILED(hr)) throw static_cast<int>(hr);
}

// The count moves by one and stays at the ends of int: a count that reached
// INT_MAX (or INT_MIN, written by hand) is written back as it was, and the
// registration goes on as at any other count.
int sysCountUp(int count) { return count == INT_MAX ? count : count + 1; }
int sysCountDown(int count) { return count == INT_MIN ? count : count - 1; }

// Calls each(piece) for every ','-separated piece of list, untrimmed; the last
// piece runs to the end, so "a,," gives "a", "" and "".
template <typename Each>
void sysForEachListPiece(const unsigned short* list, Each each) {
    const unsigned short* start = list;
    for (const unsigned short* at = list;; ++at) {
        if (*at != ',' && *at != 0) continue;
        utlAutoBSTR piece(COM_SysAllocStringLen(start, static_cast<unsigned int>(at - start)));
        if (piece.IsNull()) throw static_cast<int>(E_OUTOFMEMORY);
        each(piece.Get());
        if (*at == 0) return;
        start = at + 1;
    }
}

// Opens root 1 and walks down CLSID\{class} (both must exist).
void sysOpenClassKey(utlRegistryIf& registry, CBSTR clsidText) {
    sysCheck(registry->OpenRoot(s_nClassesRoot, s_wszEmpty));
    sysCheck(registry->OpenKey(s_wszCLSID));
    sysCheck(registry->OpenKey(clsidText));
}

// Writes one optional record CLSID\{class}\<key> as its own chain.
void sysWriteClassRecord(utlRegistryIf& registry, CBSTR clsidText, CBSTR key, CBSTR value) {
    sysOpenClassKey(registry, clsidText);
    sysCheck(registry->CreateKey(key, 1));
    sysCheck(registry->SetStringValue(s_wszEmpty, value));
    sysCheck(registry->Close());
}

}  // namespace

HRESULT COM_CComModule::UpdateRegistryClass(const COM_GUID& clsid, const unsigned short* name, unsigned int,
                                            int doRegister, const unsigned short* displayName,
                                            const unsigned short* description, const unsigned short* monikerKey,
                                            const unsigned short* extensionList) {
    try {
        utlRegistryIf registry;
        sysCheck(COM_CreateInstance(COM_CLSID_Registry, nullptr, COM_IID_IRegistry,
                                    reinterpret_cast<void**>(&registry)));
        utlAutoBSTR clsidText;
        sysCheck(COM_CLSIDToString(clsid, &clsidText));
        utlAutoBSTR moduleName;
        if (doRegister) sysCheck(GetModuleName(&moduleName));

        sysCheck(registry->OpenRoot(s_nClassesRoot, s_wszEmpty));
        sysCheck(registry->CreateKey(s_wszCLSID, 1));
        const bool withMoniker = monikerKey != nullptr && extensionList != nullptr;

        if (doRegister) {
            sysCheck(registry->CreateKey(clsidText, 1));
            sysCheck(registry->SetStringValue(s_wszEmpty, name));
            sysCheck(registry->CreateKey(s_wszInprocServer32, 1));
            sysCheck(registry->SetStringValue(s_wszEmpty, moduleName));
            sysCheck(registry->Close());

            sysWriteClassRecord(registry, clsidText, s_wszProgID, name);

            // Read and write of the count happen in one chain, so concurrent
            // registrations each add exactly one.
            sysOpenClassKey(registry, clsidText);
            sysCheck(registry->CreateKey(s_wszInstallCount, 1));
            int installCount = 0;
            sysCheck(registry->GetIntValue(s_wszEmpty, &installCount));
            sysCheck(registry->SetIntValue(s_wszEmpty, sysCountUp(installCount)));
            sysCheck(registry->Close());

            if (displayName != nullptr) sysWriteClassRecord(registry, clsidText, s_wszDisplayName, displayName);
            if (description != nullptr) sysWriteClassRecord(registry, clsidText, s_wszDescription, description);

            if (withMoniker) {
                sysCheck(registry->OpenRoot(s_nClassesRoot, s_wszEmpty));
                sysCheck(registry->CreateKey(s_wszMoniker, 1));
                sysCheck(registry->CreateKey(monikerKey, 1));
                sysForEachListPiece(extensionList, [&](CBSTR extension) {
                    sysCheck(registry->SetStringValue(extension, clsidText));
                });
            }

            sysCheck(registry->Close());
            sysCheck(registry->OpenRoot(s_nClassesRoot, s_wszEmpty));
            sysCheck(registry->CreateKey(name, 1));
            sysCheck(registry->CreateKey(s_wszCLSID, 1));
            sysCheck(registry->SetStringValue(s_wszEmpty, clsidText));
            sysCheck(registry->Close());
            return S_OK;
        }

        // A missing or zero count counts as the last installation.
        sysOpenClassKey(registry, clsidText);
        sysCheck(registry->CreateKey(s_wszInstallCount, 1));
        int installCount = 0;
        sysCheck(registry->GetIntValue(s_wszEmpty, &installCount));
        if (installCount != 0) {
            installCount = sysCountDown(installCount);
            sysCheck(registry->SetIntValue(s_wszEmpty, installCount));
            if (installCount != 0) {
                sysCheck(registry->Close());
                return S_FALSE;
            }
        }

        sysCheck(registry->Close());
        sysCheck(registry->OpenRoot(s_nClassesRoot, s_wszEmpty));
        sysCheck(registry->OpenKey(s_wszCLSID));
        sysCheck(registry->DeleteKey(clsidText));

        if (withMoniker) {
            sysCheck(registry->OpenRoot(s_nClassesRoot, s_wszEmpty));
            sysCheck(registry->CreateKey(s_wszMoniker, 1));
            sysCheck(registry->CreateKey(monikerKey, 1));
            sysForEachListPiece(extensionList, [&](CBSTR extension) { sysCheck(registry->DeleteValue(extension)); });
        }

        sysCheck(registry->Close());
        sysCheck(registry->OpenRoot(s_nClassesRoot, s_wszEmpty));
        sysCheck(registry->DeleteKey(name));
        sysCheck(registry->OpenKey(s_wszCLSID));
        utlRegistryEnumIf subkeys;
        sysCheck(registry->EnumSubkeys(&subkeys));
        unsigned int subkeyCount = 0;
        sysCheck(subkeys->GetCount(&subkeyCount));
        if (subkeyCount == 0) {
            // Deleting the empty name from the root takes the emptied "CLSID" away.
            sysCheck(registry->Close());
            sysCheck(registry->OpenRoot(s_nClassesRoot, s_wszEmpty));
            sysCheck(registry->DeleteKey(s_wszEmpty));
        }
        subkeys.Clear();
        sysCheck(registry->Close());
        return S_OK;
    } catch (int hr) {
        return hr;
    }
}

HRESULT COM_CComModule::RegisterServer(int doRegister) { return sysRegisterObjectMap(GetObjectMap(), doRegister); }

HRESULT sysRegisterObjectMap(const COM_OBJECT_MAP_ENTRY* map, int doRegister) {
    HRESULT result = S_OK;
    bool removeCategories = true;
    utlCatRegisterIf categories;
    HRESULT hr = S_OK;
    for (const COM_OBJECT_MAP_ENTRY* entry = map; entry->clsid != nullptr; ++entry) {
        if (entry->updateRegistry != nullptr) {
            hr = entry->updateRegistry(doRegister);
            if (FAILED(hr)) result = 1;
            // Still installed elsewhere: that installation keeps its categories.
            if (!doRegister && hr == S_FALSE) removeCategories = false;
        }
        // The getter is part of every row; a row without one simply has no map.
        const void* categoryMap = entry->getCategoryMap != nullptr ? entry->getCategoryMap() : nullptr;
        if (categoryMap == nullptr) continue;
        if (categories.IsNull()) {
            hr = COM_CreateInstance(COM_CLSID_CategoryManager, nullptr, COM_IID_ICatRegister,
                                    reinterpret_cast<void**>(&categories));
            if (FAILED(hr)) result = 1;
            if (categories.IsNull()) continue;
        }
        for (const COM_GUID* const* category = static_cast<const COM_GUID* const*>(categoryMap);
             *category != nullptr; ++category) {
            if (doRegister) {
                hr = categories->RegisterClassInCategory(*category, *entry->clsid);
            } else if (removeCategories) {
                hr = categories->UnregisterClassFromCategory(*category, *entry->clsid);
            }
            if (FAILED(hr)) result = 1;
        }
    }
    return result;
}
