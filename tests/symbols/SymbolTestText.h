// SymbolTestText.h: what the symbol tests share: text helpers and the string
// balance check.
#ifndef VANTLE_TESTS_SYMBOLS_SYMBOLTESTTEXT_H_
#define VANTLE_TESTS_SYMBOLS_SYMBOLTESTTEXT_H_

#include <gtest/gtest.h>

#include "fixtures/StringBalanceTest.h"
#include "fixtures/TestText.h"
#include "kesto/diagnostics.h"
#include "symbols/SymbolTable.h"

#endif  // VANTLE_TESTS_SYMBOLS_SYMBOLTESTTEXT_H_
