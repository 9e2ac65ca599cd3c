// JSON pieces of the tool's documents.
#include "ToolJson.h"

#include <cstdio>

#include "HresultText.h"
#include "ToolText.h"

namespace vantle::tool {

Json JsonText(const kesto::String& text) {
    if (text.is_null()) return nullptr;
    return Utf8(text);
}

std::string HresultHex(HRESULT code) {
    char text[16];
    std::snprintf(text, sizeof text, "0x%08X", static_cast<unsigned int>(code));
    return text;
}

Json JsonStatus(HRESULT code) { return Json{{"hresult", HresultHex(code)}, {"message", HresultMessage(code)}}; }

void WriteJson(std::ostream& out, const Json& document) {
    out << document.dump(-1, ' ', false, Json::error_handler_t::replace) << "\n";
}

}  // namespace vantle::tool
