// Assets: the asset reads and writes of the Audit Database.
#include "sql/norvik_sql.h"
#include "sql/sql_recordset.h"

ULong CNorvikSql::GetAssetParent(ULong asset, int& isLocation) {
    // Status bit 0x1000 says the parent in _LOCATION is an asset, not a location.
    const CString statement =
        CString::Formatted("select _LOCATION,_STATUS from ASSET where _ID = %d", static_cast<int>(asset));
    isLocation = 1;
    try {
        CSqlRecordset rs(this, statement);
        if (rs.IsEOF()) return 0;
        isLocation = (rs.NumberAt(1) & 0x1000) ? 0 : 1;
        return rs.NumberAt(0);
    } catch (const CDBException& e) {
        HandleSqlException(e, statement);
        return 0;
    }
}
