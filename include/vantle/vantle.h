// vantle/vantle.h: everything a host of the assistance service needs, in one include.
//
// The runtime (libkestocom.so): strings, identifiers and object creation
// (kesto/com.h), the allocator interface (kesto/memory.h), the registry
// (kesto/registry.h), the class-definition tree (kesto/tnode.h) and the owning
// handles for hosts (kesto/owned.h). The component (libvantleassist.so): the
// service's interfaces, identifiers and flags (vantle/assist.h), its exported
// keyword codes and texts (vantle/constants.h) and the text of any status code
// (vantle/messages.h), and its entry points as an in-process server
// (vantle/server.h), and the SDK's version (vantle/version.h). Each header states its own promises on ownership and threads.
#ifndef VANTLE_VANTLE_H_
#define VANTLE_VANTLE_H_

#include "kesto/com.h"
#include "kesto/memory.h"
#include "kesto/owned.h"
#include "kesto/registry.h"
#include "kesto/tnode.h"
#include "vantle/assist.h"
#include "vantle/constants.h"
#include "vantle/messages.h"
#include "vantle/server.h"
#include "vantle/version.h"

#endif  // VANTLE_VANTLE_H_
