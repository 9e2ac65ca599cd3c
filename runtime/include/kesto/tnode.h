// kesto/tnode.h: the class-definition tree.
//
// A tree manager (COM_ITNodeManager, created as COM_CLSID_TNodeManager) holds the
// classes of a class dictionary. It hands out one definition node per class
// (COM_ITNodeElement); a node enumerates its methods, properties and class
// parameters as a string collection whose entries carry the keyword values a
// query asked for. The manager also answers COM_IID_IClassCache.
//
// Texts in keyword queries and answers are runs of TNode pieces: a decimal length,
// ':', then that many 16-bit units. Child kinds are "m" (methods), "a" (properties),
// "p" (class parameters).
//
// Slots marked "fixed" are the binary contract that components rely on; the others
// are the runtime's own. Slots that are reserved return E_NOTIMPL.
#ifndef KESTO_TNODE_H_
#define KESTO_TNODE_H_

#include "kesto/com.h"

class COM_IStringCollection : public COM_IUnknown {
public:
    // fixed slot 5. S_OK with a new name and a new run of value pieces (both
    // freed by the caller), or S_FALSE with both NULL at the end.
    virtual HRESULT Next(BSTR* name, BSTR* values) = 0;
};

class COM_ITNodeElement : public COM_IUnknown {
public:
    virtual HRESULT Reserved5() = 0;  // slot 5
    virtual HRESULT Reserved6() = 0;  // slot 6
    virtual HRESULT Reserved7() = 0;  // slot 7
    // fixed slot 8. Opens the children of one kind with the given keyword query.
    virtual HRESULT OpenChildren(CBSTR childKind, CBSTR keywordQuery, int includeInherited,
                                 COM_IStringCollection** out) = 0;
    virtual HRESULT Reserved9() = 0;   // slot 9
    virtual HRESULT Reserved10() = 0;  // slot 10
    // fixed slot 11. The node's value for one keyword subscript; a, b and c may be NULL.
    virtual HRESULT GetKeyword(CBSTR subscript, BSTR* value, int* a, int* b, int* c) = 0;
};

class COM_ITNodeManager : public COM_IUnknown {
public:
    virtual HRESULT Reserved5() = 0;  // slot 5
    virtual HRESULT Reserved6() = 0;  // slot 6
    virtual HRESULT Reserved7() = 0;  // slot 7
    virtual HRESULT Reserved8() = 0;  // slot 8
    // fixed slot 9. The definition node of a normalised class name.
    virtual HRESULT GetClassNode(CBSTR className, COM_ITNodeElement** out) = 0;
    virtual HRESULT Reserved10() = 0;  // slot 10
    virtual HRESULT Reserved11() = 0;  // slot 11
    virtual HRESULT Reserved12() = 0;  // slot 12
    virtual HRESULT Reserved13() = 0;  // slot 13
    virtual HRESULT Reserved14() = 0;  // slot 14
    virtual HRESULT Reserved15() = 0;  // slot 15
    virtual HRESULT Reserved16() = 0;  // slot 16
    virtual HRESULT Reserved17() = 0;  // slot 17
    virtual HRESULT Reserved18() = 0;  // slot 18
    virtual HRESULT Reserved19() = 0;  // slot 19
    virtual HRESULT Reserved20() = 0;  // slot 20
    // fixed slot 21. The full class name of `name` resolved against `relativeTo`.
    virtual HRESULT NormalizeName(CBSTR name, CBSTR relativeTo, BSTR* out) = 0;
};

class COM_IClassCache : public COM_IUnknown {
public:
    virtual HRESULT GetClassList(CBSTR prefix, BSTR* out) = 0;  // fixed slot 5
    virtual HRESULT Reset() = 0;                                // fixed slot 6
    virtual HRESULT SetImportPackageList(CBSTR list) = 0;      // fixed slot 7
};

#endif  // KESTO_TNODE_H_
