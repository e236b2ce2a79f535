// Licence compliance: the installations of every licensed application counted in one pass,
// for the over-use check and the licence report.
#include <string>
#include <unordered_map>
#include <unordered_set>
#include <vector>

#include "sql/id_lists.h"
#include "sql/norvik_sql.h"
#include "sql/sql_recordset.h"

namespace {

// The rows that can count for a licensed application: the licensed ones themselves and every
// aliased row, whose installations count for the rows up its alias chain.
const char kCountedRows[] = "select _ID from APPS where _LICTYPE > 1 or _ALIAS <> 0";

}  // namespace

ULong CNorvikSql::licenceEnumInstallations(ULong scope, CSortList& list) {
    CDynaList<ULong> assets;
    const bool anyAsset = ScopeAssets(scope, assets);
    CString statement = "select _ID,_ALIAS,_LICTYPE from APPS where _LICTYPE > 1 or _ALIAS <> 0 order by _ID";
    try {
        std::vector<ULong> licensed;
        std::unordered_map<ULong, ULong> aliasOf;
        {
            CSqlRecordset rs(this, statement);
            for (; !rs.IsEOF(); rs.MoveNext()) {
                if (rs.NumberAt(1) != 0) aliasOf[rs.NumberAt(0)] = rs.NumberAt(1);
                if (rs.NumberAt(2) > 1) licensed.push_back(rs.NumberAt(0));
            }
        }
        // Instances per catalogue row, of the scope's assets only. The counts come from the
        // indexes alone: no ASSET row is read, as every instance's asset exists (deleting an
        // asset deletes its instances).
        std::unordered_map<ULong, ULong> perRow;
        const CString counted = CString(" and APPINST._APP in (") + kCountedRows + ") group by APPINST._APP";
        const auto readCounts = [&](const CString& text) {
            statement = text;
            CSqlRecordset rs(this, statement);
            for (; !rs.IsEOF(); rs.MoveNext()) perRow[rs.NumberAt(0)] += rs.NumberAt(1);
        };
        if (!licensed.empty() && scope == 0) {
            readCounts("select APPINST._APP ,count(*) from APPINST where APPINST._APP <> 0" + counted);
        } else if (!licensed.empty() && anyAsset) {
            // The scope's assets spelled out, a slice at a time to keep each statement short.
            for (const std::string& in : IdLists(assets)) {
                // Every application of these assets, from the (asset, application) index alone;
                // rows that count for nothing are passed over below.
                readCounts("select APPINST._APP ,count(*) from APPINST where APPINST._ASSET in (" + CString(in) +
                           ") group by APPINST._APP");
            }
        }
        // A row's instances count for itself and for every row up its alias chain, each once
        // (a cycle of aliases, which must not exist, ends the walk).
        std::unordered_map<ULong, ULong> installed;
        for (const auto& [row, count] : perRow) {
            std::unordered_set<ULong> seen;
            for (ULong at = row; at != 0 && seen.insert(at).second;) {
                installed[at] += count;
                const auto up = aliasOf.find(at);
                at = up == aliasOf.end() ? 0 : up->second;
            }
        }
        for (const ULong app : licensed) list.Add("", app, installed[app]);
    } catch (const CDBException& e) {
        HandleSqlException(e, statement);
    }
    return list.GetCount();
}
