// The object map: the classes this library serves.
#include "sys/sysCom.h"

namespace {

const COM_OBJECT_MAP_ENTRY s_com_object_map[] = {
    {nullptr, nullptr, nullptr, nullptr},
};

}  // namespace

extern "C" const COM_OBJECT_MAP_ENTRY* GetObjectMap() { return s_com_object_map; }
