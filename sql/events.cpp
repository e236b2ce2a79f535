// Events: named events tied to history rows (EVENTLOG), and their site-wide enumeration.
#include "sql/norvik_sql.h"
#include "sql/row_reading.h"
#include "sql/sql_recordset.h"

ULong CNorvikSql::EnumGlobalEvents(const CDynaList<ULong>& assets, CDynaList<ULong>& ids) {
    CString statement = "select _ID from EVENTLOG";
    try {
        // Every event: the plain id list, which starts the list afresh.
        if (assets.GetCount() == 0) return EnumIds("EVENTLOG", "", ids);
        statement = "select EVENTLOG._ID,_ASSET from EVENTLOG,HISTORY where EVENTLOG._HISTID=HISTORY._ID";
        CSqlRecordset rs(this, statement);
        for (; !rs.IsEOF(); rs.MoveNext()) {
            const ULong owner = rs.NumberAt(1);
            for (const ULong asset : assets) {
                if (asset == owner) {
                    ids.Add(rs.NumberAt(0));
                    break;
                }
            }
        }
    } catch (const CDBException& e) {
        HandleSqlException(e, statement);
    }
    return ids.GetCount();
}

ULong CNorvikSql::AddEvent(const char* event, ULong hist) {
    const CString values = CString::Formatted("%s,%d", SqlQuote(event).c_str(), static_cast<int>(hist));
    return InsertReported(*this, "EVENTLOG", "_EVENT,_HISTID", values);
}

ULong CNorvikSql::FindEvent(const char* event, ULong hist) {
    const CString statement = CString::Formatted("select _ID from EVENTLOG where _HISTID=%d and _EVENT=%s",
                                                 static_cast<int>(hist), SqlQuote(event).c_str());
    return FirstNumberReported(statement);
}

void CNorvikSql::DeleteAllEvents() {
    // Sent exactly so, star included: neither engine accepts it, and the caller sees that
    // failure reported rather than a quietly emptied log.
    const char* statement = "delete * from EVENTLOG";
    ExecuteReported(statement);
}

ULong CNorvikSql::GetEventCount() { return CountRowsReported(*this, "select * from EVENTLOG"); }

void CNorvikSql::GetEventDetails(ULong event, CString& text, ULong* hist) {
    const CString statement =
        CString::Formatted("select _EVENT,_HISTID from EVENTLOG where _ID=%d", static_cast<int>(event));
    ReadFirstRowReported(*this, statement, [&](CSqlRecordset& rs) {
        text = rs.TextAt(0);
        if (hist) *hist = rs.NumberAt(1);
    });
}

void CNorvikSql::DeleteEvent(ULong event) {
    const CString statement = CString::Formatted("delete from EVENTLOG where _ID = %d", static_cast<int>(event));
    ExecuteReported(statement);
}
