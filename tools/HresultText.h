// HresultText: the message text of a status code, as people read it, from the one
// table the component exports (COM_HRESULT_Expansion): "message [XXXXXXXX]".
#ifndef VANTLE_TOOLS_HRESULTTEXT_H_
#define VANTLE_TOOLS_HRESULTTEXT_H_

#include <string>

#include "kesto/com.h"

namespace vantle::tool {

std::string HresultText(HRESULT code);

}  // namespace vantle::tool

#endif  // VANTLE_TOOLS_HRESULTTEXT_H_
