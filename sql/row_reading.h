// Row-reading steps that many table families share: the first row of a statement, the rows of a
// table counted, a column of date-times, an insert. Each reports a failure through the back
// end's HandleSqlException with the statement (or the values) sent, as the families always did.
#pragma once

#include "sql/norvik_sql.h"
#include "sql/sql_recordset.h"

// Runs `statement` and hands its first row to `read` (a callable taking CSqlRecordset&). False
// when there is no row. Throws CDBException, from the statement or from `read`.
template <typename Read>
bool ReadFirstRow(CNorvikSql& db, const char* statement, Read&& read) {
    CSqlRecordset rs(&db, statement);
    if (rs.IsEOF()) return false;
    read(rs);
    return true;
}

// ReadFirstRow with its failure reported: false then too.
template <typename Read>
bool ReadFirstRowReported(CNorvikSql& db, const char* statement, Read&& read) {
    try {
        return ReadFirstRow(db, statement, read);
    } catch (const CDBException& e) {
        db.HandleSqlException(e, statement);
        return false;
    }
}

// How many rows `statement` gives, counted as they are fetched; 0 after a reported failure.
ULong CountRowsReported(CNorvikSql& db, const char* statement);

// Appends field 0 of every row of `statement`, read as a date-time, to `dates`; a failure is
// reported and keeps what was read before it. Returns the list's count.
ULong EnumDatesReported(CNorvikSql& db, const char* statement, CDynaList<CTime>& dates);

// Inserts `values` into `columns` of `table` and returns the new _ID; 0 after a failure, which
// is reported with the values.
ULong InsertReported(CNorvikSql& db, const char* table, const char* columns, const char* values);
