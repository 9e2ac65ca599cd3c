// sysExceptionFormat.h: numbers and system texts for the error descriptions.
//
// libstdc++ has no numeric or ctype facets for 16-bit streams, so nothing here
// touches a stream's locale, fill or width: numbers are turned into digits by hand
// and written with write(). sysWriteInt gives the digits that inserting an int
// into a narrow stream with the same flags would give (base field, uppercase,
// showbase, showpos). Everything may throw std::bad_alloc and nothing else.
#ifndef VANTLE_SYS_SYSEXCEPTIONFORMAT_H_
#define VANTLE_SYS_SYSEXCEPTIONFORMAT_H_

#include <ostream>

#include "sysComLib.h"

typedef std::basic_ostream<unsigned short> utlWOStream;

// A new array (delete[] by the caller) of exactly `count` units, each byte of
// `text` sign-extended. Adds no terminator: pass the length including the zero byte.
VANTLE_EXPORT unsigned short* a2w(const char* text, unsigned long count, int);

// Appends the digits of `value` in `base` (2 to 16), at least one digit.
void sysAppendDigits(utlWString& out, unsigned long long value, unsigned int base, bool upperCase);

// Appends the units of a zero-terminated 16-bit string.
void sysAppendText(utlWString& out, const unsigned short* text);

// Appends a narrow string widened as a2w widens it (each byte sign-extended).
void sysAppendNarrow(utlWString& out, const char* text);

// Writes `value` as a narrow stream would under the stream's current flags.
void sysWriteInt(utlWOStream& stream, int value);

void sysWriteText(utlWOStream& stream, const unsigned short* text);
void sysWriteText(utlWOStream& stream, const utlWString& text);

#endif  // VANTLE_SYS_SYSEXCEPTIONFORMAT_H_
