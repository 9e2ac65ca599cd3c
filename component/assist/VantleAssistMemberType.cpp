// Member type resolution: what a method returns or what a property holds.
#include "VantleAssist.h"
#include "VantleAssistRecords.h"
#include "vantle/constants.h"
#include "VantleAssistText.h"
#include "utlLiteral.h"

namespace {

typedef utlAutoIf<COM_ITNodeElement, &COM_IID_ITNodeElement> NodeHolder;
typedef utlAutoIf<COM_IStringCollection, &COM_IID_IStringCollection> CollectionHolder;

constexpr const unsigned short* kArrayOf = utlLiteral<"array of ">;
constexpr const unsigned short* kListOf = utlLiteral<"list of ">;
constexpr const unsigned short* kRelationshipOf = utlLiteral<"relm of ">;

unsigned short FirstUnit(const utlAutoBSTR& text) { return text.Length() > 0 ? text.Get()[0] : 0; }

// The four pieces of a property's answer, in query order.
struct PropertyAnswer {
    utlAutoBSTR type;
    utlAutoBSTR collection;
    utlAutoBSTR relationship;
    utlAutoBSTR cardinality;

    explicit PropertyAnswer(CBSTR values) {
        int position = 0;
        type.Attach(TNodePiece(values, position));
        collection.Attach(TNodePiece(values, position));
        relationship.Attach(TNodePiece(values, position));
        cardinality.Attach(TNodePiece(values, position));
    }

    // The prefix the type is shown with; NULL when the raw type is shown as stored.
    // A collection is judged before a relationship, and each by its first letter
    // only ("array", "list"; "one" and "parent" name a single object).
    const unsigned short* Prefix(bool& normalize) const {
        bool isRelationship = FirstUnit(relationship) == '1';
        bool isCollection = collection.Length() > 0;
        normalize = false;
        if (!isRelationship && !isCollection) return nullptr;
        unsigned short kind = FirstUnit(collection);
        normalize = true;
        if (kind == 'a') return kArrayOf;
        if (kind == 'l') return kListOf;
        if (!isRelationship) {
            normalize = false;
            return nullptr;
        }
        unsigned short cardinalityKind = FirstUnit(cardinality);
        if (cardinalityKind == 'o' || cardinalityKind == 'p') return S_A_String0001;
        return kRelationshipOf;
    }
};

}  // namespace

HRESULT CVantleAssistant::GetClassMemberType(CBSTR className, CBSTR memberName, SYMBOL_KIND* kind, BSTR* type) {
    if (kind == nullptr || type == nullptr) return E_POINTER;
    *kind = static_cast<SYMBOL_KIND>(0);
    *type = nullptr;
    if (className == nullptr || memberName == nullptr) return E_POINTER;
    if (m_pTNodeManager.IsNull()) return S_FALSE;

    utlAutoBSTR normalized;
    if (FAILED(NormalizeClassName(className, &normalized))) return S_FALSE;
    NodeHolder node;
    if (FAILED(m_pTNodeManager->GetClassNode(utlOrEmpty(normalized), &node))) return S_FALSE;

    // Methods first: a property of the same name is never reached.
    const utlMemberName wanted(memberName);
    HRESULT hr;
    {
        CollectionHolder methods;
        utlWString query = utlJoin({S_A_String0005, METHreturntype});
        hr = node->OpenChildren(TNODEclassmethod, query.c_str(), m_includeInherited, &methods);
        if (FAILED(hr)) return hr;
        utlAutoBSTR name;
        utlAutoBSTR values;
        for (;;) {
            hr = methods->Next(&name, &values);
            if (FAILED(hr) || name.IsNull()) break;
            if (!wanted.Matches(name)) continue;
            *kind = SYMBOL_MEMBERMETHOD;
            if (!values.IsNull()) *type = utlTextAfterColon(values);
            return hr;
        }
    }

    CollectionHolder properties;
    utlWString query = utlJoin({S_A_String0006, XXXXtype, S_A_String0005, PROPcollection, S_A_String0005,
                                PROPrelationship, S_A_String0005, PROPcardinality});
    hr = node->OpenChildren(TNODEclassproperty, query.c_str(), m_includeInherited, &properties);
    if (FAILED(hr)) return hr;
    utlAutoBSTR name;
    utlAutoBSTR values;
    for (;;) {
        hr = properties->Next(&name, &values);
        if (FAILED(hr) || name.IsNull()) return hr;
        if (!wanted.Matches(name)) continue;
        *kind = SYMBOL_PROPERTY;
        PropertyAnswer answer(values);
        bool normalize = false;
        const unsigned short* prefix = answer.Prefix(normalize);
        if (!normalize) {
            *type = answer.type.Copy();
            return hr;
        }
        utlAutoBSTR normalizedType;
        HRESULT normalizeResult =
            NormalizeClassNameRelative(utlOrEmpty(answer.type), utlOrEmpty(normalized), &normalizedType);
        // A failed normalisation still shows the type as stored, yet its code is the
        // result: callers learn that the name could not be resolved.
        utlAutoBSTR shown;
        shown.Append(prefix);
        shown.Append(FAILED(normalizeResult) ? answer.type : normalizedType);
        *type = shown.Detach();
        return normalizeResult;
    }
}
