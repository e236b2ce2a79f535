// Software files: the site-wide SWFILE rows, read through a one-entry cache of the last file,
// merged from audits through usp_MergeFile, and listed per folder and per application.
#include "kb/recset.h"
#include "kb/table.h"
#include "sql/norvik_sql.h"
#include "sql/row_reading.h"
#include "sql/sql_recordset.h"

namespace {

int AsInt(ULong value) { return static_cast<int>(value); }

}  // namespace

// ---- The file cache ----

void CNorvikSql::LoadSwFileCache(ULong file) {
    if (file == m_swFileCacheId) return;
    const CString statement = CString::Formatted(
        "select _NAME,_SIZE,_CRC,_RESMFR,_RESAPP,_RESVER,_APPID from SWFILE where _ID=%d", AsInt(file));
    try {
        // A missing row still takes the key: the fields keep what they held.
        ReadFirstRow(*this, statement, [&](CSqlRecordset& rs) {
            m_swFileCache = SwFileCacheEntry{rs.TextAt(0), rs.NumberAt(1), rs.NumberAt(2), rs.TextAt(3),
                                             rs.TextAt(4), rs.TextAt(5),   rs.NumberAt(6)};
        });
        m_swFileCacheId = file;
    } catch (const CDBException& e) {
        HandleSqlException(e, statement);
    }
}

// ---- Reads ----

// The const accessors only fill the cache, which the caller cannot see.
CString CNorvikSql::GetFileName(ULong file) {
    LoadSwFileCache(file);
    return m_swFileCache.name;
}

ULong CNorvikSql::GetFileSize(ULong file) const {
    const_cast<CNorvikSql*>(this)->LoadSwFileCache(file);
    return m_swFileCache.size;
}

ULong CNorvikSql::GetFileCRC(ULong file) const {
    const_cast<CNorvikSql*>(this)->LoadSwFileCache(file);
    return m_swFileCache.crc;
}

CString CNorvikSql::GetFileMfr(ULong file) {
    LoadSwFileCache(file);
    return m_swFileCache.mfr;
}

CString CNorvikSql::GetFileApp(ULong file) {
    LoadSwFileCache(file);
    return m_swFileCache.product;
}

CString CNorvikSql::GetFileVer(ULong file) {
    LoadSwFileCache(file);
    return m_swFileCache.version;
}

ULong CNorvikSql::GetFileAppID(ULong file) const {
    const_cast<CNorvikSql*>(this)->LoadSwFileCache(file);
    return m_swFileCache.app;
}

// ---- Writes ----

void CNorvikSql::MergeFile(ULong asset, ULong folder, ULong crc, const char* name, ULong size, ULong date,
                           const char* mfr, const char* product, const char* version, ULong app) {
    const CString args = CString::Formatted("%d,%d,%d,%s,%d,%d,%s,%s,%s,%d", AsInt(asset), AsInt(folder), AsInt(crc),
                                            SqlQuote(name).c_str(), AsInt(size), AsInt(date), SqlQuote(mfr).c_str(),
                                            SqlQuote(product).c_str(), SqlQuote(version).c_str(), AsInt(app));
    try {
        CallProcedure("usp_MergeFile", args);
    } catch (const CDBException& e) {
        HandleSqlException(e, CString::Formatted("{?=call usp_MergeFile(%s)}", args.c_str()));
    }
    m_swFileCacheId = 0;
}

void CNorvikSql::MergeFile(ULong asset, CRecSet& row, ULong app) {
    MergeFile(asset, row.GetValue(2), row.GetValue(4), row.GetText(1), row.GetValue(3), row.GetValue(5), row.GetText(7),
              row.GetText(8), row.GetText(9), app);
}

int CNorvikSql::AssignFile(ULong file, ULong app) {
    CString statement = CString::Formatted("select _APPID from SWFILE where _ID=%d", AsInt(file));
    int result = 0;
    try {
        // The file and its instances change together or not at all.
        TransactionScope transaction(*this);
        bool unassigned = false;
        {
            CSqlRecordset rs(this, statement);
            unassigned = !rs.IsEOF() && rs.NumberAt(0) == 0;
        }
        if (unassigned) {
            statement = CString::Formatted("update SWFILE set _APPID=%d where _ID=%d", AsInt(app), AsInt(file));
            result = ExecuteStatement(statement);
            CDynaList<ULong> assets;
            statement = CString::Formatted("select _ASSET from SWLINK where _FILE=%d", AsInt(file));
            for (CSqlRecordset rs(this, statement); !rs.IsEOF(); rs.MoveNext()) assets.Add(rs.NumberAt(0));
            for (const ULong asset : assets) {
                // The instance operation reports its own failure; leaving the scope undoes the rest.
                if (applicationAddInstance(asset, app, "", "", 2) == 0) {
                    m_swFileCacheId = 0;
                    return 0;
                }
            }
            transaction.Commit();
        }
    } catch (const CDBException& e) {
        HandleSqlException(e, statement);
        result = 0;
    }
    m_swFileCacheId = 0;
    return result;
}

// The statements run in the described order whatever the old application, 0 included; a failed
// one is reported and the rest still run.
int CNorvikSql::UnAssignFile(ULong file) {
    const ULong app = SelectNumberReported("SWFILE", "_APPID", file);
    ExecuteReported(CString::Formatted("update SWFILE set _APPID=0 where _ID=%d", AsInt(file)));
    CDynaList<ULong> assets;
    const CString statement = CString::Formatted("select _ASSET from SWLINK where _FILE=%d", AsInt(file));
    try {
        for (CSqlRecordset rs(this, statement); !rs.IsEOF(); rs.MoveNext()) assets.Add(rs.NumberAt(0));
    } catch (const CDBException& e) {
        HandleSqlException(e, statement);
    }
    // The delete comes first: an instance that held only this file goes, and the decrement then
    // finds nothing. An asset holding the file in two folders is listed, and counted down, twice.
    for (const ULong asset : assets) {
        ExecuteReported(CString::Formatted("delete from APPINST where _ASSET=%d and _APP=%d and _FILES<=1",
                                           AsInt(asset), AsInt(app)));
        ExecuteReported(CString::Formatted("update APPINST set _FILES=(_FILES-1) where _ASSET=%d and _APP=%d",
                                           AsInt(asset), AsInt(app)));
    }
    m_swFileCacheId = 0;
    return 1;
}

int CNorvikSql::UnAssignAllFiles(ULong app) {
    m_swFileCacheId = 0;
    return ExecuteReported(CString::Formatted("update SWFILE set _APPID=0 where _APPID=%d", AsInt(app))) ? 1 : 0;
}

// ---- Enumerations ----

void CNorvikSql::AppendFileRows(const CString& statement, CTable& table) {
    CRecSet rows(table);
    CSqlRecordset rs(this, statement);
    ProgStart(0, "Collating Files...", 100);
    for (; !rs.IsEOF(); rs.MoveNext()) {
        if (!ProgCheck()) break;
        rows.AddNew();
        for (std::uint16_t column = 1; column <= 9; ++column) {
            if (table.GetColumnType(column) == CTable::typeText)
                rows.SetText(column, rs.TextAt(static_cast<short>(column - 1)));
            else
                rows.SetValue(column, rs.NumberAt(static_cast<short>(column - 1)));
        }
    }
}

int CNorvikSql::filesEnum(ULong asset, ULong folder, CTable& table) {
    if (table.GetColumnCount() < 2) {
        static const struct {
            const char* name;
            std::uint16_t type;
        } kColumns[] = {{"LINKID", CTable::typeNumber}, {"NAME", CTable::typeText},   {"SIZE", CTable::typeNumber},
                        {"CRC", CTable::typeNumber},    {"DATE", CTable::typeNumber}, {"RESMFR", CTable::typeText},
                        {"RESAPP", CTable::typeText},   {"RESVER", CTable::typeText}, {"APPID", CTable::typeNumber}};
        if (table.GetColumnCount() == 0) table.AddColumn("ID", CTable::typeNumber);
        for (const auto& column : kColumns) table.AddColumn(column.name, column.type);
    }
    if (table.GetRowCount() != 0) table.DeleteAll();
    const CString statement = CString::Formatted(
        "select SWLINK._ID,_NAME,_SIZE,_CRC,_FDATE,_RESMFR,_RESAPP,_RESVER,_APPID from SWLINK,SWFILE where "
        "SWLINK._FILE=SWFILE._ID and SWLINK._ASSET=%d and SWLINK._FOLDER=%d",
        AsInt(asset), AsInt(folder));
    try {
        AppendFileRows(statement, table);
    } catch (const CDBException& e) {
        HandleSqlException(e, statement);
    }
    ProgComplete();
    // The closing step can still be cancelled, unlike a cancel inside the loop; kept so.
    return ProgCheck();
}

int CNorvikSql::EnumFiles(ULong app, CSortList& list) {
    const CString statement = CString::Formatted(
        "select SWFILE._ID, SWFILE._NAME from SWLINK,SWFILE where SWLINK._FILE = SWFILE._ID and SWFILE._APPID=%d",
        AsInt(app));
    try {
        CSqlRecordset rs(this, statement);
        for (; !rs.IsEOF(); rs.MoveNext()) {
            const ULong id = rs.NumberAt(0);
            const CString name = rs.TextAt(1);
            bool listed = false;
            // One row per link: the same file on many assets is listed once.
            for (const CSortItem& item : list) {
                if (item.id == id && item.extra == 0 && item.text == name) {
                    listed = true;
                    break;
                }
            }
            if (!listed) list.Add(name, id, 0);
        }
    } catch (const CDBException& e) {
        HandleSqlException(e, statement);
    }
    return 1;
}
