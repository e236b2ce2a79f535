// The one place where ODBC return codes are checked and diagnostics are read.
// Internal to the platform layer: includes the ODBC headers, which must not leak upward.
#pragma once

#include <sql.h>
#include <sqlext.h>

#include "platform/exceptions.h"

class CDatabase;

namespace platform::odbc {

// The first diagnostic record of a handle as a CDBException: the return code, the message,
// and "State:%s,Native:%d,Origin:%s" with the SQL state, native code and handle kind.
CDBException Diagnostic(SQLSMALLINT handleType, SQLHANDLE handle, SQLRETURN rc);

// First diagnostic record's message and native code (empty / 0 when there is none).
void FirstDiagnostic(SQLSMALLINT handleType, SQLHANDLE handle, CString* message, SQLINTEGER* native);

// Throws Diagnostic(...) unless rc is SQL_SUCCESS, SQL_SUCCESS_WITH_INFO or SQL_NO_DATA.
inline void Check(SQLRETURN rc, SQLSMALLINT handleType, SQLHANDLE handle) {
    if (rc == SQL_SUCCESS || rc == SQL_SUCCESS_WITH_INFO || rc == SQL_NO_DATA) return;
    throw Diagnostic(handleType, handle, rc);
}

// Check for an execution or a fetch of a statement of `db`: the failure is also told to the
// connection (CDatabase::NoteFailure), which may then refuse the rest of the transaction.
void CheckStatement(CDatabase& db, SQLRETURN rc, SQLHSTMT hstmt);

}  // namespace platform::odbc
