// Member type resolution: what a method returns or what a property holds.
#include "TreeRecords.h"
#include "VantleAssist.h"
#include "utlLiteral.h"
#include "ServiceTexts.h"
#include "vantle/constants.h"

namespace {

constexpr const unsigned short* kArrayOf = utlLiteral<"array of ">;
constexpr const unsigned short* kListOf = utlLiteral<"list of ">;
constexpr const unsigned short* kRelationshipOf = utlLiteral<"relm of ">;

unsigned short FirstUnit(const utlAutoBSTR& text) { return text.Length() > 0 ? text.Get()[0] : 0; }

// The prefix a property's type is shown with; NULL when the raw type is shown as
// stored (normalize false). A collection is judged before a relationship, and each
// by its first letter only ("array", "list"; "one" and "parent" name a single
// object).
const unsigned short* TypePrefix(const utlPropertyTypeRecord& record, bool& normalize) {
    bool isRelationship = FirstUnit(record.relationship) == '1';
    bool isCollection = record.collection.Length() > 0;
    normalize = false;
    if (!isRelationship && !isCollection) return nullptr;
    unsigned short kind = FirstUnit(record.collection);
    normalize = true;
    if (kind == 'a') return kArrayOf;
    if (kind == 'l') return kListOf;
    if (!isRelationship) {
        normalize = false;
        return nullptr;
    }
    unsigned short cardinalityKind = FirstUnit(record.cardinality);
    if (cardinalityKind == 'o' || cardinalityKind == 'p') return texts::kNothing;
    return kRelationshipOf;
}

}  // namespace

HRESULT CVantleAssistant::GetClassMemberType(CBSTR className, CBSTR memberName, SYMBOL_KIND* kind, BSTR* type) {
    if (kind == nullptr || type == nullptr) return E_POINTER;
    *kind = static_cast<SYMBOL_KIND>(0);
    *type = nullptr;
    if (className == nullptr || memberName == nullptr) return E_POINTER;
    if (m_pTNodeManager.IsNull()) return S_FALSE;

    utlAutoBSTR normalized;
    utlNodeIf node;
    if (FAILED(OpenClassNode(className, normalized, node))) return S_FALSE;

    // Methods first: a property of the same name is never reached. A method walk
    // that fails goes on to the properties.
    const utlMemberName wanted(memberName);
    {
        utlCollectionIf methods;
        utlAutoBSTR values;
        HRESULT hr = node->OpenChildren(TNODEclassmethod, utlReturnTypeQuery().c_str(), m_includeInherited, &methods);
        if (FAILED(hr)) return hr;
        const utlMemberMatch method = utlFindMember(methods, wanted, values);
        if (method.found) {
            *kind = SYMBOL_MEMBERMETHOD;
            if (!values.IsNull()) *type = utlSinglePieceText(values);
            return method.status;
        }
    }

    utlCollectionIf properties;
    HRESULT hr =
        node->OpenChildren(TNODEclassproperty, utlPropertyTypeQuery().c_str(), m_includeInherited, &properties);
    if (FAILED(hr)) return hr;
    utlAutoBSTR values;
    const utlMemberMatch property = utlFindMember(properties, wanted, values);
    if (!property.found) return property.status;
    *kind = SYMBOL_PROPERTY;
    utlPropertyTypeRecord record(values);
    bool normalize = false;
    const unsigned short* prefix = TypePrefix(record, normalize);
    if (!normalize) {
        *type = record.type.Copy();
        return property.status;
    }
    utlAutoBSTR normalizedType;
    HRESULT normalizeResult =
        NormalizeClassNameRelative(utlOrEmpty(record.type), utlOrEmpty(normalized), &normalizedType);
    // A failed normalisation still shows the type as stored, yet its code is the
    // result: callers learn that the name could not be resolved.
    utlAutoBSTR shown;
    shown.Append(prefix);
    shown.Append(FAILED(normalizeResult) ? record.type : normalizedType);
    *type = shown.Detach();
    return normalizeResult;
}
