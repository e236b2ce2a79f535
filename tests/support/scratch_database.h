// Fresh Audit Databases for tests, on SQLite and on PostgreSQL.
//
// SQLite: a new file in a private temporary folder. PostgreSQL: a new database copied from a
// template that holds the schema (built once per schema version and script content, under an
// advisory lock so parallel test processes share it). The PostgreSQL server is named by
// $NORVIK_TEST_PG_DSN, a connection string to its "postgres" database; `make test` starts a
// private cluster and sets it. Without it the PostgreSQL cases fail: they never skip.
#pragma once

#include <memory>
#include <string>

enum class Engine { Sqlite, PostgreSql };

std::string EngineName(Engine engine);

class ScratchDatabase {
public:
    // Creates the database at schema `version`; throws std::runtime_error when it cannot.
    ScratchDatabase(Engine engine, const char* version = "7.14");
    ~ScratchDatabase();
    ScratchDatabase(const ScratchDatabase&) = delete;
    ScratchDatabase& operator=(const ScratchDatabase&) = delete;

    Engine engine() const { return m_engine; }
    const std::string& ConnectionString() const { return m_connect; }

private:
    Engine m_engine;
    std::string m_connect;
    std::string m_path;    // SQLite: the folder holding the file
    std::string m_dbName;  // PostgreSQL: the database to drop
};

// The administrative connection string of the PostgreSQL test server; throws when unset.
std::string PostgresAdminConnection();
// The connection string of database `name` on the PostgreSQL test server.
std::string PostgresConnection(const std::string& name);
// The connection string of the SQLite file `file`, with the settings `norvik --db` uses.
std::string SqliteConnection(const std::string& file);
// The database a connection string names: SQLite's file, PostgreSQL's database.
std::string DatabaseOf(const std::string& connect);
