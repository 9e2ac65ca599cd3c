// Text helpers of the host tool: UTF-8 <-> 16-bit conversion and an owning BSTR.
//
// The service speaks 16-bit strings, people and pipes UTF-8. Conversion is the
// runtime's own (unicode_text.h) and never fails: broken input becomes U+FFFD.
// Bstr owns one runtime string (or NULL) and frees it once; NULL stays
// distinguishable from empty, since the tool must report the service's NULLs as
// such.
#ifndef VANTLE_TOOLS_TOOLTEXT_H_
#define VANTLE_TOOLS_TOOLTEXT_H_

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "kesto/com.h"
#include "unicode_text.h"

namespace vantle::tool {

inline std::u16string ToUtf16(std::string_view utf8) { return kesto::Utf8ToUtf16(utf8); }
inline std::string ToUtf8(std::u16string_view utf16) { return kesto::Utf16ToUtf8(utf16); }

inline CBSTR Wide(const std::u16string& text) { return reinterpret_cast<CBSTR>(text.c_str()); }

class Bstr {
public:
    Bstr() = default;
    Bstr(const Bstr&) = delete;
    Bstr& operator=(const Bstr&) = delete;
    ~Bstr() { COM_SysFreeString(value_); }

    // For an out-parameter: frees what is held first.
    BSTR* Out() {
        COM_SysFreeString(value_);
        value_ = nullptr;
        return &value_;
    }
    bool IsNull() const { return value_ == nullptr; }
    std::u16string_view View() const {
        return value_ ? std::u16string_view(reinterpret_cast<const char16_t*>(value_), COM_SysStringLen(value_))
                      : std::u16string_view();
    }
    std::string Utf8() const { return ToUtf8(View()); }
    // Empty optional for NULL.
    std::optional<std::string> MaybeUtf8() const {
        if (value_ == nullptr) return std::nullopt;
        return Utf8();
    }

private:
    BSTR value_ = nullptr;
};

// Splits a comma-terminated list ("a,b,") into its entries.
std::vector<std::string> SplitList(std::string_view list);
// Splits at runs of white space, as a command line typed at the prompt is read.
std::vector<std::string> SplitWords(const std::string& text);

}  // namespace vantle::tool

#endif  // VANTLE_TOOLS_TOOLTEXT_H_
