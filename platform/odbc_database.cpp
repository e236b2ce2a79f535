// Connection life cycle and direct execution over unixODBC.
#include "platform/odbc_database.h"

#include <strings.h>

#include <cstdlib>
#include <cstring>

#include "platform/odbc_check.h"
#include "platform/odbc_prepared.h"
#include "platform/odbc_statement.h"

using platform::odbc::Check;
using platform::odbc::Diagnostic;

namespace {

// SQLite reads through a page cache of 2 MB by default and fetches every other page with a
// system call: on a grown site an import, a report or a listing made hundreds of thousands of
// them. Mapping the file lets it read pages in place; the larger cache keeps the pages a write
// changes. Its log is copied back into the file, and the file synced, once it holds 32 MB rather
// than 2 MB: an audit of a grown site changes a few hundred pages scattered over large indexes,
// mostly the same ones from one audit to the next, and each copy writes them once (new computers
// were imported twice as fast). Only speed: a connection that refuses them works as before.
constexpr const char* kSqliteTuning[] = {"pragma mmap_size = 1073741824", "pragma cache_size = -16384",
                                         "pragma wal_autocheckpoint = 16384"};

}  // namespace

CDatabase::CDatabase() = default;

CDatabase::~CDatabase() { Close(); }

bool CDatabase::OpenEx(const char* connect, ULong options) {
    Close();
    SQLHENV henv = SQL_NULL_HENV;
    if (!SQL_SUCCEEDED(SQLAllocHandle(SQL_HANDLE_ENV, SQL_NULL_HANDLE, &henv)))
        throw CDBException(SQL_ERROR, "Cannot allocate an ODBC environment", "State:HY001,Native:0,Origin:Environment");
    m_henv = henv;
    Check(SQLSetEnvAttr(henv, SQL_ATTR_ODBC_VERSION, reinterpret_cast<SQLPOINTER>(SQL_OV_ODBC3), 0), SQL_HANDLE_ENV,
          henv);
    SQLHDBC hdbc = SQL_NULL_HDBC;
    Check(SQLAllocHandle(SQL_HANDLE_DBC, henv, &hdbc), SQL_HANDLE_ENV, henv);
    if (options & openReadOnly)
        SQLSetConnectAttr(hdbc, SQL_ATTR_ACCESS_MODE, reinterpret_cast<SQLPOINTER>(SQL_MODE_READ_ONLY), 0);
    const CString text(connect ? connect : "");
    SQLCHAR out[1024];
    SQLSMALLINT outLength = 0;
    // There is no window to show a connection dialog in, so the driver is never asked to prompt.
    const SQLRETURN rc = SQLDriverConnect(hdbc, nullptr, reinterpret_cast<SQLCHAR*>(const_cast<char*>(text.c_str())),
                                          SQL_NTS, out, sizeof out, &outLength, SQL_DRIVER_NOPROMPT);
    if (!SQL_SUCCEEDED(rc)) {
        CDBException failure = Diagnostic(SQL_HANDLE_DBC, hdbc, rc);
        SQLFreeHandle(SQL_HANDLE_DBC, hdbc);
        Close();
        throw failure;
    }
    m_hdbc = hdbc;
    m_connect = text;
    SQLCHAR name[128] = {0};
    SQLSMALLINT nameLength = 0;
    if (SQL_SUCCEEDED(SQLGetInfo(hdbc, SQL_DBMS_NAME, name, sizeof name, &nameLength)))
        m_dbmsName = reinterpret_cast<const char*>(name);
    if (strncasecmp(m_dbmsName.c_str(), "SQLite", 6) == 0)
        m_engine = SqlEngine::Sqlite;
    else if (strncasecmp(m_dbmsName.c_str(), "PostgreSQL", 10) == 0)
        m_engine = SqlEngine::PostgreSql;
    else
        m_engine = SqlEngine::Unknown;
    if (m_engine == SqlEngine::PostgreSql) MatchClientEncoding();
    if (m_engine == SqlEngine::Sqlite) {
        for (const char* pragma : kSqliteTuning) {
            try {
                ExecuteSQL(pragma);
            } catch (const CDBException&) {
            }
        }
    }
    return true;
}

void CDatabase::Close() {
    // Statement handles go before the connection they belong to.
    m_prepared.clear();
    if (m_hdbc) {
        SQLDisconnect(static_cast<SQLHDBC>(m_hdbc));
        SQLFreeHandle(SQL_HANDLE_DBC, static_cast<SQLHDBC>(m_hdbc));
        m_hdbc = nullptr;
    }
    if (m_henv) {
        SQLFreeHandle(SQL_HANDLE_ENV, static_cast<SQLHENV>(m_henv));
        m_henv = nullptr;
    }
    m_engine = SqlEngine::Unknown;
    m_inTransaction = false;
    m_transactionLost = false;
    m_dbmsName.Empty();
}

void CDatabase::ExecuteSQL(const char* statement) {
    COdbcStatement stmt(*this);
    stmt.ExecDirectChecked(statement);
    stmt.DiscardResults();
}

COdbcPrepared& CDatabase::Prepared(const char* sql) {
    auto& slot = m_prepared[sql];
    if (!slot) {
        try {
            slot = std::make_unique<COdbcPrepared>(*this, sql);
        } catch (...) {
            m_prepared.erase(sql);
            throw;
        }
    }
    return *slot;
}

void CDatabase::BeginTrans() {
    Check(SQLSetConnectAttr(static_cast<SQLHDBC>(m_hdbc), SQL_ATTR_AUTOCOMMIT,
                            reinterpret_cast<SQLPOINTER>(SQL_AUTOCOMMIT_OFF), 0),
          SQL_HANDLE_DBC, m_hdbc);
    m_inTransaction = true;
    m_transactionLost = false;
}

void CDatabase::CommitTrans() {
    if (m_transactionLost) {
        // The engine already rolled back; the driver still thinks a transaction is open.
        const CDBException refused = LostTransaction();
        Rollback();
        throw refused;
    }
    m_inTransaction = false;
    const SQLRETURN rc = SQLEndTran(SQL_HANDLE_DBC, static_cast<SQLHDBC>(m_hdbc), SQL_COMMIT);
    if (rc == SQL_SUCCESS || rc == SQL_SUCCESS_WITH_INFO || rc == SQL_NO_DATA) {
        SQLSetConnectAttr(static_cast<SQLHDBC>(m_hdbc), SQL_ATTR_AUTOCOMMIT,
                          reinterpret_cast<SQLPOINTER>(SQL_AUTOCOMMIT_ON), 0);
        return;
    }
    // The commit's own diagnostic (a full disk, say) is read first: turning autocommit back on
    // makes the SQLite driver try the commit once more, and its "no transaction is active"
    // would replace the reason. The transaction is ended by a rollback before that.
    const CDBException failure = Diagnostic(SQL_HANDLE_DBC, m_hdbc, rc);
    RollbackInDriver();
    SQLSetConnectAttr(static_cast<SQLHDBC>(m_hdbc), SQL_ATTR_AUTOCOMMIT,
                      reinterpret_cast<SQLPOINTER>(SQL_AUTOCOMMIT_ON), 0);
    throw failure;
}

void CDatabase::Rollback() {
    m_inTransaction = false;
    const bool lost = m_transactionLost;
    m_transactionLost = false;
    const SQLRETURN rc = RollbackInDriver();
    SQLSetConnectAttr(static_cast<SQLHDBC>(m_hdbc), SQL_ATTR_AUTOCOMMIT,
                      reinterpret_cast<SQLPOINTER>(SQL_AUTOCOMMIT_ON), 0);
    if (!lost) Check(rc, SQL_HANDLE_DBC, m_hdbc);
}

int CDatabase::RollbackInDriver() {
    const auto hdbc = static_cast<SQLHDBC>(m_hdbc);
    SQLRETURN rc = SQLEndTran(SQL_HANDLE_DBC, hdbc, SQL_ROLLBACK);
    if (SQL_SUCCEEDED(rc) || rc == SQL_NO_DATA || m_engine != SqlEngine::Sqlite) return rc;
    // The engine ended the transaction on its own, and its "no transaction is active" leaves
    // the SQLite driver believing one is still open: it would begin none for the next
    // transaction, whose statements would then each commit alone. A transaction begun by hand
    // gives the driver's rollback one to end (inside a live one the begin just fails).
    try {
        COdbcStatement begin(*this);
        begin.ExecDirect("begin");
    } catch (const CDBException&) {
        // Then the second rollback reports the connection's trouble.
    }
    return SQLEndTran(SQL_HANDLE_DBC, hdbc, SQL_ROLLBACK);
}

namespace {

// SQLite's primary result codes after which the engine may have rolled back the transaction:
// SQLITE_BUSY, SQLITE_NOMEM, SQLITE_INTERRUPT, SQLITE_IOERR, SQLITE_CORRUPT, SQLITE_FULL.
bool MayEndSqliteTransaction(const CDBException& failure) {
    const char* native = std::strstr(failure.m_strStateNativeOrigin.c_str(), "Native:");
    const long code = native ? std::strtol(native + 7, nullptr, 10) & 0xFF : 0;
    return code == 5 || code == 7 || code == 9 || code == 10 || code == 11 || code == 13;
}

}  // namespace

CDBException CDatabase::LostTransaction() {
    return CDBException(SQL_ERROR,
                        "the database rolled the transaction back after an earlier failure; "
                        "no further statement of it runs",
                        "State:40000,Native:0,Origin:Connection");
}

void CDatabase::CheckStatement() const {
    if (m_transactionLost) throw LostTransaction();
}

void CDatabase::NoteFailure(const CDBException& failure) {
    if (m_inTransaction && m_engine == SqlEngine::Sqlite && MayEndSqliteTransaction(failure)) m_transactionLost = true;
}

bool CDatabase::ConnectionDead() const {
    if (!m_hdbc) return true;
    SQLUINTEGER dead = SQL_CD_FALSE;
    const SQLRETURN rc =
        SQLGetConnectAttr(static_cast<SQLHDBC>(m_hdbc), SQL_ATTR_CONNECTION_DEAD, &dead, sizeof dead, nullptr);
    return SQL_SUCCEEDED(rc) && dead == SQL_CD_TRUE;
}

TransactionScope::TransactionScope(CDatabase& db) : m_db(db), m_owned(!db.InTransaction()) {
    if (m_owned) m_db.BeginTrans();
}

TransactionScope::~TransactionScope() {
    if (!m_owned) return;
    try {
        m_db.Rollback();
    } catch (const CDBException&) {
        // The failure that left the scope is the one worth reporting.
    }
}

void TransactionScope::Commit() {
    if (!m_owned) return;
    m_owned = false;
    m_db.CommitTrans();
}

void CDatabase::MatchClientEncoding() {
    // Texts are 8-bit bytes. The ANSI driver takes its client encoding from the process
    // locale, and under a UTF-8 locale a SQL_ASCII server would refuse every byte above 0x7F;
    // a database that stores bytes as sent gets a connection that sends them as they are.
    COdbcStatement stmt(*this);
    stmt.ExecDirectChecked("show server_encoding");
    char encoding[64] = {0};
    SQLLEN indicator = 0;
    const auto hstmt = static_cast<SQLHSTMT>(stmt.GetHandle());
    if (SQLFetch(hstmt) == SQL_SUCCESS) SQLGetData(hstmt, 1, SQL_C_CHAR, encoding, sizeof encoding, &indicator);
    stmt.DiscardResults();
    if (strcasecmp(encoding, "SQL_ASCII") == 0) ExecuteSQL("set client_encoding to 'SQL_ASCII'");
}
