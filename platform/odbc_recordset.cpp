// Forward-only reads: every field of a row is read once, when the row is fetched, because
// drivers only promise SQLGetData in column order.
#include "platform/odbc_recordset.h"

#include "platform/odbc_check.h"

using platform::odbc::Check;

CRecordset::CRecordset(CDatabase* db) : m_pDatabase(db) {}

CRecordset::~CRecordset() { CRecordset::Close(); }

bool CRecordset::Open(int /*openType*/, const char* sql, ULong /*options*/) {
    // Not the virtual Close: a derived class's Close may release what its Open just took.
    CRecordset::Close();
    if (!m_pDatabase || !m_pDatabase->IsOpen())
        throw CDBException(SQL_ERROR, "The database is not open", "State:08003,Native:0,Origin:Connection");
    SQLHSTMT hstmt = SQL_NULL_HSTMT;
    Check(SQLAllocHandle(SQL_HANDLE_STMT, static_cast<SQLHDBC>(m_pDatabase->GetHandle()), &hstmt), SQL_HANDLE_DBC,
          m_pDatabase->GetHandle());
    m_hstmt = hstmt;
    if (m_pDatabase->GetQueryTimeout() > 0)
        SQLSetStmtAttr(hstmt, SQL_ATTR_QUERY_TIMEOUT,
                       reinterpret_cast<SQLPOINTER>(static_cast<SQLULEN>(m_pDatabase->GetQueryTimeout())), 0);
    try {
        m_pDatabase->CheckStatement();
        platform::odbc::CheckStatement(
            *m_pDatabase, SQLExecDirect(hstmt, reinterpret_cast<SQLCHAR*>(const_cast<char*>(sql ? sql : "")), SQL_NTS),
            hstmt);
        SQLSMALLINT count = 0;
        Check(SQLNumResultCols(hstmt, &count), SQL_HANDLE_STMT, hstmt);
        m_columns.clear();
        for (SQLUSMALLINT i = 1; i <= count; ++i) {
            SQLSMALLINT type = 0;
            Check(SQLDescribeCol(hstmt, i, nullptr, 0, nullptr, &type, nullptr, nullptr, nullptr), SQL_HANDLE_STMT,
                  hstmt);
            switch (type) {
                case SQL_BIT: m_columns.push_back(Fetch::Bit); break;
                case SQL_TINYINT:
                case SQL_SMALLINT: m_columns.push_back(Fetch::Short); break;
                case SQL_INTEGER: m_columns.push_back(Fetch::Long); break;
                case SQL_REAL: m_columns.push_back(Fetch::Single); break;
                case SQL_FLOAT:
                case SQL_DOUBLE: m_columns.push_back(Fetch::Double); break;
                case SQL_DATE:
                case SQL_TIMESTAMP:
                case SQL_TYPE_DATE:
                case SQL_TYPE_TIMESTAMP: m_columns.push_back(Fetch::DateText); break;
                case SQL_BINARY:
                case SQL_VARBINARY:
                case SQL_LONGVARBINARY: m_columns.push_back(Fetch::Other); break;
                // Texts, and the wide numbers (bigint, numeric) that a 32-bit long cannot hold.
                default: m_columns.push_back(Fetch::Text); break;
            }
        }
        m_row.assign(m_columns.size(), CDBVariant());
        m_eof = false;
        FetchRow();
    } catch (...) {
        CRecordset::Close();
        throw;
    }
    return true;
}

void CRecordset::Close() {
    if (m_hstmt) SQLFreeHandle(SQL_HANDLE_STMT, static_cast<SQLHSTMT>(m_hstmt));
    m_hstmt = nullptr;
    m_eof = true;
    m_columns.clear();
    m_row.clear();
}

void CRecordset::MoveNext() {
    if (!m_eof) FetchRow();
}

void CRecordset::FetchRow() {
    const auto hstmt = static_cast<SQLHSTMT>(m_hstmt);
    if (m_columns.empty()) {
        m_eof = true;
        return;
    }
    const SQLRETURN rc = SQLFetch(hstmt);
    if (rc == SQL_NO_DATA) {
        m_eof = true;
        return;
    }
    platform::odbc::CheckStatement(*m_pDatabase, rc, hstmt);
    for (std::size_t i = 0; i < m_columns.size(); ++i) ReadField(i, m_row[i]);
}

void CRecordset::ReadField(std::size_t index, CDBVariant& value) {
    const auto hstmt = static_cast<SQLHSTMT>(m_hstmt);
    const auto column = static_cast<SQLUSMALLINT>(index + 1);
    SQLLEN indicator = 0;
    value.m_strVal.Empty();
    auto get = [&](SQLSMALLINT cType, void* target, SQLLEN size) {
        Check(SQLGetData(hstmt, column, cType, target, size, &indicator), SQL_HANDLE_STMT, hstmt);
        return indicator != SQL_NULL_DATA;
    };
    auto readText = [&]() {
        std::string& text = value.m_strVal.str();
        char chunk[512];
        for (;;) {
            const SQLRETURN rc = SQLGetData(hstmt, column, SQL_C_CHAR, chunk, sizeof chunk, &indicator);
            if (rc == SQL_NO_DATA) break;
            Check(rc, SQL_HANDLE_STMT, hstmt);
            if (indicator == SQL_NULL_DATA) return false;
            if (rc == SQL_SUCCESS) {
                text.append(chunk, static_cast<std::size_t>(indicator));
                break;
            }
            // Truncated: the chunk holds sizeof chunk - 1 characters and a terminator.
            text.append(chunk, sizeof chunk - 1);
        }
        return true;
    };

    switch (m_columns[index]) {
        case Fetch::Bit: {
            unsigned char bit = 0;
            value.m_dwType = get(SQL_C_BIT, &bit, 0) ? CDBVariant::DBVT_BOOL : CDBVariant::DBVT_NULL;
            value.m_boolVal = bit != 0;
            break;
        }
        case Fetch::Short:
            value.m_dwType = get(SQL_C_SSHORT, &value.m_iVal, 0) ? CDBVariant::DBVT_SHORT : CDBVariant::DBVT_NULL;
            break;
        case Fetch::Long: {
            SQLINTEGER number = 0;
            value.m_dwType = get(SQL_C_SLONG, &number, 0) ? CDBVariant::DBVT_LONG : CDBVariant::DBVT_NULL;
            value.m_lVal = number;
            break;
        }
        case Fetch::Single:
            value.m_dwType = get(SQL_C_FLOAT, &value.m_fltVal, 0) ? CDBVariant::DBVT_SINGLE : CDBVariant::DBVT_NULL;
            break;
        case Fetch::Double:
            value.m_dwType = get(SQL_C_DOUBLE, &value.m_dblVal, 0) ? CDBVariant::DBVT_DOUBLE : CDBVariant::DBVT_NULL;
            break;
        case Fetch::DateText:
            if (!readText()) {
                value.m_dwType = CDBVariant::DBVT_NULL;
            } else if (DateTimeParts::Parse(value.m_strVal.c_str(), &value.m_date)) {
                value.m_dwType = CDBVariant::DBVT_DATE;
            } else {
                value.m_dwType = CDBVariant::DBVT_STRING;
            }
            break;
        case Fetch::Text: value.m_dwType = readText() ? CDBVariant::DBVT_STRING : CDBVariant::DBVT_NULL; break;
        case Fetch::Other: value.m_dwType = CDBVariant::DBVT_BINARY; break;
    }
}

void CRecordset::GetFieldValue(short index, CDBVariant& value) const { value = Field(index); }

const CDBVariant& CRecordset::Field(short index) const {
    static const CDBVariant kNull;
    if (index < 0 || static_cast<std::size_t>(index) >= m_row.size() || m_eof) return kNull;
    return m_row[static_cast<std::size_t>(index)];
}
