// Hardware tree, reads: path finds, the per-asset and site-wide enumerations of table HW, the
// category path of a node, and the display text of values. Writes are in hardware_writes.cpp.
#include <cstdlib>
#include <map>
#include <set>
#include <string>
#include <vector>

#include "common/formatting.h"
#include "common/ipaddress.h"
#include "common/token.h"
#include "interface/hardware_display.h"
#include "sql/norvik_sql.h"
#include "sql/sql_recordset.h"

namespace {

// Deeper than any real hardware tree; a cycle written into HW by hand ends here instead of
// recursing for ever.
constexpr int kMaxHwDepth = 64;

struct ChildRow {
    ULong id;
    ULong flags;
};

// hwIsEmpty's walk. Throws CDBException, the failing statement left in `statement`.
bool IsEmptyBelow(CNorvikSql& db, ULong asset, ULong category, int depth, CString& statement) {
    if (depth > kMaxHwDepth) return true;
    statement = CString::Formatted("select _ID,_FLAGS from HW where _PARENT=%d and (_ASSET=0 or _ASSET=%d)",
                                   static_cast<int>(category), static_cast<int>(asset));
    std::vector<ChildRow> categories;
    {
        CSqlRecordset rs(&db, statement);
        for (; !rs.IsEOF(); rs.MoveNext()) {
            const ChildRow row{rs.NumberAt(0), rs.NumberAt(1)};
            if ((row.flags & CNorvik::kHwCategory) == 0) return false;
            categories.push_back(row);
        }
    }
    for (const ChildRow& child : categories)
        if (!IsEmptyBelow(db, asset, child.id, depth + 1, statement)) return false;
    return true;
}

// The category path of a node as usp_GetHwCategoryString computes it on PostgreSQL
// (schema/postgresql/usp_gethwcategorystring.sql); keep the two identical. Throws CDBException.
CString SqliteHwCategoryString(CNorvikSql& db, ULong node, char separator, CString& statement) {
    CString path;
    bool first = true;
    for (int depth = 0; node != 0 && depth < kMaxHwDepth; ++depth) {
        statement = CString::Formatted("select _PARENT,_KEY,_FLAGS from HW where _ID=%d", static_cast<int>(node));
        CSqlRecordset rs(&db, statement);
        if (rs.IsEOF()) break;
        if (rs.NumberAt(2) & CNorvik::kHwCategory) {
            path = first ? rs.TextAt(1) : rs.TextAt(1) + CString(separator) + path;
            first = false;
        }
        node = rs.NumberAt(0);
    }
    return path;
}

// The paths ("A|B|C") of category nodes, as SqliteHwCategoryString gives them, for many nodes
// at once: every node met on the way up is read once and its path kept.
class CategoryPathWalk {
public:
    CategoryPathWalk(CNorvikSql& db, CString& statement) : m_db(db), m_statement(statement) {}
    CString PathOf(ULong node) { return Walk(node, 0).path; }

private:
    struct Path {
        bool any = false;  // a category was met: an empty path and a path of one empty key differ
        CString path;
    };
    Path Walk(ULong node, int depth) {
        if (node == 0 || depth >= kMaxHwDepth) return Path{};
        if (const auto found = m_known.find(node); found != m_known.end()) return found->second;
        ULong parent = 0, flags = 0;
        CString key;
        {
            m_statement = CString::Formatted("select _PARENT,_KEY,_FLAGS from HW where _ID=%d", static_cast<int>(node));
            CSqlRecordset rs(&m_db, m_statement);
            if (rs.IsEOF()) return m_known[node] = Path{};
            parent = rs.NumberAt(0);
            key = rs.TextAt(1);
            flags = rs.NumberAt(2);
        }
        Path path = Walk(parent, depth + 1);
        if (flags & CNorvik::kHwCategory) {
            path.path = path.any ? path.path + "|" + key : key;
            path.any = true;
        }
        return m_known[node] = path;
    }

    CNorvikSql& m_db;
    CString& m_statement;
    std::map<ULong, Path> m_known;
};

// The paths of the categories holding `asset`'s values, as usp_GetHwCategoryString gives them
// (at most 64 nodes up), in one recursive statement: each row of the walk carries the path met
// so far, and a start's last row is its path. Each step reads its node by _ID through a
// lateral sub-select with a limit, which the planner cannot turn into a join: on a small site
// it would hash the whole of HW for every step of the walk.
void ReadCategoryPaths(CNorvikSql& db, ULong asset, bool exclude, std::map<ULong, CString>& paths, CString& statement) {
    statement = CString::Formatted(
        "with recursive walk(start, node, depth, path, found) as ("
        "select p.P, p.P, 0, cast('' as text), false from (select distinct _PARENT as P from HW where _ASSET=%d%s) p "
        "join lateral (select 1 from HW h where h._ID = p.P limit 1) x on true "
        "union all select w.start, coalesce(h._PARENT, 0), w.depth + 1, "
        "case when (coalesce(h._FLAGS, 0) & 1) = 0 then w.path when w.found then coalesce(h._KEY, '') || '|' || "
        "w.path else coalesce(h._KEY, '') end, w.found or (coalesce(h._FLAGS, 0) & 1) <> 0 "
        "from walk w join lateral (select _PARENT, _FLAGS, _KEY from HW where HW._ID = w.node limit 1) h on true "
        "where w.node <> 0 and w.depth < 64) "
        "select distinct on (start) start, path from walk order by start, depth desc",
        static_cast<int>(asset),
        exclude ? CString::Formatted(" and (_FLAGS & %d) = 0", static_cast<int>(CNorvik::kHwExcluded)).c_str() : "");
    for (CSqlRecordset rs(&db, statement); !rs.IsEOF(); rs.MoveNext()) paths[rs.NumberAt(0)] = rs.TextAt(1);
}

}  // namespace

// ---- Path finds ----

ULong CNorvikSql::hwFind(const char* path, char delimiter) {
    CString statement;
    try {
        ULong parent = 0;
        CString rest = path ? path : "";
        while (!rest.IsEmpty()) {
            const CString token = ExtractToken(rest, delimiter, true, false, false);
            // A piece that is not there is skipped on purpose: the walk goes on from the last
            // category found, so paths with an optional level still find what lies below it.
            if (const ULong found = FindChildCategory(parent, token, statement)) parent = found;
        }
        return parent;
    } catch (const CDBException& e) {
        HandleSqlException(e, statement);
        return 0;
    }
}

ULong CNorvikSql::FindChildCategory(ULong parent, const CString& key, CString& statement) {
    statement = CString::Formatted("select _ID from HW where _PARENT=%d and (_FLAGS & %d) > 0 and _KEY=%s",
                                   static_cast<int>(parent), static_cast<int>(kHwCategory), SqlQuote(key).c_str());
    CSqlRecordset rs(this, statement);
    return rs.IsEOF() ? 0 : rs.NumberAt(0);
}

ULong CNorvikSql::hwFind(ULong parent, ULong asset, const char* key) {
    const CString statement =
        CString::Formatted("select _ID from HW where _PARENT=%d and _ASSET=%d and _KEY=%s", static_cast<int>(parent),
                           static_cast<int>(asset), SqlQuote(key).c_str());
    return FirstNumberReported(statement);
}

// ---- Single nodes ----

CString CNorvikSql::hwCatAsString(ULong node, char separator) {
    const CString args = CString::Formatted("%d,%s", static_cast<int>(node), SqlQuote(CString(separator)).c_str());
    CString statement;
    try {
        if (GetEngine() == SqlEngine::Sqlite) return SqliteHwCategoryString(*this, node, separator, statement);
        // The procedure's answer is a text, which the integer output parameters of the
        // procedure call cannot carry; psqlODBC turns "{?=call f(args,?)}" into exactly this
        // select, so the result row is read as it would arrive.
        statement = CString::Formatted("select path from usp_GetHwCategoryString(%s)", args.c_str());
        CSqlRecordset rs(this, statement);
        return rs.IsEOF() ? CString() : rs.TextAt(0);
    } catch (const CDBException& e) {
        HandleSqlException(e, statement.IsEmpty() ? CString("usp_GetHwCategoryString(" + args + ")") : statement);
        return CString();
    }
}

CString CNorvikSql::hwValueAsString(ULong node) {
    const CString statement = CString::Formatted("select _FLAGS,_VAL from HW where _ID=%d", static_cast<int>(node));
    try {
        ULong flags = 0;
        CString value;
        {
            CSqlRecordset rs(this, statement);
            if (rs.IsEOF()) return CString();
            flags = rs.NumberAt(0);
            value = rs.TextAt(1);
        }
        return hwValueAsString(flags, value);
    } catch (const CDBException& e) {
        HandleSqlException(e, statement);
        return CString();
    }
}

CString CNorvikSql::hwValueAsString(ULong flags, CString& value) {
    value = HwDisplayValue(flags, value);
    return value;
}

ULong CNorvikSql::hwFlags(ULong node) { return SelectNumberReported("HW", "_FLAGS", node); }

int CNorvikSql::hwIsEmpty(ULong asset, ULong category) {
    CString statement;
    try {
        return IsEmptyBelow(*this, asset, category, 0, statement) ? 1 : 0;
    } catch (const CDBException& e) {
        HandleSqlException(e, statement);
        return 0;
    }
}

// ---- Enumerations ----

int CNorvikSql::hwEnum(ULong asset, ULong parent, CSortList& list, ULong mask) {
    CString statement = CString::Formatted(
        "select _ID,_ASSET,_FLAGS,_KEY from HW where _PARENT=%d and (_ASSET=0 or "
        "_ASSET=%d)",
        static_cast<int>(parent), static_cast<int>(asset));
    try {
        std::vector<CSortItem> found;
        {
            CSqlRecordset rs(this, statement);
            for (; !rs.IsEOF(); rs.MoveNext()) {
                const ULong id = rs.NumberAt(0);
                const ULong owner = rs.NumberAt(1);
                const ULong flags = rs.NumberAt(2);
                CString key = rs.TextAt(3);
                if (key.IsEmpty() || (flags & mask) == 0) continue;
                if ((flags & kHwCategory) == 0 && owner != asset && asset != 0) continue;
                found.push_back(CSortItem{std::move(key), id, flags});
            }
        }
        // Categories are tested once the reader is closed: each test is a walk of its own.
        for (CSortItem& item : found) {
            if ((item.extra & kHwCategory) && IsEmptyBelow(*this, asset, item.id, 0, statement)) continue;
            list.Add(std::move(item.text), item.id, item.extra);
        }
    } catch (const CDBException& e) {
        HandleSqlException(e, statement);
    }
    return 1;
}

int CNorvikSql::hwEnumAll(ULong asset, CHwList& list, int exclude) {
    CString statement =
        exclude
            ? CString::Formatted("select _PARENT,_KEY,_VAL,_FLAGS from HW where _ASSET=%d and (_FLAGS & %d) = 0",
                                 static_cast<int>(asset), static_cast<int>(kHwExcluded))
            : CString::Formatted("select _PARENT,_KEY,_VAL,_FLAGS from HW where _ASSET=%d", static_cast<int>(asset));
    try {
        std::vector<CHwItem> rows;
        {
            CSqlRecordset rs(this, statement);
            for (; !rs.IsEOF(); rs.MoveNext())
                rows.push_back(CHwItem{rs.NumberAt(0), CString(), rs.TextAt(1), rs.TextAt(2), rs.NumberAt(3)});
        }
        // Many values share a category: each path is asked for once. On SQLite the walks up
        // also share their ancestors, so each node is read once; on PostgreSQL, where each
        // statement is a round trip, one statement walks up from every category of the asset.
        std::map<ULong, CString> paths;
        if (GetEngine() != SqlEngine::Sqlite) ReadCategoryPaths(*this, asset, exclude != 0, paths, statement);
        CategoryPathWalk shared(*this, statement);
        for (CHwItem& row : rows) {
            auto found = paths.find(row.parent);
            if (found == paths.end()) found = paths.emplace(row.parent, shared.PathOf(row.parent)).first;
            list.Add(row.parent, found->second, row.key, row.value, row.flags);
        }
    } catch (const CDBException& e) {
        HandleSqlException(e, statement);
    }
    return static_cast<int>(list.GetCount());
}

int CNorvikSql::hwEnumByAsset(ULong parent, const char* key, CSortList& list) {
    const CString statement = CString::Formatted("select _ASSET,_VAL,_FLAGS from HW where _PARENT=%d and _KEY=%s",
                                                 static_cast<int>(parent), SqlQuote(key).c_str());
    try {
        const CString itemKey = key ? key : "";
        CSqlRecordset rs(this, statement);
        for (; !rs.IsEOF(); rs.MoveNext()) {
            const ULong owner = rs.NumberAt(0);
            if (owner == 0) continue;
            const CString value = rs.TextAt(1);
            list.Add(HwShownValue(rs.NumberAt(2), itemKey, value), owner, HwTextAsInteger(value));
        }
    } catch (const CDBException& e) {
        HandleSqlException(e, statement);
    }
    return static_cast<int>(list.GetCount());
}

int CNorvikSql::hwEnumGlobal(ULong parent, ULong mask, CSortList& list) {
    CString statement = CString::Formatted("select _ID,_FLAGS,_KEY from HW where _PARENT=%d and (_FLAGS & %d) > 0",
                                           static_cast<int>(parent), static_cast<int>(mask));
    try {
        {
            CSqlRecordset rs(this, statement);
            for (; !rs.IsEOF(); rs.MoveNext())
                if (rs.NumberAt(1) & kHwCategory) list.Add(rs.TextAt(2), rs.NumberAt(0), rs.NumberAt(1));
        }
        statement = CString::Formatted("select _KEY,_FLAGS,_ASSET from HW where _PARENT=%d", static_cast<int>(parent));
        std::set<std::string> seen;
        CSqlRecordset rs(this, statement);
        for (; !rs.IsEOF(); rs.MoveNext()) {
            if (rs.NumberAt(2) == 0) continue;  // the skeleton was listed above
            CString key = rs.TextAt(0);
            if (seen.insert(key.str()).second) list.Add(std::move(key), 0, rs.NumberAt(1));
        }
    } catch (const CDBException& e) {
        HandleSqlException(e, statement);
    }
    return static_cast<int>(list.GetCount());
}

int CNorvikSql::hwEnumGlobal(ULong parent, const char* key, CSortList& list, int withAssetNames) {
    const CString itemKey = key ? key : "";
    CString statement = CString::Formatted("select _ID,_FLAGS from HW where _PARENT=%d and _KEY=%s",
                                           static_cast<int>(parent), SqlQuote(itemKey).c_str());
    try {
        ULong category = 0;
        {
            CSqlRecordset rs(this, statement);
            for (; !rs.IsEOF() && category == 0; rs.MoveNext())
                if (rs.NumberAt(1) & kHwCategory) category = rs.NumberAt(0);
        }
        if (category != 0) return hwEnumGlobal(category, 0xFFFFFFFF, list);
        if (!withAssetNames) {
            statement = CString::Formatted("select _ID,_FLAGS,_VAL,_ASSET from HW where _PARENT=%d and _KEY=%s",
                                           static_cast<int>(parent), SqlQuote(itemKey).c_str());
            CSqlRecordset rs(this, statement);
            for (; !rs.IsEOF(); rs.MoveNext()) {
                if (rs.NumberAt(3) == 0) continue;
                const CString value = rs.TextAt(2);
                list.Add(HwShownValue(rs.NumberAt(1), itemKey, value), rs.NumberAt(3), HwTextAsInteger(value));
            }
        } else {
            statement = CString::Formatted(
                "select ASSET._ID,ASSET._NAME, HW._FLAGS, HW._VAL from HW,ASSET where HW._ASSET=ASSET._ID and "
                "HW._PARENT=%d and HW._KEY=%s",
                static_cast<int>(parent), SqlQuote(itemKey).c_str());
            CSqlRecordset rs(this, statement);
            for (; !rs.IsEOF(); rs.MoveNext()) {
                const CString value = rs.TextAt(3);
                list.Add(rs.TextAt(1) + "\t" + HwShownValue(rs.NumberAt(2), itemKey, value), rs.NumberAt(0),
                         HwTextAsInteger(value));
            }
        }
    } catch (const CDBException& e) {
        HandleSqlException(e, statement);
    }
    return static_cast<int>(list.GetCount());
}

int CNorvikSql::hwFindAssetsByValue(ULong parent, const char* key, const char* value, CDynaList<ULong>& assets) {
    const CString statement =
        CString::Formatted("select distinct _ASSET from HW where _KEY=%s and _VAL=%s and _PARENT=%d and _ASSET<>0",
                           SqlQuote(key).c_str(), SqlQuote(value).c_str(), static_cast<int>(parent));
    try {
        CSqlRecordset rs(this, statement);
        for (; !rs.IsEOF(); rs.MoveNext()) assets.Add(rs.NumberAt(0));
    } catch (const CDBException& e) {
        HandleSqlException(e, statement);
    }
    return static_cast<int>(assets.GetCount());
}
