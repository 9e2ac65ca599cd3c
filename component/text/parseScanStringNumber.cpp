// CScanString number recognition and conversion. IsNumber and AsNumber share one
// scanner so that they can never disagree on what a number is.
#include "parseCharClass.h"
#include "parseScanString.h"

using parse::IsDecimalDigit;
using parse::IsSign;
using parse::NarrowUpper;
using parse::kPoint;

namespace {

// Scans [first, last) as a number. When text is not null it receives the number's
// text as AsNumber reports it (sign and digits, the exponent's marker and sign
// left out); the caller discards it on failure.
bool ScanNumber(const unsigned short* first, const unsigned short* last, utlWString* text) {
    auto keep = [text](unsigned short c) {
        if (text != nullptr) text->push_back(c);
    };
    const unsigned short* p = first;
    if (p == last) return false;
    if (IsSign(*p)) keep(*p++);

    unsigned long digits = 0;
    for (; p != last && IsDecimalDigit(*p); ++p, ++digits) keep(*p);
    if (p == last) return digits > 0;  // also rejects a lone sign

    if (*p != kPoint || p + 1 == last) return false;
    keep(*p++);

    for (; p != last && IsDecimalDigit(*p); ++p) keep(*p);
    if (p == last) return true;  // the point was not last, so a digit followed it

    // The exponent: E, then a mandatory sign with something after it. What that
    // something is does not matter; the rest of the view is ignored.
    if (NarrowUpper(*p) != 0x45 || p + 1 == last) return false;
    ++p;
    if (!IsSign(*p)) return false;
    ++p;
    if (p == last) return false;
    for (; p != last && IsDecimalDigit(*p); ++p) keep(*p);
    return true;
}

}  // namespace

bool CScanString::IsNumber() const { return ScanNumber(m_begin, m_end, nullptr); }

bool CScanString::AsNumber(utlWString& out) const {
    utlWString text;
    if (!ScanNumber(m_begin, m_end, &text)) return false;
    out = std::move(text);
    return true;
}

bool CScanString::AsInteger(unsigned long& out) const {
    unsigned long value = 0;
    for (const unsigned short* p = m_begin; p != m_end; ++p) {
        if (std::iswdigit(static_cast<wint_t>(*p)) == 0) return false;
        value = value * 10 + static_cast<unsigned long>(*p - 0x30);  // wraps by design
    }
    out = value;
    return true;
}

bool CScanString::AsBoolean(int& out) const {
    unsigned long value = 0;
    if (!AsInteger(value)) return false;
    out = value != 0 ? 1 : 0;
    return true;
}
