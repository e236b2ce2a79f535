// Paged listings of the site: one page of assets, the location tree, one page of the
// application catalogue, of the history and of an asset's files, each read in a few set-based
// statements whatever the page holds.
#include <algorithm>
#include <map>
#include <string>
#include <vector>

#include "sql/app_names.h"
#include "sql/id_lists.h"
#include "sql/norvik_sql.h"
#include "sql/sql_recordset.h"

namespace {

int AsInt(ULong value) { return static_cast<int>(value); }

// A pattern matching `text` anywhere, letter case ignored on both engines (PostgreSQL's like
// is case-sensitive, so both sides are lowered); "!" escapes the pattern's own "%" and "_".
CString ContainsPattern(const CString& text) {
    std::string pattern = "%";
    for (const char c : text.str()) {
        if (c == '%' || c == '_' || c == '!') pattern += '!';
        pattern += c;
    }
    pattern += '%';
    return "lower(" + CSqlDatabase::SqlQuote(pattern.c_str()) + ") escape '!'";
}

CString Contains(const char* column, const CString& pattern) {
    return CString("lower(") + column + ") like " + pattern;
}

CString LimitClause(ULong offset, ULong limit) {
    return CString::Formatted(" limit %d offset %d", AsInt(limit), AsInt(offset));
}

}  // namespace

// ---- Assets ----

ULong CNorvikSql::assetEnumPage(const AssetPageQuery& query, CDynaList<AssetPageRow>& rows) {
    CString statement;
    try {
        const ULong osCategory = hwFind(m_szOS, '|');
        const CString osName = CString::Formatted(
            "(select min(_VAL) from HW where HW._PARENT=%d and HW._ASSET=A._ID and HW._KEY='Name')", AsInt(osCategory));
        CString scope;
        CString where = " where 1=1";
        if (query.location != 0) {
            // The scope as EnumScopeAssets reads it, as a common table the page is joined to.
            scope = CString::Formatted(
                "with recursive PLACES(_ID) as (select %d union select LOCDATA._ID from LOCDATA join PLACES on "
                "LOCDATA._PARENT = PLACES._ID), MEMBERS(_ID) as (select ASSET._ID from ASSET join PLACES on "
                "ASSET._LOCATION = PLACES._ID where (ASSET._STATUS & %d) = 0 union select ASSET._ID from ASSET join "
                "MEMBERS on ASSET._LOCATION = MEMBERS._ID where (ASSET._STATUS & %d) <> 0) ",
                AsInt(query.location), AsInt(kAssetChild), AsInt(kAssetChild));
            where += " and A._ID in (select _ID from MEMBERS)";
        }
        if (!query.text.IsEmpty()) {
            const CString pattern = ContainsPattern(query.text);
            where += " and (" + Contains("A._NAME", pattern) + " or " + Contains("A._SERIAL", pattern) + " or " +
                     Contains("A._MACADDR", pattern) + " or " + Contains("A._IPADDR", pattern) + ")";
        }
        if (query.asset != 0) where += CString::Formatted(" and A._ID=%d", AsInt(query.asset));
        if (query.category != 0) where += CString::Formatted(" and A._CAT=%d", AsInt(query.category));
        if (!query.os.IsEmpty()) where += " and lower(" + osName + ")=lower(" + SqlQuote(query.os) + ")";
        if (!query.auditedBefore.IsNever())
            where += " and (A._AUDDATE is null or A._AUDDATE < " + SqlTime(query.auditedBefore) + ")";
        if (query.app != 0)
            where += CString::Formatted(
                " and exists (select 1 from APPINST where APPINST._ASSET=A._ID and "
                "APPINST._APP=%d)",
                AsInt(query.app));

        ULong total = 0;
        statement = scope + "select count(*) from ASSET A" + where;
        {
            CSqlRecordset rs(this, statement);
            if (!rs.IsEOF()) total = rs.NumberAt(0);
        }
        if (query.limit == 0 || query.offset >= total) return total;

        const char* direction = query.descending ? " desc" : "";
        const CString place = "coalesce(L._NAME,P._NAME,'')";
        CString order;
        switch (query.sort) {
            // The columns spelled out: PostgreSQL takes an output name alone, never inside an expression.
            case kAssetSortLocation: order = CString("lower(") + place + ")" + direction; break;
            case kAssetSortOs: order = "lower(coalesce(" + osName + ",''))" + direction; break;
            case kAssetSortIp: order = CString("A._IPADDR") + direction; break;
            case kAssetSortAudit:
                // Never audited counts as the oldest on both engines (their nulls sort apart).
                order =
                    CString("case when A._AUDDATE is null then 0 else 1 end") + direction + ",A._AUDDATE" + direction;
                break;
            default: order = CString("lower(A._NAME)") + direction; break;
        }
        const CString version = query.app == 0
                                    ? CString("''")
                                    : CString::Formatted(
                                          "(select min(_VERSION) from APPINST where APPINST._ASSET=A._ID and "
                                          "APPINST._APP=%d)",
                                          AsInt(query.app));
        const CString placeJoins = CString::Formatted(
            " left join LOCDATA L on L._ID=A._LOCATION and (A._STATUS & %d)=0 left join ASSET P on "
            "P._ID=A._LOCATION and (A._STATUS & %d)<>0",
            AsInt(kAssetChild), AsInt(kAssetChild));
        // The page is cut first, numbered in its order, and only its rows get their operating
        // system and version: read before the cut, a late page read them for every row before it.
        const CString ordered = order + ",A._ID" + direction;
        statement = scope + "select A._ID,A._NAME," + place + ",A._CAT,coalesce(" + osName +
                    ",''),A._SERIAL,A._MACADDR,A._IPADDR,A._AUDDATE," + version +
                    ",A._STATUS from (select A._ID,row_number() over (order by " + ordered + ") as N from ASSET A" +
                    placeJoins + where + " order by " + ordered + LimitClause(query.offset, query.limit) +
                    ") S join ASSET A on A._ID=S._ID" + placeJoins + " order by S.N";
        CSqlRecordset rs(this, statement);
        for (; !rs.IsEOF(); rs.MoveNext()) {
            AssetPageRow row;
            row.id = rs.NumberAt(0);
            row.name = rs.TextAt(1);
            row.place = rs.TextAt(2);
            row.category = rs.NumberAt(3);
            row.os = rs.TextAt(4);
            row.serial = rs.TextAt(5);
            row.mac = rs.TextAt(6);
            row.ip = rs.TextAt(7);
            row.lastAudit = rs.TimeAt(8);
            row.version = rs.TextAt(9);
            row.status = rs.NumberAt(10);
            rows.Add(row);
        }
        return total;
    } catch (const CDBException& e) {
        HandleSqlException(e, statement);
        return 0;
    }
}

// ---- Locations ----

ULong CNorvikSql::locEnumTree(CDynaList<LocationTreeRow>& rows) {
    const CString statement = CString::Formatted(
        "select L._ID,L._PARENT,L._NAME,L._IPFROM,L._IPTO,(select count(*) from ASSET where ASSET._LOCATION=L._ID "
        "and (ASSET._STATUS & %d)=0) from LOCDATA L order by lower(L._NAME),L._ID",
        AsInt(kAssetChild));
    try {
        CDynaList<LocationTreeRow> all;
        for (CSqlRecordset rs(this, statement); !rs.IsEOF(); rs.MoveNext()) {
            LocationTreeRow row;
            row.id = rs.NumberAt(0);
            row.parent = rs.NumberAt(1);
            row.name = rs.TextAt(2);
            row.ipFrom = rs.TextAt(3);
            row.ipTo = rs.TextAt(4);
            row.assets = rs.NumberAt(5);
            all.Add(row);
        }
        // Parents before children, depth first, siblings keeping the name order read. A row whose
        // parent is missing (or that sits in a cycle) is never reached and so is left out.
        std::vector<bool> placed(all.GetCount(), false);
        const auto visit = [&](auto&& self, ULong parent, int depth) -> void {
            if (depth > 64) return;
            for (ULong i = 0; i < all.GetCount(); ++i) {
                if (placed[i] || all[i].parent != parent || all[i].id == parent) continue;
                placed[i] = true;
                rows.Add(all[i]);
                self(self, all[i].id, depth + 1);
            }
        };
        visit(visit, 0, 0);
    } catch (const CDBException& e) {
        HandleSqlException(e, statement);
    }
    return rows.GetCount();
}

// ---- Applications ----

ULong CNorvikSql::applicationEnumPage(const char* text, ULong asset, ULong offset, ULong limit,
                                      CDynaList<ApplicationPageRow>& rows) {
    CString where = CString::Formatted(" where (APPS._FLAGS & %d)=0", AsInt(kAppHidden));
    if (text && *text) {
        const CString pattern = ContainsPattern(text);
        where += " and (" + Contains("APPS._APP", pattern) + " or " + Contains("APPS._MFR", pattern) + ")";
    }
    if (asset != 0)
        where += CString::Formatted(
            " and exists (select 1 from APPINST where APPINST._APP=APPS._ID and "
            "APPINST._ASSET=%d)",
            AsInt(asset));
    const CString version = asset == 0 ? CString("''")
                                       : CString::Formatted(
                                             "(select min(_VERSION) from APPINST where APPINST._APP=P._ID and "
                                             "APPINST._ASSET=%d)",
                                             AsInt(asset));
    CString statement = "select count(*) from APPS" + where;
    try {
        ULong total = 0;
        {
            CSqlRecordset rs(this, statement);
            if (!rs.IsEOF()) total = rs.NumberAt(0);
        }
        if (limit == 0 || offset >= total) return total;
        // The page is cut first and its rows counted after: counted in the same select, every
        // row matching would be counted before the sort (seconds on a large site).
        statement =
            "select P._ID,P._MFR,P._APP,P._LICTYPE,P._LICCOUNT,(select count(*) from APPINST where "
            "APPINST._APP=P._ID)," +
            version + " from (select APPS._ID,APPS._MFR,APPS._APP,APPS._LICTYPE,APPS._LICCOUNT from APPS" + where +
            " order by lower(APPS._MFR),lower(APPS._APP),APPS._ID" + LimitClause(offset, limit) +
            ") P order by lower(P._MFR),lower(P._APP),P._ID";
        for (CSqlRecordset rs(this, statement); !rs.IsEOF(); rs.MoveNext()) {
            ApplicationPageRow row;
            row.id = rs.NumberAt(0);
            row.publisher = rs.TextAt(1);
            row.name = rs.TextAt(2);
            row.licenceType = rs.NumberAt(3);
            row.licenceCount = rs.NumberAt(4);
            row.installations = rs.NumberAt(5);
            row.version = rs.TextAt(6);
            rows.Add(row);
        }
        return total;
    } catch (const CDBException& e) {
        HandleSqlException(e, statement);
        return 0;
    }
}

ULong CNorvikSql::applicationGetRows(const CDynaList<ULong>& apps, CDynaList<ApplicationPageRow>& rows) {
    CString statement;
    try {
        std::vector<ULong> ids(apps.begin(), apps.end());
        std::sort(ids.begin(), ids.end());
        ids.erase(std::unique(ids.begin(), ids.end()), ids.end());
        for (const std::string& in : IdLists(ids)) {
            statement =
                "select _ID,_MFR,_APP,_LICTYPE,_LICCOUNT from APPS where _ID in (" + CString(in) + ") order by _ID";
            for (CSqlRecordset rs(this, statement); !rs.IsEOF(); rs.MoveNext()) {
                ApplicationPageRow row;
                row.id = rs.NumberAt(0);
                row.publisher = rs.TextAt(1);
                row.name = rs.TextAt(2);
                row.licenceType = rs.NumberAt(3);
                row.licenceCount = rs.NumberAt(4);
                rows.Add(row);
            }
        }
    } catch (const CDBException& e) {
        HandleSqlException(e, statement);
    }
    return rows.GetCount();
}

ULong CNorvikSql::applicationEnumVersions(ULong app, CSortList& list) {
    const CString statement = CString::Formatted(
        "select _VERSION,count(distinct _ASSET) from APPINST where _APP=%d group by _VERSION order by _VERSION",
        AsInt(app));
    try {
        for (CSqlRecordset rs(this, statement); !rs.IsEOF(); rs.MoveNext()) list.Add(rs.TextAt(0), 0, rs.NumberAt(1));
    } catch (const CDBException& e) {
        HandleSqlException(e, statement);
    }
    return list.GetCount();
}

// ---- Software files ----

ULong CNorvikSql::swFileEnumPage(ULong asset, ULong offset, ULong limit, CDynaList<SoftwareFilePageRow>& rows) {
    CString statement = CString::Formatted("select count(*) from SWLINK where _ASSET=%d and _FILE<>0", AsInt(asset));
    try {
        ULong total = 0;
        {
            CSqlRecordset rs(this, statement);
            if (!rs.IsEOF()) total = rs.NumberAt(0);
        }
        const ULong first = rows.GetCount();
        statement = CString::Formatted(
                        "select L._ID,L._FOLDER,F._NAME,F._SIZE,L._FDATE,F._APPID,APPS._MFR,APPS._APP from SWLINK L "
                        "join SWFILE F on F._ID=L._FILE left join APPS on APPS._ID=F._APPID where L._ASSET=%d and "
                        "L._FILE<>0 order by L._FOLDER,F._NAME,L._ID",
                        AsInt(asset)) +
                    LimitClause(offset, limit);
        std::string folders;
        for (CSqlRecordset rs(this, statement); !rs.IsEOF(); rs.MoveNext()) {
            SoftwareFilePageRow row;
            row.link = rs.NumberAt(0);
            row.folder = rs.NumberAt(1);
            row.name = rs.TextAt(2);
            row.size = rs.NumberAt(3);
            row.date = rs.NumberAt(4);
            row.app = rs.NumberAt(5);
            if (row.app != 0) row.application = AppDisplayName(rs.TextAt(6), rs.TextAt(7), "", false);
            if (row.folder != 0) {
                if (!folders.empty()) folders += ',';
                folders += std::to_string(row.folder);
            }
            rows.Add(row);
        }
        if (folders.empty()) return total;
        // The page's folder paths, walked up to the top (a cycle written by hand stops at 64 levels).
        statement =
            "with recursive UP(LEAF, ID, PATH, DEPTH) as (select _ID, _PARENT, _NAME || '\\', 1 from SWFOLDER where "
            "_ID in (" +
            CString(folders.c_str()) +
            ") union all select UP.LEAF, S._PARENT, S._NAME || '\\' || UP.PATH, UP.DEPTH + 1 from SWFOLDER S join UP "
            "on S._ID = UP.ID where UP.ID <> 0 and UP.DEPTH < 64) select LEAF, PATH from UP where ID = 0";
        std::map<ULong, CString> paths;
        for (CSqlRecordset rs(this, statement); !rs.IsEOF(); rs.MoveNext()) paths[rs.NumberAt(0)] = rs.TextAt(1);
        for (ULong i = first; i < rows.GetCount(); ++i) {
            const auto path = paths.find(rows[i].folder);
            if (path != paths.end()) rows[i].folderPath = path->second;
        }
        return total;
    } catch (const CDBException& e) {
        HandleSqlException(e, statement);
        return 0;
    }
}
