// The object map: the classes this library serves.
#include "VantleAssist.h"
#include "sysCom.h"

namespace {

const COM_OBJECT_MAP_ENTRY s_com_object_map[] = {
    {&COM_CLSID_VantleAssist, &CVantleAssistant::_theClassFactory, &CVantleAssistant::UpdateRegistry,
     &COM_CComCoClass<CVantleAssistant, &COM_CLSID_VantleAssist>::GetCategoryMap},
    {nullptr, nullptr, nullptr, nullptr},
};

}  // namespace

extern "C" const COM_OBJECT_MAP_ENTRY* GetObjectMap() { return s_com_object_map; }
