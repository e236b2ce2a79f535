// The shared row-reading steps of the table families.
#include "sql/row_reading.h"

ULong CountRowsReported(CNorvikSql& db, const char* statement) {
    ULong count = 0;
    try {
        CSqlRecordset rs(&db, statement);
        for (; !rs.IsEOF(); rs.MoveNext()) ++count;
    } catch (const CDBException& e) {
        db.HandleSqlException(e, statement);
        count = 0;
    }
    return count;
}

ULong EnumDatesReported(CNorvikSql& db, const char* statement, CDynaList<CTime>& dates) {
    try {
        CSqlRecordset rs(&db, statement);
        for (; !rs.IsEOF(); rs.MoveNext()) dates.Add(rs.TimeAt(0));
    } catch (const CDBException& e) {
        db.HandleSqlException(e, statement);
    }
    return dates.GetCount();
}

ULong InsertReported(CNorvikSql& db, const char* table, const char* columns, const char* values) {
    try {
        return db.InsertRecord(table, columns, values);
    } catch (const CDBException& e) {
        db.HandleSqlException(e, values);
        return 0;
    }
}
