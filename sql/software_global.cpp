// Site-wide views of software files: the distinct files a set of assets holds, and the assets
// holding one file. A scope of 0 is the whole site, any other a location subtree.
#include <set>
#include <tuple>

#include "sql/id_lists.h"
#include "sql/norvik_sql.h"
#include "sql/sql_recordset.h"

namespace {

int AsInt(ULong value) { return static_cast<int>(value); }

using Item = std::tuple<std::string, ULong, ULong>;

std::set<Item> ItemsOf(const CSortList& list) {
    std::set<Item> items;
    for (const CSortItem& item : list) items.emplace(item.text.str(), item.id, item.extra);
    return items;
}

// The "in" conditions of `assets`, a bounded number each; one empty condition for the whole
// site.
std::vector<CString> AssetConditions(bool wholeSite, const CDynaList<ULong>& assets) {
    if (wholeSite) return {CString()};
    std::vector<CString> conditions;
    for (const std::string& in : IdLists(assets)) conditions.push_back(" and SWLINK._ASSET in (" + CString(in) + ")");
    return conditions;
}

}  // namespace

ULong CNorvikSql::EnumScopeAssets(ULong location, CDynaList<ULong>& assets) {
    // "union" rather than "union all": a row met again adds nothing, so a cycle written into
    // LOCDATA or into the child assets by hand ends the recursion on both engines.
    const CString statement = CString::Formatted(
        "with recursive PLACES(_ID) as (select %d union select LOCDATA._ID from LOCDATA join PLACES on "
        "LOCDATA._PARENT = PLACES._ID), MEMBERS(_ID) as (select ASSET._ID from ASSET join PLACES on ASSET._LOCATION = "
        "PLACES._ID where (ASSET._STATUS & %d) = 0 union select ASSET._ID from ASSET join MEMBERS on ASSET._LOCATION "
        "= MEMBERS._ID where (ASSET._STATUS & %d) <> 0) select _ID from MEMBERS",
        AsInt(location), AsInt(kAssetChild), AsInt(kAssetChild));
    try {
        for (CSqlRecordset rs(this, statement); !rs.IsEOF(); rs.MoveNext()) assets.Add(rs.NumberAt(0));
    } catch (const CDBException& e) {
        HandleSqlException(e, statement);
    }
    return assets.GetCount();
}

ULong CNorvikSql::EnumGlobalFile(ULong scope, const char* name, int withVersion, CSortList& list) {
    CDynaList<ULong> assets;
    if (!ScopeAssets(scope, assets)) return list.GetCount();
    std::set<Item> listed = ItemsOf(list);
    CString filter;
    if (name && *name) filter = " and SWFILE._NAME=" + SqlQuote(name);
    CString statement;
    try {
        for (const CString& condition : AssetConditions(scope == 0, assets)) {
            statement =
                "select distinct SWFILE._ID,SWFILE._NAME,SWFILE._RESVER,SWFILE._APPID from SWLINK,SWFILE "
                "where SWLINK._FILE=SWFILE._ID" +
                filter + condition;
            CSqlRecordset rs(this, statement);
            for (; !rs.IsEOF(); rs.MoveNext()) {
                CString text = rs.TextAt(1);
                const CString version = rs.TextAt(2);
                if (withVersion && !version.IsEmpty()) text += " [" + version + "]";
                if (listed.emplace(text.str(), rs.NumberAt(0), rs.NumberAt(3)).second)
                    list.Add(text, rs.NumberAt(0), rs.NumberAt(3));
            }
        }
    } catch (const CDBException& e) {
        HandleSqlException(e, statement);
    }
    return list.GetCount();
}

ULong CNorvikSql::EnumGlobalFileAssets(ULong scope, ULong file, CSortList& list) {
    // _FILE 0 marks folder links, which hold no file.
    if (file == 0) return list.GetCount();
    CDynaList<ULong> assets;
    if (!ScopeAssets(scope, assets)) return list.GetCount();
    std::set<Item> listed = ItemsOf(list);
    CString statement;
    try {
        for (const CString& condition : AssetConditions(scope == 0, assets)) {
            statement = CString::Formatted(
                            "select distinct ASSET._ID,ASSET._NAME,SWLINK._FOLDER from SWLINK,ASSET where "
                            "SWLINK._ASSET=ASSET._ID and SWLINK._FILE=%d",
                            AsInt(file)) +
                        condition;
            CSqlRecordset rs(this, statement);
            for (; !rs.IsEOF(); rs.MoveNext()) {
                const CString name = rs.TextAt(1);
                if (listed.emplace(name.str(), rs.NumberAt(0), rs.NumberAt(2)).second)
                    list.Add(name, rs.NumberAt(0), rs.NumberAt(2));
            }
        }
    } catch (const CDBException& e) {
        HandleSqlException(e, statement);
    }
    return list.GetCount();
}
