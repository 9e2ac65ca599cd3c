// Member listing: the editor's completion list for a class, plain and with kind marks.
#include "TreeRecords.h"
#include "VantleAssist.h"
#include "ServiceTexts.h"
#include "vantle/constants.h"

namespace {

bool IsSet(MEMBER_FILTER_FLAGS flags, MEMBER_FILTER_FLAGS flag) { return (flags & flag) != 0; }

// One child section of the listing: which children, which keywords, and where the
// internal flag sits in the answer.
struct Section {
    const unsigned short* childKind;
    const utlWString& query;
    utlFlagPosition internalAt;
};

// Walks one section, handing each child that survives the internal rule to
// `accept`. Returns S_OK when the walk ended normally, else the failing HRESULT.
template <typename Accept>
HRESULT WalkSection(utlNodeIf& node, const Section& section, int includeInherited, MEMBER_FILTER_FLAGS flags,
                    Accept accept) {
    utlCollectionIf children;
    HRESULT hr = node->OpenChildren(section.childKind, section.query.c_str(), includeInherited, &children);
    if (FAILED(hr)) return hr;
    utlAutoBSTR name;
    utlAutoBSTR values;
    hr = utlWalkMembers(children, name, values, [&](const utlAutoBSTR& child, const utlAutoBSTR& answer) {
        const utlFlagReader flagsOf(answer);
        if (!flagsOf.IsSet(section.internalAt) || IsSet(flags, MEMBER_INTERNAL)) accept(child, flagsOf);
        return false;
    });
    return FAILED(hr) ? hr : S_OK;
}

// Failed appends are dropped one by one: the list keeps what it had and the walk
// goes on, so a short list is the worst an exhausted allocator causes here.
void AppendEntry(utlAutoBSTR& list, const utlWString& entry) {
    if (entry.empty()) return;
    list.Append(entry.data(), entry.size());
    list.Append(texts::kListEnd);
}

// An extended entry is assembled in one reused buffer, so that the list's own
// exact-length growth is the only string allocation per entry.
void StartEntry(utlWString& entry, const utlAutoBSTR& name) {
    entry.assign(utlOrEmpty(name), name.Length());
}

}  // namespace

HRESULT CVantleAssistant::GetClassMembers(CBSTR className, MEMBER_FILTER_FLAGS flags, BSTR* out) {
    return ListMembers(className, flags, false, out);
}

HRESULT CVantleAssistant::GetClassMembersEx(CBSTR className, MEMBER_FILTER_FLAGS flags, BSTR* out) {
    return ListMembers(className, flags, true, out);
}

HRESULT CVantleAssistant::ListMembers(CBSTR className, MEMBER_FILTER_FLAGS passedFlags, bool extended, BSTR* out) {
    if (out == nullptr) return E_POINTER;
    *out = nullptr;
    if (className == nullptr) return E_POINTER;
    const MEMBER_FILTER_FLAGS flags = EffectiveFlags(passedFlags);
    if (m_pTNodeManager.IsNull()) return S_FALSE;

    utlAutoBSTR normalized;
    utlNodeIf node;
    if (FAILED(OpenClassNode(className, normalized, node))) return S_FALSE;

    utlAutoBSTR classType;
    int ignoredA = 0, ignoredB = 0, ignoredC = 0;
    HRESULT hr = node->GetKeyword(CLASSclasstype, &classType, &ignoredA, &ignoredB, &ignoredC);
    if (FAILED(hr)) return hr;
    if (utlMemberName(texts::kDatatypeClass).Matches(classType) && !IsSet(flags, MEMBER_DATATYPES)) return S_FALSE;

    // Whatever was listed before a failing walk still goes to the caller; an
    // exception passing through frees it instead.
    utlAutoBSTR list;
    utlWString entry;

    if (IsSet(flags, MEMBER_CLASSMETHODS) || IsSet(flags, MEMBER_INSTANCEMETHODS)) {
        const Section methods{TNODEclassmethod, utlListMethodsQuery(extended), utlSECOND_FLAG};
        hr = WalkSection(node, methods, m_includeInherited, flags,
                         [&](const utlAutoBSTR& name, const utlFlagReader& values) {
                             unsigned short classMethod = values.At(utlFIRST_FLAG);
                             bool wanted = (classMethod == '1' && IsSet(flags, MEMBER_CLASSMETHODS)) ||
                                           (classMethod == '0' && IsSet(flags, MEMBER_INSTANCEMETHODS));
                             if (!wanted) return;
                             if (!extended) {
                                 list.Append(name);
                                 list.Append(texts::kMethodEntryEnd);
                                 return;
                             }
                             bool isPrivate = values.IsSet(utlTHIRD_FLAG);
                             StartEntry(entry, name);
                             entry += texts::kOpenParen;
                             if (classMethod == '1' || isPrivate) entry += texts::kMarkSeparator;
                             if (classMethod == '1') entry += texts::kClassMethodMark;
                             if (isPrivate) entry += texts::kPrivateMark;
                             AppendEntry(list, entry);
                         });
        if (FAILED(hr)) {
            *out = list.Detach();
            return hr;
        }
    }

    if (IsSet(flags, MEMBER_PROPERTIES)) {
        const Section properties{TNODEclassproperty, utlListPropertiesQuery(extended), utlFIRST_FLAG};
        hr = WalkSection(node, properties, m_includeInherited, flags,
                         [&](const utlAutoBSTR& name, const utlFlagReader& values) {
                             if (!extended) {
                                 list.Append(name);
                                 list.Append(texts::kListEnd);
                                 return;
                             }
                             StartEntry(entry, name);
                             if (values.IsSet(utlSECOND_FLAG)) {
                                 entry += texts::kMarkSeparator;
                                 entry += texts::kPrivateMark;
                             }
                             AppendEntry(list, entry);
                         });
        if (FAILED(hr)) {
            *out = list.Detach();
            return hr;
        }
    }

    if (IsSet(flags, MEMBER_PARAMETERS)) {
        const Section parameters{TNODEclassparameter, utlListParametersQuery(), utlFIRST_FLAG};
        hr = WalkSection(node, parameters, m_includeInherited, flags,
                         [&](const utlAutoBSTR& name, const utlFlagReader&) {
                             list.Append(name);
                             list.Append(texts::kListEnd);
                         });
        if (FAILED(hr)) {
            *out = list.Detach();
            return hr;
        }
    }
    *out = list.Detach();
    return hr;
}
