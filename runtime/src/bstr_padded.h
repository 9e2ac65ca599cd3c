// Strings made from text that the runtime owns and has padded.
//
// AllocPaddedBstr(text, n) makes the same BSTR as COM_SysAllocStringLen(text, n),
// but may read kPaddedCopyUnits units from `text` whatever n is: the caller keeps
// that many readable units from `text` on (the text itself and slack after it). A
// short string is then copied in one fixed move, with no branch on its length.
// NULL when the runtime cannot allocate.
#ifndef KESTO_RUNTIME_BSTR_PADDED_H_
#define KESTO_RUNTIME_BSTR_PADDED_H_

#include "kesto/com.h"

namespace kesto {

constexpr unsigned int kPaddedCopyUnits = 32;

BSTR AllocPaddedBstr(const char16_t* text, unsigned int length);

}  // namespace kesto

#endif  // KESTO_RUNTIME_BSTR_PADDED_H_
