// Recognition run again over the files an asset's audit left in the Audit Database, against the
// Knowledge Base now open, with the asset's instances brought up to date.
#include "kb/auditdbsys.h"
#include "sql/norvik_sql.h"
#include "sql/sql_recordset.h"

namespace {

int AsInt(ULong value) { return static_cast<int>(value); }

struct StoredFile {
    ULong id;
    CString name;
    ULong size;
    ULong crc;
    ULong date;
    ULong assigned;
    ULong found = 0;  // Knowledge Base application << 16, then the catalogue row
};

}  // namespace

ULong CNorvikSql::ReRecognise(ULong asset) {
    CString statement = CString::Formatted(
        "select SWFILE._ID ,SWFILE._NAME ,SWFILE._SIZE ,SWFILE._CRC ,SWLINK._FDATE ,SWFILE._APPID from SWLINK ,SWFILE "
        "where SWLINK._ASSET=%d and SWLINK._FILE=SWFILE._ID order by SWLINK._ID",
        AsInt(asset));
    CDynaList<StoredFile> files;
    try {
        for (CSqlRecordset rs(this, statement); !rs.IsEOF(); rs.MoveNext())
            files.Add(StoredFile{rs.NumberAt(0), rs.TextAt(1), rs.NumberAt(2), rs.NumberAt(3), rs.NumberAt(4),
                                 rs.NumberAt(5)});
    } catch (const CDBException& e) {
        HandleSqlException(e, statement);
        return 0;
    }
    // The two passes of recognition: key files over the whole list first, so that another file
    // counts whenever a key file of its application is anywhere among the asset's files.
    CDynaList<ULong> found;
    for (StoredFile& file : files) {
        if (const ULong app = kb().KeyRecognise(file.name, file.size, file.crc, file.date)) {
            file.found = app << 16;
            bool known = false;
            for (const ULong each : found) known = known || each == app;
            if (!known) found.Add(app);
        }
    }
    for (StoredFile& file : files)
        if (file.found == 0)
            if (const ULong app = kb().NonKeyRecognise(file.name, file.size, file.crc, file.date, found))
                file.found = app << 16;

    ULong assigned = 0;
    try {
        TransactionScope transaction(*this);
        for (StoredFile& file : files) {
            if (file.found == 0 || file.assigned != 0) continue;
            ULong app = file.found;
            newMergeKBApps(&app, 1);
            if (app == 0) return 0;  // applicationAdd has reported it; the scope takes back the rest
            statement =
                CString::Formatted("update SWFILE set _APPID=%d where _ID=%d and _APPID=0", AsInt(app), AsInt(file.id));
            ExecuteStatement(statement);
            // The same file listed twice (in two folders) is assigned once.
            for (StoredFile& same : files)
                if (same.id == file.id) same.assigned = app;
            CDynaList<ULong> holders;
            statement = CString::Formatted("select _ASSET from SWLINK where _FILE=%d", AsInt(file.id));
            for (CSqlRecordset rs(this, statement); !rs.IsEOF(); rs.MoveNext()) holders.Add(rs.NumberAt(0));
            for (const ULong holder : holders)
                if (applicationAddInstance(holder, app, "", "", 2) == 0) return 0;
            ++assigned;
        }
        transaction.Commit();
        return assigned;
    } catch (const CDBException& e) {
        HandleSqlException(e, statement);
        return 0;
    }
}
