// VantleAssistRecords.h: reading the two text shapes that the class-definition tree
// exchanges with the service.
//
// TNodePiece reads one length-prefixed piece ("3:abc") and moves the position past
// it. It never reads outside its NUL-terminated text: a length that runs past the
// end is cut at the end, while the position still advances by the stated length, so
// the next call sees the end and yields an empty piece. A position outside the text
// also yields an empty piece and stays where it is.
//
// Tokenize splits a separator-delimited list one item at a time. A separator inside
// double quotes or inside parentheses never splits; the returned view points into
// the caller's text, and *next is the index of the separator that ended the item, or
// CScanString::NPOS when the text ran out.
#ifndef VANTLE_ASSIST_VANTLEASSISTRECORDS_H_
#define VANTLE_ASSIST_VANTLEASSISTRECORDS_H_

#include "kesto/com.h"
#include "parseScanString.h"

// A new BSTR (freed by the caller; NULL only when the runtime cannot allocate).
// A NULL text reads as the empty string.
BSTR TNodePiece(const unsigned short* text, int& position);

CScanString Tokenize(const CScanString& text, unsigned short separator, unsigned long start, unsigned long* next);

#endif  // VANTLE_ASSIST_VANTLEASSISTRECORDS_H_
