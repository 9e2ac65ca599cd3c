// Registration records. (Completed with the registry.)
#include "sys/sysCom.h"

HRESULT COM_CComModule::UpdateRegistryClass(const COM_GUID&, const unsigned short*, unsigned int, int,
                                            const unsigned short*, const unsigned short*, const unsigned short*,
                                            const unsigned short*) {
    return E_NOTIMPL;
}

HRESULT COM_CComModule::RegisterServer(int) { return 1; }
