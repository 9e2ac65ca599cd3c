// vantle/messages.h: the text of any status code, as libvantleassist.so words it.
//
// COM_HRESULT_Expansion(code) gives "message [XXXXXXXX]" for every 32-bit code: the
// known codes of the runtime, the tree, the registry and the system (facility 7
// codes are worded from the system's own error texts), and "Unknown error" for the
// rest. The string is the caller's; the function keeps nothing and may be called
// from any thread. It throws std::bad_alloc and nothing else.
#ifndef VANTLE_MESSAGES_H_
#define VANTLE_MESSAGES_H_

#include <string>

#include "vantle/export.h"

VANTLE_EXPORT std::basic_string<unsigned short> COM_HRESULT_Expansion(int code);

#endif  // VANTLE_MESSAGES_H_
