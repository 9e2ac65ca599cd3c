// Status code texts through the component's exported message function.
#include "HresultText.h"

#include <cstdio>

#include "ToolText.h"
#include "vantle/messages.h"

namespace vantle::tool {

std::string HresultMessage(HRESULT code) {
    switch (code) {
        case CO_E_DLLNOTFOUND:
            return "The shared library cannot be found or loaded";
        case CO_E_ERRORINDLL:
            return "The module lacks an entry point it needs";
        default:
            break;
    }
    std::string text = HresultText(code);
    // The table's text ends in " [XXXXXXXX]".
    if (std::size_t bracket = text.rfind(" ["); bracket != std::string::npos) text.resize(bracket);
    return text;
}

std::string HresultText(HRESULT code) {
    std::string message;
    if (code == CO_E_DLLNOTFOUND || code == CO_E_ERRORINDLL) {
        message = HresultMessage(code);
        char hex[16];
        std::snprintf(hex, sizeof hex, " [%08X]", static_cast<unsigned int>(code));
        return message + hex;
    }
    const std::basic_string<unsigned short> text = COM_HRESULT_Expansion(code);
    return ToUtf8(std::u16string_view(reinterpret_cast<const char16_t*>(text.data()), text.size()));
}

}  // namespace vantle::tool
