// The unit of work of one inventory. The writer needs every write of an inventory to commit or
// roll back together, which CNorvik does not offer, so the caller hands in this small binding
// of the back end's connection.
#pragma once

class CDatabase;

// Begin, then Commit or Rollback. Each answers false when the connection refused (the writer then
// reports the inventory as failed). One transaction at a time; not shared between threads.
// Begin waits for the engine when it lets one writer in at a time, so that no write of the
// transaction can later fail because another writer got in first.
class ImportTransactions {
public:
    virtual ~ImportTransactions() = default;
    virtual bool Begin() = 0;
    virtual bool Commit() = 0;
    virtual bool Rollback() = 0;
    // True once the link to the database server is gone: nothing more can be written.
    virtual bool ConnectionLost() { return false; }
};

// The binding for the ODBC back end (CNorvikSql is a CDatabase). `db` must outlive it.
//  - SQLite: Begin takes the database's write lock with its first statement, waiting for it as
//    long as the connection's busy time-out (the SQLite driver's "Timeout", in ms) allows.
//  - A transaction the engine rolled back on its own (SQLite on a full disk or an I/O error)
//    refuses every later statement, and Commit answers false: see CDatabase::TransactionLost.
//  - SQLite: every kLogCheckEvery-th commit looks at the log (WAL); past its bound (kLogFramesBound pages) it
//    empties it into the database, waiting for readers and holding writers off meanwhile. A
//    failed check leaves the log as it was and the commit stands.
class SqlImportTransactions : public ImportTransactions {
public:
    static constexpr unsigned kLogCheckEvery = 32;
    static constexpr long kLogFramesBound = 32768;  // 64 MB of 2 KB pages

    explicit SqlImportTransactions(CDatabase& db, long logFramesBound = kLogFramesBound)
        : m_db(db), m_logFramesBound(logFramesBound) {}
    bool Begin() override;
    bool Commit() override;
    bool Rollback() override;
    bool ConnectionLost() override;

private:
    void BoundSqliteLog();

    CDatabase& m_db;
    long m_logFramesBound;
    unsigned m_commits = 0;
};
