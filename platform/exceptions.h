// The exception types of the platform layer. Thrown by value, caught by reference.
#pragma once

#include "platform/cstring.h"

// Base of every exception the library raises or catches at its boundaries.
class NORVIK_API CException {
public:
    virtual ~CException() = default;
    // A human-readable description; empty when the exception carries none.
    virtual CString GetErrorMessage() const { return CString(); }
};

// A failure reported by the ODBC driver manager or driver.
// m_nRetCode is the ODBC return code, m_strError the driver's message, and
// m_strStateNativeOrigin the SQL state, native code and origin of the diagnostic.
class NORVIK_API CDBException : public CException {
public:
    CDBException(int retCode, CString error, CString stateNativeOrigin)
        : m_nRetCode(retCode), m_strError(std::move(error)), m_strStateNativeOrigin(std::move(stateNativeOrigin)) {}
    CString GetErrorMessage() const override { return m_strError; }

    int m_nRetCode;
    CString m_strError;
    CString m_strStateNativeOrigin;
};

// A file or archive that could not be read or written (damaged, truncated, missing).
class NORVIK_API CFileException : public CException {
public:
    explicit CFileException(CString message) : m_strMessage(std::move(message)) {}
    CString GetErrorMessage() const override { return m_strMessage; }

    CString m_strMessage;
};

// An archive whose content does not describe valid data.
class NORVIK_API CArchiveException : public CException {
public:
    explicit CArchiveException(CString message) : m_strMessage(std::move(message)) {}
    CString GetErrorMessage() const override { return m_strMessage; }

    CString m_strMessage;
};
