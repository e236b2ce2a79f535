// Notes (NOTES): one free text and a number of the caller's per (note kind, table, record).
#include "sql/norvik_sql.h"
#include "sql/sql_recordset.h"

namespace {

int AsInt(ULong value) { return static_cast<int>(value); }

}  // namespace

ULong CNorvikSql::notesAdd(int type, int table, ULong record, int data, const char* text) {
    CString statement = CString::Formatted("select _ID from NOTES where _TYPE=%d and _TABLE=%d and _RECORD=%d", type,
                                           table, AsInt(record));
    try {
        ULong note = 0;
        {
            CSqlRecordset rs(this, statement);
            if (!rs.IsEOF()) note = rs.NumberAt(0);
        }
        if (note != 0) {
            statement = CString::Formatted("Update NOTES set _DATA=%d,_TEXT=%s where _ID=%d", data,
                                           SqlQuote(text).c_str(), AsInt(note));
            ExecuteStatement(statement);
            return note;
        }
        statement = CString::Formatted("%d,%d,%d,%d,%s", type, table, AsInt(record), data, SqlQuote(text).c_str());
        return InsertRecord("NOTES", "_TYPE,_TABLE,_RECORD,_DATA,_TEXT", statement);
    } catch (const CDBException& e) {
        HandleSqlException(e, statement);
        return 0;
    }
}

int CNorvikSql::notesDelete(ULong note) {
    return ExecuteReported(CString::Formatted("delete from NOTES where _ID = %d", AsInt(note))) ? 1 : 0;
}

ULong CNorvikSql::enumNotes(const int* type, const int* table, const ULong* record, CDynaList<ULong>& notes) {
    CString condition;
    const auto addPart = [&condition](const CString& part) {
        if (!condition.IsEmpty()) condition += " AND ";
        condition += part;
    };
    if (type) addPart(CString::Formatted(" _TYPE=%d", *type));
    if (table) addPart(CString::Formatted(" _TABLE=%d", *table));
    if (record) addPart(CString::Formatted(" _RECORD=%d", AsInt(*record)));
    // Without a criterion the statement ends in "where " and fails: the failure is reported,
    // which is how a caller learns that it asked for nothing.
    const CString statement = CString::Formatted("select _ID from NOTES where %s", condition.c_str());
    try {
        CSqlRecordset rs(this, statement);
        // The list grows by a tenth of its size, at least 10 entries, at a time.
        for (; !rs.IsEOF(); rs.MoveNext()) notes.Add(rs.NumberAt(0));
    } catch (const CDBException& e) {
        HandleSqlException(e, statement);
    }
    return notes.GetCount();
}

ULong CNorvikSql::notesGetDetails(ULong note, int* data, CString* text) {
    const CString statement = CString::Formatted("select _DATA,_TEXT from NOTES where _ID=%d", AsInt(note));
    try {
        CSqlRecordset rs(this, statement);
        if (rs.IsEOF()) return 0;
        if (data) *data = static_cast<int>(rs.NumberAt(0));
        if (text) *text = rs.TextAt(1);
        return note;
    } catch (const CDBException& e) {
        HandleSqlException(e, statement);
        return 0;
    }
}
