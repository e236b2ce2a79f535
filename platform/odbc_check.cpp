// Diagnostic records into exceptions.
#include "platform/odbc_check.h"

#include "platform/odbc_database.h"

namespace platform::odbc {

void FirstDiagnostic(SQLSMALLINT handleType, SQLHANDLE handle, CString* message, SQLINTEGER* native) {
    SQLCHAR state[6] = {0};
    SQLCHAR text[1024] = {0};
    SQLSMALLINT length = 0;
    *native = 0;
    message->Empty();
    if (!handle) return;
    const SQLRETURN rc = SQLGetDiagRec(handleType, handle, 1, state, native, text, sizeof text, &length);
    if (rc == SQL_SUCCESS || rc == SQL_SUCCESS_WITH_INFO) *message = reinterpret_cast<const char*>(text);
}

CDBException Diagnostic(SQLSMALLINT handleType, SQLHANDLE handle, SQLRETURN rc) {
    SQLCHAR state[6] = {0};
    SQLCHAR text[1024] = {0};
    SQLINTEGER native = 0;
    SQLSMALLINT length = 0;
    CString message;
    CString origin;
    if (handle && SQL_SUCCEEDED(SQLGetDiagRec(handleType, handle, 1, state, &native, text, sizeof text, &length))) {
        message = reinterpret_cast<const char*>(text);
        message.TrimRight();
    } else if (rc == SQL_INVALID_HANDLE) {
        message = "Invalid ODBC handle";
    } else {
        message = "The ODBC driver reported a failure without a diagnostic";
    }
    const char* kind = handleType == SQL_HANDLE_STMT  ? "Statement"
                       : handleType == SQL_HANDLE_DBC ? "Connection"
                                                      : "Environment";
    origin.Format("State:%s,Native:%d,Origin:%s", reinterpret_cast<const char*>(state), static_cast<int>(native), kind);
    return CDBException(rc, message, origin);
}

void CheckStatement(CDatabase& db, SQLRETURN rc, SQLHSTMT hstmt) {
    if (rc == SQL_SUCCESS || rc == SQL_SUCCESS_WITH_INFO || rc == SQL_NO_DATA) return;
    CDBException failure = Diagnostic(SQL_HANDLE_STMT, hstmt, rc);
    db.NoteFailure(failure);
    throw failure;
}

}  // namespace platform::odbc
