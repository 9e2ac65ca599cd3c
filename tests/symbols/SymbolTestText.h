// SymbolTestText.h: 16-bit names for symbol tests, and a fixture that checks, once
// its own members are gone too, that a test gave back every runtime string.
#ifndef VANTLE_TESTS_SYMBOLS_SYMBOLTESTTEXT_H_
#define VANTLE_TESTS_SYMBOLS_SYMBOLTESTTEXT_H_

#include <gtest/gtest.h>

#include <string>

#include "kesto/diagnostics.h"
#include "symbols/SymbolTable.h"

typedef std::basic_string<unsigned short> TestText;
inline TestText W(std::u16string_view text) { return TestText(text.begin(), text.end()); }
inline std::string Narrow(const unsigned short* text, unsigned int length) { return std::string(text, text + length); }

// Owns a BSTR received through an out-parameter.
struct ReceivedText {
    BSTR value = nullptr;
    ~ReceivedText() { COM_SysFreeString(value); }
    std::string Text() const { return Narrow(value, COM_SysStringLen(value)); }
};

class StringAccountingTest : public ::testing::Test {
protected:
    ~StringAccountingTest() override {
        KESTO_FaultInjectStrings(0, 0);
        EXPECT_EQ(KESTO_LiveStringCount(), m_liveAtStart) << "runtime strings leaked or freed twice";
    }

private:
    long m_liveAtStart = KESTO_LiveStringCount();
};

#endif  // VANTLE_TESTS_SYMBOLS_SYMBOLTESTTEXT_H_
