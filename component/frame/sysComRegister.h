// sysComRegister.h: registration of the classes of an object map.
//
// COM_CComModule::RegisterServer walks the library's own object map with
// sysRegisterObjectMap; the walk is separate so that any map (a test's) can be
// registered the same way. The result is 0 when every step succeeded and 1 when
// any failed: a negative registry-updater result or a failed category call makes
// it 1 and the walk goes on with the next class. An unregistration that finds a
// class still installed elsewhere (updater result S_FALSE) keeps the categories of
// that class and of every class after it.
//
// A category map is an array of `const COM_GUID*`, one per category, ended by
// NULL.
#ifndef VANTLE_SYS_SYSCOMREGISTER_H_
#define VANTLE_SYS_SYSCOMREGISTER_H_

#include "sysCom.h"

HRESULT sysRegisterObjectMap(const COM_OBJECT_MAP_ENTRY* map, int doRegister);

#endif  // VANTLE_SYS_SYSCOMREGISTER_H_
