// One enumeration of a class node's children.
#include "bstr_padded.h"
#include "tnode_objects.h"

namespace kesto {

BSTR AllocBstr(std::u16string_view text) {
    return COM_SysAllocStringLen(reinterpret_cast<const unsigned short*>(text.data()),
                                 static_cast<unsigned int>(text.size()));
}

HRESULT TNodeCollection::QueryInterface(const COM_GUID& iid, void** out) {
    if (out == nullptr) return E_POINTER;
    if (COM_IsEqualGUID(iid, COM_IID_IUnknown) || COM_IsEqualGUID(iid, COM_IID_IStringCollection)) {
        *out = static_cast<COM_IStringCollection*>(this);
        AddRef();
        return S_OK;
    }
    *out = nullptr;
    return E_NOINTERFACE;
}

unsigned long TNodeCollection::Release() {
    unsigned long left = --references_;
    if (left == 0) delete this;
    return left;
}

HRESULT TNodeCollection::Next(BSTR* name, BSTR* values) {
    if (name == nullptr || values == nullptr) return E_POINTER;
    *name = nullptr;
    *values = nullptr;
    const PackedAnswers& answers = *answers_;
    if (next_ >= answers.entries.size()) return S_FALSE;
    const PackedAnswers::Entry& entry = answers.entries[next_];
    const char16_t* text = answers.text.data() + entry.offset;
    BSTR newName = AllocPaddedBstr(text, entry.nameLength);
    BSTR newValues = AllocPaddedBstr(text + entry.nameLength, entry.answerLength);
    if (newName == nullptr || newValues == nullptr) {
        // Not consumed: the caller may try this entry again.
        COM_SysFreeString(newName);
        COM_SysFreeString(newValues);
        return E_OUTOFMEMORY;
    }
    *name = newName;
    *values = newValues;
    ++next_;
    return S_OK;
}

}  // namespace kesto
