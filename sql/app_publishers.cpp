// Publishers of applications and the site-wide views of the catalogue: which applications,
// publishers and assets a set of assets holds.
#include <set>
#include <string>
#include <tuple>
#include <unordered_set>

#include "sql/app_names.h"
#include "sql/norvik_sql.h"
#include "sql/sql_recordset.h"

namespace {

int AsInt(ULong value) { return static_cast<int>(value); }

// " and COLUMN in (1,2,3)" for a non-empty list; nothing for an empty one.
CString InCondition(const char* column, const CDynaList<ULong>& ids) {
    if (ids.GetCount() == 0) return CString();
    std::string text = std::string(" and ") + column + " in (";
    bool first = true;
    for (const ULong id : ids) {
        if (!first) text += ',';
        text += std::to_string(AsInt(id));
        first = false;
    }
    text += ')';
    return CString(std::move(text));
}

// The publisher condition of the publisher listings: none for "All Publishers" (or none given),
// the empty publisher for "Unknown", else exactly the text.
CString PublisherCondition(const char* publisher) {
    if (!publisher || CString(publisher) == "All Publishers") return CString();
    const char* wanted = CString(publisher) == "Unknown" ? "" : publisher;
    return " and APPS._MFR=" + CSqlDatabase::SqlQuote(wanted);
}

// Appends (text, 0, extra) unless an item of exactly this text is in the list already.
void AddPublisherOnce(CSortList& list, std::unordered_set<std::string>& seen, const CString& text, ULong extra) {
    if (seen.insert(text.str()).second) list.Add(text, 0, extra);
}

std::unordered_set<std::string> TextsOf(const CSortList& list) {
    std::unordered_set<std::string> texts;
    for (const auto& item : list) texts.insert(item.text.str());
    return texts;
}

}  // namespace

// ---- Global (site-wide) enumerations ----

ULong CNorvikSql::enumApplications(CSortList& list, int withPublisher) {
    const char* statement = "select _ID ,_MFR ,_APP ,_FLAGS from APPS order by _ID";
    try {
        for (CSqlRecordset rs(this, statement); !rs.IsEOF(); rs.MoveNext())
            list.Add(AppDisplayName(withPublisher ? rs.TextAt(1).c_str() : "", rs.TextAt(2), "", false), rs.NumberAt(0),
                     rs.NumberAt(3));
    } catch (const CDBException& e) {
        HandleSqlException(e, statement);
    }
    return list.GetCount();
}

ULong CNorvikSql::EnumGlobalSwApplications(const CDynaList<ULong>& assets, CSortList& list, ULong mask,
                                           int withPublisher, unsigned int aliasDepth, int installedOnly,
                                           const char* publisher, ULong excludeMask) {
    // Instances are counted per application before the join: joined first, the engine would
    // carry every instance of the site through the join (PostgreSQL misjudges the flag tests and
    // then probes the instances application by application), where a few thousand counts suffice.
    // count(*), not a count of a column: the application index alone answers it.
    const bool joined = assets.GetCount() != 0 || installedOnly;
    CString statement = CString("select APPS._ID ,APPS._MFR ,APPS._APP ,APPS._ALIAS ,") +
                        (joined ? "C.N" : "coalesce(C.N, 0)") + " from APPS " + (joined ? "join" : "left join") +
                        " (select _APP ,count(*) as N from APPINST" +
                        (assets.GetCount() != 0 ? " where 1=1" + InCondition("_ASSET", assets) : CString()) +
                        " group by _APP) C on C._APP=APPS._ID where 1=1";
    statement += CString::Formatted(" and (APPS._FLAGS & %d) = 0", AsInt(excludeMask));
    if (mask != 0) statement += CString::Formatted(" and ((APPS._FLAGS & %d) > 0)", AsInt(mask));
    statement += PublisherCondition(publisher);
    statement += " order by APPS._ID";
    struct Row {
        ULong id;
        ULong alias;
        ULong count;
        CString name;
    };
    CDynaList<Row> rows;
    try {
        for (CSqlRecordset rs(this, statement); !rs.IsEOF(); rs.MoveNext()) {
            const ULong alias = rs.NumberAt(3);
            // Aliased rows are named after their alias once the record set is closed.
            const CString name =
                aliasDepth != 0 && alias != 0
                    ? CString()
                    : AppDisplayName(withPublisher ? rs.TextAt(1).c_str() : "", rs.TextAt(2), "", false);
            rows.Add(Row{rs.NumberAt(0), alias, rs.NumberAt(4), name});
        }
    } catch (const CDBException& e) {
        HandleSqlException(e, statement);
        return list.GetCount();
    }
    for (const Row& row : rows)
        list.Add(aliasDepth != 0 && row.alias != 0 ? applicationGetName(row.id, aliasDepth, withPublisher) : row.name,
                 row.id, row.count);
    return list.GetCount();
}

ULong CNorvikSql::EnumGlobalSwAssets(ULong scope, ULong app, int withVersion, CSortList& list, int withAliases) {
    CDynaList<ULong> assets;
    if (!ScopeAssets(scope, assets)) return list.GetCount();
    CDynaList<ULong> apps;
    apps.Add(app);
    if (withAliases) newEnumAppAliases(app, apps);
    const CString statement =
        "select ASSET._NAME ,ASSET._ID ,APPINST._ID ,APPINST._VERSION from APPINST,ASSET where "
        "ASSET._ID=APPINST._ASSET" +
        InCondition("APPINST._APP", apps) + InCondition("APPINST._ASSET", assets) +
        " order by ASSET._NAME ,APPINST._ID";
    try {
        for (CSqlRecordset rs(this, statement); !rs.IsEOF(); rs.MoveNext()) {
            CString text = rs.TextAt(0);
            const CString version = rs.TextAt(3);
            if (withVersion && !version.IsEmpty()) text += " [" + version + "]";
            list.Add(text, rs.NumberAt(1), rs.NumberAt(2));
        }
    } catch (const CDBException& e) {
        HandleSqlException(e, statement);
    }
    return list.GetCount();
}

// ---- Publishers ----

ULong CNorvikSql::EnumGlobalSwAppPublishers(ULong scope, CSortList& list, ULong mask) {
    CDynaList<ULong> assets;
    if (!ScopeAssets(scope, assets)) return list.GetCount();
    // Counted per application first, as in EnumGlobalSwApplications.
    const CString statement = CString::Formatted(
        "select APPS._MFR ,sum(C.N) from APPS join (select _APP ,count(*) as N from APPINST where 1=1%s group "
        "by _APP) C on C._APP=APPS._ID where (APPS._FLAGS & %d) = 0 and (%d = (APPS._FLAGS & %d)) group by "
        "APPS._MFR order by APPS._MFR",
        InCondition("_ASSET", assets).c_str(), AsInt(kAppHidden), AsInt(mask), AsInt(mask));
    std::unordered_set<std::string> seen = TextsOf(list);
    try {
        for (CSqlRecordset rs(this, statement); !rs.IsEOF(); rs.MoveNext()) {
            const CString publisher = rs.TextAt(0);
            AddPublisherOnce(list, seen, publisher.IsEmpty() ? CString("Unknown") : publisher, rs.NumberAt(1));
        }
    } catch (const CDBException& e) {
        HandleSqlException(e, statement);
    }
    return list.GetCount();
}

ULong CNorvikSql::EnumAppPublishers(ULong asset, CSortList& list, ULong mask) {
    const CString statement =
        asset != 0 ? CString::Formatted(
                         "select APPS._MFR from APPINST,APPS where _ASSET=%d and APPS._ID=APPINST._APP and "
                         "(APPS._FLAGS & %d) = 0 and (%d = (APPS._FLAGS & %d)) and APPS._MFR <> '' order by "
                         "APPS._MFR",
                         AsInt(asset), AsInt(kAppHidden), AsInt(mask), AsInt(mask))
                   : CString::Formatted(
                         "select APPS._MFR from APPINST,APPS where APPS._ID=APPINST._APP and (APPS._FLAGS & "
                         "%d) = 0 and (%d = (APPS._FLAGS & %d)) and APPS._MFR <> '' order by APPS._MFR",
                         AsInt(kAppHidden), AsInt(mask), AsInt(mask));
    std::unordered_set<std::string> seen = TextsOf(list);
    try {
        for (CSqlRecordset rs(this, statement); !rs.IsEOF(); rs.MoveNext())
            AddPublisherOnce(list, seen, rs.TextAt(0), 0);
    } catch (const CDBException& e) {
        HandleSqlException(e, statement);
    }
    return list.GetCount();
}

CString CNorvikSql::GetAppPublisher(ULong app, unsigned int aliasDepth) {
    // The alias is tested but never followed: a publisher is always the row's own.
    if (aliasDepth != 0 && applicationGetAlias(app) != 0) return GetAppPublisher(app, aliasDepth - 1);
    return SelectTextReported("APPS", "_MFR", app);
}

ULong CNorvikSql::EnumAppsByPublisher(ULong asset, const char* publisher, int withVersion, CSortList& list,
                                      ULong mask) {
    const char* wanted = publisher && CString(publisher) == "Unknown" ? "" : (publisher ? publisher : "");
    // The per-asset form tests the instance's hidden bit, the all-assets form the application's.
    CString statement = asset != 0
                            ? CString::Formatted(
                                  "select APPINST._ID ,APPINST._FLAGS ,APPINST._VERSION ,APPS._APP from APPINST,APPS "
                                  "where _ASSET=%d and APPS._ID=APPINST._APP and (APPINST._FLAGS & %d) = 0 and "
                                  "((APPS._FLAGS & %d) > 0)",
                                  AsInt(asset), AsInt(kAppHidden), AsInt(mask))
                            : CString::Formatted(
                                  "select APPINST._ID ,APPINST._FLAGS ,APPINST._VERSION ,APPS._APP from APPINST,APPS "
                                  "where APPS._ID=APPINST._APP and (APPS._FLAGS & %d) = 0 and ((APPS._FLAGS & %d) > 0)",
                                  AsInt(kAppHidden), AsInt(mask));
    if (CString(wanted) != "All Publishers") statement += " and APPS._MFR=" + SqlQuote(wanted);
    std::set<std::tuple<std::string, ULong, ULong>> seen;
    for (const auto& item : list) seen.emplace(item.text.str(), item.id, item.extra);
    try {
        for (CSqlRecordset rs(this, statement); !rs.IsEOF(); rs.MoveNext()) {
            CString text = rs.TextAt(3);
            const CString version = rs.TextAt(2);
            if (withVersion && !version.IsEmpty()) text += " [" + version + "]";
            if (seen.emplace(text.str(), rs.NumberAt(0), rs.NumberAt(1)).second)
                list.Add(text, rs.NumberAt(0), rs.NumberAt(1));
        }
    } catch (const CDBException& e) {
        HandleSqlException(e, statement);
    }
    return list.GetCount();
}

ULong CNorvikSql::UpdateAppPublisher(ULong app, const char* oldPublisher, const char* newPublisher, int all) {
    ExecuteReported(
        all ? CString::Formatted("update APPS set _MFR=%s where _MFR=%s", SqlQuote(newPublisher).c_str(),
                                 SqlQuote(oldPublisher).c_str())
            : CString::Formatted("update APPS set _MFR=%s where _ID=%d", SqlQuote(newPublisher).c_str(), AsInt(app)));
    return 0;
}
