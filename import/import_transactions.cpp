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
    if (!Guarded([&] { m_db.CommitTrans(); })) return false;
    if (m_db.GetEngine() == SqlEngine::Sqlite && ++m_commits % kLogCheckEvery == 0) BoundSqliteLog();
    return true;
}

void SqlImportTransactions::BoundSqliteLog() {
    // SQLite copies its log back into the database after commits, but it can only start the log
    // again from the top at a moment no reader is using it: under writers that never pause, that
    // moment never comes and the log grows by every page written (gigabytes in an hour). Past
    // the bound, TRUNCATE waits for the readers of the moment, blocks new writers, and empties it.
    Guarded([&] {
        COdbcPrepared& passive = m_db.Prepared("pragma wal_checkpoint(PASSIVE)");
        passive.Execute();
        const bool large = passive.Fetch() && passive.LongAt(2) > m_logFramesBound;
        passive.CloseCursor();
        if (!large) return;
        COdbcPrepared& truncate = m_db.Prepared("pragma wal_checkpoint(TRUNCATE)");
        truncate.Execute();
        truncate.Fetch();
        truncate.CloseCursor();
    });
}

bool SqlImportTransactions::Rollback() {
    return Guarded([&] { m_db.Rollback(); });
}

bool SqlImportTransactions::ConnectionLost() { return m_db.ConnectionDead(); }
