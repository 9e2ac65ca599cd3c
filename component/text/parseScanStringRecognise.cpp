// CScanString recognisers for quoted strings, identifiers and class names.
#include "parseCharClass.h"
#include "parseScanString.h"

using parse::IsWideAlnum;
using parse::IsWideAlpha;
using parse::kPercent;
using parse::kPoint;
using parse::kQuote;

bool CScanString::IsQuotedString() const {
    unsigned long length = Length();
    if (length < 2 || m_begin[0] != kQuote || m_begin[length - 1] != kQuote) return false;
    unsigned long i = 1;
    while (i < length) {
        if (m_begin[i] != kQuote) {
            ++i;
            continue;
        }
        if (i == length - 1) return true;  // the closing quote
        if (m_begin[i + 1] != kQuote) return false;
        i += 2;  // a doubled quote inside the text
    }
    // The closing quote was consumed as the second half of a pair: ["""].
    return false;
}

bool CScanString::IsIdentifier() const {
    if (IsEmpty()) return true;
    if (!IsWideAlpha(m_begin[0]) && m_begin[0] != kPercent) return false;
    for (const unsigned short* p = m_begin + 1; p != m_end; ++p) {
        if (!IsWideAlnum(*p)) return false;
    }
    return true;
}

bool CScanString::IsClassName() const {
    if (IsEmpty()) return false;
    const unsigned short* p = m_begin;
    for (;;) {
        // p is at the start of a segment; a leading point, two points in a row and
        // a trailing point all land here with nothing usable.
        if (p == m_end || (!IsWideAlpha(*p) && *p != kPercent)) return false;
        ++p;
        // A segment needs a second unit; the view's end reads like the terminator.
        if (p == m_end || !IsWideAlnum(*p)) return false;
        while (p != m_end && IsWideAlnum(*p)) ++p;
        if (p == m_end) return true;
        if (*p != kPoint) return false;
        ++p;
    }
}
