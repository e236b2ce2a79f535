// The ODBC binding of the writer's transactions.
#include "import/import_transactions.h"

#include "platform/odbc_database.h"
#include "platform/odbc_prepared.h"

namespace {

template <typename Step>
bool Guarded(Step step) {
    try {
        step();
        return true;
    } catch (const CDBException&) {
        return false;
    }
}

}  // namespace

bool SqlImportTransactions::Begin() {
    return Guarded([&] {
        m_db.BeginTrans();
        if (m_db.GetEngine() != SqlEngine::Sqlite) return;
        // SQLite lets one writer in at a time. A transaction that reads first and writes later
        // cannot wait for the lock: when another writer committed since its read began, its
        // first write fails at once as busy. A write as the first statement takes the lock
        // before any read (the driver begins deferred transactions only), and a writer that
        // comes second waits in the engine's busy handler for the connection's time-out.
        try {
            m_db.Prepared("update ASSET set _ID = _ID where 1 = 0").Execute();
        } catch (const CDBException&) {
            Rollback();
            throw;
        }
    });
}

bool SqlImportTransactions::Commit() {
    return Guarded([&] { m_db.CommitTrans(); });
}

bool SqlImportTransactions::Rollback() {
    return Guarded([&] { m_db.Rollback(); });
}

bool SqlImportTransactions::ConnectionLost() { return m_db.ConnectionDead(); }
