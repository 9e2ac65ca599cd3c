// Status code texts through the component's exported message function.
#include "tools/HresultText.h"

#include <dlfcn.h>

#include <cstdio>

#include "tools/ServiceSession.h"
#include "tools/ToolText.h"

namespace vantle::tool {
namespace {

// std::basic_string<unsigned short> COM_HRESULT_Expansion(int), as the compiler
// mangles it with the default string ABI.
constexpr const char* kExpansionSymbol = "_Z21COM_HRESULT_ExpansionB5cxx11i";
using ExpansionFunction = std::basic_string<unsigned short> (*)(int);

ExpansionFunction FindExpansion(void* module) {
    if (module != nullptr) {
        if (void* found = dlsym(module, kExpansionSymbol)) return reinterpret_cast<ExpansionFunction>(found);
    }
    static void* beside = dlopen(DefaultModulePath().c_str(), RTLD_NOW | RTLD_LOCAL);
    if (beside == nullptr) return nullptr;
    return reinterpret_cast<ExpansionFunction>(dlsym(beside, kExpansionSymbol));
}

}  // namespace

std::string HresultText(HRESULT code, void* module) {
    if (ExpansionFunction expansion = FindExpansion(module)) {
        std::basic_string<unsigned short> text = expansion(code);
        return ToUtf8(std::u16string_view(reinterpret_cast<const char16_t*>(text.data()), text.size()));
    }
    char fallback[32];
    std::snprintf(fallback, sizeof fallback, "status %08X", static_cast<unsigned int>(code));
    return fallback;
}

}  // namespace vantle::tool
