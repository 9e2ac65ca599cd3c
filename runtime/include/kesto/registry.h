// kesto/registry.h: the registry and the category manager.
//
// The registry (COM_CLSID_Registry / COM_IID_IRegistry) is a tree of named keys
// with named string and integer values; the default value of a key is the value
// with the empty name. Work happens on a "current key": OpenRoot makes a root the
// current key, OpenKey and CreateKey descend, Close ends the chain. One
// OpenRoot ... Close chain is one transaction.
#ifndef KESTO_REGISTRY_H_
#define KESTO_REGISTRY_H_

#include "kesto/com.h"

class COM_IRegistryEnum : public COM_IUnknown {
public:
    virtual HRESULT GetCount(unsigned int* count) = 0;  // slot 5: 0 when there are no subkeys
    virtual HRESULT Next(BSTR* name) = 0;               // slot 6: S_FALSE and NULL at the end
};

class COM_IRegistry : public COM_IUnknown {
public:
    virtual HRESULT OpenRoot(int root, CBSTR path) = 0;                    // slot 5
    virtual HRESULT Close() = 0;                                           // slot 6
    virtual HRESULT OpenKey(CBSTR name) = 0;                               // slot 7
    virtual HRESULT CreateKey(CBSTR name, int create) = 0;                 // slot 8
    virtual HRESULT DeleteKey(CBSTR name) = 0;                             // slot 9
    virtual HRESULT SetStringValue(CBSTR valueName, CBSTR value) = 0;      // slot 10
    virtual HRESULT GetStringValue(CBSTR valueName, BSTR* value) = 0;      // slot 11
    virtual HRESULT SetIntValue(CBSTR valueName, int value) = 0;           // slot 12
    virtual HRESULT GetIntValue(CBSTR valueName, int* value) = 0;          // slot 13
    virtual HRESULT DeleteValue(CBSTR valueName) = 0;                      // slot 14
    virtual HRESULT EnumSubkeys(COM_IRegistryEnum** out) = 0;              // slot 15
};

class COM_ICatRegister : public COM_IUnknown {
public:
    virtual HRESULT RegisterCategory(const COM_GUID& category, CBSTR description) = 0;         // 5
    virtual HRESULT RegisterClassInCategory(const COM_GUID* category, const COM_GUID& clsid) = 0;  // 6
    virtual HRESULT UnregisterCategory(const COM_GUID& category) = 0;                          // 7
    virtual HRESULT UnregisterClassFromCategory(const COM_GUID* category,
                                                const COM_GUID& clsid) = 0;                   // 8
};

#endif  // KESTO_REGISTRY_H_
