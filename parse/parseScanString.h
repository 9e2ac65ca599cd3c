// parseScanString.h: a non-owning view over 16-bit text.
//
// A CScanString is two pointers, [begin, end). It owns nothing and copies are
// shallow; the characters must outlive every view taken of them. A null view
// (both pointers NULL) behaves as an empty one. Trims and Substr return views into
// the same characters. Recognisers, comparisons, searches and trims never allocate.
//
// Some operations are specified to look at the character at or past the view's end
// (Find, TrimBlanks, TrimQuotes, IsClassName). Here those reads are bounded by the
// view, which gives the same results for every view that lies in a NUL-terminated
// buffer and never reads past the end of one that does not.
#ifndef VANTLE_PARSE_PARSESCANSTRING_H_
#define VANTLE_PARSE_PARSESCANSTRING_H_

#include <string>

#include "kesto/com.h"
#include "kesto/memory.h"

#define VANTLE_EXPORT __attribute__((visibility("default")))

typedef std::basic_string<unsigned short> utlWString;

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

    bool IsQuotedString() const;
    bool ContainsUnicode() const;
    unsigned long Find(const unsigned short* needle, unsigned long start) const;
    CScanString Substr(unsigned long pos, unsigned long count) const;
    CScanString TrimQuote() const;
    CScanString TrimQuotes() const;
    CScanString TrimParens() const;
    CScanString TrimBlanks() const;
    bool Contains(unsigned short c) const;
    bool UpperEqualsString(const CScanString& other) const;
    bool UpperEqualsString(const unsigned short* other) const;
    bool IsNumber() const;
    bool IsClassName() const;
    bool IsIdentifier() const;
    bool AsInteger(unsigned long& out) const;
    bool AsBoolean(int& out) const;
    BSTR AsBSTR() const;
    unsigned short* AsCString() const;
    utlWString AsNormalizedString() const;  // throws std::out_of_range below 2 units
    utlWString AsQuotedString() const;
    bool AsNumber(utlWString& out) const;

private:
    const unsigned short* m_begin;
    const unsigned short* m_end;
};

VANTLE_EXPORT bool operator==(const CScanString& a, const CScanString& b);
VANTLE_EXPORT bool operator==(const CScanString& a, const unsigned short* b);
VANTLE_EXPORT bool operator<(const CScanString& a, const CScanString& b);

extern "C" VANTLE_EXPORT extern const unsigned short ParseString0052[];  // one double quote

#endif  // VANTLE_PARSE_PARSESCANSTRING_H_
