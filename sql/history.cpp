// History: the HISTORY rows that record every change to an asset, their display texts, and
// their reading, enumeration and purging. Writers elsewhere reach the table through historyAdd.
#include <map>
#include <vector>

#include "common/formatting.h"
#include "common/trace.h"
#include "sql/norvik_sql.h"
#include "sql/row_reading.h"
#include "sql/sql_recordset.h"

namespace {

// The width of HISTORY's text columns; longer texts are cut before they are quoted.
constexpr int kHistoryTextWidth = 256;

CString QuotedOrEmpty(const char* text) {
    return text ? CSqlDatabase::SqlQuote(text, kHistoryTextWidth) : CSqlDatabase::SqlQuote("");
}

// Hierarchical keys join their levels with "|"; people read them with ">".
CString ShownAsPath(CString text) {
    text.Replace("|", ">");
    return text;
}

// The display text of a row. Kind 3 is the asset's own audit, kind 2 its place; every other
// kind is an item named by the key. "Moved " keeps its trailing blank, so a move reads with two
// blanks before " from ".
CString RecordText(ULong code, const CString& key, const CString& value1, const CString& value2) {
    const ULong operation = code >> 16;
    const ULong kind = code & 0xFFFF;
    if (kind == 3) {
        if (operation == CNorvik::kHistAdded) return "Initial Audit";
        if (operation == CNorvik::kHistChanged)
            return key.IsEmpty() ? CString("Re-Audit") : "Name changed from " + value1 + " to " + value2;
        return CString();
    }
    if (kind == 2 && operation == CNorvik::kHistChanged) {
        CString text = "Moved ";
        if (!value1.IsEmpty()) text += " from " + value1;
        if (!value2.IsEmpty()) text += " to " + value2;
        return text;
    }
    CString text;
    if (operation == CNorvik::kHistAdded) text = "Added " + key;
    if (operation == CNorvik::kHistChanged) text = key + " changed";
    if (operation == CNorvik::kHistDeleted) text = "Deleted " + key;
    // A second value without a first is not shown.
    if (!value1.IsEmpty()) text += value2.IsEmpty() ? " : " + value1 : " from " + value1 + " to " + value2;
    return text;
}

}  // namespace

// ---- Asset history records ----

ULong CNorvikSql::EnumAssetHistoryRecords(ULong asset, CTime date, CDynaList<ULong>& ids, int /*unused*/) {
    const CString statement = CString::Formatted("select _ID,_CODE from HISTORY where _ASSET=%d and _DATE=%s",
                                                 static_cast<int>(asset), SqlTime(date).c_str());
    try {
        CSqlRecordset rs(this, statement);
        for (; !rs.IsEOF(); rs.MoveNext()) ids.Add(rs.NumberAt(0));
    } catch (const CDBException& e) {
        HandleSqlException(e, statement);
    }
    return ids.GetCount();
}

int CNorvikSql::EnumAssetHistoryRecords(CDynaList<CAssetHistoryRecord>& records) {
    CString statement = "select _ASSET,_DATE,_CODE,_KEY,_VALUE1,_VALUE2,_USERNAME from HISTORY";
    try {
        struct Row {
            ULong asset;
            CAssetHistoryRecord record;
        };
        std::vector<Row> rows;
        {
            CSqlRecordset rs(this, statement);
            for (; !rs.IsEOF(); rs.MoveNext())
                rows.push_back(
                    {rs.NumberAt(0), CAssetHistoryRecord("", rs.TimeAt(1), static_cast<int>(rs.NumberAt(2)),
                                                         rs.TextAt(3), rs.TextAt(4), rs.TextAt(5), rs.TextAt(6))});
        }
        // The reader holds the connection, so names are looked up once it is closed, each once.
        std::map<ULong, CString> names;
        for (auto& row : rows) {
            auto found = names.find(row.asset);
            if (found == names.end()) {
                statement.Format("select _NAME from ASSET where _ID = %d", static_cast<int>(row.asset));
                found = names.emplace(row.asset, SelectText("ASSET", "_NAME", row.asset)).first;
            }
            row.record.m_strAsset = found->second;
            records.Add(row.record);
        }
    } catch (const CDBException& e) {
        HandleSqlException(e, statement);
    }
    return static_cast<int>(records.GetCount());
}

// ---- History ----

ULong CNorvikSql::assetEnumHistoryDates(ULong asset, CDynaList<CTime>& dates) {
    return EnumDatesReported(
        *this, CString::Formatted("select _DATE from HISTORY where _ASSET=%d order by _DATE", static_cast<int>(asset)),
        dates);
}

void CNorvikSql::historyGetDetails(ULong hist, CString& category, CString& text, CString& user, int* kind) {
    const CString statement = CString::Formatted(
        "select _CODE,_KEY,_VALUE1,_VALUE2,_USERNAME from HISTORY where _ID=%d", static_cast<int>(hist));
    try {
        ULong code = 0;
        CString key, value1, value2;
        {
            CSqlRecordset rs(this, statement);
            if (rs.IsEOF()) return;
            code = rs.NumberAt(0);
            key = ShownAsPath(rs.TextAt(1));
            value1 = ShownAsPath(rs.TextAt(2));
            value2 = ShownAsPath(rs.TextAt(3));
            user = rs.TextAt(4);
        }
        if (kind) *kind = static_cast<int>(code & 0xFF);
        // Closed first: the group name of icon 0 is the company name, read from the database.
        category = GetIconName(static_cast<int>(code & 0xFF));
        text = RecordText(code, key, value1, value2);
    } catch (const CDBException& e) {
        HandleSqlException(e, statement);
    }
}

void CNorvikSql::historyGetDetails(ULong hist, ULong* asset, int* kind, CString& operation, CString& category,
                                   CString& key, CString& user, CString& value1, CString& value2, CString& date) {
    const CString statement = CString::Formatted("select * from HISTORY where _ID=%d", static_cast<int>(hist));
    try {
        ULong code = 0;
        ULong owner = 0;
        CTime when;
        {
            CSqlRecordset rs(this, statement);
            if (rs.IsEOF()) {
                TracePrintf("Invalid HISTID 0x%X in CNorvikSql::historyGetDetails()\n", static_cast<unsigned>(hist));
                if (asset) *asset = 0xFFFFFFFF;
                return;
            }
            // HISTORY's columns in table order: _ID, _ASSET, _DATE, _CODE, _KEY, _VALUE1,
            // _VALUE2, _USERNAME.
            owner = rs.NumberAt(1);
            when = rs.TimeAt(2);
            code = rs.NumberAt(3);
            key = rs.TextAt(4);
            value1 = rs.TextAt(5);
            value2 = rs.TextAt(6);
            user = rs.TextAt(7);
        }
        if (asset) *asset = owner;
        if (kind) *kind = static_cast<int>(code & 0xFFFF);
        category = GetIconName(static_cast<int>(code & 0xFFFF));
        operation = GetHistoryOperation(code >> 16);
        date = FormatDateTime(when, true, '/');
    } catch (const CDBException& e) {
        HandleSqlException(e, statement);
    }
}

CTime CNorvikSql::historyGetDate(ULong hist) {
    const CString statement = CString::Formatted("select _DATE from HISTORY where _ID=%d", static_cast<int>(hist));
    try {
        CSqlRecordset rs(this, statement);
        return rs.IsEOF() ? CTime() : rs.TimeAt(0);
    } catch (const CDBException& e) {
        HandleSqlException(e, statement);
        return CTime();
    }
}

CString CNorvikSql::historyFormatRecord(ULong hist) {
    const CString statement =
        CString::Formatted("select _CODE,_KEY,_VALUE1,_VALUE2 from HISTORY where _ID=%d", static_cast<int>(hist));
    try {
        CSqlRecordset rs(this, statement);
        if (rs.IsEOF()) return CString();
        // Unlike the details, the key is shown as stored.
        return RecordText(rs.NumberAt(0), rs.TextAt(1), ShownAsPath(rs.TextAt(2)), ShownAsPath(rs.TextAt(3)));
    } catch (const CDBException& e) {
        HandleSqlException(e, statement);
        return CString();
    }
}

ULong CNorvikSql::EnumHistoryPurge(CTime before, CDynaList<ULong>& ids) {
    const CString statement = CString::Formatted("select _ID from HISTORY where _DATE < %s and _CODE <> %d",
                                                 SqlTime(before).c_str(), static_cast<int>(kHistInitialAudit));
    try {
        CSqlRecordset rs(this, statement);
        for (; !rs.IsEOF(); rs.MoveNext()) ids.Add(rs.NumberAt(0));
    } catch (const CDBException& e) {
        HandleSqlException(e, statement);
    }
    return ids.GetCount();
}

void CNorvikSql::historyDelete(ULong hist) {
    const CString statement = CString::Formatted("delete from HISTORY where _ID=%d", static_cast<int>(hist));
    ExecuteReported(statement);
}

int CNorvikSql::PurgeAssetHistory(ULong asset, const CTime& date, int keepInitial, int keepAudits) {
    const CString args =
        CString::Formatted("%d,%s,%d,%d", static_cast<int>(asset), SqlTime(date).c_str(), keepInitial, keepAudits);
    try {
        std::int32_t removed = 0;
        CallProcedureOut("usp_PurgeAssetHist", args, removed);
        return removed;
    } catch (const CDBException& e) {
        HandleSqlException(e, CString::Formatted("{?=call usp_PurgeAssetHist(%s,?)}", args.c_str()));
        return 0;
    }
}

ULong CNorvikSql::historyGetAsset(ULong hist) {
    const CString statement = CString::Formatted("select _ASSET from HISTORY where _ID = %d", static_cast<int>(hist));
    return FirstNumberReported(statement);
}

ULong CNorvikSql::historyAdd(ULong asset, CTime date, ULong operation, int kind, const char* key, const char* value1,
                             const char* value2, const char* user) {
    const ULong code = (operation << 16) | (static_cast<ULong>(kind) & 0xFFFF);
    // The logon user goes in uncut: it is the caller's own name, not data from an audit.
    const CString quotedUser = user ? SqlQuote(user, kHistoryTextWidth) : SqlQuote(GetLogonUser());
    const CString values = CString::Formatted(
        "%d,%s,%d,%s,%s,%s,%s", static_cast<int>(asset), SqlTime(date).c_str(), static_cast<int>(code),
        QuotedOrEmpty(key).c_str(), QuotedOrEmpty(value1).c_str(), QuotedOrEmpty(value2).c_str(), quotedUser.c_str());
    return InsertReported(*this, "HISTORY", "_ASSET,_DATE,_CODE,_KEY,_VALUE1,_VALUE2,_USERNAME", values);
}

CTime CNorvikSql::historyGetLastDate(ULong asset) {
    const CString statement =
        CString::Formatted("select max(_DATE) from HISTORY where _ASSET=%d", static_cast<int>(asset));
    try {
        CSqlRecordset rs(this, statement);
        return rs.IsEOF() ? CTime() : rs.TimeAt(0);
    } catch (const CDBException& e) {
        HandleSqlException(e, statement);
        return CTime();
    }
}

// ---- Paged listings ----

ULong CNorvikSql::historyEnumPage(ULong asset, CTime since, int kind, ULong offset, ULong limit,
                                  CDynaList<HistoryPageRow>& rows) {
    CString where = " where 1=1";
    if (asset != 0) where += CString::Formatted(" and H._ASSET=%d", static_cast<int>(asset));
    if (!since.IsNever()) where += " and H._DATE >= " + SqlTime(since);
    if (kind >= 0) where += CString::Formatted(" and (H._CODE & 255)=%d", kind);
    CString statement = "select count(*) from HISTORY H" + where;
    try {
        ULong total = 0;
        {
            CSqlRecordset rs(this, statement);
            if (!rs.IsEOF()) total = rs.NumberAt(0);
        }
        if (limit == 0 || offset >= total) return total;
        statement =
            "select H._ID,H._ASSET,coalesce(A._NAME,''),H._DATE,H._CODE,H._KEY,H._VALUE1,H._VALUE2,H._USERNAME "
            "from HISTORY H left join ASSET A on A._ID=H._ASSET" +
            where +
            CString::Formatted(" order by H._DATE desc,H._ID desc limit %d offset %d", static_cast<int>(limit),
                               static_cast<int>(offset));
        const ULong first = rows.GetCount();
        {
            CSqlRecordset rs(this, statement);
            for (; !rs.IsEOF(); rs.MoveNext()) {
                HistoryPageRow row;
                row.id = rs.NumberAt(0);
                row.asset = rs.NumberAt(1);
                row.assetName = rs.TextAt(2);
                row.date = rs.TimeAt(3);
                const ULong code = rs.NumberAt(4);
                row.kind = static_cast<int>(code & 0xFF);
                row.text = RecordText(code, rs.TextAt(5), ShownAsPath(rs.TextAt(6)), ShownAsPath(rs.TextAt(7)));
                row.user = rs.TextAt(8);
                rows.Add(row);
            }
        }
        // Group names after the rows are read: the name of kind 0 is itself read from the database.
        std::map<int, CString> groups;
        for (ULong i = first; i < rows.GetCount(); ++i) {
            auto found = groups.find(rows[i].kind);
            if (found == groups.end()) found = groups.emplace(rows[i].kind, GetIconName(rows[i].kind)).first;
            rows[i].category = found->second;
        }
        return total;
    } catch (const CDBException& e) {
        HandleSqlException(e, statement);
        return 0;
    }
}
