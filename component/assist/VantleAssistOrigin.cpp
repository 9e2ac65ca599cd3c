// Member origin: the class that defines a member, as the tree stores it.
#include "VantleAssist.h"
#include "vantle/constants.h"
#include "VantleAssistText.h"

namespace {

typedef utlAutoIf<COM_ITNodeElement, &COM_IID_ITNodeElement> NodeHolder;
typedef utlAutoIf<COM_IStringCollection, &COM_IID_IStringCollection> CollectionHolder;

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
    HRESULT hr = NormalizeClassName(className, &normalized);
    if (FAILED(hr)) return hr;
    NodeHolder node;
    hr = m_pTNodeManager->GetClassNode(utlOrEmpty(normalized), &node);
    if (FAILED(hr)) return hr;

    const unsigned short* childKind = ChildKindFor(kind);
    if (childKind == nullptr) return hr;

    // The status of OpenChildren is deliberately not looked at: when it leaves no
    // collection, the first Next raises the holder's bad-pointer exception, which
    // reaches the caller.
    utlWString query = utlJoin({S_A_String0006, XXXXorigin});
    CollectionHolder members;
    node->OpenChildren(childKind, query.c_str(), m_includeInherited, &members);
    const utlMemberName wanted(memberName);
    utlAutoBSTR name;
    utlAutoBSTR values;
    for (;;) {
        hr = members->Next(&name, &values);
        if (FAILED(hr) || name.IsNull()) return hr;
        if (!wanted.Matches(name)) continue;
        if (!values.IsNull()) *origin = utlTextAfterColon(values);
        return S_OK;
    }
}
