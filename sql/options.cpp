// Options store: site-wide settings as key and value texts in table OPTIONS.
#include "sql/norvik_sql.h"
#include "sql/sql_recordset.h"

CString CNorvikSql::GetOption(const char* key) {
    const CString statement = CString::Formatted("select _VAL from OPTIONS where _KEY = %s", SqlQuote(key).c_str());
    try {
        CSqlRecordset rs(this, statement);
        return rs.IsEOF() ? CString() : rs.TextAt(0);
    } catch (const CDBException& e) {
        HandleSqlException(e, statement);
        return CString();
    }
}

void CNorvikSql::SetOption(const char* key, const char* value) {
    CString statement = CString::Formatted("select _ID from OPTIONS where _KEY = %s", SqlQuote(key).c_str());
    try {
        bool exists = false;
        {
            CSqlRecordset rs(this, statement);
            exists = !rs.IsEOF();
        }
        if (exists) {
            statement = CString::Formatted("update OPTIONS set _VAL=%s where _KEY=%s", SqlQuote(value).c_str(),
                                           SqlQuote(key).c_str());
            ExecuteStatement(statement);
        } else {
            statement = CString::Formatted("%s,%s", SqlQuote(key).c_str(), SqlQuote(value).c_str());
            InsertRecord("OPTIONS", "_KEY,_VAL", statement);
        }
    } catch (const CDBException& e) {
        HandleSqlException(e, statement);
    }
}
