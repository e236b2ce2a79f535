// The one-statement steps of the operations that answer or change one thing: a failure is
// reported with the statement sent, and the step gives its failure value instead of throwing.
#include "sql/norvik_sql.h"
#include "sql/sql_recordset.h"

ULong CNorvikSql::FirstNumberReported(const char* statement) {
    try {
        CSqlRecordset rs(this, statement);
        return rs.IsEOF() ? 0 : rs.NumberAt(0);
    } catch (const CDBException& e) {
        HandleSqlException(e, statement);
        return 0;
    }
}

CString CNorvikSql::SelectTextReported(const char* table, const char* column, ULong id) {
    try {
        return SelectText(table, column, id);
    } catch (const CDBException& e) {
        // The text SelectText sends.
        HandleSqlException(e,
                           CString::Formatted("select %s from %s where _ID = %d", column, table, static_cast<int>(id)));
        return CString();
    }
}

ULong CNorvikSql::SelectNumberReported(const char* table, const char* column, ULong id) {
    try {
        return SelectNumber(table, column, id);
    } catch (const CDBException& e) {
        HandleSqlException(e,
                           CString::Formatted("select %s from %s where _ID = %d", column, table, static_cast<int>(id)));
        return 0;
    }
}

bool CNorvikSql::ExecuteReported(const char* statement) {
    try {
        ExecuteStatement(statement);
        return true;
    } catch (const CDBException& e) {
        HandleSqlException(e, statement);
        return false;
    }
}
