// parseScanString.h: a non-owning view over 16-bit text.
//
// A CScanString is two pointers, [begin, end). It owns nothing and copies are
// shallow; the characters must outlive every view taken of them. A null view
// (both pointers NULL) behaves as an empty one. Trims and Substr return views into
// the same characters. Recognisers, comparisons, searches and trims never allocate.
//
// No operation reads outside [begin, end). Where a scan would naturally run on to
// the buffer's terminator (Find matching into the following characters, the
// leading skips of TrimBlanks and TrimQuotes, the look-ahead of IsClassName), the
// view's end stands in for the terminator: a view that ends at a NUL gets the same
// answer as an unbounded scan, and a view cut from the middle of a longer text is
// judged on its own characters only.
//
// Pointer arguments are NUL-terminated; a NULL pointer reads as the empty string
// (Find alone answers NPOS for a NULL needle).
#ifndef VANTLE_PARSE_PARSESCANSTRING_H_
#define VANTLE_PARSE_PARSESCANSTRING_H_

#include <string>

#include "kesto/com.h"
#include "kesto/memory.h"
#include "sysComLib.h"


class VANTLE_EXPORT CScanString {
public:
    static const unsigned long NPOS;          // all bits set
    static const unsigned short* const EMPTY;  // ""
    static const unsigned short* const SPACE;  // " "
    static COM_IMemory* s_pAllocator;

    CScanString() : m_begin(nullptr), m_end(nullptr) {}
    CScanString(const unsigned short* begin, const unsigned short* end) : m_begin(begin), m_end(end) {}
    explicit CScanString(const utlWString& s);
    explicit CScanString(CBSTR b);  // NULL: the null view; else COM_SysStringLen units

    static void SetAllocator(COM_IMemory* allocator);
    static COM_IMemory* GetAllocator();

    const unsigned short* Begin() const { return m_begin; }
    const unsigned short* End() const { return m_end; }
    unsigned long Length() const { return static_cast<unsigned long>(m_end - m_begin); }
    bool IsEmpty() const { return m_begin == m_end; }
    unsigned short operator[](unsigned long i) const { return m_begin[i]; }

    // At least two units, quoted at both ends, every inner quote doubled.
    bool IsQuotedString() const;
    bool ContainsUnicode() const;  // any unit above 0xFF
    // NPOS unless the needle lies wholly inside the view and ends before its last
    // unit. After a partial match of k units at i the scan resumes at i + k + 1
    // rather than backing up, so "ab" is not found in "aab"; callers rely on it.
    unsigned long Find(const unsigned short* needle, unsigned long start) const;
    // count NPOS runs to the end; pos at or past a non-empty view's end gives the
    // null view; an empty view comes back as it is.
    CScanString Substr(unsigned long pos, unsigned long count) const;
    CScanString TrimQuote() const;   // at most one quote at each end
    CScanString TrimQuotes() const;  // every leading and trailing quote
    // Strips outer '(' ... ')' pairs without matching them: "(a)(b)" gives "a)(b".
    CScanString TrimParens() const;
    CScanString TrimBlanks() const;  // space and tab only
    bool Contains(unsigned short c) const;
    // Upper-cases this view only; the argument must already be upper case.
    bool UpperEqualsString(const CScanString& other) const;
    bool UpperEqualsString(const unsigned short* other) const;
    // [sign] digits, or [sign] [digits] '.' digits-or-exponent. An exponent needs
    // the point and a sign, and anything may follow its sign: "1.5E+x" passes.
    bool IsNumber() const;
    // Points between segments; each segment is a letter or '%' followed by at least
    // one letter or digit.
    bool IsClassName() const;
    // Empty, or a letter or '%' followed by letters and digits.
    bool IsIdentifier() const;
    // Decimal digits only, no sign; wraps silently past 64 bits. Empty gives 0.
    bool AsInteger(unsigned long& out) const;
    bool AsBoolean(int& out) const;  // AsInteger, then non-zero
    BSTR AsBSTR() const;             // caller frees; NULL when the runtime cannot allocate
    unsigned short* AsCString() const;  // caller delete[]s
    // Undoes AsQuotedString without checking the input: skips the first unit, takes
    // the unit after each quote as its double, drops the last unit produced.
    utlWString AsNormalizedString() const;  // throws std::out_of_range below 2 units
    utlWString AsQuotedString() const;
    // Accepts what IsNumber accepts. The text keeps sign and leading zeros as
    // written and drops the exponent's marker and sign: "1.5E+10" gives "1.510".
    bool AsNumber(utlWString& out) const;

private:
    const unsigned short* m_begin;
    const unsigned short* m_end;
};

VANTLE_EXPORT bool operator==(const CScanString& a, const CScanString& b);
VANTLE_EXPORT bool operator==(const CScanString& a, const unsigned short* b);
VANTLE_EXPORT bool operator<(const CScanString& a, const CScanString& b);

extern "C" VANTLE_EXPORT const unsigned short ParseString0052[];  // one double quote

#endif  // VANTLE_PARSE_PARSESCANSTRING_H_
