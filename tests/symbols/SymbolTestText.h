// SymbolTestText.h: what the symbol tests share: text helpers and the string
// balance check.
#ifndef VANTLE_TESTS_SYMBOLS_SYMBOLTESTTEXT_H_
#define VANTLE_TESTS_SYMBOLS_SYMBOLTESTTEXT_H_

#include <gtest/gtest.h>

#include "StringBalanceTest.h"
#include "TestText.h"
#include "kesto/diagnostics.h"
#include "SymbolTable.h"

#endif  // VANTLE_TESTS_SYMBOLS_SYMBOLTESTTEXT_H_
