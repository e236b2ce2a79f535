// Runs the embedded scripts of one engine: its tables, its procedures, then the delta that
// turns the current layout into an older version.
#include "sql/schema_installer.h"

#include <strings.h>
#include <cctype>
#include <cstring>

#include "platform/odbc_recordset.h"
#include "sql/schema_scripts.h"

namespace {

const char* EngineFolder(SqlEngine engine) {
    switch (engine) {
        case SqlEngine::Sqlite: return "sqlite";
        case SqlEngine::PostgreSql: return "postgresql";
        default: return nullptr;
    }
}

// "7.08" -> "v7_08.sql"; the current version has no delta.
std::string DeltaScript(const std::string& version) {
    std::string name = "v" + version;
    for (char& c : name)
        if (c == '.') c = '_';
    return name + ".sql";
}

void RunScript(CDatabase& db, const char* path) {
    for (const auto& statement : SplitSqlScript(SchemaScript(path))) db.ExecuteSQL(statement.c_str());
}

// The first column of the first row as text (empty without a row).
std::string FirstText(CDatabase& db, const char* statement) {
    CRecordset rs(&db);
    rs.Open(CRecordset::forwardOnly, statement, CRecordset::executeDirect);
    if (rs.IsEOF()) return "";
    const CDBVariant& value = rs.Field(0);
    return value.m_dwType == CDBVariant::DBVT_LONG ? std::to_string(value.m_lVal) : value.m_strVal.c_str();
}

// SQLite writes whole pages to its log at every commit, and an audit import commits a few
// small rows into several indexes at a time. A 2 KiB page halves what each commit writes,
// and what a checkpoint then syncs, against the 4 KiB default, while every row of the
// schema still fits in a page. The page size only changes on an empty file out of WAL
// mode, so the connection's journal mode is set aside for the change and then restored.
void UseSmallPages(CDatabase& db) {
    if (FirstText(db, "select count(*) from sqlite_master") != "0") return;
    const bool wal = strcasecmp(FirstText(db, "pragma journal_mode").c_str(), "wal") == 0;
    if (wal) FirstText(db, "pragma journal_mode=delete");
    db.ExecuteSQL("pragma page_size=2048");
    db.ExecuteSQL("vacuum");
    if (wal) FirstText(db, "pragma journal_mode=wal");
}

}  // namespace

std::vector<std::string> CreatableSchemaVersions() { return {"7.14", "7.12", "7.10", "7.08"}; }

void InstallSchema(CDatabase& db, const char* version) {
    const char* folder = EngineFolder(db.GetEngine());
    if (!folder) throw CDBException(-1, "Norvik has no schema for the database engine " + db.GetDbmsName(), "");
    const std::string wanted = version ? version : "7.14";
    bool known = false;
    for (const auto& v : CreatableSchemaVersions()) known = known || v == wanted;
    if (!known) throw CDBException(-1, CString("Norvik cannot create schema version ") + wanted.c_str(), "");

    const std::string prefix = std::string(folder) + "/";
    std::vector<std::string> scripts = {prefix + "tables.sql"};
    // Engines with stored procedures get theirs; SQLite's run inside the library.
    if (db.GetEngine() == SqlEngine::PostgreSql)
        for (const auto& path : SchemaScriptPaths())
            if (path.rfind(prefix + "usp_", 0) == 0) scripts.push_back(path);
    if (wanted != "7.14") scripts.push_back(prefix + DeltaScript(wanted));
    // SQLite's planner gets the statistics of a grown site, so plans do not change as it grows.
    if (db.GetEngine() == SqlEngine::Sqlite) scripts.push_back(prefix + "planner_statistics.sql");

    if (db.GetEngine() == SqlEngine::Sqlite) UseSmallPages(db);
    TransactionScope transaction(db);
    for (const auto& path : scripts) {
        if (!SchemaScript(path.c_str()))
            throw CDBException(-1, CString("The schema script ") + path.c_str() + " is missing from this build", "");
        RunScript(db, path.c_str());
    }
    transaction.Commit();
}

std::vector<std::string> AuditTableNames() {
    std::vector<std::string> names;
    const char* script = SchemaScript("sqlite/tables.sql");
    if (!script) return names;
    for (const auto& statement : SplitSqlScript(script)) {
        const char* p = statement.c_str();
        if (strncasecmp(p, "create table ", 13) != 0) continue;
        p += 13;
        std::string name;
        while (*p && (std::isalnum(static_cast<unsigned char>(*p)) || *p == '_')) name += *p++;
        if (!name.empty()) names.push_back(name);
    }
    return names;
}
