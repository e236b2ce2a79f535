// Runs the embedded scripts of one engine: its tables, its procedures, then the delta that
// turns the current layout into an older version.
#include "sql/schema_installer.h"

#include <strings.h>
#include <cctype>
#include <cstring>

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

    db.BeginTrans();
    try {
        for (const auto& path : scripts) {
            if (!SchemaScript(path.c_str()))
                throw CDBException(-1, CString("The schema script ") + path.c_str() + " is missing from this build",
                                   "");
            RunScript(db, path.c_str());
        }
        db.CommitTrans();
    } catch (...) {
        try {
            db.Rollback();
        } catch (const CDBException&) {
            // The first failure is the one to report.
        }
        throw;
    }
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
