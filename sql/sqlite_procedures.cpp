// Procedure bodies for SQLite. A body of several statements runs inside one transaction.
#include "sql/sqlite_procedures.h"

#include <strings.h>

#include <cstdlib>

#include <string>
#include <utility>
#include <vector>

#include "platform/ctime.h"
#include "platform/odbc_recordset.h"
#include "sql/find_or_insert_lock.h"
#include "sql/history_purge.h"
#include "sql/schema_scripts.h"
#include "sql/sql_arguments.h"
#include "sql/sql_database.h"

namespace {

using Arguments = std::vector<CString>;
using Procedure = SqliteProcedure;

CDBException ProcedureError(const char* name, const char* message) {
    return CDBException(-1, CString::Formatted("%s: %s", name, message), "State:42000,Native:0,Origin:Procedure");
}

// The single integer a "select" of one value gives (the driver hands some as text); 0 when
// there is no row.
std::int32_t FirstValueAsInt32(CDatabase& db, const char* statement) {
    CRecordset rs(&db);
    rs.Open(CRecordset::forwardOnly, statement, CRecordset::executeDirect);
    if (rs.IsEOF()) return 0;
    const CDBVariant& value = rs.Field(0);
    return value.m_dwType == CDBVariant::DBVT_LONG ? value.m_lVal
                                                   : static_cast<std::int32_t>(std::atoll(value.m_strVal.c_str()));
}

// usp_Insert(table, columns, values, OUT id): one row, its new _ID.
std::int32_t Insert(CDatabase& db, const Arguments& args, std::int32_t* out) {
    if (args.size() != 3) throw ProcedureError("usp_Insert", "expects a table, a column list and a value list");
    db.ExecuteSQL(
        CString::Formatted("insert into %s (%s) values (%s)", args[0].c_str(), args[1].c_str(), args[2].c_str()));
    const std::int32_t id = FirstValueAsInt32(db, "select last_insert_rowid()");
    if (out) *out = id;
    return 0;
}

// usp_Clean: the clean-up statements shared with the PostgreSQL function, in order.
std::int32_t Clean(CDatabase& db, const Arguments& args, std::int32_t* /*out*/) {
    if (!args.empty()) throw ProcedureError("usp_Clean", "takes no arguments");
    const char* script = SchemaScript("sqlite/usp_clean.sql");
    if (!script) throw ProcedureError("usp_Clean", "the clean-up script is missing from this build");
    for (const auto& statement : SplitSqlScript(script)) db.ExecuteSQL(statement.c_str());
    return 0;
}

// usp_PurgeAssetHist(asset, before, keepinitial, keepaudits, OUT removed): the two statements
// of postgresql/usp_purgeassethist.sql (which says what the arguments mean), with the arguments
// written in. The rows are counted before their delete because the count is the answer.
std::int32_t PurgeAssetHist(CDatabase& db, const Arguments& args, std::int32_t* out) {
    long asset = 0, keepInitial = 0, keepAudits = 0;
    DateTimeParts before;
    if (args.size() != 4 || !IntegerArgument(args[0], &asset) || !IntegerArgument(args[2], &keepInitial) ||
        !IntegerArgument(args[3], &keepAudits) || !DateTimeParts::Parse(args[1].c_str(), &before))
        throw ProcedureError("usp_PurgeAssetHist", "expects an asset, a date and two integers");
    // Stored dates are 'YYYYMMDD hh:mm:ss' texts, which compare as their times do; the bound
    // is brought to the same form whatever form it came in.
    const CString bound =
        CSqlDatabase::SqlQuote(CString::Formatted("%4.4d%2.2d%2.2d %2.2d:%2.2d:%2.2d", before.year, before.month,
                                                  before.day, before.hour, before.minute, before.second));
    const CString condition = HistoryPurgeCondition(asset, bound, keepInitial, keepAudits);
    // The events' delete comes first, so the transaction takes the write lock before it reads:
    // a count read first would hold a snapshot that any agent's commit makes stale, and SQLite
    // then refuses the later delete as busy once the timeout has passed.
    db.ExecuteSQL("delete from EVENTLOG where _HISTID in (select _ID from HISTORY where " + condition + ")");
    const std::int32_t removed = FirstValueAsInt32(db, "select count(*) from HISTORY where " + condition);
    db.ExecuteSQL("delete from HISTORY where " + condition);
    if (out) *out = removed;
    return 0;
}

// usp_AddApp(mfr, app, flags, OUT id): the steps of postgresql/usp_addapp.sql. A found
// application costs one lookup and no transaction; only a missing one takes the write lock and
// looks again, so that of two connections adding one name the second finds the first's row.
std::int32_t AddApp(CDatabase& db, const Arguments& args, std::int32_t* out) {
    long flags = 0;
    if (args.size() != 3 || !IntegerArgument(args[2], &flags))
        throw ProcedureError("usp_AddApp", "expects a publisher, a name and an integer");
    const CString mfr = CSqlDatabase::SqlQuote(args[0]);
    const CString app = CSqlDatabase::SqlQuote(args[1]);
    const CString find = "select _ID from APPS where _MFR = " + mfr + " and _APP = " + app + " order by _ID limit 1";
    std::int32_t id = FirstValueAsInt32(db, find);
    if (id == 0) {
        FindOrInsertLock lock(db, "APPS", "");
        id = FirstValueAsInt32(db, find);
        if (id == 0) {
            db.ExecuteSQL(CString::Formatted("insert into APPS (_MFR, _APP, _FLAGS) values (%s, %s, %ld)", mfr.c_str(),
                                             app.c_str(), flags));
            id = FirstValueAsInt32(db, "select last_insert_rowid()");
        }
        lock.Commit();
    }
    if (out) *out = id;
    return 0;
}

// usp_AddAppInst(asset, app, serial, version, flags, OUT id): the steps of
// postgresql/usp_addappinst.sql, which says what the arguments mean.
std::int32_t AddAppInst(CDatabase& db, const Arguments& args, std::int32_t* out) {
    long asset = 0, app = 0, flags = 0;
    if (args.size() != 5 || !IntegerArgument(args[0], &asset) || !IntegerArgument(args[1], &app) ||
        !IntegerArgument(args[4], &flags))
        throw ProcedureError("usp_AddAppInst", "expects an asset, an application, two texts and an integer");
    std::int32_t id = FirstValueAsInt32(
        db, CString::Formatted("select _ID from APPINST where _ASSET = %ld and _APP = %ld order by _ID limit 1", asset,
                               app));
    if (id == 0) {
        db.ExecuteSQL(CString::Formatted(
            "insert into APPINST (_ASSET, _APP, _SERIAL, _VERSION, _FILES, _FLAGS) values (%ld, %ld, %s, %s, %d, %ld)",
            asset, app, CSqlDatabase::SqlQuote(args[2]).c_str(), CSqlDatabase::SqlQuote(args[3]).c_str(),
            (flags & 2) != 0 ? 1 : 0, flags));
        id = FirstValueAsInt32(db, "select last_insert_rowid()");
    } else {
        db.ExecuteSQL(
            CString::Formatted("update APPINST set _FILES = _FILES + 1 where _ID = %d", static_cast<int>(id)));
    }
    if (out) *out = id;
    return 0;
}

struct Entry {
    const char* name;
    Procedure run;
    bool atomic;        // several statements that must all happen or none
    const char* finds;  // a find-or-insert into this table: runs under its FindOrInsertLock
};

// One entry a line, so that procedures are added and removed line by line.
// clang-format off
const Entry kProcedures[] = {
    {"usp_Insert", Insert, false, nullptr},
    {"usp_Clean", Clean, true, nullptr},
    {"usp_PurgeAssetHist", PurgeAssetHist, true, nullptr},
    {"usp_MergeFolder", SqliteMergeFolder, true, "SWFOLDER"},
    {"usp_MergeFile", SqliteMergeFile, true, "SWFILE"},
    {"usp_AddApp", AddApp, false, nullptr},  // locks only when it inserts
    {"usp_AddAppInst", AddAppInst, false, nullptr},
};
// clang-format on

std::vector<std::pair<std::string, Procedure>>& TestProcedures() {
    static std::vector<std::pair<std::string, Procedure>> procedures;
    return procedures;
}

}  // namespace

void TEST_RegisterSqliteProcedure(const char* name, SqliteProcedure run) { TestProcedures().emplace_back(name, run); }

std::int32_t RunSqliteProcedure(CDatabase& db, const char* name, const char* args, std::int32_t* out) {
    Procedure run = nullptr;
    bool atomic = true;
    const char* finds = nullptr;
    for (const auto& entry : kProcedures) {
        if (strcasecmp(entry.name, name) == 0) {
            run = entry.run;
            atomic = entry.atomic;
            finds = entry.finds;
        }
    }
    for (const auto& [testName, testRun] : TestProcedures())
        if (strcasecmp(testName.c_str(), name) == 0) run = testRun;
    if (!run) throw ProcedureError(name, "no such procedure");
    Arguments arguments;
    if (!ParseSqlArguments(args, &arguments)) throw ProcedureError(name, "unterminated text in the argument list");
    if (!atomic) return run(db, arguments, out);
    if (finds && !db.InTransaction()) {
        // The lock's write comes first, so the find already holds the database and a concurrent
        // writer waits instead of failing this insert as busy. In a caller's transaction SQLite
        // refuses a write from a stale read anyway (no duplicate row can come of it), and the
        // import, which calls these for every file, has held the write lock since its first row.
        FindOrInsertLock lock(db, finds, "");
        const std::int32_t ret = run(db, arguments, out);
        lock.Commit();
        return ret;
    }
    TransactionScope transaction(db);
    const std::int32_t ret = run(db, arguments, out);
    transaction.Commit();
    return ret;
}
