// ScanStringTestText.h: writing 16-bit test text as u"..." literals.
#ifndef VANTLE_TESTS_PARSE_SCANSTRINGTESTTEXT_H_
#define VANTLE_TESTS_PARSE_SCANSTRINGTESTTEXT_H_

#include <string_view>

#include "parse/parseScanString.h"

inline utlWString W(std::u16string_view text) { return utlWString(text.begin(), text.end()); }

// Narrow copy for failure messages; every test text is ASCII.
inline std::string Narrow(const CScanString& view) {
    std::string text;
    for (unsigned long i = 0; i < view.Length(); ++i) text += static_cast<char>(view[i]);
    return text;
}

inline std::string Narrow(const utlWString& text) { return Narrow(CScanString(text)); }

#endif  // VANTLE_TESTS_PARSE_SCANSTRINGTESTTEXT_H_
