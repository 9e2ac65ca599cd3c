// One enumeration of a class node's children.
#include "bstr_padded.h"
#include "tnode_objects.h"

namespace kesto {

HRESULT TNodeCollection::Next(BSTR* name, BSTR* values) {
    if (name == nullptr || values == nullptr) return E_POINTER;
    *name = nullptr;
    *values = nullptr;
    const TreeAnswers& answers = *answers_;
    if (next_ >= answers.entries.size()) return S_FALSE;
    const TreeAnswers::Entry& entry = answers.entries[next_];
    const char16_t* text = answers.text.get() + entry.offset;
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
