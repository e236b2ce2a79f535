// The one-line query language of the Knowledge Base's record sets: reading a query into the table
// it names and the conditions its rows must meet. The grammar is written down in kb/query.cpp.
#pragma once

#include <cstdint>
#include <vector>

#include "platform/cstring.h"
#include "platform/types.h"

class CTableDatabase;

// How a condition compares a cell with its value. The numbers are those a condition stores.
enum KbOperator : std::uint16_t { kbOpEqual = 0, kbOpLess = 1, kbOpGreater = 2, kbOpNotEqual = 3 };

// One condition as read: column, operator and value. For a text column (type 0) the value is
// the literal's text, quotes undone; for a number column (types 1 to 3) the number; for a
// column of any other type the number 0 (no value is read for it).
struct KbQueryTerm {
    std::uint16_t column = 0;
    std::uint16_t op = kbOpEqual;
    bool isText = false;
    ULong number = 0;
    CString text;
};

// What a query says. Parsing stops at the first error; what was read up to it stays, so a
// query whose table was found names it even when a later condition is wrong.
struct KbQuery {
    int table = -1;                  // the table's index in the database; -1 when not found
    std::vector<KbQueryTerm> terms;  // the conditions, in query order
    CString error;                   // the message for the user; empty when the query is good
};

// Reads `query` (null is taken as "") against the tables of `database`. Never throws for a bad
// query and touches nothing: interning the texts is the caller's business.
NORVIK_API KbQuery ParseKbQuery(const CTableDatabase& database, const char* query);
