// Member origin: the class that defines a member, as the tree stores it.
#include "TreeRecords.h"
#include "VantleAssist.h"
#include "vantle/constants.h"

namespace {

// Kinds 2 and 4 both ask for a method: 4 is what the type query reports, 2 is the
// editor's own name for a method symbol.
const unsigned short* ChildKindFor(SYMBOL_KIND kind) {
    switch (kind) {
        case SYMBOL_METHOD:
        case SYMBOL_MEMBERMETHOD:
            return TNODEclassmethod;
        case SYMBOL_PROPERTY:
            return TNODEclassproperty;
        case SYMBOL_CLASSPARAMETER:
            return TNODEclassparameter;
        default:
            return nullptr;
    }
}

}  // namespace

HRESULT CVantleAssistant::GetMemberOrigin(CBSTR className, CBSTR memberName, SYMBOL_KIND kind, BSTR* origin) {
    if (origin == nullptr) return E_POINTER;
    *origin = nullptr;
    if (className == nullptr || memberName == nullptr) return E_POINTER;
    if (m_pTNodeManager.IsNull()) return S_FALSE;

    // Unlike the type query, a failed lookup is reported with the tree's own code.
    utlAutoBSTR normalized;
    utlNodeIf node;
    HRESULT hr = OpenClassNode(className, normalized, node);
    if (FAILED(hr)) return hr;

    const unsigned short* childKind = ChildKindFor(kind);
    if (childKind == nullptr) return hr;

    // The status of OpenChildren is deliberately not looked at: when it leaves no
    // collection, the first Next raises the holder's bad-pointer exception, which
    // reaches the caller.
    utlCollectionIf members;
    node->OpenChildren(childKind, utlOriginQuery().c_str(), m_includeInherited, &members);
    utlAutoBSTR values;
    const utlMemberMatch match = utlFindMember(members, utlMemberName(memberName), values);
    if (!match.found) return match.status;
    if (!values.IsNull()) *origin = utlSinglePieceText(values);
    return S_OK;
}
