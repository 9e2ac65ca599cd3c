// sysCom.h: the component server frame.
//
// g_theModule counts live objects plus outstanding class-factory references; the
// runtime may unload the library when CanUnloadNow reports S_OK. GetClassObject
// finds a class's static factory in the object map. An object's QueryInterface
// walks its interface table with InterfaceTableQueryInterface.
//
// Nothing here locks: objects are used from one thread at a time.
#ifndef VANTLE_SYS_SYSCOM_H_
#define VANTLE_SYS_SYSCOM_H_

#include <new>

#include "kesto/com.h"
#include "sysComLib.h"
#include "vantle/server.h"

// A resolver field of -1 marks an interface at a fixed byte displacement.
#define COM_INTERFACE_OFFSET_ENTRY (reinterpret_cast<COM_InterfaceResolver>(-1L))

// The byte displacement of interface I's table pointer inside an object of class
// T, as the compiler lays the object out. Measured on a non-null address (8), since
// a cast of a null pointer stays null; compilers fold it to a constant, so an
// interface table built with it is still static data.
#define COM_INTERFACE_OFFSET(T, I) \
    (reinterpret_cast<unsigned long long>(static_cast<I*>(reinterpret_cast<T*>(8))) - 8)

class VANTLE_EXPORT COM_CComModule {
public:
    void Lock() { ++m_nLockCnt; }
    void Unlock() { --m_nLockCnt; }
    int GetLockCount() const { return m_nLockCnt; }

    // "libvantleassist.so", whatever the file is called or where it lies.
    HRESULT GetModuleName(unsigned short** out);
    // Always the empty string.
    HRESULT GetModulePath(unsigned short** out);

    // Writes (doRegister != 0) or removes one class's registration records.
    // 0 on success, S_FALSE when an unregistration only lowered the install
    // count, else the first failing HRESULT of the runtime.
    HRESULT UpdateRegistryClass(const COM_GUID& clsid, const unsigned short* name, unsigned int reserved,
                                int doRegister, const unsigned short* displayName,
                                const unsigned short* description, const unsigned short* monikerKey,
                                const unsigned short* extensionList);
    // Registers or unregisters every class of the object map: 0 when every step
    // succeeded, 1 when any failed.
    HRESULT RegisterServer(int doRegister);

    int m_nLockCnt;
};

extern VANTLE_EXPORT COM_CComModule g_theModule;

// Root of every component class. The object's reference count lives in the class
// itself so that the interface-table pointers stay at the start of the object.
class COM_CComObjectRoot {
protected:
    // The module lock count holds one unit per live object, not per reference.
    static unsigned long InternalAddRef(unsigned long& count) {
        if (count == 0) g_theModule.Lock();
        return ++count;
    }
    // The last release destroys the object through its deleting destructor and
    // only then gives back its unit of the lock count.
    template <typename T>
    static unsigned long InternalRelease(T* object, unsigned long& count) {
        const unsigned long remaining = --count;
        if (remaining == 0) {
            delete object;
            g_theModule.Unlock();
        }
        return remaining;
    }
};

template <typename T, const COM_GUID* CLSID>
class COM_CComCoClass {
public:
    static const COM_GUID& GetObjectCLSID() { return *CLSID; }
    // A class declares no component categories unless it hides this.
    static const void* GetCategoryMap() { return nullptr; }
};

// The one class factory of T, a static object that is never allocated or freed.
// Its references count in the module lock count.
template <typename T>
class COM_CClassFactory : public COM_IClassFactory {
public:
    HRESULT QueryInterface(const COM_GUID& iid, void** out) override {
        if (out == nullptr) return E_POINTER;
        if (COM_IsEqualGUID(iid, COM_IID_IUnknown) || COM_IsEqualGUID(iid, COM_IID_IClassFactory)) {
            *out = static_cast<COM_IClassFactory*>(this);
            AddRef();
            return S_OK;
        }
        *out = nullptr;
        return E_NOINTERFACE;
    }
    unsigned long AddRef() override {
        g_theModule.Lock();
        return 1;
    }
    unsigned long Release() override {
        g_theModule.Unlock();
        return 1;
    }
    // The caller ends with exactly one reference on success; on failure the new
    // object is destroyed again. A failed allocation throws std::bad_alloc.
    HRESULT CreateInstance(const COM_GUID& iid, void** out) override {
        T* object = new T;
        object->AddRef();
        HRESULT hr = object->QueryInterface(iid, out);
        object->Release();
        return hr;
    }
};

#endif  // VANTLE_SYS_SYSCOM_H_
