// TreeRecords.h: the keyword queries the service sends to the tree and the shapes
// of the answers, in one place.
//
// A query is a run of TNode pieces naming keyword subscripts; the answer for each
// child is a run of pieces with the values in query order. The listing queries ask
// only for one-character flags, so their k-th value sits at a fixed position
// (3k + 2, past "1:"); the other answers are read piece by piece with TNodePiece.
// Readers never look outside the string they are given: what is not there reads as
// NUL or as the empty text. Queries are built once and shared; everything else
// belongs to the caller. Single-threaded, as the service is.
#ifndef VANTLE_TREECLIENT_TREERECORDS_H_
#define VANTLE_TREECLIENT_TREERECORDS_H_

#include "kesto/com.h"
#include "sysComLib.h"

// The queries, one per kind of answer.
const utlWString& utlListMethodsQuery(bool withPrivate);     // classmethod, internal [, private]
const utlWString& utlListPropertiesQuery(bool withPrivate);  // internal [, private]
const utlWString& utlListParametersQuery();                  // internal
const utlWString& utlReturnTypeQuery();                      // returntype
const utlWString& utlPropertyTypeQuery();                    // type, collection, relationship, cardinality
const utlWString& utlSignatureQuery();                       // returntype, formalspec
const utlWString& utlOriginQuery();                          // origin

// Positions of the one-character flags in a listing answer.
enum utlFlagPosition : unsigned long {
    utlFIRST_FLAG = 2,
    utlSECOND_FLAG = 5,
    utlTHIRD_FLAG = 8,
};

// A listing answer measured once and read unit by unit; NUL past its end.
class utlFlagReader {
public:
    explicit utlFlagReader(CBSTR values) : m_values(values), m_length(COM_SysStringLen(values)) {}

    unsigned short At(utlFlagPosition position) const { return position < m_length ? m_values[position] : 0; }
    bool IsSet(utlFlagPosition position) const { return At(position) == '1'; }

private:
    CBSTR m_values;
    unsigned long m_length;
};

// Everything after the first ':' of a one-piece answer (return type, origin); the
// empty text when the answer holds no ':'. NULL only when the runtime cannot
// allocate.
BSTR utlSinglePieceText(CBSTR values);

// The four pieces of a property's type answer.
struct utlPropertyTypeRecord {
    utlAutoBSTR type;
    utlAutoBSTR collection;
    utlAutoBSTR relationship;
    utlAutoBSTR cardinality;

    explicit utlPropertyTypeRecord(CBSTR values);
};

// The two pieces of a method's signature answer.
struct utlSignatureRecord {
    utlAutoBSTR returnType;
    utlAutoBSTR formalSpec;

    explicit utlSignatureRecord(CBSTR values);
};

#endif  // VANTLE_TREECLIENT_TREERECORDS_H_
