// The index step of the upgrades: a database created by an earlier release gets the indexes the
// engine's tables.sql creates today, loses the ones they replaced, and gets the tables' storage
// settings the script declares (on SQLite, the planner's statistics). The scripts stay the one
// place an index is declared, so an index added there reaches upgraded databases by itself.
#include <strings.h>

#include <cctype>
#include <cstring>
#include <string>
#include <vector>

#include "sql/norvik_sql.h"
#include "sql/schema_scripts.h"
#include "sql/sql_recordset.h"

namespace {

// Indexes that earlier releases created and the current schema replaced, each by one that serves
// every lookup it served: IX_HW_KEY on HW (_KEY) by IX_HW_KEY_VAL on HW (_KEY, _VAL), and
// IX_APPINST_APP on APPINST (_APP) by IX_APPINST_APP_ASSET_VERSION_ID.
const char* const kRetiredIndexes[] = {"IX_HW_KEY", "IX_APPINST_APP"};

struct IndexDefinition {
    std::string name;
    std::string statement;  // "create index if not exists NAME on TABLE (COLUMNS)"
};

// The statements of the engine's tables.sql that begin with `head` (letter case ignored), each
// without it.
std::vector<std::string> SchemaStatements(SqlEngine engine, const char* head) {
    std::vector<std::string> found;
    const char* script = SchemaScript(engine == SqlEngine::PostgreSql ? "postgresql/tables.sql" : "sqlite/tables.sql");
    if (!script) return found;
    const std::size_t length = std::strlen(head);
    for (const std::string& statement : SplitSqlScript(script))
        if (strncasecmp(statement.c_str(), head, length) == 0) found.push_back(statement.substr(length));
    return found;
}

// The "create index NAME on ..." statements of the engine's tables.sql.
std::vector<IndexDefinition> SchemaIndexes(SqlEngine engine) {
    std::vector<IndexDefinition> indexes;
    for (const std::string& rest : SchemaStatements(engine, "create index ")) {
        std::size_t end = 0;
        while (end < rest.size() && (std::isalnum(static_cast<unsigned char>(rest[end])) || rest[end] == '_')) ++end;
        indexes.push_back(
            IndexDefinition{rest.substr(0, end), std::string("create index if not exists ").append(rest)});
    }
    return indexes;
}

// A table's storage settings as the engine's tables.sql declares them ("alter table NAME set
// (option = value, ...)"; PostgreSQL's vacuum thresholds), each option as "option=value".
struct TableSettings {
    std::string table;
    std::vector<std::string> options;
    std::string statement;
};

std::vector<TableSettings> SchemaTableSettings(SqlEngine engine) {
    std::vector<TableSettings> settings;
    for (const std::string& rest : SchemaStatements(engine, "alter table ")) {
        const std::size_t open = rest.find(" set (");
        if (open == std::string::npos) continue;
        TableSettings table;
        table.table = rest.substr(0, open);
        table.statement = std::string("alter table ").append(rest);
        std::string option;
        for (std::size_t i = open + 6; i < rest.size() && rest[i] != ')'; ++i) {
            if (rest[i] == ',') {
                table.options.push_back(option);
                option.clear();
            } else if (rest[i] != ' ') {
                option += static_cast<char>(std::tolower(static_cast<unsigned char>(rest[i])));
            }
        }
        if (!option.empty()) table.options.push_back(option);
        settings.push_back(std::move(table));
    }
    return settings;
}

bool SettingsHeld(CNorvikSql& db, const TableSettings& settings) {
    CString array;
    for (const std::string& option : settings.options)
        array += (array.IsEmpty() ? "" : ",") + CSqlDatabase::SqlQuote(option.c_str());
    CSqlRecordset rs(&db, "select count(*) from pg_class where oid = to_regclass(lower(" +
                              CSqlDatabase::SqlQuote(settings.table.c_str()) + ")) and reloptions @> array[" + array +
                              "]::text[]");
    return !rs.IsEOF() && rs.NumberAt(0) != 0;
}

bool IndexExists(CNorvikSql& db, const std::string& name) {
    // PostgreSQL folds the unquoted names of the scripts to lower case.
    const CString quoted = CSqlDatabase::SqlQuote(name.c_str());
    const CString statement =
        db.GetEngine() == SqlEngine::PostgreSql
            ? "select count(*) from pg_indexes where schemaname = current_schema() and indexname = lower(" + quoted +
                  ")"
            : "select count(*) from sqlite_master where type = 'index' and lower(name) = lower(" + quoted + ")";
    CSqlRecordset rs(&db, statement);
    return !rs.IsEOF() && rs.NumberAt(0) != 0;
}

// Whether SQLite's planner has statistics for HW, the table whose plans go wrong without them
// (written by planner_statistics.sql, or by an ANALYZE of the site's own).
bool PlannerStatisticsHeld(CNorvikSql& db) {
    {
        CSqlRecordset rs(&db, "select count(*) from sqlite_master where type = 'table' and name = 'sqlite_stat1'");
        if (rs.IsEOF() || rs.NumberAt(0) == 0) return false;
    }
    CSqlRecordset rs(&db, "select count(*) from sqlite_stat1 where tbl = 'HW'");
    return !rs.IsEOF() && rs.NumberAt(0) != 0;
}

}  // namespace

int CNorvikSql::UpdateIndexes(CString& statement) {
    int changes = 0;
    for (const IndexDefinition& index : SchemaIndexes(GetEngine())) {
        if (IndexExists(*this, index.name)) continue;
        const std::string status = "Creating index " + index.name;
        CallUser(1, reinterpret_cast<CallbackValue>(status.c_str()));
        statement = index.statement.c_str();
        ExecuteStatement(statement);
        ++changes;
    }
    for (const char* retired : kRetiredIndexes) {
        if (!IndexExists(*this, retired)) continue;
        const std::string status = std::string("Dropping index ") + retired;
        CallUser(1, reinterpret_cast<CallbackValue>(status.c_str()));
        statement = CString("drop index if exists ") + retired;
        ExecuteStatement(statement);
        ++changes;
    }
    for (const TableSettings& settings : SchemaTableSettings(GetEngine())) {
        if (SettingsHeld(*this, settings)) continue;
        const std::string status = "Setting the storage options of " + settings.table;
        CallUser(1, reinterpret_cast<CallbackValue>(status.c_str()));
        statement = settings.statement.c_str();
        ExecuteStatement(statement);
        ++changes;
    }
    if (GetEngine() == SqlEngine::Sqlite && !PlannerStatisticsHeld(*this)) {
        CallUser(1, reinterpret_cast<CallbackValue>("Writing the query planner's statistics"));
        for (const std::string& step : SplitSqlScript(SchemaScript("sqlite/planner_statistics.sql"))) {
            statement = step.c_str();
            ExecuteStatement(statement);
        }
        ++changes;
    }
    return changes;
}

int CNorvikSql::UpgradeIndexes() {
    CString statement;
    try {
        TransactionScope transaction(*this);
        const int changes = UpdateIndexes(statement);
        transaction.Commit();
        return changes;
    } catch (const CDBException& e) {
        HandleSqlException(e, statement);
        return -1;
    }
}
