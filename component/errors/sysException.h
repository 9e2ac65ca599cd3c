// sysException.h: the exception family of the frame and the HRESULT messages.
//
// Each exception describes itself on a 16-bit stream. libstdc++ has no numeric
// facets for unsigned short streams, so numbers are formatted here by hand in the
// base the stream's flags ask for.
//
// COM_HRESULT_Expansion turns any status code into "message [XXXXXXXX]".
#ifndef VANTLE_SYS_SYSEXCEPTION_H_
#define VANTLE_SYS_SYSEXCEPTION_H_

#include "sysExceptionFormat.h"
#include "vantle/messages.h"

class VANTLE_EXPORT CRtException {
public:
    virtual ~CRtException();
    virtual void GenerateDetails(utlWOStream& stream) const = 0;
};

class VANTLE_EXPORT CRtSystemException : public CRtException {
public:
    explicit CRtSystemException(int error) : m_error(error) {}
    ~CRtSystemException() override;
    // "System Exception", the number in the stream's base, ": ", the system's text.
    void GenerateDetails(utlWOStream& stream) const override;
    virtual int SystemError() const;

private:
    int m_error;
};

class VANTLE_EXPORT CRtComException : public CRtException {
public:
    explicit CRtComException(HRESULT hr) : m_hr(hr) {}
    ~CRtComException() override;
    // "COM Exception" then the code in lower-case hexadecimal; leaves the stream
    // in hexadecimal mode.
    void GenerateDetails(utlWOStream& stream) const override;
    HRESULT Code() const { return m_hr; }

private:
    HRESULT m_hr;
};

class VANTLE_EXPORT CRtMemoryException : public CRtException {
public:
    ~CRtMemoryException() override;
    void GenerateDetails(utlWOStream& stream) const override;
};

class VANTLE_EXPORT CRtRangeException : public CRtException {
public:
    ~CRtRangeException() override;
    void GenerateDetails(utlWOStream& stream) const override;
};

VANTLE_EXPORT utlWOStream& operator<<(utlWOStream& stream, const CRtException& e);

// The system's text for an error number (strerror), or "Unknown Exception" and the
// number in decimal when the system has none.
utlWString sysSystemErrorText(long error);

extern "C" {
VANTLE_EXPORT extern const unsigned short sysExceptionCOMException[];
VANTLE_EXPORT extern const unsigned short sysExceptionRANGEException[];
VANTLE_EXPORT extern const unsigned short sysExceptionMEMORYException[];
VANTLE_EXPORT extern const unsigned short sysExceptionSYSTEMException[];
VANTLE_EXPORT extern const unsigned short sysExceptionUNKNOWNException[];
VANTLE_EXPORT extern const unsigned short sysExceptionDELIM[];

VANTLE_EXPORT extern const unsigned short StringErrorText_COM_TNODE_E_PROTOCOL[];
VANTLE_EXPORT extern const unsigned short StringErrorText_COM_REGDB_E_READREGDB[];
VANTLE_EXPORT extern const unsigned short StringErrorText_COM_REGDB_E_WRITEREGDB[];
VANTLE_EXPORT extern const unsigned short StringErrorText_COM_REGDB_E_KEYMISSING[];
VANTLE_EXPORT extern const unsigned short StringErrorText_COM_REGDB_E_INVALIDVALUE[];
VANTLE_EXPORT extern const unsigned short StringErrorText_COM_PROVIDER_E_CANNOTSPAWNCHILD[];
VANTLE_EXPORT extern const unsigned short StringErrorText_COM_PROVIDER_E_ERRORINSPAWNEDCHILD[];
VANTLE_EXPORT extern const unsigned short StringErrorText_COM_PROVIDER_E_SERVERERROR[];
VANTLE_EXPORT extern const unsigned short StringErrorText_COM_PROVIDER_E_XMLHTTPREQUESTERROR[];
VANTLE_EXPORT extern const unsigned short StringErrorText_COM_PROVIDER_E_PROTOCOLVERSIONERROR[];
VANTLE_EXPORT extern const unsigned short StringErrorText_COM_PROVIDER_E_DATAFORMATERROR[];
VANTLE_EXPORT extern const unsigned short StringErrorText_COM_E_SSH_NOTCONNECTED[];
VANTLE_EXPORT extern const unsigned short StringErrorText_COM_E_SSH_HOSTKEYMISMATCH[];
VANTLE_EXPORT extern const unsigned short StringErrorText_COM_E_SSH_INVALIDHOSTNAME[];
VANTLE_EXPORT extern const unsigned short StringErrorText_COM_E_SSH_CONNECTTIMEDOUT[];
VANTLE_EXPORT extern const unsigned short StringErrorText_COM_E_SSH_CONNECTED[];
VANTLE_EXPORT extern const unsigned short StringErrorText_COM_E_SSH_NOSESSION[];
}

#endif  // VANTLE_SYS_SYSEXCEPTION_H_
