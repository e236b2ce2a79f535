// The find-or-insert lock: an empty update on SQLite, an advisory transaction lock on PostgreSQL.
#include "sql/find_or_insert_lock.h"

#include <cctype>
#include <cstdint>

#include "platform/odbc_prepared.h"

std::int32_t FindOrInsertLock::LockKey(const char* text) {
    // FNV-1a: stable across builds and programs, which a lock shared between processes needs.
    std::uint32_t hash = 2166136261u;
    for (const char* p = text ? text : ""; *p != '\0'; ++p) {
        hash ^= static_cast<unsigned char>(std::toupper(static_cast<unsigned char>(*p)));
        hash *= 16777619u;
    }
    return static_cast<std::int32_t>(hash);
}

FindOrInsertLock::FindOrInsertLock(CDatabase& db, const char* table, const char* key) : m_transaction(db) {
    switch (db.GetEngine()) {
        case SqlEngine::PostgreSql:
            db.ExecuteSQL(CString::Formatted("select pg_advisory_xact_lock(%d,%d)", static_cast<int>(LockKey(table)),
                                             static_cast<int>(LockKey(key))));
            break;
        case SqlEngine::Sqlite:
            // The update names no row, but a write statement starts a write transaction: the
            // finds that follow already hold the database against every other writer. Prepared
            // once per connection: the import takes this lock for every folder and file.
            db.Prepared(CString::Formatted("update %s set _ID = _ID where 1 = 0", table).c_str()).Execute();
            break;
        case SqlEngine::Unknown:
            // No scheme known for the engine: the transaction alone, as before.
            break;
    }
}
