// The service's own class and interface identifiers, exported as data. Their values
// live in the public header; the tree's and the caches' identifiers belong to the
// runtime and are exported by it.
#include "vantle/assist.h"

extern "C" {

const COM_GUID COM_CLSID_VantleAssist = vantle::kClsidVantleAssist;
const COM_GUID COM_IID_IVantleAssist = vantle::kIidVantleAssist;
const COM_GUID COM_IID_IVantleAssistEx = vantle::kIidVantleAssistEx;
const COM_GUID COM_IID_IVantleAssist2 = vantle::kIidVantleAssist2;
const COM_GUID COM_IID_IVantleAssist3 = vantle::kIidVantleAssist3;

}  // extern "C"
