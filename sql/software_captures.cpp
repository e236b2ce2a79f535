// Captured files: copies of selected files of an asset (configuration files and the like), one
// SWCAPTURE row per asset and file name, replaced in place when captured again.
#include "sql/norvik_sql.h"
#include "sql/sql_recordset.h"

namespace {

int AsInt(ULong value) { return static_cast<int>(value); }

}  // namespace

// ---- Reads ----

CString CNorvikSql::GetCapFileContent(ULong capture) { return SelectTextReported("SWCAPTURE", "_CONTENT", capture); }

// ---- Writes ----

ULong CNorvikSql::AddCapFile(ULong asset, const char* fileName, const char* content) {
    const CString name = SqlQuote(fileName);
    CString statement =
        CString::Formatted("select _ID from SWCAPTURE where _ASSET=%d and _FNAME=%s", AsInt(asset), name.c_str());
    try {
        // A capture whose content cannot be stored leaves no new row behind.
        TransactionScope transaction(*this);
        ULong capture = 0;
        {
            CSqlRecordset rs(this, statement);
            if (!rs.IsEOF()) capture = rs.NumberAt(0);
        }
        if (capture == 0) {
            const CString values = CString::Formatted("%d,%s", AsInt(asset), name.c_str());
            statement = "usp_Insert SWCAPTURE (_ASSET,_FNAME) " + values;
            capture = InsertRecord("SWCAPTURE", "_ASSET,_FNAME", values);
        }
        // The name row comes first and the content follows, for a new capture as for an old one.
        statement = CString::Formatted("update SWCAPTURE set _CONTENT=%s where _ID=%d", SqlQuote(content).c_str(),
                                       AsInt(capture));
        ExecuteStatement(statement);
        transaction.Commit();
        return capture;
    } catch (const CDBException& e) {
        HandleSqlException(e, statement);
        return 0;
    }
}

void CNorvikSql::DeleteCapFiles(ULong asset) {
    ExecuteReported(CString::Formatted("delete from SWCAPTURE where _ASSET=%d", AsInt(asset)));
}

// ---- Enumerations ----

int CNorvikSql::EnumCapFiles(ULong asset, CSortList& list) {
    const CString statement = CString::Formatted("select _FNAME,_ID from SWCAPTURE where _ASSET=%d", AsInt(asset));
    try {
        CSqlRecordset rs(this, statement);
        for (; !rs.IsEOF(); rs.MoveNext()) list.Add(rs.TextAt(0), rs.NumberAt(1), 0);
    } catch (const CDBException& e) {
        HandleSqlException(e, statement);
    }
    return static_cast<int>(list.GetCount());
}
