// Prepared statements with bound input parameters.
#include "platform/odbc_prepared.h"

#include "platform/odbc_check.h"

using platform::odbc::Check;

COdbcPrepared::COdbcPrepared(CDatabase& db, const char* sql) : m_statement(db), m_hstmt(m_statement.GetHandle()) {
    const auto hstmt = static_cast<SQLHSTMT>(m_hstmt);
    Check(SQLPrepare(hstmt, reinterpret_cast<SQLCHAR*>(const_cast<char*>(sql)), SQL_NTS), SQL_HANDLE_STMT, hstmt);
    SQLSMALLINT count = 0;
    Check(SQLNumParams(hstmt, &count), SQL_HANDLE_STMT, hstmt);
    // Bound buffers must not move: the vector is sized once, here.
    m_parameters.resize(static_cast<std::size_t>(count));
}

COdbcPrepared::Parameter& COdbcPrepared::At(int number) {
    if (number < 1 || static_cast<std::size_t>(number) > m_parameters.size())
        throw CDBException(SQL_ERROR, "No such parameter in a prepared statement",
                           "State:07009,Native:0,Origin:Statement");
    return m_parameters[static_cast<std::size_t>(number) - 1];
}

void COdbcPrepared::SetLong(int number, std::int32_t value) {
    static_assert(sizeof(SQLINTEGER) == sizeof(std::int32_t));
    Parameter& p = At(number);
    p.number = value;
    Check(SQLBindParameter(static_cast<SQLHSTMT>(m_hstmt), static_cast<SQLUSMALLINT>(number), SQL_PARAM_INPUT,
                           SQL_C_SLONG, SQL_INTEGER, 0, 0, &p.number, 0, nullptr),
          SQL_HANDLE_STMT, m_hstmt);
}

void COdbcPrepared::SetText(int number, const char* text) {
    static_assert(sizeof(SQLLEN) == sizeof(long));
    Parameter& p = At(number);
    p.text = text ? text : "";
    p.length = static_cast<long>(p.text.size());
    // A column size of 0 is refused by some drivers, even for the empty text.
    const SQLULEN size = p.text.empty() ? 1 : p.text.size();
    Check(SQLBindParameter(static_cast<SQLHSTMT>(m_hstmt), static_cast<SQLUSMALLINT>(number), SQL_PARAM_INPUT,
                           SQL_C_CHAR, SQL_VARCHAR, size, 0, const_cast<char*>(p.text.data()),
                           static_cast<SQLLEN>(p.text.size()), reinterpret_cast<SQLLEN*>(&p.length)),
          SQL_HANDLE_STMT, m_hstmt);
}

void COdbcPrepared::Execute() {
    const auto hstmt = static_cast<SQLHSTMT>(m_hstmt);
    // Closing a statement that left no cursor is not needed, and some drivers (SQLite's) then
    // compile the statement again on the next execution.
    if (m_cursor) SQLFreeStmt(hstmt, SQL_CLOSE);
    m_cursor = false;
    m_statement.Database().CheckStatement();
    platform::odbc::CheckStatement(m_statement.Database(), SQLExecute(hstmt), hstmt);
    SQLSMALLINT columns = 0;
    m_cursor = !SQL_SUCCEEDED(SQLNumResultCols(hstmt, &columns)) || columns > 0;
}

bool COdbcPrepared::Fetch() {
    const auto hstmt = static_cast<SQLHSTMT>(m_hstmt);
    const SQLRETURN rc = SQLFetch(hstmt);
    if (rc == SQL_NO_DATA) return false;
    platform::odbc::CheckStatement(m_statement.Database(), rc, hstmt);
    return true;
}

std::int32_t COdbcPrepared::LongAt(int number) {
    SQLINTEGER value = 0;
    SQLLEN indicator = 0;
    Check(SQLGetData(static_cast<SQLHSTMT>(m_hstmt), static_cast<SQLUSMALLINT>(number), SQL_C_SLONG, &value, 0,
                     &indicator),
          SQL_HANDLE_STMT, m_hstmt);
    return indicator == SQL_NULL_DATA ? 0 : value;
}

void COdbcPrepared::CloseCursor() {
    SQLFreeStmt(static_cast<SQLHSTMT>(m_hstmt), SQL_CLOSE);
    m_cursor = false;
}

long COdbcPrepared::RowCount() {
    SQLLEN rows = 0;
    Check(SQLRowCount(static_cast<SQLHSTMT>(m_hstmt), &rows), SQL_HANDLE_STMT, m_hstmt);
    return static_cast<long>(rows);
}
