// The exception family: each class describes itself on a 16-bit stream.
#include "sysException.h"

#include <cstdio>
#include <cstring>
#include <new>


// "COM Exception"
extern "C" const unsigned short sysExceptionCOMException[] = {
    'C', 'O', 'M', ' ', 'E', 'x', 'c', 'e', 'p', 't', 'i', 'o', 'n', 0};
// "Range Exception"
extern "C" const unsigned short sysExceptionRANGEException[] = {
    'R', 'a', 'n', 'g', 'e', ' ', 'E', 'x', 'c', 'e', 'p', 't', 'i', 'o', 'n', 0};
// "Memory Exception"
extern "C" const unsigned short sysExceptionMEMORYException[] = {
    'M', 'e', 'm', 'o', 'r', 'y', ' ', 'E', 'x', 'c', 'e', 'p', 't', 'i', 'o', 'n', 0};
// "System Exception"
extern "C" const unsigned short sysExceptionSYSTEMException[] = {
    'S', 'y', 's', 't', 'e', 'm', ' ', 'E', 'x', 'c', 'e', 'p', 't', 'i', 'o', 'n', 0};
// "Unknown Exception"
extern "C" const unsigned short sysExceptionUNKNOWNException[] = {
    'U', 'n', 'k', 'n', 'o', 'w', 'n', ' ', 'E', 'x', 'c', 'e', 'p', 't', 'i', 'o', 'n', 0};
// ": "
extern "C" const unsigned short sysExceptionDELIM[] = {':', ' ', 0};

CRtException::~CRtException() {}
CRtSystemException::~CRtSystemException() {}
CRtComException::~CRtComException() {}
CRtMemoryException::~CRtMemoryException() {}
CRtRangeException::~CRtRangeException() {}

void CRtSystemException::GenerateDetails(utlWOStream& stream) const {
    sysWriteText(stream, sysExceptionSYSTEMException);
    sysWriteInt(stream, m_error);
    sysWriteText(stream, sysExceptionDELIM);
    sysWriteText(stream, sysSystemErrorText(m_error));
}

int CRtSystemException::SystemError() const { return m_error; }

void CRtComException::GenerateDetails(utlWOStream& stream) const {
    sysWriteText(stream, sysExceptionCOMException);
    // Switching the stream to hexadecimal, and leaving it so, is what callers that
    // print several codes in a row rely on.
    stream.setf(std::ios_base::hex, std::ios_base::basefield);
    sysWriteInt(stream, m_hr);
}

void CRtMemoryException::GenerateDetails(utlWOStream& stream) const {
    sysWriteText(stream, sysExceptionMEMORYException);
}

void CRtRangeException::GenerateDetails(utlWOStream& stream) const {
    sysWriteText(stream, sysExceptionRANGEException);
}

utlWOStream& operator<<(utlWOStream& stream, const CRtException& e) {
    e.GenerateDetails(stream);
    return stream;
}

utlWString sysSystemErrorText(long error) {
    utlWString text;
    const char* systemText = std::strerror(static_cast<int>(error));
    if (systemText != nullptr) {
        sysAppendNarrow(text, systemText);
        return text;
    }
    char number[20];
    std::snprintf(number, sizeof number, "%li", error);
    sysAppendText(text, sysExceptionUNKNOWNException);
    sysAppendNarrow(text, number);
    return text;
}
