// The class that registry_worker registers with every optional record, shared
// with the tests that check what it wrote.
#ifndef VANTLE_TESTS_REGISTRY_REGISTRYWORKERCLASS_H_
#define VANTLE_TESTS_REGISTRY_REGISTRYWORKERCLASS_H_

#include "kesto/com.h"

namespace registry_worker {

inline constexpr COM_GUID kClass = {0x5EB1C0DE, 0x0BAD, 0x4F00, {0x8A, 0x11, 0x0C, 0x0F, 0xFE, 0xE0, 0x00, 0x08}};
inline constexpr const char* kClassText = "{5EB1C0DE-0BAD-4F00-8A11-0C0FFEE00008}";
inline constexpr const char* kName = "RegistryWorker";
inline constexpr const char* kDisplayName = "Worker class";
inline constexpr const char* kDescription = "Written by the tests";
inline constexpr const char* kMonikerKey = "worker";
inline constexpr const char* kExtensions[] = {"wa", "wb", "wc"};

}  // namespace registry_worker

#endif  // VANTLE_TESTS_REGISTRY_REGISTRYWORKERCLASS_H_
