// sysComLib.h: owning holders for runtime strings and interface references.
//
// utlAutoBSTR owns one BSTR (or NULL) and grows it by appending. Every append
// allocates a string of exactly the new length and copies everything, so the held
// pointer is a well-formed BSTR of the exact length at every moment and can be
// handed out as a result as it stands. A failed allocation leaves the held string
// untouched and reports E_OUTOFMEMORY. utlAutoBSTR orders as sysMCHARzCmp does.
//
// utlAutoIf<I, IID> owns one counted reference to an interface and releases it when
// it dies. Calling through an empty holder throws utlAutoIfBase::XBadPtrException
// instead of crashing.
#ifndef VANTLE_SYS_SYSCOMLIB_H_
#define VANTLE_SYS_SYSCOMLIB_H_

#include <cstring>
#include <string>

#include "kesto/com.h"

#include "utlLiteral.h"
#include "vantle/export.h"

// The component's 16-bit text, for everything that builds strings before they
// become BSTRs.
typedef std::basic_string<unsigned short> utlWString;

// Orders zero-terminated strings: a byte-wise comparison (memory order) of the
// common prefix, then the shorter first. Returns -1, 0 or +1.
template <typename T>
int sysMCHARzCmp(const T* a, const T* b) {
    unsigned long lengthB = 0;
    while (b[lengthB] != 0) ++lengthB;
    unsigned long lengthA = 0;
    while (a[lengthA] != 0) ++lengthA;
    unsigned long common = lengthA < lengthB ? lengthA : lengthB;
    int byBytes = std::memcmp(a, b, common * sizeof(T));
    if (byBytes != 0) return byBytes < 0 ? -1 : 1;
    if (lengthA == lengthB) return 0;
    return lengthA < lengthB ? -1 : 1;
}

class utlAutoBSTR {
public:
    utlAutoBSTR() : m_str(nullptr) {}
    // Takes ownership of an existing BSTR.
    explicit utlAutoBSTR(BSTR owned) : m_str(owned) {}
    // Copies duplicate the whole string, embedded zeros included; a copy that
    // cannot be allocated holds NULL.
    utlAutoBSTR(const utlAutoBSTR& other);
    utlAutoBSTR& operator=(const utlAutoBSTR& other);
    utlAutoBSTR(utlAutoBSTR&& other) noexcept : m_str(other.m_str) { other.m_str = nullptr; }
    utlAutoBSTR& operator=(utlAutoBSTR&& other) noexcept;
    ~utlAutoBSTR();

    HRESULT Append(const unsigned short* text, unsigned long count);
    HRESULT Append(const unsigned short* text);  // text must not be NULL
    HRESULT Append(const utlAutoBSTR& other);

    // A new copy owned by the caller; NULL when the runtime cannot allocate.
    BSTR Copy() const;
    // Hands the string over; the holder is left NULL.
    BSTR Detach() {
        BSTR s = m_str;
        m_str = nullptr;
        return s;
    }
    // Frees the held string and takes ownership of `owned`.
    void Attach(BSTR owned) {
        BSTR old = m_str;
        m_str = owned;
        if (old != nullptr && old != owned) COM_SysFreeString(old);
    }
    // Frees the held string; returns the address to fill from an out-parameter. Inline:
    // a member walk passes two holders to every Next.
    BSTR* operator&() {
        Attach(nullptr);
        return &m_str;
    }

    BSTR Get() const { return m_str; }
    operator CBSTR() const { return m_str; }
    unsigned int Length() const { return COM_SysStringLen(m_str); }
    bool IsNull() const { return m_str == nullptr; }

private:
    HRESULT AppendUnits(const unsigned short* text, unsigned long added);

    BSTR m_str;
};

// A NULL string reads as the empty one, where one is handed on or compared.
inline CBSTR utlOrEmpty(CBSTR text) { return text == nullptr ? utlLiteral<""> : text; }

// A NULL string compares as empty.
inline bool operator<(const utlAutoBSTR& a, const utlAutoBSTR& b) {
    return sysMCHARzCmp<unsigned short>(utlOrEmpty(a.Get()), utlOrEmpty(b.Get())) < 0;
}

class VANTLE_EXPORT utlAutoIfBase {
public:
    struct XBadPtrException {
        const utlAutoIfBase* holder;
    };

    utlAutoIfBase() : m_p(nullptr) {}
    explicit utlAutoIfBase(COM_IUnknown* owned) : m_p(owned) {}
    utlAutoIfBase(const utlAutoIfBase&) = delete;
    utlAutoIfBase& operator=(const utlAutoIfBase&) = delete;

    COM_IUnknown* operator->() const {
        if (m_p == nullptr) throw XBadPtrException{this};
        return m_p;
    }
    bool IsNull() const { return m_p == nullptr; }

protected:
    ~utlAutoIfBase() = default;
    COM_IUnknown* m_p;
};

template <typename I, const COM_GUID* IID>
class utlAutoIf : public utlAutoIfBase {
public:
    utlAutoIf() = default;
    // Takes ownership of one reference already counted for us.
    explicit utlAutoIf(I* owned) : utlAutoIfBase(owned) {}
    ~utlAutoIf() {
        if (m_p != nullptr) m_p->Release();
    }

    I* operator->() const {
        if (m_p == nullptr) throw XBadPtrException{this};
        return static_cast<I*>(m_p);
    }
    I* Get() const { return static_cast<I*>(m_p); }

    // Releases what is held; returns the address to fill from an out-parameter
    // (`manager->GetClassNode(name, &node)`).
    I** operator&() {
        Clear();
        return reinterpret_cast<I**>(&m_p);
    }
    // Holds `p` with a reference of its own (AddRef); the old one is released.
    void Assign(I* p) {
        if (p != nullptr) p->AddRef();
        Clear();
        m_p = p;
    }
    // Releases and empties the holder.
    void Clear() {
        COM_IUnknown* old = m_p;
        m_p = nullptr;
        if (old != nullptr) old->Release();
    }
    const COM_GUID& Iid() const { return *IID; }
};

#endif  // VANTLE_SYS_SYSCOMLIB_H_
