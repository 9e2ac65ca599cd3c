// Status code texts through the component's exported message function.
#include "HresultText.h"

#include "ToolText.h"
#include "vantle/messages.h"

namespace vantle::tool {

std::string HresultText(HRESULT code) {
    const std::basic_string<unsigned short> text = COM_HRESULT_Expansion(code);
    return ToUtf8(std::u16string_view(reinterpret_cast<const char16_t*>(text.data()), text.size()));
}

}  // namespace vantle::tool
