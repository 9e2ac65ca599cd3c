// The exception family: each class describes itself on a 16-bit stream.
#include "sys/sysException.h"

#include <new>

#include "sys/sysExceptionFormat.h"

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

unsigned short* a2w(const char* text, unsigned long count, int) {
    unsigned short* wide = new unsigned short[count];
    for (unsigned long i = 0; i < count; ++i) {
        // Sign extension is deliberate: bytes from 0x80 up become 0xFF80 to 0xFFFF.
        wide[i] = static_cast<unsigned short>(static_cast<short>(static_cast<signed char>(text[i])));
    }
    return wide;
}
