// Licence alerts: the alerts raised about applications installed more often than licensed
// (LICALERTS).
#include "sql/norvik_sql.h"
#include "sql/row_reading.h"
#include "sql/sql_recordset.h"

// ---- Reads ----

ULong CNorvikSql::licensealertFind(int type, ULong app) {
    return FirstNumberReported(
        CString::Formatted("select _ID from LICALERTS where _TYPE=%d and _APP=%d", type, static_cast<int>(app)));
}

ULong CNorvikSql::licensealertGetCount() { return CountRowsReported(*this, "select * from LICALERTS"); }

ULong CNorvikSql::licensealertGetDetails(ULong alert, int* type, int* app, CTime* date, int* declared, int* instances) {
    const CString statement = CString::Formatted(
        "select _TYPE,_APP,_DATE,_DECLARED,_INSTANCES from LICALERTS where _ID=%d", static_cast<int>(alert));
    return ReadFirstRowReported(*this, statement,
                                [&](CSqlRecordset& rs) {
                                    if (type) *type = static_cast<int>(rs.NumberAt(0));
                                    if (app) *app = static_cast<int>(rs.NumberAt(1));
                                    if (date) *date = rs.TimeAt(2);
                                    if (declared) *declared = static_cast<int>(rs.NumberAt(3));
                                    if (instances) *instances = static_cast<int>(rs.NumberAt(4));
                                })
               ? 1
               : 0;
}

// ---- Writes ----

ULong CNorvikSql::licensealertAdd(int type, ULong app, const CTime& date, int declared, int instances) {
    const CString values =
        CString::Formatted("%d,%d,%s,%d,%d", type, static_cast<int>(app), SqlTime(date).c_str(), declared, instances);
    return InsertReported(*this, "LICALERTS", "_TYPE,_APP,_DATE,_DECLARED,_INSTANCES", values);
}

void CNorvikSql::licensealertDeleteAll() {
    // Sent exactly so, star included: neither engine accepts it, and the caller sees that
    // failure reported rather than a quietly emptied table.
    ExecuteReported("delete * from LICALERTS");
}

void CNorvikSql::licensealertDelete(ULong alert) {
    ExecuteReported(CString::Formatted("delete from LICALERTS where _ID = %d", static_cast<int>(alert)));
}

// ---- Enumerations ----

ULong CNorvikSql::EnumLicenseAlerts(CDynaList<ULong>& ids) {
    try {
        return EnumIds("LICALERTS", "", ids);
    } catch (const CDBException& e) {
        HandleSqlException(e, "select _ID from LICALERTS");
        return 0;
    }
}
