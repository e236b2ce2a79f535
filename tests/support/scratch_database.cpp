// Scratch databases: files for SQLite, template copies for PostgreSQL.
#include "support/scratch_database.h"

#include <unistd.h>

#include <atomic>
#include <cstdlib>
#include <filesystem>
#include <functional>
#include <stdexcept>

#include "platform/odbc_database.h"
#include "platform/sqlite_file.h"
#include "sql/schema_installer.h"
#include "sql/schema_scripts.h"
#include "sql/sql_recordset.h"

namespace {

std::atomic<int> g_counter{0};

std::string Unique(const char* prefix) {
    return std::string(prefix) + std::to_string(getpid()) + "_" + std::to_string(g_counter++);
}

// Changes to any script give a new template name, so a stale template is never reused.
std::string SchemaFingerprint() {
    std::string all;
    for (const auto& path : SchemaScriptPaths()) all += SchemaScript(path.c_str());
    return std::to_string(std::hash<std::string>{}(all) % 1000000007ULL);
}

void Execute(CDatabase& db, const std::string& statement) { db.ExecuteSQL(statement.c_str()); }

std::string TemplateFor(CSqlDatabase& admin, const char* version) {
    std::string name = std::string("norvik_tpl_") + version + "_" + SchemaFingerprint();
    for (char& c : name)
        if (c == '.') c = '_';
    CSqlRecordset exists(&admin, ("select 1 from pg_database where datname = '" + name + "'").c_str());
    const bool present = !exists.IsEOF();
    exists.Close();
    if (present) return name;
    Execute(admin, "create database " + name + " encoding 'SQL_ASCII' lc_collate 'C' lc_ctype 'C' template template0");
    CDatabase db;
    db.OpenEx(PostgresConnection(name).c_str(), CDatabase::noOdbcDialog);
    InstallSchema(db, version);
    db.Close();
    return name;
}

}  // namespace

std::string EngineName(Engine engine) { return engine == Engine::Sqlite ? "SQLite" : "PostgreSQL"; }

std::string PostgresAdminConnection() {
    const char* dsn = std::getenv("NORVIK_TEST_PG_DSN");
    if (!dsn || !*dsn)
        throw std::runtime_error(
            "NORVIK_TEST_PG_DSN is not set: run the tests with `make test`, which starts a private "
            "PostgreSQL server, or point it at one (see README)");
    return dsn;
}

std::string SqliteConnection(const std::string& file) { return SqliteFileConnection(file); }

std::string DatabaseOf(const std::string& connect) {
    const std::size_t at = connect.find("Database=") + 9;
    return connect.substr(at, connect.find(';', at) - at);
}

std::string PostgresConnection(const std::string& name) {
    std::string dsn = PostgresAdminConnection();
    const std::string key = "Database=postgres";
    const auto at = dsn.find(key);
    if (at == std::string::npos) return dsn + ";Database=" + name + ";";
    return dsn.replace(at, key.size(), "Database=" + name);
}

ScratchDatabase::ScratchDatabase(Engine engine, const char* version) : m_engine(engine) {
    try {
        if (engine == Engine::Sqlite) {
            // A folder of its own, made by the system: a name from the pid alone can meet a folder
            // an interrupted earlier run left behind under the same, reused pid.
            std::string pattern = (std::filesystem::temp_directory_path() / "norvik_test_XXXXXX").string();
            if (!mkdtemp(pattern.data())) throw std::runtime_error("cannot make a folder for a SQLite test database");
            m_path = pattern;
            const std::string file = m_path + "/audit.db";
            m_connect = SqliteConnection(file);
            CDatabase db;
            db.OpenEx(m_connect.c_str(), CDatabase::noOdbcDialog);
            InstallSchema(db, version);
            return;
        }
        CSqlDatabase admin;
        admin.OpenEx(PostgresAdminConnection().c_str(), CDatabase::noOdbcDialog);
        // One process builds a missing template while the others wait for it.
        Execute(admin, "select pg_advisory_lock(7140714)");
        try {
            const std::string source = TemplateFor(admin, version);
            m_dbName = Unique("norvik_t");
            Execute(admin, "create database " + m_dbName + " template " + source);
        } catch (...) {
            Execute(admin, "select pg_advisory_unlock(7140714)");
            throw;
        }
        Execute(admin, "select pg_advisory_unlock(7140714)");
        m_connect = PostgresConnection(m_dbName);
    } catch (const CException& e) {
        throw std::runtime_error("cannot create a " + EngineName(engine) +
                                 " test database: " + e.GetErrorMessage().str());
    }
}

ScratchDatabase::~ScratchDatabase() {
    if (m_engine == Engine::Sqlite) {
        std::error_code ignored;
        std::filesystem::remove_all(m_path, ignored);
        return;
    }
    try {
        CDatabase admin;
        admin.OpenEx(PostgresAdminConnection().c_str(), CDatabase::noOdbcDialog);
        admin.ExecuteSQL(("drop database if exists " + m_dbName + " with (force)").c_str());
    } catch (const CException&) {
        // The private test cluster is deleted at the end of the run anyway.
    }
}
