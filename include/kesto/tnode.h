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
//
// Promises of the runtime's tree (COM_CLSID_TNodeManager):
// - Nodes and collections keep the dictionary they came from alive: loading another
//   dictionary never invalidates them, they go on answering from the old one.
// - Every out-parameter is written on every path (NULL, 0 or an empty string when
//   the call fails), so a caller never frees stale pointers.
// - Names are compared unit for unit (case-sensitive), and ordered by 16-bit code
//   unit value.
// - Positions in a dictionary file (messages, GetLocation) give a line and a column,
//   both counted from 1. Lines end at LF (CR LF too). Columns count UTF-16 code units, as
//   editors address a line: a character beyond U+FFFF counts two, and a UTF-8 byte
//   order mark at the start of the file counts none.
// - Objects are used from one thread at a time; nothing locks.
#ifndef KESTO_TNODE_H_
#define KESTO_TNODE_H_

#include "kesto/com.h"

// Status codes of the tree and of dictionary loading, besides those of com.h.
#ifndef TNODE_E_KEYWORD
#define TNODE_E_KEYWORD ((HRESULT)0x80670004)       // unknown key or value of the wrong type
#endif
#ifndef TNODE_E_NAMECONFLICT
#define TNODE_E_NAMECONFLICT ((HRESULT)0x80670005)  // two members of one kind share a name
#endif
#ifndef TNODE_E_INVALIDNAME
#define TNODE_E_INVALIDNAME ((HRESULT)0x80670006)   // a member name is empty or malformed
#endif
#ifndef TNODE_E_CLASSEXISTS
#define TNODE_E_CLASSEXISTS ((HRESULT)0x80670009)   // a class is defined twice
#endif
#ifndef PARSE_E_COMPILE
#define PARSE_E_COMPILE ((HRESULT)0x80680002)       // the super classes form a cycle
#endif

class COM_IStringCollection : public COM_IUnknown {
public:
    // fixed slot 5. S_OK with a new name and a new run of value pieces (both
    // freed by the caller), or S_FALSE with both NULL at the end; every later call
    // answers S_FALSE again. A NULL argument gives E_POINTER. When a string cannot
    // be allocated: E_OUTOFMEMORY, both NULL, and the entry is not consumed (the
    // next call delivers it again).
    virtual HRESULT Next(BSTR* name, BSTR* values) = 0;
};

// The runtime's own slots have bodies that answer E_NOTIMPL so that other
// implementations of these interfaces (test doubles, proxies) need only the fixed
// slots.
class COM_ITNodeElement : public COM_IUnknown {
public:
    // slot 5: the full class name of this node.
    virtual HRESULT GetName(BSTR* out) { return NotImplemented(out); }
    // slot 6: the direct super classes, full names, each followed by ",", in
    // declaration order; an empty string (and S_FALSE) when there are none.
    virtual HRESULT GetSuperClasses(BSTR* out) { return NotImplemented(out); }
    // slot 7: the class description (empty when the dictionary gives none).
    virtual HRESULT GetDescription(BSTR* out) { return NotImplemented(out); }
    // fixed slot 8. Opens the children of one kind ("m", "a" or "p") with a keyword
    // query (a run of pieces, each one keyword subscript; may be empty).
    // includeInherited 0 gives the class's own members; any other value the own
    // members, then those of the super classes walked left to right and depth first
    // (each class once), the first definition of a name in that walk winning. Either
    // way the members come sorted by name in code-unit order. Each entry's values
    // answer the subscripts in the query's order; see GetKeyword for the subscripts.
    // An unknown child kind or a malformed query gives E_INVALIDARG and no collection.
    virtual HRESULT OpenChildren(CBSTR childKind, CBSTR keywordQuery, int includeInherited,
                                 COM_IStringCollection** out) = 0;
    // slot 9: how many children OpenChildren would deliver.
    virtual HRESULT GetChildCount(CBSTR childKind, int includeInherited, unsigned int* count) {
        if (count != nullptr) *count = 0;
        (void)childKind;
        (void)includeInherited;
        return E_NOTIMPL;
    }
    // slot 10: where a definition is written in the dictionary file, for going to
    // it. With a NULL or empty childKind, this class's own name (memberName is not
    // looked at); with "m", "a" or "p", the member of that kind named memberName
    // (unit for unit) that this class has, its own or inherited: super classes are
    // walked as OpenChildren walks them with includeInherited, so the place is in
    // the class that GetKeyword's origin ("2") names. The place is the name's first
    // character, after its opening quote. S_OK with *file (freed by the caller) the
    // path as given to LoadDictionary, not made absolute, or the source name given to
    // LoadDictionaryBuffer ("<buffer>" when none), and the line and column (see
    // the promises above). S_FALSE when the class has no such member. Else
    // *file is NULL and *line and *column are 0: E_INVALIDARG for an unknown child
    // kind, TNODE_E_INVALIDNAME for a NULL or empty memberName with a child kind,
    // E_POINTER when an out-parameter is NULL, E_OUTOFMEMORY.
    virtual HRESULT GetLocation(CBSTR childKind, CBSTR memberName, BSTR* file, unsigned int* line,
                                unsigned int* column) {
        if (line != nullptr) *line = 0;
        if (column != nullptr) *column = 0;
        (void)childKind;
        (void)memberName;
        return NotImplemented(file);
    }
    // fixed slot 11. The node's value for one keyword subscript, as plain text (not
    // a piece); a, b and c may be NULL. Subscripts of every node: "1" name, "2" origin
    // (the class that defines it; a class node answers its own name), "4" description,
    // "5" type (a method's return type; empty for a class). Class: "23" class type.
    // Method: "14" internal, "23" class method, "27" formal argument list, "39" private,
    // "42" return type. Property: "14" internal, "24" cardinality, "27" collection,
    // "35" private, "36" relationship. Parameter: "14" internal. Booleans answer "0"
    // or "1". A subscript the node does not know answers the empty string with S_OK
    // and *a = 0; a known one sets *a = 1. *b and *c are always 0.
    virtual HRESULT GetKeyword(CBSTR subscript, BSTR* value, int* a, int* b, int* c) = 0;

protected:
    static HRESULT NotImplemented(BSTR* out) {
        if (out != nullptr) *out = nullptr;
        return E_NOTIMPL;
    }
};

class COM_ITNodeManager : public COM_IUnknown {
public:
    // slot 5: loads a class dictionary file (a path in 16-bit units, UTF-16). The
    // tree is replaced only when the whole file loads; otherwise *message (may be
    // NULL) reads "FILE:LINE:COLUMN: what went wrong (class C, method M)" for the
    // problem that comes first in the file, the status is that problem's, and the
    // tree loaded before stays as it was. FILE is the path as given: a byte of it
    // that is not UTF-8 comes back as the unpaired unit U+DC00 + byte, as the
    // runtime's path conversion writes it. The loader reads on past most problems,
    // so GetLoadErrors has the others. Lines and columns: see the promises above. A
    // problem with the file as a whole has no place: "FILE: what went wrong". On
    // success *message is NULL. Results: S_OK;
    // STG_E_FILENOTFOUND (missing or unreadable file); PARSE_E_SYNTAX (not JSON);
    // TNODE_E_KEYWORD (unknown key, wrong type or value, unknown format);
    // TNODE_E_INVALIDCLASSNAME / TNODE_E_INVALIDNAME (empty or malformed name);
    // TNODE_E_CLASSEXISTS (class defined twice); TNODE_E_NAMECONFLICT (member
    // defined twice in one class); TNODE_E_CLASSNOTEXIST (unknown super class);
    // PARSE_E_COMPILE (cycle of super classes); E_OUTOFMEMORY.
    virtual HRESULT LoadDictionary(CBSTR path, BSTR* message) {
        (void)path;
        return NotImplemented(message);
    }
    // slot 6: the same for a dictionary held in memory (UTF-8 JSON, `size` bytes);
    // sourceName (NULL or empty: "<buffer>") stands for the file name in messages,
    // GetDictionaryPath and GetLocation.
    virtual HRESULT LoadDictionaryBuffer(const char* data, unsigned long size, CBSTR sourceName,
                                         BSTR* message) {
        (void)data;
        (void)size;
        (void)sourceName;
        return NotImplemented(message);
    }
    // slot 7: number of classes loaded (0 before any load).
    virtual HRESULT GetClassCount(unsigned int* count) { return NotImplementedCount(count); }
    // slot 8: number of members (methods, properties, parameters) defined, all
    // classes, each counted once in the class that defines it.
    virtual HRESULT GetMemberCount(unsigned int* count) { return NotImplementedCount(count); }
    // fixed slot 9. The definition node of a full class name (unit-for-unit match).
    // An empty or NULL name gives TNODE_E_INVALIDCLASSNAME, an unknown class
    // TNODE_E_CLASSNOTEXIST; *out is NULL then.
    virtual HRESULT GetClassNode(CBSTR className, COM_ITNodeElement** out) = 0;
    // slot 10: the path (or source name) of the dictionary loaded last, empty when none.
    virtual HRESULT GetDictionaryPath(BSTR* out) { return NotImplemented(out); }
    // slot 11: every problem the last load (slot 5 or 6) found, in file order, one
    // per line, each in the form of LoadDictionary's message and ended by "\n"; the
    // first line is the message that load gave. The loader passes over a value at
    // fault and reads on (a class or member with a missing or malformed name is left
    // out of the checks of names and super classes), and checks duplicate classes,
    // super classes and cycles once the whole file is read. It stops early, so that
    // the list may be short of some, at a JSON syntax error, at an unknown "format"
    // (the rest would be read by the wrong rules), and at the 100th problem; the
    // checks that need the whole file are then not made. S_OK with the list (freed
    // by the caller); S_FALSE with an empty string when the last load succeeded or
    // was refused before reading (a NULL buffer), or before any load; E_POINTER for
    // a NULL out; E_OUTOFMEMORY with *out NULL.
    virtual HRESULT GetLoadErrors(BSTR* out) { return NotImplemented(out); }
    // slot 12: this manager answers from now on from the dictionary `loaded` holds,
    // shared and not copied, as if this manager had loaded it (GetDictionaryPath
    // names its file, GetLoadErrors is empty); its own import list stays. Takes no
    // time whatever the dictionary's size: a dictionary can be loaded by a second
    // manager on another thread and then taken by the manager the editor uses,
    // which answered from the old one meanwhile. Afterwards the two share the
    // dictionary's caches: use them from one thread at a time (or release `loaded`).
    // Nodes handed out before keep answering from the old dictionary. S_OK;
    // E_POINTER for NULL; E_INVALIDARG when `loaded` is not this runtime's tree
    // manager.
    virtual HRESULT TakeDictionary(COM_ITNodeManager* loaded) {
        (void)loaded;
        return E_NOTIMPL;
    }
    virtual HRESULT Reserved13() { return E_NOTIMPL; }  // slot 13
    virtual HRESULT Reserved14() { return E_NOTIMPL; }  // slot 14
    virtual HRESULT Reserved15() { return E_NOTIMPL; }  // slot 15
    virtual HRESULT Reserved16() { return E_NOTIMPL; }  // slot 16
    virtual HRESULT Reserved17() { return E_NOTIMPL; }  // slot 17
    virtual HRESULT Reserved18() { return E_NOTIMPL; }  // slot 18
    virtual HRESULT Reserved19() { return E_NOTIMPL; }  // slot 19
    virtual HRESULT Reserved20() { return E_NOTIMPL; }  // slot 20
    // fixed slot 21. The full class name of `name` resolved against `relativeTo`
    // (NULL or empty: no class). In this order: a name holding "." is full already
    // and comes back as it is; "%X" becomes "%Library.X"; otherwise, with P the
    // package of relativeTo (the text before its last "."), "P.name" when that class
    // exists, else "Q.name" for the first package Q of the import list (see
    // COM_IClassCache::SetImportPackageList) for which that class exists, else
    // "P.name", or the name itself when relativeTo has no package. The result need
    // not name an existing class. An empty or NULL name, or one that cannot be a
    // class name (blank or control characters, ",", a leading or trailing "." or
    // "..", a bare "%"), gives TNODE_E_INVALIDCLASSNAME and *out NULL.
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

// The runtime's tree manager answers this interface too. The three cache interfaces
// an editor may ask the service for (COM_IID_ISchemaCache, COM_IID_IExtrinsicCache,
// COM_IID_IMacroCache) have no meaning in this runtime: the manager answers them
// with E_NOINTERFACE.
class COM_IClassCache : public COM_IUnknown {
public:
    // fixed slot 5. Every class whose full name starts with `prefix` (NULL or empty:
    // every class), in code-unit order, each followed by ",". S_OK with the list, or
    // S_FALSE with an empty (non-NULL) string when no class matches.
    virtual HRESULT GetClassList(CBSTR prefix, BSTR* out) = 0;
    // fixed slot 6. Drops state derived from the dictionary (merged member lists of
    // inherited members), to be rebuilt on demand. The loaded classes and the import
    // list stay. S_OK.
    virtual HRESULT Reset() = 0;
    // fixed slot 7. Stores the comma-separated import package list that NormalizeName
    // consults, replacing the one before; blanks around entries and empty entries are
    // ignored; NULL clears it. S_OK.
    virtual HRESULT SetImportPackageList(CBSTR list) = 0;
};

#endif  // KESTO_TNODE_H_
