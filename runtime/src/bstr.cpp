// BSTR allocation: a 32-bit byte count, the units, a 16-bit zero.
#include <atomic>
#include <cstdint>
#include <cstdlib>
#include <cstring>

#include "kesto/com.h"
#include "kesto/diagnostics.h"

namespace {

std::atomic<long> g_liveStrings{0};
std::atomic<unsigned long> g_faultSkip{0};
std::atomic<unsigned long> g_faultCount{0};
std::atomic<unsigned long> g_faultFailures{0};

struct FaultFromEnvironment {
    FaultFromEnvironment() {
        const char* setting = std::getenv("KESTO_FAIL_STRING_ALLOCS");
        if (setting == nullptr) return;
        char* rest = nullptr;
        unsigned long skip = std::strtoul(setting, &rest, 10);
        unsigned long count = (rest != nullptr && *rest == ',') ? std::strtoul(rest + 1, nullptr, 10) : 0;
        KESTO_FaultInjectStrings(skip, count);
    }
} g_faultFromEnvironment;

// True when fault injection wants this allocation to fail.
bool InjectFailure() {
    if (g_faultCount.load(std::memory_order_relaxed) == 0) return false;
    unsigned long skip = g_faultSkip.load(std::memory_order_relaxed);
    if (skip > 0) {
        g_faultSkip.store(skip - 1, std::memory_order_relaxed);
        return false;
    }
    g_faultCount.fetch_sub(1, std::memory_order_relaxed);
    g_faultFailures.fetch_add(1, std::memory_order_relaxed);
    return true;
}

constexpr std::uint32_t kMaxUnits = (0xFFFFFFFFu - 2u) / 2u;

BSTR Allocate(const unsigned short* text, unsigned int length) {
    if (length > kMaxUnits || InjectFailure()) return nullptr;
    std::uint32_t bytes = length * 2u;
    auto* block = static_cast<unsigned char*>(std::malloc(sizeof(std::uint32_t) + bytes + 2u));
    if (block == nullptr) return nullptr;
    std::memcpy(block, &bytes, sizeof bytes);
    auto* units = reinterpret_cast<unsigned short*>(block + sizeof(std::uint32_t));
    // A NULL text reserves the units for the caller to fill: clearing them would cost
    // as much again as the copy that every builder makes right after.
    if (text != nullptr) std::memcpy(units, text, bytes);
    units[length] = 0;
    g_liveStrings.fetch_add(1, std::memory_order_relaxed);
    return units;
}

unsigned int UnitsUpToZero(const unsigned short* text) {
    unsigned int n = 0;
    while (text[n] != 0) ++n;
    return n;
}

}  // namespace

extern "C" {

BSTR COM_SysAllocString(const unsigned short* text) {
    if (text == nullptr) return nullptr;
    return Allocate(text, UnitsUpToZero(text));
}

BSTR COM_SysAllocStringLen(const unsigned short* text, unsigned int length) {
    return Allocate(text, length);
}

int COM_SysReAllocString(BSTR* string, const unsigned short* text) {
    if (string == nullptr) return 0;
    BSTR fresh = nullptr;
    if (text != nullptr) {
        fresh = COM_SysAllocString(text);
        if (fresh == nullptr) return 0;
    }
    COM_SysFreeString(*string);
    *string = fresh;
    return 1;
}

unsigned int COM_SysStringLen(const unsigned short* string) {
    if (string == nullptr) return 0;
    std::uint32_t bytes;
    std::memcpy(&bytes, reinterpret_cast<const unsigned char*>(string) - sizeof bytes, sizeof bytes);
    return bytes / 2u;
}

void COM_SysFreeString(BSTR string) {
    if (string == nullptr) return;
    g_liveStrings.fetch_sub(1, std::memory_order_relaxed);
    std::free(reinterpret_cast<unsigned char*>(string) - sizeof(std::uint32_t));
}

void KESTO_FaultInjectStrings(unsigned long skip, unsigned long count) {
    g_faultSkip.store(skip, std::memory_order_relaxed);
    g_faultCount.store(count, std::memory_order_relaxed);
    g_faultFailures.store(0, std::memory_order_relaxed);
}

unsigned long KESTO_FaultInjectedFailures() { return g_faultFailures.load(std::memory_order_relaxed); }

long KESTO_LiveStringCount() { return g_liveStrings.load(std::memory_order_relaxed); }

}  // extern "C"
