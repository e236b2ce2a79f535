// Software links and folders: the SWLINK rows that tie an asset to the site-wide SWFOLDER and
// SWFILE rows, and the folder tree of one asset as its folder links describe it.
#include <cstdint>

#include "sql/norvik_sql.h"
#include "sql/sql_recordset.h"

namespace {

int AsInt(ULong value) { return static_cast<int>(value); }

// Appends field 0 of every row of `statement`; on a failure what was read stays and the
// failure is reported with the statement.
ULong AppendNumbers(CNorvikSql& db, const CString& statement, CDynaList<ULong>& list) {
    try {
        CSqlRecordset rs(&db, statement);
        for (; !rs.IsEOF(); rs.MoveNext()) list.Add(rs.NumberAt(0));
    } catch (const CDBException& e) {
        db.HandleSqlException(e, statement);
    }
    return list.GetCount();
}

}  // namespace

// ---- Links ----

ULong CNorvikSql::AddLink(ULong asset, ULong folder, ULong file, ULong fileDate) {
    const CString values = CString::Formatted("%d,%d,%d,%d", AsInt(asset), AsInt(folder), AsInt(file), AsInt(fileDate));
    try {
        return InsertRecord("SWLINK", "_ASSET,_FOLDER,_FILE,_FDATE", values);
    } catch (const CDBException& e) {
        HandleSqlException(e, "usp_Insert SWLINK (_ASSET,_FOLDER,_FILE,_FDATE) " + values);
        return 0;
    }
}

ULong CNorvikSql::EnumLinksByApp(ULong asset, ULong app, CDynaList<ULong>& list) {
    return AppendNumbers(*this,
                         CString::Formatted("select SWLINK._ID from SWLINK,SWFILE where SWLINK._ASSET=%d and "
                                            "SWLINK._FILE=SWFILE._ID and SWFILE._APPID=%d",
                                            AsInt(asset), AsInt(app)),
                         list);
}

ULong CNorvikSql::EnumLinksByAsset(ULong asset, CDynaList<ULong>& list) {
    const CString condition = CString::Formatted("_ASSET=%d", AsInt(asset));
    try {
        return EnumIds("SWLINK", condition, list);
    } catch (const CDBException& e) {
        HandleSqlException(e, "select _ID from SWLINK where " + condition);
        return list.GetCount();
    }
}

ULong CNorvikSql::EnumLinksByFile(ULong file, CDynaList<ULong>& list) {
    return AppendNumbers(*this, CString::Formatted("select _ID from SWLINK where _FILE=%d", AsInt(file)), list);
}

ULong CNorvikSql::EnumAssetsByFile(ULong file, CDynaList<ULong>& list) {
    return AppendNumbers(*this, CString::Formatted("select _ASSET from SWLINK where _FILE=%d", AsInt(file)), list);
}

ULong CNorvikSql::GetLinkedAsset(ULong link) { return SelectNumberReported("SWLINK", "_ASSET", link); }
ULong CNorvikSql::GetLinkedFolder(ULong link) { return SelectNumberReported("SWLINK", "_FOLDER", link); }
ULong CNorvikSql::GetLinkedFile(ULong link) { return SelectNumberReported("SWLINK", "_FILE", link); }
ULong CNorvikSql::GetLinkedFileDate(ULong link) { return SelectNumberReported("SWLINK", "_FDATE", link); }

// ---- Folder reads ----

CString CNorvikSql::GetFolderName(ULong folder) { return SelectTextReported("SWFOLDER", "_NAME", folder); }

ULong CNorvikSql::GetFolderParent(ULong folder) { return SelectNumberReported("SWFOLDER", "_PARENT", folder); }

// Through the virtual getters, so that a subclass's answers are honoured. A cycle in _PARENT
// does not end; MergeFolder never writes one.
CString CNorvikSql::GetFolderPath(ULong folder) {
    CString path;
    while (folder != 0) {
        path = GetFolderName(folder) + "\\" + path;
        folder = GetFolderParent(folder);
    }
    return path;
}

int CNorvikSql::IsFolderEmpty(ULong folder, ULong asset, int unassignedOnly) {
    int empty = 1;
    CString statement = CString::Formatted("select _FILE from SWLINK where _ASSET=%d and _FOLDER=%d and _FILE > 0",
                                           AsInt(asset), AsInt(folder));
    try {
        CDynaList<ULong> files;
        {
            CSqlRecordset rs(this, statement);
            for (; !rs.IsEOF(); rs.MoveNext()) {
                if (!unassignedOnly) {
                    empty = 0;
                    break;
                }
                files.Add(rs.NumberAt(0));
            }
        }
        // The file accessor reads through the cache with a query of its own, which cannot run
        // while the record set above holds the connection.
        for (const ULong file : files) {
            if (GetFileAppID(file) == 0) {
                empty = 0;
                break;
            }
        }
        if (!empty) return empty;
        statement = CString::Formatted(
            "select SWFOLDER._ID from SWFOLDER,SWLINK where SWFOLDER._ID=SWLINK._FOLDER and SWLINK._ASSET=%d and "
            "SWLINK._FILE=0 and SWFOLDER._PARENT=%d",
            AsInt(asset), AsInt(folder));
        CDynaList<ULong> children;
        {
            CSqlRecordset rs(this, statement);
            for (; !rs.IsEOF(); rs.MoveNext()) children.Add(rs.NumberAt(0));
        }
        for (const ULong child : children) {
            if (!IsFolderEmpty(child, asset, unassignedOnly)) {
                empty = 0;
                break;
            }
        }
    } catch (const CDBException& e) {
        HandleSqlException(e, statement);
    }
    return empty;
}

// ---- Folder writes ----

ULong CNorvikSql::MergeFolder(ULong asset, const char* name, ULong parent) {
    const CString args = CString::Formatted("%d,%d,%s", AsInt(asset), AsInt(parent), SqlQuote(name).c_str());
    std::int32_t folder = 0;
    try {
        CallProcedureOut("usp_MergeFolder", args, folder);
    } catch (const CDBException& e) {
        HandleSqlException(e, CString::Formatted("{?=call usp_MergeFolder(%s,?)}", args.c_str()));
    }
    return static_cast<ULong>(folder);
}

// ---- Folder enumerations ----

ULong CNorvikSql::folderEnum(ULong asset, ULong parent, CSortList& list, int dropEmpty, int unassignedOnly) {
    const CString statement = CString::Formatted(
        "select SWFOLDER._ID,SWFOLDER._NAME from SWFOLDER,SWLINK where SWFOLDER._ID=SWLINK._FOLDER and "
        "SWLINK._ASSET=%d and SWLINK._FILE=0 and SWFOLDER._PARENT=%d",
        AsInt(asset), AsInt(parent));
    try {
        CSqlRecordset rs(this, statement);
        for (; !rs.IsEOF(); rs.MoveNext()) list.Add(rs.TextAt(1), rs.NumberAt(0), 0);
    } catch (const CDBException& e) {
        HandleSqlException(e, statement);
        return list.GetCount();
    }
    if (!dropEmpty) return list.GetCount();

    ProgStart(list.GetCount(), "Collating Folders...", 10);
    ULong i = 0;
    while (i < list.GetCount()) {
        // Only a report: this walk cannot be cancelled.
        ProgCheck();
        if (!list.IsSorted()) list.Sort();
        if (IsFolderEmpty(list[i].id, asset, unassignedOnly)) {
            list.RemoveAt(i);
        } else {
            ++i;
        }
    }
    ProgComplete();
    return list.GetCount();
}
