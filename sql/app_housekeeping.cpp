// Housekeeping of the application catalogue: applications nothing refers to, duplicate rows of
// one publisher and name, rows that point nowhere, and duplicate instances on one asset.
#include "sql/app_names.h"
#include "sql/norvik_sql.h"
#include "sql/sql_recordset.h"

namespace {

int AsInt(ULong value) { return static_cast<int>(value); }

}  // namespace

ULong CNorvikSql::enumUnreferencedApps(CSortList& list) {
    // A licence type above 1 keeps a row even when nothing refers to it: someone bought licences.
    const char* statement =
        "select _ID,_APP from APPS where APPS._LICTYPE <= 1 and _ID not in (select _APP from APPINST) and _ID not in "
        "(select _APPID from SWFILE)";
    try {
        for (CSqlRecordset rs(this, statement); !rs.IsEOF(); rs.MoveNext()) list.Add(rs.TextAt(1), rs.NumberAt(0), 0);
    } catch (const CDBException& e) {
        HandleSqlException(e, statement);
    }
    return list.GetCount();
}

ULong CNorvikSql::enumDuplicateApps(CSortList& list) {
    const char* statement =
        "select MIN(_ID),_MFR,_APP,count(*) as TOTAL from APPS GROUP BY _APP,_MFR order by TOTAL desc";
    try {
        for (CSqlRecordset rs(this, statement); !rs.IsEOF(); rs.MoveNext()) {
            const ULong total = rs.NumberAt(3);
            if (total < 2) break;  // ordered by TOTAL: the rest are single rows too
            list.Add(AppDisplayName(rs.TextAt(1), rs.TextAt(2), "", false), rs.NumberAt(0), total);
        }
    } catch (const CDBException& e) {
        HandleSqlException(e, statement);
    }
    return list.GetCount();
}

ULong CNorvikSql::enumOrphans(CSortList& list) {
    const char* statements[] = {
        "select _ID ,_ASSET from APPINST where _ASSET not in (select _ID from ASSET) or _APP not in (select _ID from "
        "APPS) order by _ID",
        "select _ID ,_ASSET from SWLINK where _ASSET not in (select _ID from ASSET) order by _ID",
    };
    const char* tables[] = {"APPINST", "SWLINK"};
    for (int i = 0; i < 2; ++i) {
        try {
            for (CSqlRecordset rs(this, statements[i]); !rs.IsEOF(); rs.MoveNext())
                list.Add(tables[i], rs.NumberAt(0), rs.NumberAt(1));
        } catch (const CDBException& e) {
            HandleSqlException(e, statements[i]);
            break;
        }
    }
    return list.GetCount();
}

ULong CNorvikSql::FixupDuplicateApps(ULong app) {
    CString statement = CString::Formatted("select _MFR,_APP from APPS where _ID=%d", AsInt(app));
    try {
        CString publisher, name;
        {
            CSqlRecordset rs(this, statement);
            if (rs.IsEOF()) return 0xFFFFFFFF;
            publisher = rs.TextAt(0);
            name = rs.TextAt(1);
        }
        CDynaList<ULong> duplicates;
        statement = CString::Formatted("select _ID from APPS where _ID>%d and _MFR=%s and _APP=%s", AsInt(app),
                                       SqlQuote(publisher).c_str(), SqlQuote(name).c_str());
        for (CSqlRecordset rs(this, statement); !rs.IsEOF(); rs.MoveNext()) duplicates.Add(rs.NumberAt(0));
        TransactionScope transaction(*this);
        for (const ULong duplicate : duplicates) {
            // The arguments stand in this order on purpose: the kept row's instances move to the
            // duplicate about to go. Callers rely on it; the tool merges in its own way.
            statement = CString::Formatted("update APPINST set _APP=%d where _APP=%d", AsInt(duplicate), AsInt(app));
            ExecuteStatement(statement);
            statement = CString::Formatted("delete from APPS where _ID=%d", AsInt(duplicate));
            ExecuteStatement(statement);
        }
        transaction.Commit();
        return 0;
    } catch (const CDBException& e) {
        HandleSqlException(e, statement);
        return 0;
    }
}

ULong CNorvikSql::enumDuplicateAppInstances(CSortList& list) {
    struct Group {
        ULong asset;
        ULong app;
        ULong first;
        ULong count;
    };
    CDynaList<Group> groups;
    const char* statement =
        "select _ASSET ,_APP ,MIN(_ID) ,count(*) from APPINST group by _ASSET ,_APP having count(*) > 1 order by "
        "_ASSET ,_APP";
    try {
        for (CSqlRecordset rs(this, statement); !rs.IsEOF(); rs.MoveNext())
            groups.Add(Group{rs.NumberAt(0), rs.NumberAt(1), rs.NumberAt(2), rs.NumberAt(3)});
    } catch (const CDBException& e) {
        HandleSqlException(e, statement);
        return list.GetCount();
    }
    for (const Group& group : groups)
        list.Add(applicationGetName(group.app, 0, 1) + " on " + GetAssetName(group.asset), group.first, group.count);
    return list.GetCount();
}
