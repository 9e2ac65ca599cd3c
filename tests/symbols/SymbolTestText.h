// SymbolTestText.h: a fixture that checks, once its own members are gone too, that
// a test gave back every runtime string.
#ifndef VANTLE_TESTS_SYMBOLS_SYMBOLTESTTEXT_H_
#define VANTLE_TESTS_SYMBOLS_SYMBOLTESTTEXT_H_

#include <gtest/gtest.h>

#include "fixtures/TestText.h"
#include "kesto/diagnostics.h"
#include "symbols/SymbolTable.h"

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
