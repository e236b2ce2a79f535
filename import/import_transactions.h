// The unit of work of one inventory. The writer needs every write of an inventory to commit or
// roll back together, which CNorvik does not offer, so the caller hands in this small binding
// of the back end's connection.
#pragma once

class CDatabase;

// Begin, then Commit or Rollback. Each answers false when the connection refused (the writer then
// reports the inventory as failed). One transaction at a time; not shared between threads.
class ImportTransactions {
public:
    virtual ~ImportTransactions() = default;
    virtual bool Begin() = 0;
    virtual bool Commit() = 0;
    virtual bool Rollback() = 0;
};

// The binding for the ODBC back end (CNorvikSql is a CDatabase). `db` must outlive it.
class SqlImportTransactions : public ImportTransactions {
public:
    explicit SqlImportTransactions(CDatabase& db) : m_db(db) {}
    bool Begin() override;
    bool Commit() override;
    bool Rollback() override;

private:
    CDatabase& m_db;
};
