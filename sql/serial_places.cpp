// Serial-number scan records: the registry places where the auditor reads an application's
// serial number (SWSERIAL).
#include "sql/norvik_sql.h"
#include "sql/row_reading.h"

// ---- Reads ----

CString CNorvikSql::GetSSAppName(ULong record) { return SelectTextReported("SWSERIAL", "_APPNAME", record); }

CString CNorvikSql::GetSSRegKey(ULong record) { return SelectTextReported("SWSERIAL", "_REGKEY", record); }

CString CNorvikSql::GetSSRegItem(ULong record) { return SelectTextReported("SWSERIAL", "_REGITEM", record); }

// ---- Writes ----

ULong CNorvikSql::AddSSRec(const char* appName, const char* regKey, const char* regItem) {
    const CString values =
        CString::Formatted("%s,%s,%s", SqlQuote(appName).c_str(), SqlQuote(regKey).c_str(), SqlQuote(regItem).c_str());
    return InsertReported(*this, "SWSERIAL", "_APPNAME,_REGKEY,_REGITEM", values);
}

void CNorvikSql::DeleteSSRec(ULong record) {
    ExecuteReported(CString::Formatted("delete from SWSERIAL where _ID=%d", static_cast<int>(record)));
}

void CNorvikSql::SetSSAppName(ULong record, const char* text) {
    ExecuteReported(CString::Formatted("update SWSERIAL set _APPNAME=%s where _ID=%d", SqlQuote(text).c_str(),
                                       static_cast<int>(record)));
}

void CNorvikSql::SetSSRegKey(ULong record, const char* text) {
    ExecuteReported(CString::Formatted("update SWSERIAL set _REGKEY=%s where _ID=%d", SqlQuote(text).c_str(),
                                       static_cast<int>(record)));
}

void CNorvikSql::SetSSRegItem(ULong record, const char* text) {
    ExecuteReported(CString::Formatted("update SWSERIAL set _REGITEM=%s where _ID=%d", SqlQuote(text).c_str(),
                                       static_cast<int>(record)));
}

// ---- Enumerations ----

ULong CNorvikSql::EnumSSRecs(CDynaList<ULong>& ids, int /*unused*/) {
    try {
        return EnumIds("SWSERIAL", "", ids);
    } catch (const CDBException& e) {
        HandleSqlException(e, "select _ID from SWSERIAL");
        return 0;
    }
}
