// The class that registry_worker registers, shared with the tests that check
// what it wrote.
#ifndef VANTLE_TESTS_REGISTRY_REGISTRYWORKERCLASS_H_
#define VANTLE_TESTS_REGISTRY_REGISTRYWORKERCLASS_H_

#include "kesto/com.h"

namespace registry_worker {

inline constexpr COM_GUID kWorkerClass = {0x5EB1C0DE, 0x0BAD, 0x4F00, {0x8A, 0x11, 0x0C, 0x0F, 0xFE, 0xE0, 0x00, 0x08}};
inline constexpr const char* kWorkerClassText = "{5EB1C0DE-0BAD-4F00-8A11-0C0FFEE00008}";
inline constexpr unsigned short kWorkerName[] = {'R', 'e', 'g', 'i', 's', 't', 'r', 'y', 'W', 'o', 'r', 'k', 'e', 'r', 0};
inline constexpr unsigned short kWorkerDisplayName[] = {'W', 'o', 'r', 'k', 'e', 'r', ' ', 'c', 'l', 'a', 's', 's', 0};
inline constexpr unsigned short kWorkerDescription[] = {'W', 'r', 'i', 't', 't', 'e', 'n', ' ', 'b', 'y', ' ',
                                                        't', 'h', 'e', ' ', 't', 'e', 's', 't', 's', 0};
inline constexpr unsigned short kWorkerMonikerKey[] = {'w', 'o', 'r', 'k', 'e', 'r', 0};
inline constexpr unsigned short kWorkerExtensions[] = {'w', 'a', ',', 'w', 'b', ',', 'w', 'c', 0};

}  // namespace registry_worker

#endif  // VANTLE_TESTS_REGISTRY_REGISTRYWORKERCLASS_H_
