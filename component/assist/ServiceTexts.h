// ServiceTexts.h: readable names for the service's exported texts where the
// queries use them. The texts themselves are the exported S_A_String data of
// vantle/constants.h, so other components see the same spelling.
#ifndef VANTLE_ASSIST_SERVICETEXTS_H_
#define VANTLE_ASSIST_SERVICETEXTS_H_

#include "vantle/constants.h"

namespace texts {

inline constexpr const unsigned short* kNothing = S_A_String0001;              // ""
inline constexpr const unsigned short* kListEnd = S_A_String0004;              // ","
inline constexpr const unsigned short* kDatatypeClass = S_A_String0007;        // "datatype"
inline constexpr const unsigned short* kMethodEntryEnd = S_A_String0008;       // "(,"
inline constexpr const unsigned short* kOpenParen = S_A_String0009;            // "("
inline constexpr const unsigned short* kByRef = S_A_String0010;                // "ByRef "
inline constexpr const unsigned short* kOutput = S_A_String0011;               // "Output "
inline constexpr const unsigned short* kAs = S_A_String0012;                   // " As "
inline constexpr const unsigned short* kNull = S_A_String0013;                 // "NULL"
inline constexpr const unsigned short* kEquals = S_A_String0014;               // " = "
inline constexpr const unsigned short* kEqualsBrace = S_A_String0015;          // " = {"
inline constexpr const unsigned short* kCloseBrace = S_A_String0016;           // "}"
inline constexpr const unsigned short* kCloseParen = S_A_String0017;           // ")"
inline constexpr const unsigned short* kComponentName = S_A_String0018;        // "VantleAssist"
inline constexpr const unsigned short* kMarkSeparator = S_A_String0021;        // tab
inline constexpr const unsigned short* kClassMethodMark = S_A_String0022;      // "C"
inline constexpr const unsigned short* kPrivateMark = S_A_String0024;          // "P"

}  // namespace texts

#endif  // VANTLE_ASSIST_SERVICETEXTS_H_
