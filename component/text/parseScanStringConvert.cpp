// CScanString conversions to owned strings: BSTR, C array, quoted and de-quoted.
#include <stdexcept>

#include "parseCharClass.h"
#include "parseScanString.h"

using parse::kQuote;

BSTR CScanString::AsBSTR() const { return COM_SysAllocStringLen(m_begin, static_cast<unsigned int>(Length())); }

unsigned short* CScanString::AsCString() const {
    unsigned long length = Length();
    unsigned short* text = new unsigned short[length + 1];
    for (unsigned long i = 0; i < length; ++i) text[i] = m_begin[i];
    text[length] = 0;
    return text;
}

utlWString CScanString::AsQuotedString() const {
    utlWString text(ParseString0052);
    text.reserve(Length() + 2);
    for (const unsigned short* p = m_begin; p != m_end; ++p) {
        text.push_back(*p);
        if (*p == kQuote) text.push_back(kQuote);
    }
    text.push_back(kQuote);
    return text;
}

utlWString CScanString::AsNormalizedString() const {
    utlWString text;
    unsigned long length = Length();
    unsigned long i = 1;  // the opening quote, unseen
    while (i < length) {
        if (m_begin[i] == kQuote) {
            text.push_back(kQuote);
            i += 2;  // whatever follows a quote is taken as its double
        } else {
            text.push_back(m_begin[i]);
            ++i;
        }
    }
    // The last unit produced stands for the closing quote. With nothing produced
    // there is nothing to drop, and callers get the string library's own error.
    if (text.empty()) throw std::out_of_range("basic_string::erase");
    text.pop_back();
    return text;
}
