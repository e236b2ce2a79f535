// Licence compliance: the installations of every licensed application counted in one pass,
// for the over-use check and the licence report.
#include <unordered_map>
#include <unordered_set>
#include <vector>

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
        // Instances per catalogue row, of the scope's assets only.
        std::unordered_map<ULong, ULong> perRow;
        if (anyAsset && !licensed.empty()) {
            const CString join = CString(" from APPINST,ASSET where ASSET._ID=APPINST._ASSET and APPINST._APP in (") +
                                 kCountedRows + ")";
            if (scope == 0) {
                statement = "select APPINST._APP ,count(*)" + join + " group by APPINST._APP";
                CSqlRecordset rs(this, statement);
                for (; !rs.IsEOF(); rs.MoveNext()) perRow[rs.NumberAt(0)] = rs.NumberAt(1);
            } else {
                // One read of the instances, filtered here: the scope's asset list can be as long
                // as the site, too long to spell out in the statement.
                const std::unordered_set<ULong> inScope(assets.begin(), assets.end());
                statement = "select APPINST._APP ,APPINST._ASSET" + join;
                CSqlRecordset rs(this, statement);
                for (; !rs.IsEOF(); rs.MoveNext())
                    if (inScope.count(rs.NumberAt(1))) ++perRow[rs.NumberAt(0)];
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
