// TreeLookup.h: walking a class's members as the tree hands them out.
//
// A walk owns nothing but the strings of the child it is on: each Next frees the
// previous name and values through the holders' out-parameter step. The helpers
// report the status of the last Next unchanged and let a call through an empty
// collection holder throw utlAutoIfBase::XBadPtrException, so each query decides
// for itself what a failing tree means. Single-threaded, as the service is.
#ifndef VANTLE_TREECLIENT_TREELOOKUP_H_
#define VANTLE_TREECLIENT_TREELOOKUP_H_

#include "kesto/tnode.h"
#include "sysComLib.h"

typedef utlAutoIf<COM_ITNodeElement, &COM_IID_ITNodeElement> utlNodeIf;
typedef utlAutoIf<COM_IStringCollection, &COM_IID_IStringCollection> utlCollectionIf;

// The name a member query looks for, measured once: the query compares it with
// every child it walks. Names match unit for unit: same length, same 16-bit units,
// no case folding and no trimming.
class utlMemberName {
public:
    explicit utlMemberName(CBSTR wanted) : m_wanted(wanted), m_length(0) {
        if (wanted != nullptr)
            while (wanted[m_length] != 0) ++m_length;
    }

    bool Matches(CBSTR name) const {
        if (name == nullptr || m_wanted == nullptr || COM_SysStringLen(name) != m_length) return false;
        for (unsigned int i = 0; i < m_length; ++i) {
            if (name[i] != m_wanted[i]) return false;
        }
        return true;
    }

private:
    CBSTR m_wanted;
    unsigned int m_length;
};

// Hands each child to visit(name, values) until visit answers true or the walk
// ends. The status of the last Next: S_OK when visit stopped the walk, S_FALSE
// at the end, or the failure that ended it.
template <typename Visit>
HRESULT utlWalkMembers(utlCollectionIf& children, utlAutoBSTR& name, utlAutoBSTR& values, Visit visit) {
    for (;;) {
        HRESULT hr = children->Next(&name, &values);
        if (FAILED(hr) || name.IsNull()) return hr;
        if (visit(name, values)) return hr;
    }
}

// Where a search for one member ended: `found` with the status of the Next that
// delivered it, or not found with the status of the last Next (S_FALSE at the end,
// or the failure that ended the walk).
struct utlMemberMatch {
    HRESULT status;
    bool found;
};

// Walks to the first child named `wanted`, leaving its values in `values`.
inline utlMemberMatch utlFindMember(utlCollectionIf& children, const utlMemberName& wanted, utlAutoBSTR& values) {
    utlAutoBSTR name;
    bool found = false;
    HRESULT hr = utlWalkMembers(children, name, values, [&](const utlAutoBSTR& child, const utlAutoBSTR&) {
        found = wanted.Matches(child);
        return found;
    });
    return {hr, found};
}

#endif  // VANTLE_TREECLIENT_TREELOOKUP_H_
