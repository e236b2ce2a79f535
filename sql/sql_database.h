// CSqlDatabase: the Audit Database connection with its busy flag and the statement helpers
// through which every table family talks to the database.
//
// The helpers throw CDBException on failure and never catch; the interface operations catch
// at their boundary and report through HandleSqlException. Stored procedures run in the
// database where the engine has them (PostgreSQL); on SQLite the library runs its own
// implementation of each procedure, chosen when the connection reports its engine.
#pragma once

#include <cstdint>
#include <string>

#include "common/dynalist.h"
#include "platform/ctime.h"
#include "platform/odbc_database.h"

class NORVIK_API CSqlDatabase : public CDatabase {
public:
    CSqlDatabase() = default;
    ~CSqlDatabase() override = default;

    // Reports a failed statement; `statement` may be null. The default writes to stderr.
    virtual void HandleSqlException(const CDBException& e, const char* statement) const;

    // 'text' with every single quote doubled; `maxLength` (0 = none) cuts the input first.
    static CString SqlQuote(const char* text, int maxLength = 0);
    // Appends `text` to `array` as an element of a PostgreSQL array literal (quoted, \ and "
    // escaped), after a comma unless it is the first.
    static void AppendArrayText(std::string& array, const char* text);
    // 'YYYYMMDD hh:mm:ss' of the local time.
    static CString SqlTime(CTime time);

    // Runs a statement that returns no rows; returns 1. Throws on failure.
    int ExecuteStatement(const char* statement);
    // Calls a procedure with a literal argument list ("" for none). Throws on failure and when
    // the procedure returns a value other than 0.
    void CallProcedure(const char* name, const char* args);
    // As CallProcedure; `out` receives the procedure's output value.
    void CallProcedureOut(const char* name, const char* args, std::int32_t& out);
    // Inserts a row through usp_Insert: `columns` joined by commas, `values` joined by commas
    // with texts already quoted. Returns the new row's _ID.
    ULong InsertRecord(const char* table, const char* columns, const char* values);

    // Field `column` of the row `id` of `table`; a missing row gives empty / 0 / never.
    CString SelectText(const char* table, const char* column, ULong id);
    ULong SelectNumber(const char* table, const char* column, ULong id);
    CTime SelectTime(const char* table, const char* column, ULong id);
    // Empties `list`, then fills it with the _IDs of `table` matching `condition` (may be empty)
    // in the order the database returns them. Returns the number of ids.
    ULong EnumIds(const char* table, const char* condition, CDynaList<ULong>& list);

    // Waits until no statement runs on the connection, then marks it busy.
    void AcquireBusy();
    void ReleaseBusy() { m_bBusy = 0; }
    bool IsBusy() const { return m_bBusy != 0; }

private:
    // Runs a procedure and returns its value; output value in *out when out is not null.
    std::int32_t RunProcedure(const char* callText, const char* name, const char* args, std::int32_t* out);

    int m_bBusy = 0;
};

// Holds the connection's busy flag for a scope.
class BusyScope {
public:
    explicit BusyScope(CSqlDatabase& db) : m_db(db) { m_db.AcquireBusy(); }
    ~BusyScope() { m_db.ReleaseBusy(); }
    BusyScope(const BusyScope&) = delete;
    BusyScope& operator=(const BusyScope&) = delete;

private:
    CSqlDatabase& m_db;
};
