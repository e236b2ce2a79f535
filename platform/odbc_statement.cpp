// Statement handles for direct execution.
#include "platform/odbc_statement.h"

#include "platform/odbc_check.h"

using platform::odbc::Check;

COdbcStatement::COdbcStatement(CDatabase& db) : m_db(db) {
    if (!db.IsOpen())
        throw CDBException(SQL_ERROR, "The database is not open", "State:08003,Native:0,Origin:Connection");
    SQLHSTMT hstmt = SQL_NULL_HSTMT;
    Check(SQLAllocHandle(SQL_HANDLE_STMT, static_cast<SQLHDBC>(db.GetHandle()), &hstmt), SQL_HANDLE_DBC,
          db.GetHandle());
    m_hstmt = hstmt;
    if (db.GetQueryTimeout() > 0)
        SQLSetStmtAttr(hstmt, SQL_ATTR_QUERY_TIMEOUT,
                       reinterpret_cast<SQLPOINTER>(static_cast<SQLULEN>(db.GetQueryTimeout())), 0);
}

COdbcStatement::~COdbcStatement() {
    if (m_hstmt) SQLFreeHandle(SQL_HANDLE_STMT, static_cast<SQLHSTMT>(m_hstmt));
}

void COdbcStatement::BindOutputLong(int number, std::int32_t* value) {
    static_assert(sizeof(SQLINTEGER) == sizeof(std::int32_t));
    Check(SQLBindParameter(static_cast<SQLHSTMT>(m_hstmt), static_cast<SQLUSMALLINT>(number), SQL_PARAM_OUTPUT,
                           SQL_C_SLONG, SQL_INTEGER, 0, 0, value, 0, nullptr),
          SQL_HANDLE_STMT, m_hstmt);
}

int COdbcStatement::ExecDirect(const char* statement) {
    return SQLExecDirect(static_cast<SQLHSTMT>(m_hstmt), reinterpret_cast<SQLCHAR*>(const_cast<char*>(statement)),
                         SQL_NTS);
}

void COdbcStatement::ExecDirectChecked(const char* statement) {
    m_db.CheckStatement();
    platform::odbc::CheckStatement(m_db, static_cast<SQLRETURN>(ExecDirect(statement)), m_hstmt);
}

void COdbcStatement::DiscardResults() {
    const auto hstmt = static_cast<SQLHSTMT>(m_hstmt);
    SQLRETURN rc;
    do {
        rc = SQLMoreResults(hstmt);
    } while (SQL_SUCCEEDED(rc));
    SQLFreeStmt(hstmt, SQL_CLOSE);
}

CDBException COdbcStatement::Failure(int rc) const {
    return platform::odbc::Diagnostic(SQL_HANDLE_STMT, m_hstmt, static_cast<SQLRETURN>(rc));
}

void COdbcStatement::FirstDiagnostic(CString* message, int* native) const {
    SQLINTEGER code = 0;
    platform::odbc::FirstDiagnostic(SQL_HANDLE_STMT, m_hstmt, message, &code);
    *native = static_cast<int>(code);
}
