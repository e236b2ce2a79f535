// CDatabase: one ODBC connection over unixODBC. The connection string is handed to the
// driver manager unchanged, so any driver and data source can be reached.
// Every ODBC call of the platform goes through the checked helpers of odbc_check.h, which turn
// failures into CDBException with the driver's diagnostic.
#pragma once

#include <memory>
#include <string>
#include <unordered_map>

#include "platform/cstring.h"
#include "platform/exceptions.h"

class COdbcPrepared;

// The engine behind a connection, from the driver's DBMS name.
enum class SqlEngine { Unknown, Sqlite, PostgreSql };

class NORVIK_API CDatabase {
public:
    // Open options, with their Windows values.
    static constexpr ULong openReadOnly = 0x0002;
    static constexpr ULong noOdbcDialog = 0x0008;

    CDatabase();
    virtual ~CDatabase();
    CDatabase(const CDatabase&) = delete;
    CDatabase& operator=(const CDatabase&) = delete;

    // Connects with the complete ODBC connection string. Returns true when connected.
    // Throws CDBException with the driver manager's diagnostic when the connection fails.
    bool OpenEx(const char* connect, ULong options = 0);
    void Close();
    bool IsOpen() const { return m_hdbc != nullptr; }

    // Seconds a statement may run before the driver cancels it (0 = no limit).
    void SetQueryTimeout(int seconds) { m_queryTimeout = seconds; }
    int GetQueryTimeout() const { return m_queryTimeout; }

    // Runs a statement that returns no rows. Throws CDBException on failure.
    void ExecuteSQL(const char* statement);

    // Transactions; the connection is in autocommit mode outside them.
    void BeginTrans();
    void CommitTrans();
    void Rollback();
    bool InTransaction() const { return m_inTransaction; }

    // SQLite rolls a whole transaction back on its own after some failures (a full disk, an I/O
    // error, memory, an interrupt), and the driver does not notice: every later statement would
    // run, and commit, on its own. After such a failure inside a transaction the connection
    // refuses every statement until Rollback (CommitTrans rolls back and throws), so nothing of
    // the transaction can be committed piecemeal. The statement classes call CheckStatement
    // before each execution (it throws the refusal) and NoteFailure with each failure.
    bool TransactionLost() const { return m_transactionLost; }
    void CheckStatement() const;
    void NoteFailure(const CDBException& failure);
    // True when the driver reports the link to the server gone (a PostgreSQL server that was
    // stopped or that ended this session); false while connected and for drivers that cannot say.
    bool ConnectionDead() const;

    CString GetDbmsName() const { return m_dbmsName; }
    SqlEngine GetEngine() const { return m_engine; }
    const CString& GetConnect() const { return m_connect; }

    // The statement `sql` prepared on this connection, prepared on first use and kept until the
    // connection closes. Throws CDBException when it cannot be prepared.
    COdbcPrepared& Prepared(const char* sql);

    // The raw connection handle (SQLHDBC) for the platform's statement classes.
    void* GetHandle() const { return m_hdbc; }

private:
    void MatchClientEncoding();
    static CDBException LostTransaction();
    // SQLEndTran(SQL_ROLLBACK), leaving the driver with no transaction open; its return code.
    int RollbackInDriver();

    void* m_henv = nullptr;
    void* m_hdbc = nullptr;
    int m_queryTimeout = 0;
    CString m_connect;
    CString m_dbmsName;
    SqlEngine m_engine = SqlEngine::Unknown;
    bool m_inTransaction = false;
    bool m_transactionLost = false;
    std::unordered_map<std::string, std::unique_ptr<COdbcPrepared>> m_prepared;
};

// A transaction for a scope: Commit ends it, and leaving the scope without Commit (by an
// exception) rolls it back, keeping the original failure rather than one of the rollback.
// Inside a transaction the caller already opened, the scope joins it: the work commits or
// rolls back with the caller's.
class NORVIK_API TransactionScope {
public:
    explicit TransactionScope(CDatabase& db);
    ~TransactionScope();
    TransactionScope(const TransactionScope&) = delete;
    TransactionScope& operator=(const TransactionScope&) = delete;
    void Commit();

private:
    CDatabase& m_db;
    bool m_owned;
};
