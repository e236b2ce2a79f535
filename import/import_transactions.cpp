// The ODBC binding of the writer's transactions.
#include "import/import_transactions.h"

#include "platform/odbc_database.h"

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
    return Guarded([&] { m_db.BeginTrans(); });
}

bool SqlImportTransactions::Commit() {
    return Guarded([&] { m_db.CommitTrans(); });
}

bool SqlImportTransactions::Rollback() {
    return Guarded([&] { m_db.Rollback(); });
}
