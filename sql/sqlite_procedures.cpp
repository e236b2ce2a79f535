// Procedure bodies for SQLite. Each runs inside one transaction.
#include "sql/sqlite_procedures.h"

#include <strings.h>

#include <string>
#include <utility>
#include <vector>

#include "platform/odbc_recordset.h"
#include "sql/schema_scripts.h"
#include "sql/sql_arguments.h"

namespace {

using Arguments = std::vector<CString>;
using Procedure = SqliteProcedure;

CDBException ProcedureError(const char* name, const char* message) {
    return CDBException(-1, CString::Formatted("%s: %s", name, message), "State:42000,Native:0,Origin:Procedure");
}

// usp_Insert(table, columns, values, OUT id): one row, its new _ID.
std::int32_t Insert(CDatabase& db, const Arguments& args, std::int32_t* out) {
    if (args.size() != 3) throw ProcedureError("usp_Insert", "expects a table, a column list and a value list");
    db.ExecuteSQL(
        CString::Formatted("insert into %s (%s) values (%s)", args[0].c_str(), args[1].c_str(), args[2].c_str()));
    CRecordset rs(&db);
    rs.Open(CRecordset::forwardOnly, "select last_insert_rowid()", CRecordset::executeDirect);
    const CDBVariant& id = rs.Field(0);
    if (out)
        *out = id.m_dwType == CDBVariant::DBVT_LONG ? id.m_lVal
                                                    : static_cast<std::int32_t>(std::atoll(id.m_strVal.c_str()));
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

struct Entry {
    const char* name;
    Procedure run;
    bool atomic;  // several statements that must all happen or none
};

const Entry kProcedures[] = {
    {"usp_Insert", Insert, false},
    {"usp_Clean", Clean, true},
};

std::vector<std::pair<std::string, Procedure>>& TestProcedures() {
    static std::vector<std::pair<std::string, Procedure>> procedures;
    return procedures;
}

}  // namespace

void TEST_RegisterSqliteProcedure(const char* name, SqliteProcedure run) { TestProcedures().emplace_back(name, run); }

std::int32_t RunSqliteProcedure(CDatabase& db, const char* name, const char* args, std::int32_t* out) {
    Procedure run = nullptr;
    bool atomic = true;
    for (const auto& entry : kProcedures) {
        if (strcasecmp(entry.name, name) == 0) {
            run = entry.run;
            atomic = entry.atomic;
        }
    }
    for (const auto& [testName, testRun] : TestProcedures())
        if (strcasecmp(testName.c_str(), name) == 0) run = testRun;
    if (!run) throw ProcedureError(name, "no such procedure");
    Arguments arguments;
    if (!ParseSqlArguments(args, &arguments)) throw ProcedureError(name, "unterminated text in the argument list");
    if (!atomic) return run(db, arguments, out);
    db.BeginTrans();
    try {
        const std::int32_t ret = run(db, arguments, out);
        db.CommitTrans();
        return ret;
    } catch (...) {
        try {
            db.Rollback();
        } catch (const CDBException&) {
            // The original failure is the one worth reporting.
        }
        throw;
    }
}
