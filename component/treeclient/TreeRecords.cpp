// The keyword queries and the readers of their answers.
#include "TreeRecords.h"

#include <initializer_list>

#include "VantleAssistRecords.h"
#include "vantle/constants.h"

namespace {

// The parts one after another ("2:" METHclassmethod "2:" METHinternal gives 2:232:14).
utlWString Join(std::initializer_list<const unsigned short*> parts) {
    utlWString joined;
    for (const unsigned short* part : parts) joined.append(part);
    return joined;
}

// A two-character subscript is sent as "2:xx", a one-character one as "1:x".
const unsigned short* const kTwo = S_A_String0005;
const unsigned short* const kOne = S_A_String0006;

}  // namespace

const utlWString& utlListMethodsQuery(bool withPrivate) {
    static const utlWString plain = Join({kTwo, METHclassmethod, kTwo, METHinternal});
    static const utlWString extended = Join({kTwo, METHclassmethod, kTwo, METHinternal, kTwo, METHprivate});
    return withPrivate ? extended : plain;
}

const utlWString& utlListPropertiesQuery(bool withPrivate) {
    static const utlWString plain = Join({kTwo, PROPinternal});
    static const utlWString extended = Join({kTwo, PROPinternal, kTwo, PROPprivate});
    return withPrivate ? extended : plain;
}

const utlWString& utlListParametersQuery() {
    static const utlWString query = Join({kTwo, PROPinternal});
    return query;
}

const utlWString& utlReturnTypeQuery() {
    static const utlWString query = Join({kTwo, METHreturntype});
    return query;
}

const utlWString& utlPropertyTypeQuery() {
    static const utlWString query =
        Join({kOne, XXXXtype, kTwo, PROPcollection, kTwo, PROPrelationship, kTwo, PROPcardinality});
    return query;
}

const utlWString& utlSignatureQuery() {
    static const utlWString query = Join({kTwo, METHreturntype, kTwo, METHformalspec});
    return query;
}

const utlWString& utlOriginQuery() {
    static const utlWString query = Join({kOne, XXXXorigin});
    return query;
}

BSTR utlSinglePieceText(CBSTR values) {
    unsigned long length = COM_SysStringLen(values);
    unsigned long at = 0;
    while (at < length && values[at] != ':') ++at;
    if (at < length) ++at;
    return COM_SysAllocStringLen(values + at, static_cast<unsigned int>(length - at));
}

utlPropertyTypeRecord::utlPropertyTypeRecord(CBSTR values) {
    int position = 0;
    type.Attach(TNodePiece(values, position));
    collection.Attach(TNodePiece(values, position));
    relationship.Attach(TNodePiece(values, position));
    cardinality.Attach(TNodePiece(values, position));
}

utlSignatureRecord::utlSignatureRecord(CBSTR values) {
    int position = 0;
    returnType.Attach(TNodePiece(values, position));
    formalSpec.Attach(TNodePiece(values, position));
}
