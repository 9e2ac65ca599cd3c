// The keyword codes of the class-definition tree and the service's literal texts.
// The arrays are spelled out unit by unit because they are exported as plain
// 16-bit data that other components link against by name.
#include "vantle/constants.h"

extern "C" {

const unsigned short TNODEclassclass[] = {'c', 0};  // "c": child kind: classes
const unsigned short TNODEclassmethod[] = {'m', 0};  // "m": child kind: methods
const unsigned short TNODEclassproperty[] = {'a', 0};  // "a": child kind: properties
const unsigned short TNODEclassparameter[] = {'p', 0};  // "p": child kind: class parameters
const unsigned short XXXXname[] = {'1', 0};  // "1": any node: name
const unsigned short XXXXorigin[] = {'2', 0};  // "2": any node: the class that defines it
const unsigned short XXXXsignature[] = {'3', 0};  // "3": any node: signature
const unsigned short XXXXdescription[] = {'4', 0};  // "4": any node: description
const unsigned short XXXXtype[] = {'5', 0};  // "5": any node: type
const unsigned short XXXXid[] = {'6', 0};  // "6": any node: identifier
const unsigned short XXXXfinal[] = {'7', 0};  // "7": any node: final
const unsigned short CLASSclasstype[] = {'2', '3', 0};  // "23": class: class type ('datatype' marks a data-type class)
const unsigned short METHclassmethod[] = {'2', '3', 0};  // "23": method: '1' class method, '0' instance method
const unsigned short METHinternal[] = {'1', '4', 0};  // "14": method: internal
const unsigned short METHformalspec[] = {'2', '7', 0};  // "27": method: formal argument list
const unsigned short METHprivate[] = {'3', '9', 0};  // "39": method: private
const unsigned short METHreturntype[] = {'4', '2', 0};  // "42": method: return type
const unsigned short PROPinternal[] = {'1', '4', 0};  // "14": property, also class parameter: internal
const unsigned short PROPcardinality[] = {'2', '4', 0};  // "24": property: relationship cardinality
const unsigned short PROPcollection[] = {'2', '7', 0};  // "27": property: collection kind
const unsigned short PROPprivate[] = {'3', '5', 0};  // "35": property: private
const unsigned short PROPrelationship[] = {'3', '6', 0};  // "36": property: is a relationship

const unsigned short S_A_String0001[] = {0};  // ""
const unsigned short S_A_String0002[] = {'%', 'L', 'i', 'b', 'r', 'a', 'r', 'y', '.', 0};  // "%Library."
const unsigned short S_A_String0003[] = {'.', 0};  // "."
const unsigned short S_A_String0004[] = {',', 0};  // ","
const unsigned short S_A_String0005[] = {'2', ':', 0};  // "2:"
const unsigned short S_A_String0006[] = {'1', ':', 0};  // "1:"
const unsigned short S_A_String0007[] = {'d', 'a', 't', 'a', 't', 'y', 'p', 'e', 0};  // "datatype"
const unsigned short S_A_String0008[] = {'(', ',', 0};  // "(,"
const unsigned short S_A_String0009[] = {'(', 0};  // "("
const unsigned short S_A_String0010[] = {'B', 'y', 'R', 'e', 'f', ' ', 0};  // "ByRef "
const unsigned short S_A_String0011[] = {'O', 'u', 't', 'p', 'u', 't', ' ', 0};  // "Output "
const unsigned short S_A_String0012[] = {' ', 'A', 's', ' ', 0};  // " As "
const unsigned short S_A_String0013[] = {'N', 'U', 'L', 'L', 0};  // "NULL"
const unsigned short S_A_String0014[] = {' ', '=', ' ', 0};  // " = "
const unsigned short S_A_String0015[] = {' ', '=', ' ', '{', 0};  // " = {"
const unsigned short S_A_String0016[] = {'}', 0};  // "}"
const unsigned short S_A_String0017[] = {')', 0};  // ")"
const unsigned short S_A_String0018[] = {'V', 'a', 'n', 't', 'l', 'e', 'A', 's', 's', 'i', 's', 't', 0};  // "VantleAssist"
const unsigned short S_A_String0019[] = {'%', 'C', 'o', 'l', 'l', 'e', 'c', 't', 'i', 'o', 'n', '.', 'A', 'b', 's', 't', 'r', 'a', 'c', 't', 'A', 'r', 'r', 'a', 'y', 0};  // "%Collection.AbstractArray"
const unsigned short S_A_String0020[] = {'%', 'C', 'o', 'l', 'l', 'e', 'c', 't', 'i', 'o', 'n', '.', 'A', 'b', 's', 't', 'r', 'a', 'c', 't', 'L', 'i', 's', 't', 0};  // "%Collection.AbstractList"
const unsigned short S_A_String0021[] = {'\t', 0};  // "<tab>"
const unsigned short S_A_String0022[] = {'C', 0};  // "C"
const unsigned short S_A_String0023[] = {'I', 0};  // "I"
const unsigned short S_A_String0024[] = {'P', 0};  // "P"

}  // extern "C"
