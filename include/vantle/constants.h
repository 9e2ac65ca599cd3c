// vantle/constants.h: the keyword codes of the class-definition tree and the
// literal texts of the assistance service, exported as NUL-terminated 16-bit data.
//
// A keyword query is a run of TNode pieces, one per keyword subscript ("2:" then a
// two-character code, "1:" then a one-character code); the child-kind codes select
// which children a node enumerates. Some subscripts share a value (METHclassmethod
// and CLASSclasstype are both "23") because they belong to different node kinds.
// The texts never change at run time; they are data so that other components of the
// environment can link against the same spelling.
#ifndef VANTLE_CONSTANTS_H_
#define VANTLE_CONSTANTS_H_

#include "vantle/export.h"

extern "C" {

// Child kinds and keyword subscripts.
VANTLE_EXPORT extern const unsigned short TNODEclassclass[];
VANTLE_EXPORT extern const unsigned short TNODEclassmethod[];
VANTLE_EXPORT extern const unsigned short TNODEclassproperty[];
VANTLE_EXPORT extern const unsigned short TNODEclassparameter[];
VANTLE_EXPORT extern const unsigned short XXXXname[];
VANTLE_EXPORT extern const unsigned short XXXXorigin[];
VANTLE_EXPORT extern const unsigned short XXXXsignature[];
VANTLE_EXPORT extern const unsigned short XXXXdescription[];
VANTLE_EXPORT extern const unsigned short XXXXtype[];
VANTLE_EXPORT extern const unsigned short XXXXid[];
VANTLE_EXPORT extern const unsigned short XXXXfinal[];
VANTLE_EXPORT extern const unsigned short CLASSclasstype[];
VANTLE_EXPORT extern const unsigned short METHclassmethod[];
VANTLE_EXPORT extern const unsigned short METHinternal[];
VANTLE_EXPORT extern const unsigned short METHformalspec[];
VANTLE_EXPORT extern const unsigned short METHprivate[];
VANTLE_EXPORT extern const unsigned short METHreturntype[];
VANTLE_EXPORT extern const unsigned short PROPinternal[];
VANTLE_EXPORT extern const unsigned short PROPcardinality[];
VANTLE_EXPORT extern const unsigned short PROPcollection[];
VANTLE_EXPORT extern const unsigned short PROPprivate[];
VANTLE_EXPORT extern const unsigned short PROPrelationship[];

// Literal texts.
VANTLE_EXPORT extern const unsigned short S_A_String0001[];  // ""
VANTLE_EXPORT extern const unsigned short S_A_String0002[];  // "%Library."
VANTLE_EXPORT extern const unsigned short S_A_String0003[];  // "."
VANTLE_EXPORT extern const unsigned short S_A_String0004[];  // ","
VANTLE_EXPORT extern const unsigned short S_A_String0005[];  // "2:"
VANTLE_EXPORT extern const unsigned short S_A_String0006[];  // "1:"
VANTLE_EXPORT extern const unsigned short S_A_String0007[];  // "datatype"
VANTLE_EXPORT extern const unsigned short S_A_String0008[];  // "(,"
VANTLE_EXPORT extern const unsigned short S_A_String0009[];  // "("
VANTLE_EXPORT extern const unsigned short S_A_String0010[];  // "ByRef "
VANTLE_EXPORT extern const unsigned short S_A_String0011[];  // "Output "
VANTLE_EXPORT extern const unsigned short S_A_String0012[];  // " As "
VANTLE_EXPORT extern const unsigned short S_A_String0013[];  // "NULL"
VANTLE_EXPORT extern const unsigned short S_A_String0014[];  // " = "
VANTLE_EXPORT extern const unsigned short S_A_String0015[];  // " = {"
VANTLE_EXPORT extern const unsigned short S_A_String0016[];  // "}"
VANTLE_EXPORT extern const unsigned short S_A_String0017[];  // ")"
VANTLE_EXPORT extern const unsigned short S_A_String0018[];  // "VantleAssist"
VANTLE_EXPORT extern const unsigned short S_A_String0019[];  // "%Collection.AbstractArray"
VANTLE_EXPORT extern const unsigned short S_A_String0020[];  // "%Collection.AbstractList"
VANTLE_EXPORT extern const unsigned short S_A_String0021[];  // "<tab>"
VANTLE_EXPORT extern const unsigned short S_A_String0022[];  // "C"
VANTLE_EXPORT extern const unsigned short S_A_String0023[];  // "I"
VANTLE_EXPORT extern const unsigned short S_A_String0024[];  // "P"

}  // extern "C"

#endif  // VANTLE_CONSTANTS_H_
