// VantleAssistText.h: small readers of the tree's answers shared by the class queries.
//
// Member names match unit for unit: same length, same 16-bit units, no case folding
// and no trimming. A keyword query is the concatenation of piece prefixes and
// keyword codes. Readers of single-character keyword values and of "n:text" values
// never look outside the string they are given; what is not there reads as NUL or
// as the empty text.
#ifndef VANTLE_ASSIST_VANTLEASSISTTEXT_H_
#define VANTLE_ASSIST_VANTLEASSISTTEXT_H_

#include <initializer_list>
#include <string>

#include "kesto/com.h"
#include "sysComLib.h"

// A NULL string handed on to the tree reads as the empty one.
inline CBSTR utlOrEmpty(CBSTR text) {
    static const unsigned short kEmpty[1] = {0};
    return text == nullptr ? kEmpty : text;
}

// The parts one after another ("2:" METHclassmethod "2:" METHinternal gives 2:232:14).
inline utlWString utlJoin(std::initializer_list<const unsigned short*> parts) {
    utlWString joined;
    for (const unsigned short* part : parts) joined.append(part);
    return joined;
}

// The name a member query looks for, measured once: the query compares it with
// every child it walks.
class utlMemberName {
public:
    explicit utlMemberName(CBSTR wanted) : m_wanted(wanted), m_length(0) {
        if (wanted != nullptr)
            while (wanted[m_length] != 0) ++m_length;
    }

    bool Matches(CBSTR name) const {
        if (name == nullptr || m_wanted == nullptr || COM_SysStringLen(name) != m_length) return false;
        for (unsigned int i = 0; i < m_length; ++i) {
            if (name[i] != m_wanted[i]) return false;
        }
        return true;
    }

private:
    CBSTR m_wanted;
    unsigned int m_length;
};

inline bool utlMemberNameEquals(CBSTR name, CBSTR wanted) { return utlMemberName(wanted).Matches(name); }

// A keyword answer measured once and read unit by unit; NUL past its end.
class utlValueReader {
public:
    explicit utlValueReader(CBSTR values) : m_values(values), m_length(COM_SysStringLen(values)) {}

    unsigned short At(unsigned long position) const { return position < m_length ? m_values[position] : 0; }

private:
    CBSTR m_values;
    unsigned long m_length;
};

// Everything after the first ':' of a one-piece value; the empty text when the
// value holds no ':'. NULL only when the runtime cannot allocate.
inline BSTR utlTextAfterColon(CBSTR value) {
    unsigned long length = COM_SysStringLen(value);
    unsigned long at = 0;
    while (at < length && value[at] != ':') ++at;
    if (at < length) ++at;
    return COM_SysAllocStringLen(value + at, static_cast<unsigned int>(length - at));
}

#endif  // VANTLE_ASSIST_VANTLEASSISTTEXT_H_
