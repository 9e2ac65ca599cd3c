// ScanStringTestText.h: 16-bit test text from u"..." literals, narrow for messages.
#ifndef VANTLE_TESTS_PARSE_SCANSTRINGTESTTEXT_H_
#define VANTLE_TESTS_PARSE_SCANSTRINGTESTTEXT_H_

#include <string>
#include <string_view>

#include "parseScanString.h"

inline utlWString W(std::u16string_view text) { return utlWString(text.begin(), text.end()); }
inline std::string Narrow(const CScanString& view) { return std::string(view.Begin(), view.End()); }
inline std::string Narrow(const utlWString& text) { return std::string(text.begin(), text.end()); }

#endif  // VANTLE_TESTS_PARSE_SCANSTRINGTESTTEXT_H_
