// SymbolTestText.h: 16-bit names for symbol tests, and a check that a test gives
// back every runtime string it caused to be allocated.
#ifndef VANTLE_TESTS_SYMBOLS_SYMBOLTESTTEXT_H_
#define VANTLE_TESTS_SYMBOLS_SYMBOLTESTTEXT_H_

#include <gtest/gtest.h>

#include <string>
#include <string_view>

#include "kesto/diagnostics.h"
#include "symbols/SymbolTable.h"

typedef std::basic_string<unsigned short> TestText;

inline TestText W(std::u16string_view text) { return TestText(text.begin(), text.end()); }

inline std::string Narrow(const unsigned short* text) {
    std::string narrow;
    for (; text != nullptr && *text != 0; ++text) narrow += static_cast<char>(*text);
    return narrow;
}

// Owns a BSTR received from an out-parameter and reads it as narrow text.
struct ReceivedText {
    BSTR value = nullptr;
    ~ReceivedText() { COM_SysFreeString(value); }
    std::string Text() const { return Narrow(value); }
};

class StringAccountingTest : public ::testing::Test {
protected:
    void SetUp() override { m_liveAtStart = KESTO_LiveStringCount(); }
    void TearDown() override {
        KESTO_FaultInjectStrings(0, 0);
        EXPECT_EQ(KESTO_LiveStringCount(), m_liveAtStart) << "runtime strings leaked or freed twice";
    }

private:
    long m_liveAtStart = 0;
};

#endif  // VANTLE_TESTS_SYMBOLS_SYMBOLTESTTEXT_H_
