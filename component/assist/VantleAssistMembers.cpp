// Member listing: the editor's completion list for a class, plain and with kind marks.
#include "VantleAssist.h"
#include "vantle/constants.h"
#include "VantleAssistText.h"

namespace {

typedef utlAutoIf<COM_ITNodeElement, &COM_IID_ITNodeElement> NodeHolder;
typedef utlAutoIf<COM_IStringCollection, &COM_IID_IStringCollection> CollectionHolder;

// Every queried keyword value is one character, so the k-th sits at 3k + 2.
const unsigned long kFirstValue = 2;
const unsigned long kSecondValue = 5;
const unsigned long kThirdValue = 8;

bool IsSet(MEMBER_FILTER_FLAGS flags, MEMBER_FILTER_FLAGS flag) { return (flags & flag) != 0; }

// One child section of the listing: which children, which keywords, and how an
// accepted child becomes an entry.
struct Section {
    const unsigned short* childKind;
    utlWString query;
    unsigned long internalAt;
};

// Walks one section, handing each child that survives the internal rule to
// `accept`. Returns S_OK when the walk ended normally, else the failing HRESULT.
template <typename Accept>
HRESULT WalkSection(NodeHolder& node, const Section& section, int includeInherited, MEMBER_FILTER_FLAGS flags,
                    Accept accept) {
    CollectionHolder children;
    HRESULT hr = node->OpenChildren(section.childKind, section.query.c_str(), includeInherited, &children);
    if (FAILED(hr)) return hr;
    utlAutoBSTR name;
    utlAutoBSTR values;
    for (;;) {
        hr = children->Next(&name, &values);
        if (FAILED(hr)) return hr;
        if (name.IsNull()) return S_OK;
        const utlValueReader answer(values);
        bool internal = answer.At(section.internalAt) == '1';
        if (internal && !IsSet(flags, MEMBER_INTERNAL)) continue;
        accept(name, answer);
    }
}

// Failed appends are dropped one by one: the list keeps what it had and the walk
// goes on, so a short list is the worst an exhausted allocator causes here.
void AppendEntry(utlAutoBSTR& list, const utlWString& entry) {
    if (entry.empty()) return;
    list.Append(entry.data(), entry.size());
    list.Append(S_A_String0004);
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
    if (FAILED(NormalizeClassName(className, &normalized))) return S_FALSE;
    NodeHolder node;
    if (FAILED(m_pTNodeManager->GetClassNode(utlOrEmpty(normalized), &node))) return S_FALSE;

    utlAutoBSTR classType;
    int ignoredA = 0, ignoredB = 0, ignoredC = 0;
    HRESULT hr = node->GetKeyword(CLASSclasstype, &classType, &ignoredA, &ignoredB, &ignoredC);
    if (FAILED(hr)) return hr;
    if (utlMemberNameEquals(classType, S_A_String0007) && !IsSet(flags, MEMBER_DATATYPES)) return S_FALSE;

    // Whatever was listed before a failing walk still goes to the caller; an
    // exception passing through frees it instead.
    utlAutoBSTR list;
    utlWString entry;

    if (IsSet(flags, MEMBER_CLASSMETHODS) || IsSet(flags, MEMBER_INSTANCEMETHODS)) {
        Section methods{TNODEclassmethod,
                        extended ? utlJoin({S_A_String0005, METHclassmethod, S_A_String0005, METHinternal,
                                            S_A_String0005, METHprivate})
                                 : utlJoin({S_A_String0005, METHclassmethod, S_A_String0005, METHinternal}),
                        kSecondValue};
        hr = WalkSection(node, methods, m_includeInherited, flags,
                         [&](const utlAutoBSTR& name, const utlValueReader& values) {
                             unsigned short classMethod = values.At(kFirstValue);
                             bool wanted = (classMethod == '1' && IsSet(flags, MEMBER_CLASSMETHODS)) ||
                                           (classMethod == '0' && IsSet(flags, MEMBER_INSTANCEMETHODS));
                             if (!wanted) return;
                             if (!extended) {
                                 list.Append(name);
                                 list.Append(S_A_String0008);
                                 return;
                             }
                             bool isPrivate = values.At(kThirdValue) == '1';
                             StartEntry(entry, name);
                             entry += S_A_String0009;
                             if (classMethod == '1' || isPrivate) entry += S_A_String0021;
                             if (classMethod == '1') entry += S_A_String0022;
                             if (isPrivate) entry += S_A_String0024;
                             AppendEntry(list, entry);
                         });
        if (FAILED(hr)) {
            *out = list.Detach();
            return hr;
        }
    }

    if (IsSet(flags, MEMBER_PROPERTIES)) {
        Section properties{TNODEclassproperty,
                           extended ? utlJoin({S_A_String0005, PROPinternal, S_A_String0005, PROPprivate})
                                    : utlJoin({S_A_String0005, PROPinternal}),
                           kFirstValue};
        hr = WalkSection(node, properties, m_includeInherited, flags,
                         [&](const utlAutoBSTR& name, const utlValueReader& values) {
                             if (!extended) {
                                 list.Append(name);
                                 list.Append(S_A_String0004);
                                 return;
                             }
                             StartEntry(entry, name);
                             if (values.At(kSecondValue) == '1') {
                                 entry += S_A_String0021;
                                 entry += S_A_String0024;
                             }
                             AppendEntry(list, entry);
                         });
        if (FAILED(hr)) {
            *out = list.Detach();
            return hr;
        }
    }

    if (IsSet(flags, MEMBER_PARAMETERS)) {
        Section parameters{TNODEclassparameter, utlJoin({S_A_String0005, PROPinternal}), kFirstValue};
        hr = WalkSection(node, parameters, m_includeInherited, flags,
                         [&](const utlAutoBSTR& name, const utlValueReader&) {
                             list.Append(name);
                             list.Append(S_A_String0004);
                         });
        if (FAILED(hr)) {
            *out = list.Detach();
            return hr;
        }
    }
    *out = list.Detach();
    return hr;
}
