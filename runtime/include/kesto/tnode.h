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
// are the runtime's own. Reserved slots return E_NOTIMPL.
#ifndef KESTO_TNODE_H_
#define KESTO_TNODE_H_

#include "kesto/com.h"

class COM_IStringCollection : public COM_IUnknown {
public:
    // fixed slot 5. S_OK with a new name and a new run of value pieces (both
    // freed by the caller), or S_FALSE with both NULL at the end.
    virtual HRESULT Next(BSTR* name, BSTR* values) = 0;
};

// The runtime's own slots have bodies that answer E_NOTIMPL so that other
// implementations of these interfaces (test doubles, proxies) need only the fixed
// slots.
class COM_ITNodeElement : public COM_IUnknown {
public:
    // slot 5: the full class name of this node.
    virtual HRESULT GetName(BSTR* out) { return NotImplemented(out); }
    // slot 6: the direct super classes, comma-terminated, in declaration order.
    virtual HRESULT GetSuperClasses(BSTR* out) { return NotImplemented(out); }
    // slot 7: the class description.
    virtual HRESULT GetDescription(BSTR* out) { return NotImplemented(out); }
    // fixed slot 8. Opens the children of one kind with the given keyword query.
    virtual HRESULT OpenChildren(CBSTR childKind, CBSTR keywordQuery, int includeInherited,
                                 COM_IStringCollection** out) = 0;
    // slot 9: how many children OpenChildren would deliver.
    virtual HRESULT GetChildCount(CBSTR childKind, int includeInherited, unsigned int* count) {
        if (count != nullptr) *count = 0;
        (void)childKind;
        (void)includeInherited;
        return E_NOTIMPL;
    }
    virtual HRESULT Reserved10() { return E_NOTIMPL; }  // slot 10
    // fixed slot 11. The node's value for one keyword subscript; a, b and c may be NULL.
    virtual HRESULT GetKeyword(CBSTR subscript, BSTR* value, int* a, int* b, int* c) = 0;

protected:
    static HRESULT NotImplemented(BSTR* out) {
        if (out != nullptr) *out = nullptr;
        return E_NOTIMPL;
    }
};

class COM_ITNodeManager : public COM_IUnknown {
public:
    // slot 5: loads a class dictionary file. The tree is replaced only when the
    // whole file loads; otherwise *message (may be NULL) explains where and why
    // and the tree loaded before stays as it was.
    virtual HRESULT LoadDictionary(CBSTR path, BSTR* message) {
        (void)path;
        return NotImplemented(message);
    }
    // slot 6: the same for a dictionary held in memory; sourceName names it in messages.
    virtual HRESULT LoadDictionaryBuffer(const char* data, unsigned long size, CBSTR sourceName,
                                         BSTR* message) {
        (void)data;
        (void)size;
        (void)sourceName;
        return NotImplemented(message);
    }
    // slot 7: number of classes loaded.
    virtual HRESULT GetClassCount(unsigned int* count) { return NotImplementedCount(count); }
    // slot 8: number of members (methods, properties, parameters) defined, all classes.
    virtual HRESULT GetMemberCount(unsigned int* count) { return NotImplementedCount(count); }
    // fixed slot 9. The definition node of a normalised class name.
    virtual HRESULT GetClassNode(CBSTR className, COM_ITNodeElement** out) = 0;
    // slot 10: the path of the dictionary loaded last (empty when none).
    virtual HRESULT GetDictionaryPath(BSTR* out) { return NotImplemented(out); }
    virtual HRESULT Reserved11() { return E_NOTIMPL; }  // slot 11
    virtual HRESULT Reserved12() { return E_NOTIMPL; }  // slot 12
    virtual HRESULT Reserved13() { return E_NOTIMPL; }  // slot 13
    virtual HRESULT Reserved14() { return E_NOTIMPL; }  // slot 14
    virtual HRESULT Reserved15() { return E_NOTIMPL; }  // slot 15
    virtual HRESULT Reserved16() { return E_NOTIMPL; }  // slot 16
    virtual HRESULT Reserved17() { return E_NOTIMPL; }  // slot 17
    virtual HRESULT Reserved18() { return E_NOTIMPL; }  // slot 18
    virtual HRESULT Reserved19() { return E_NOTIMPL; }  // slot 19
    virtual HRESULT Reserved20() { return E_NOTIMPL; }  // slot 20
    // fixed slot 21. The full class name of `name` resolved against `relativeTo`.
    virtual HRESULT NormalizeName(CBSTR name, CBSTR relativeTo, BSTR* out) = 0;

protected:
    static HRESULT NotImplemented(BSTR* out) {
        if (out != nullptr) *out = nullptr;
        return E_NOTIMPL;
    }
    static HRESULT NotImplementedCount(unsigned int* count) {
        if (count != nullptr) *count = 0;
        return E_NOTIMPL;
    }
};

class COM_IClassCache : public COM_IUnknown {
public:
    virtual HRESULT GetClassList(CBSTR prefix, BSTR* out) = 0;  // fixed slot 5
    virtual HRESULT Reset() = 0;                                // fixed slot 6
    virtual HRESULT SetImportPackageList(CBSTR list) = 0;      // fixed slot 7
};

#endif  // KESTO_TNODE_H_
