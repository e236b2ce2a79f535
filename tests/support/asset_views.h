// What an asset holds, read back through the library in forms a test compares whole: its history
// texts in order, its hardware and its application instances as sets.
#pragma once

#include <set>
#include <string>
#include <vector>

#include "sql/norvik_sql.h"
#include "sql/sql_recordset.h"

// The formatted texts of the asset's history records, oldest first.
inline std::vector<std::string> HistoryOf(CNorvikSql& db, ULong asset) {
    std::vector<ULong> ids;
    {
        CSqlRecordset rs(
            &db, CString::Formatted("select _ID from HISTORY where _ASSET=%d order by _ID", static_cast<int>(asset)));
        for (; !rs.IsEOF(); rs.MoveNext()) ids.push_back(rs.NumberAt(0));
    }
    std::vector<std::string> texts;
    for (ULong id : ids) texts.push_back(db.historyFormatRecord(id).str());
    return texts;
}

// "key|value1|value2" of each of the asset's history rows, oldest first.
inline std::vector<std::string> HistoryValuesOf(CNorvikSql& db, ULong asset) {
    std::vector<std::string> rows;
    const CString statement = CString::Formatted(
        "select _KEY,_VALUE1,_VALUE2 from HISTORY where _ASSET=%d order by _ID", static_cast<int>(asset));
    for (CSqlRecordset rs(&db, statement); !rs.IsEOF(); rs.MoveNext())
        rows.push_back(rs.TextAt(0).str() + "|" + rs.TextAt(1).str() + "|" + rs.TextAt(2).str());
    return rows;
}

// "Category|Key=value" of every hardware value of the asset.
inline std::set<std::string> HardwareOf(CNorvik& db, ULong asset) {
    CHwList list;
    db.hwEnumAll(asset, list, 0);
    std::set<std::string> items;
    for (const CHwItem& item : list) items.insert(item.HistoryKey().str() + "=" + item.value.str());
    return items;
}

// The asset's application instances as listed, versions in brackets.
inline std::set<std::string> SoftwareOf(CNorvik& db, ULong asset) {
    CSortList list;
    db.EnumApplicationInstances(asset, 1, list, 0, 0);
    std::set<std::string> names;
    for (const CSortItem& item : list) names.insert(item.text.str());
    return names;
}
