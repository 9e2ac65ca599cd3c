// The text form of an identifier inside the runtime: "{XXXXXXXX-XXXX-XXXX-XXXX-
// XXXXXXXXXXXX}" in upper case, exactly what COM_CLSIDToString hands out and what
// the registry's class and category keys are named. FormatGuid never allocates.
#ifndef KESTO_RUNTIME_GUID_TEXT_H_
#define KESTO_RUNTIME_GUID_TEXT_H_

#include <cstddef>
#include <string>

#include "kesto/com.h"

namespace kesto {

constexpr std::size_t kGuidTextLength = 38;

// Writes the text and a NUL.
void FormatGuid(const COM_GUID& id, char (&text)[kGuidTextLength + 1]);
std::string GuidText(const COM_GUID& id);

}  // namespace kesto

#endif  // KESTO_RUNTIME_GUID_TEXT_H_
