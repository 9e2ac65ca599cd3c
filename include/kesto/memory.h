// kesto/memory.h: the runtime's allocator interface (COM_IID_IMemory).
#ifndef KESTO_MEMORY_H_
#define KESTO_MEMORY_H_

#include "kesto/com.h"

class COM_IMemory : public COM_IUnknown {
public:
    virtual void* Alloc(unsigned long size) = 0;                // slot 5
    virtual void* Realloc(void* block, unsigned long size) = 0;  // slot 6
    virtual void Free(void* block) = 0;                         // slot 7
    virtual unsigned long GetSize(void* block) = 0;             // slot 8
};

#endif  // KESTO_MEMORY_H_
