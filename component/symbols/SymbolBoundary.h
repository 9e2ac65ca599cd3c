// SymbolBoundary.h: where the symbol operations turn thrown failures back into
// HRESULTs. Inside, failures travel as thrown int HRESULTs; at the boundary a caught
// int is the result and any other exception (the standard library running out of
// memory) becomes E_FAIL, so nothing but an HRESULT ever reaches the editor.
#ifndef VANTLE_SYMBOLS_SYMBOLBOUNDARY_H_
#define VANTLE_SYMBOLS_SYMBOLBOUNDARY_H_

#include "kesto/com.h"

template <typename Operation>
HRESULT sysAtBoundary(Operation&& operation) {
    try {
        return operation();
    } catch (int hr) {
        return hr;
    } catch (...) {
        return E_FAIL;
    }
}

#endif  // VANTLE_SYMBOLS_SYMBOLBOUNDARY_H_
