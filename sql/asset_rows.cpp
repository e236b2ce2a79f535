#include "sql/asset_rows.h"

#include "sql/id_lists.h"
#include "sql/sql_recordset.h"

std::map<ULong, AssetRowFacts> ReadAssetRows(CNorvikSql& db, const CDynaList<ULong>& ids) {
    // Older schemas lack the address columns (before 5.00) and the audit date (before 5.10).
    const int version = db.GetVer();
    const char* columns = version >= 510   ? "_ID,_NAME,_LOCATION,_STATUS,_MACADDR,_IPADDR,_AUDDATE"
                          : version >= 500 ? "_ID,_NAME,_LOCATION,_STATUS,_MACADDR,_IPADDR"
                                           : "_ID,_NAME,_LOCATION,_STATUS";
    std::map<ULong, AssetRowFacts> rows;
    for (const std::string& list : IdLists(ids)) {
        const CString statement = CString("select ") + columns + " from ASSET where _ID in (" + list.c_str() + ")";
        for (CSqlRecordset rs(&db, statement); !rs.IsEOF(); rs.MoveNext()) {
            AssetRowFacts& row = rows[rs.NumberAt(0)];
            row.name = rs.TextAt(1);
            row.location = rs.NumberAt(2);
            row.status = rs.NumberAt(3);
            if (version >= 500) {
                row.mac = rs.TextAt(4);
                row.ip = rs.TextAt(5);
            }
            if (version >= 510) row.audited = rs.TimeAt(6);
        }
    }
    return rows;
}
