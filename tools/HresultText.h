// HresultText: the message text of a status code, as people read it, from the one
// table the component exports (COM_HRESULT_Expansion): "message [XXXXXXXX]".
// The codes of loading a library are worded by the tool itself: the table speaks
// of another platform's libraries, this tool loads shared libraries.
#ifndef VANTLE_TOOLS_HRESULTTEXT_H_
#define VANTLE_TOOLS_HRESULTTEXT_H_

#include <string>

#include "kesto/com.h"

namespace vantle::tool {

// "message [XXXXXXXX]"
std::string HresultText(HRESULT code);
// The message alone.
std::string HresultMessage(HRESULT code);

}  // namespace vantle::tool

#endif  // VANTLE_TOOLS_HRESULTTEXT_H_
