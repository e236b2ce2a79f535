// COdbcPrepared: a statement prepared once and executed many times with new parameter values,
// for the statements a bulk import repeats thousands of times. CDatabase keeps one per text
// (CDatabase::Prepared), so the driver compiles each statement once per connection.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "platform/odbc_database.h"
#include "platform/odbc_statement.h"

class NORVIK_API COdbcPrepared {
public:
    // Prepares `sql` with "?" parameter markers on an open connection. Throws CDBException.
    COdbcPrepared(CDatabase& db, const char* sql);
    COdbcPrepared(const COdbcPrepared&) = delete;
    COdbcPrepared& operator=(const COdbcPrepared&) = delete;

    // Parameter `number` (from 1) for the next Execute: a 32-bit integer or a text (copied).
    void SetLong(int number, std::int32_t value);
    void SetText(int number, const char* text);

    // Closes the previous cursor and executes with the values set. Throws CDBException.
    void Execute();
    // Moves to the next row of a select; false past the last. Throws CDBException.
    bool Fetch();
    // Column `number` (from 1) of the current row as a 32-bit integer; 0 for null.
    std::int32_t LongAt(int number);
    // Ends the current select early, so that no read stays open on the connection.
    void CloseCursor();
    // Rows the last insert, update or delete changed.
    long RowCount();

private:
    struct Parameter {
        std::int32_t number = 0;
        std::string text;
        long length = 0;  // the indicator: the text's length in bytes
    };
    Parameter& At(int number);

    COdbcStatement m_statement;  // owns the handle
    void* m_hstmt;
    std::vector<Parameter> m_parameters;
    bool m_cursor = true;  // the last execution may have left a cursor open
};
