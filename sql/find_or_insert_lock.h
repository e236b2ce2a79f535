// FindOrInsertLock: makes a find followed by an insert of the same key atomic across
// connections and processes, so that two writers adding one name end with one row.
#pragma once

#include <cstdint>

#include "platform/odbc_database.h"

// Opens a transaction on `db` (or joins the caller's) and takes a lock that every other scope on
// the same table and key waits for until this transaction commits or rolls back. Find the row,
// insert it when missing, then Commit; leaving the scope without Commit rolls back. A finder that
// comes second waits, then sees the row the first one inserted.
//  - SQLite: the database's write lock, taken by an update of `table` that changes no row as the
//    transaction's first statement (the driver has no immediate transactions). It serialises every
//    writer, whatever the key, and waits up to the connection's busy timeout.
//  - PostgreSQL: pg_advisory_xact_lock(table hash, key hash), both 32-bit FNV-1a of the upper-cased
//    text, so only writers of the same key wait (an unrelated key sharing the hashes waits too).
//    Any program that adds rows of `table` without this scope is not held back by it.
// Joined to a caller's transaction on SQLite, the lock must come before the caller's reads,
// else the upgrade from reader to writer can fail at once as busy. Throws CDBException.
class NORVIK_API FindOrInsertLock {
public:
    FindOrInsertLock(CDatabase& db, const char* table, const char* key);
    FindOrInsertLock(const FindOrInsertLock&) = delete;
    FindOrInsertLock& operator=(const FindOrInsertLock&) = delete;
    // Commits the transaction (nothing when it was the caller's), which releases the lock.
    void Commit() { m_transaction.Commit(); }

    // The advisory lock keys of a table and a key, as PostgreSQL receives them.
    static std::int32_t LockKey(const char* text);

private:
    TransactionScope m_transaction;
};
