// HresultText: the message text of a status code, as people read it.
//
// The component exports the one authoritative table (COM_HRESULT_Expansion); the
// tool does not link the component, so it looks the function up in the loaded
// library, or in the library beside the tool. Without either it still answers,
// with "status XXXXXXXX".
#ifndef VANTLE_TOOLS_HRESULTTEXT_H_
#define VANTLE_TOOLS_HRESULTTEXT_H_

#include <string>

#include "kesto/com.h"

namespace vantle::tool {

// `module` is a dlopen handle of the component, or NULL.
std::string HresultText(HRESULT code, void* module);

}  // namespace vantle::tool

#endif  // VANTLE_TOOLS_HRESULTTEXT_H_
