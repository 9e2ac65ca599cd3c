// CScanString: construction, comparisons, searches and trims. All of these work in
// place on the caller's characters and never allocate.
#include "parseScanString.h"

#include "parseCharClass.h"
#include "utlLiteral.h"

using parse::IsBlank;
using parse::kCloseParen;
using parse::kOpenParen;
using parse::kQuote;

namespace {

constexpr const unsigned short* kEmptyText = utlLiteral<"">;
constexpr const unsigned short* kSpaceText = utlLiteral<" ">;

unsigned long UnitsUpToZero(const unsigned short* text) {
    if (text == nullptr) return 0;
    unsigned long n = 0;
    while (text[n] != 0) ++n;
    return n;
}

}  // namespace

extern "C" const unsigned short ParseString0052[] = {kQuote, 0};

const unsigned long CScanString::NPOS = ~0ul;
const unsigned short* const CScanString::EMPTY = kEmptyText;
const unsigned short* const CScanString::SPACE = kSpaceText;
COM_IMemory* CScanString::s_pAllocator = nullptr;

CScanString::CScanString(const utlWString& s) : m_begin(s.data()), m_end(s.data() + s.size()) {}

CScanString::CScanString(CBSTR b) : m_begin(b), m_end(b == nullptr ? nullptr : b + COM_SysStringLen(b)) {}

void CScanString::SetAllocator(COM_IMemory* allocator) { s_pAllocator = allocator; }

COM_IMemory* CScanString::GetAllocator() { return s_pAllocator; }

bool operator==(const CScanString& a, const CScanString& b) {
    unsigned long length = a.Length();
    if (length != b.Length()) return false;
    for (unsigned long i = 0; i < length; ++i) {
        if (a[i] != b[i]) return false;
    }
    return true;
}

bool operator==(const CScanString& a, const unsigned short* b) {
    unsigned long length = UnitsUpToZero(b);
    return a == CScanString(b, b + length);
}

bool operator<(const CScanString& a, const CScanString& b) {
    unsigned long lengthA = a.Length();
    unsigned long lengthB = b.Length();
    unsigned long common = lengthA < lengthB ? lengthA : lengthB;
    for (unsigned long i = 0; i < common; ++i) {
        if (a[i] != b[i]) return a[i] < b[i];
    }
    return lengthA < lengthB;
}

bool CScanString::UpperEqualsString(const CScanString& other) const {
    unsigned long length = Length();
    if (length != other.Length()) return false;
    for (unsigned long i = 0; i < length; ++i) {
        if (std::towupper(static_cast<wint_t>(m_begin[i])) != static_cast<wint_t>(other[i])) return false;
    }
    return true;
}

bool CScanString::UpperEqualsString(const unsigned short* other) const {
    return UpperEqualsString(CScanString(other, other + UnitsUpToZero(other)));
}

bool CScanString::Contains(unsigned short c) const {
    for (const unsigned short* p = m_begin; p != m_end; ++p) {
        if (*p == c) return true;
    }
    return false;
}

bool CScanString::ContainsUnicode() const {
    for (const unsigned short* p = m_begin; p != m_end; ++p) {
        if (*p > 0xFF) return true;
    }
    return false;
}

unsigned long CScanString::Find(const unsigned short* needle, unsigned long start) const {
    if (needle == nullptr) return NPOS;
    unsigned long needleLength = UnitsUpToZero(needle);
    unsigned long length = Length();
    // A needle that would end on the view's last unit is out of reach on purpose.
    if (start >= length || needleLength >= length - start) return NPOS;
    if (needleLength == 0) return start;

    unsigned long i = start;
    while (i < length) {
        if (m_begin[i] != needle[0]) {
            ++i;
            continue;
        }
        unsigned long matched = 1;
        while (matched < needleLength && i + matched < length && m_begin[i + matched] == needle[matched]) {
            ++matched;
        }
        if (matched == needleLength) return i;
        // The view's end counts as a mismatching unit, as the terminator would.
        i += matched + 1;
    }
    return NPOS;
}

CScanString CScanString::Substr(unsigned long pos, unsigned long count) const {
    if (IsEmpty()) return *this;
    unsigned long length = Length();
    if (length <= pos) return CScanString();
    const unsigned short* first = m_begin + pos;
    if (count != NPOS && count < length - pos) return CScanString(first, first + count);
    return CScanString(first, m_end);
}

CScanString CScanString::TrimBlanks() const {
    if (IsEmpty()) return *this;
    const unsigned short* first = m_begin;
    const unsigned short* last = m_end;
    while (first != last && IsBlank(*first)) ++first;
    while (first != last && IsBlank(last[-1])) --last;
    return CScanString(first, last);
}

CScanString CScanString::TrimQuote() const {
    if (IsEmpty()) return *this;
    const unsigned short* first = m_begin;
    const unsigned short* last = m_end;
    if (*first == kQuote) ++first;
    if (first != last && last[-1] == kQuote) --last;
    return CScanString(first, last);
}

CScanString CScanString::TrimQuotes() const {
    if (IsEmpty()) return *this;
    const unsigned short* first = m_begin;
    const unsigned short* last = m_end;
    while (first != last && *first == kQuote) ++first;
    while (first != last && last[-1] == kQuote) --last;
    return CScanString(first, last);
}

CScanString CScanString::TrimParens() const {
    const unsigned short* first = m_begin;
    const unsigned short* last = m_end;
    while (last - first >= 2 && *first == kOpenParen && last[-1] == kCloseParen) {
        ++first;
        --last;
    }
    return CScanString(first, last);
}
