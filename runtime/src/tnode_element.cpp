// A class's definition node.
#include <new>

#include "dictionary_text.h"
#include "tnode_keywords.h"
#include "tnode_objects.h"

namespace kesto {
namespace {

// The member kind of a child-kind code, or false for a code the tree does not have.
bool ChildKindOf(CBSTR childKind, MemberKind* kind) {
    std::u16string_view code = ViewOf(childKind);
    if (code.size() != 1) return false;
    switch (code[0]) {
        case u'm':
            *kind = MemberKind::kMethod;
            return true;
        case u'a':
            *kind = MemberKind::kProperty;
            return true;
        case u'p':
            *kind = MemberKind::kParameter;
            return true;
        default:
            return false;
    }
}

// What the dictionary keeps one enumeration's answers under.
std::string AnswersKey(std::uint32_t cls, MemberKind kind, bool inherited, const std::vector<Keyword>& query) {
    std::string key(reinterpret_cast<const char*>(&cls), sizeof cls);
    key.push_back(static_cast<char>(kind));
    key.push_back(inherited ? 1 : 0);
    for (Keyword keyword : query) key.push_back(static_cast<char>(keyword));
    return key;
}

HRESULT HandOut(std::u16string_view text, BSTR* out) {
    *out = AllocBstr(text);
    return *out == nullptr ? E_OUTOFMEMORY : S_OK;
}

}  // namespace

HRESULT TNodeElement::GetName(BSTR* out) {
    if (out == nullptr) return E_POINTER;
    return HandOut(dictionary_->ClassName(class_), out);
}

HRESULT TNodeElement::GetSuperClasses(BSTR* out) {
    if (out == nullptr) return E_POINTER;
    *out = nullptr;
    const auto supers = dictionary_->Supers(class_);
    try {
        std::u16string list;
        for (std::uint32_t super : supers) {
            list += dictionary_->ClassName(super);
            list += u',';
        }
        HRESULT hr = HandOut(list, out);
        return FAILED(hr) ? hr : (supers.empty() ? S_FALSE : S_OK);
    } catch (const std::bad_alloc&) {
        return E_OUTOFMEMORY;
    }
}

HRESULT TNodeElement::GetDescription(BSTR* out) {
    if (out == nullptr) return E_POINTER;
    return HandOut(dictionary_->Text(dictionary_->Class(class_).description), out);
}

HRESULT TNodeElement::OpenChildren(CBSTR childKind, CBSTR keywordQuery, int includeInherited,
                                   COM_IStringCollection** out) {
    if (out == nullptr) return E_POINTER;
    *out = nullptr;
    MemberKind kind;
    if (!ChildKindOf(childKind, &kind)) return E_INVALIDARG;
    try {
        std::vector<Keyword> query;
        if (!ParseKeywordQuery(ViewOf(keywordQuery), NodeKindOf(kind), &query)) return E_INVALIDARG;
        const bool inherited = includeInherited != 0;
        std::string key = AnswersKey(class_, kind, inherited, query);
        std::shared_ptr<const TreeAnswers> answers = dictionary_->FindAnswers(key);
        if (answers == nullptr) {
            answers = PackAnswers(*dictionary_, dictionary_->Members(dictionary_, class_, kind, inherited).items, query);
            dictionary_->KeepAnswers(std::move(key), answers);
        }
        *out = NewObject<TNodeCollection>(std::move(answers));
        return *out == nullptr ? E_OUTOFMEMORY : S_OK;
    } catch (const std::bad_alloc&) {
        return E_OUTOFMEMORY;
    }
}

HRESULT TNodeElement::GetChildCount(CBSTR childKind, int includeInherited, unsigned int* count) {
    if (count == nullptr) return E_POINTER;
    *count = 0;
    MemberKind kind;
    if (!ChildKindOf(childKind, &kind)) return E_INVALIDARG;
    try {
        *count = static_cast<unsigned int>(dictionary_->Members(dictionary_, class_, kind, includeInherited != 0).items.size());
        return S_OK;
    } catch (const std::bad_alloc&) {
        return E_OUTOFMEMORY;
    }
}

HRESULT TNodeElement::GetLocation(CBSTR childKind, CBSTR memberName, BSTR* file, unsigned int* line,
                                  unsigned int* column) {
    if (file != nullptr) *file = nullptr;
    if (line != nullptr) *line = 0;
    if (column != nullptr) *column = 0;
    if (file == nullptr || line == nullptr || column == nullptr) return E_POINTER;
    SourcePosition at;
    if (ViewOf(childKind).empty()) {
        at = dictionary_->ClassNameAt(class_);
    } else {
        MemberKind kind;
        if (!ChildKindOf(childKind, &kind)) return E_INVALIDARG;
        const std::u16string_view name = ViewOf(memberName);
        if (name.empty()) return TNODE_E_INVALIDNAME;
        std::uint32_t member;
        try {
            member = dictionary_->DefiningMember(class_, kind, name);
        } catch (const std::bad_alloc&) {
            return E_OUTOFMEMORY;
        }
        if (member == ClassTree::kNoMember) return S_FALSE;
        at = dictionary_->MemberNameAt(member);
    }
    HRESULT hr = HandOut(dictionary_->Source(), file);
    if (FAILED(hr)) return hr;
    *line = at.line;
    *column = at.column;
    return S_OK;
}

HRESULT TNodeElement::GetKeyword(CBSTR subscript, BSTR* value, int* a, int* b, int* c) {
    if (a != nullptr) *a = 0;
    if (b != nullptr) *b = 0;
    if (c != nullptr) *c = 0;
    if (value == nullptr) return E_POINTER;
    Keyword keyword = LookupKeyword(ViewOf(subscript), NodeKind::kClass);
    if (a != nullptr) *a = keyword == Keyword::kUnknown ? 0 : 1;
    return HandOut(ClassKeywordValue(*dictionary_, class_, keyword), value);
}

}  // namespace kesto
