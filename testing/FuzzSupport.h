// FuzzSupport.h: what every fuzz target here shares.
//
// FUZZ_CHECK stops the run with a message when a promise of the code under test is
// broken, so that libFuzzer records the input as a finding. ConsumeUnits turns
// fuzz bytes into 16-bit text that hits the characters our parsers care about
// (digits, ':', quotes, parentheses, separators, blanks, letters, units above 0xFF)
// far more often than uniform bytes would, while still reaching every 16-bit value.
// LiveStringGuard checks that a target gave back every runtime string it took.
// Text, strings and references are the shared ones (TestText.h, kesto/owned.h).
#ifndef VANTLE_TESTING_FUZZSUPPORT_H_
#define VANTLE_TESTING_FUZZSUPPORT_H_

#include <fuzzer/FuzzedDataProvider.h>

#include <cstdio>
#include <cstdlib>
#include <string>

#include "TestText.h"
#include "kesto/diagnostics.h"
#include "kesto/owned.h"

#define FUZZ_CHECK(condition, message)                                                          \
    do {                                                                                        \
        if (!(condition)) {                                                                     \
            std::fprintf(stderr, "%s:%d: broken promise: %s (%s)\n", __FILE__, __LINE__, message, \
                         #condition);                                                           \
            std::abort();                                                                       \
        }                                                                                       \
    } while (0)

namespace vantle::fuzz {

// One fuzz byte becomes one 16-bit unit: most bytes pick from the characters that
// the scanners branch on; a marker byte takes the next two bytes as a raw unit.
inline unsigned short ConsumeUnit(FuzzedDataProvider& input) {
    static const char kInteresting[] =
        "0123456789:,\"()=&.*%+-eE \tabcxyzABCXYZ_$";
    unsigned char selector = input.ConsumeIntegral<unsigned char>();
    if (selector < sizeof(kInteresting) - 1) return static_cast<unsigned char>(kInteresting[selector]);
    if (selector == 0xFF) return input.ConsumeIntegral<unsigned short>();
    if (selector == 0xFE) return 0x0100 + input.ConsumeIntegral<unsigned char>();
    if (selector == 0xFD) return 0;  // an embedded NUL
    return selector;  // Latin-1 and the rest of ASCII
}

// Up to maxUnits units; the string never holds a NUL unless allowNul.
inline Units ConsumeUnits(FuzzedDataProvider& input, size_t maxUnits, bool allowNul = false) {
    size_t count = input.ConsumeIntegralInRange<size_t>(0, maxUnits);
    Units text;
    text.reserve(count);
    for (size_t i = 0; i < count && input.remaining_bytes() > 0; ++i) {
        unsigned short unit = ConsumeUnit(input);
        if (unit == 0 && !allowNul) unit = '0';
        text.push_back(unit);
    }
    return text;
}

// Runtime strings are counted process-wide; a target that returns with more live
// strings than it started with has leaked one, even if LeakSanitizer cannot see it
// (the runtime may pool its blocks).
class LiveStringGuard {
public:
    LiveStringGuard() : m_before(KESTO_LiveStringCount()) {}
    ~LiveStringGuard() {
        long after = KESTO_LiveStringCount();
        if (after != m_before) {
            std::fprintf(stderr, "runtime strings leaked: %ld live before, %ld after\n", m_before, after);
            std::abort();
        }
    }
    LiveStringGuard(const LiveStringGuard&) = delete;
    LiveStringGuard& operator=(const LiveStringGuard&) = delete;

private:
    long m_before;
};

}  // namespace vantle::fuzz

#endif  // VANTLE_TESTING_FUZZSUPPORT_H_
