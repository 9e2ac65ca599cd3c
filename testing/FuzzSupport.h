// FuzzSupport.h: what every fuzz target here shares.
//
// FUZZ_CHECK stops the run with a message when a promise of the code under test is
// broken, so that libFuzzer records the input as a finding. Text16 turns fuzz bytes
// into 16-bit text that hits the characters our parsers care about (digits, ':',
// quotes, parentheses, separators, blanks, letters, units above 0xFF) far more
// often than uniform bytes would, while still reaching every 16-bit value.
// LiveStringGuard checks that a target gave back every runtime string it took.
#ifndef VANTLE_FUZZ_FUZZSUPPORT_H_
#define VANTLE_FUZZ_FUZZSUPPORT_H_

#include <fuzzer/FuzzedDataProvider.h>

#include <cstdio>
#include <cstdlib>
#include <string>

#include "kesto/com.h"
#include "kesto/diagnostics.h"

#define FUZZ_CHECK(condition, message)                                                          \
    do {                                                                                        \
        if (!(condition)) {                                                                     \
            std::fprintf(stderr, "%s:%d: broken promise: %s (%s)\n", __FILE__, __LINE__, message, \
                         #condition);                                                           \
            std::abort();                                                                       \
        }                                                                                       \
    } while (0)

namespace vantle::fuzz {

using Text16 = std::basic_string<unsigned short>;

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
inline Text16 ConsumeText16(FuzzedDataProvider& input, size_t maxUnits, bool allowNul = false) {
    size_t count = input.ConsumeIntegralInRange<size_t>(0, maxUnits);
    Text16 text;
    text.reserve(count);
    for (size_t i = 0; i < count && input.remaining_bytes() > 0; ++i) {
        unsigned short unit = ConsumeUnit(input);
        if (unit == 0 && !allowNul) unit = '0';
        text.push_back(unit);
    }
    return text;
}

inline Text16 Ascii16(const char* text) {
    Text16 out;
    for (; *text != 0; ++text) out.push_back(static_cast<unsigned char>(*text));
    return out;
}

inline Text16 FromBSTR(CBSTR text) {
    return text == nullptr ? Text16() : Text16(text, COM_SysStringLen(text));
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

// Owns a BSTR received from an out-parameter.
class OwnedBSTR {
public:
    OwnedBSTR() = default;
    ~OwnedBSTR() { COM_SysFreeString(m_str); }
    OwnedBSTR(const OwnedBSTR&) = delete;
    OwnedBSTR& operator=(const OwnedBSTR&) = delete;
    BSTR* operator&() {
        COM_SysFreeString(m_str);
        m_str = nullptr;
        return &m_str;
    }
    BSTR Get() const { return m_str; }
    Text16 Text() const { return FromBSTR(m_str); }

private:
    BSTR m_str = nullptr;
};

}  // namespace vantle::fuzz

#endif  // VANTLE_FUZZ_FUZZSUPPORT_H_
