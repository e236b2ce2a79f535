// Assets: the one-entry asset cache and the reads and enumerations of table ASSET. The writes
// are in asset_writes.cpp.
#include <algorithm>
#include <unordered_set>

#include "common/sortlist.h"
#include "common/trace.h"
#include "sql/name_pattern.h"
#include "sql/norvik_sql.h"
#include "sql/row_reading.h"
#include "sql/sql_recordset.h"

namespace {

bool Contains(const CDynaList<ULong>& list, ULong id) { return std::find(list.begin(), list.end(), id) != list.end(); }

CDynaList<ULong> With(const CDynaList<ULong>& list, ULong id) {
    CDynaList<ULong> longer(list);
    longer.Add(id);
    return longer;
}

int AsInt(ULong value) { return static_cast<int>(value); }

}  // namespace

// ---- The asset cache ----

bool CNorvikSql::LoadAssetCache(ULong asset) {
    TracePrintf("Loading Asset Cache for Asset ID : %d\n", AsInt(asset));
    if (m_assetCacheId == asset) return asset != 0;
    m_assetCacheId = 0;
    m_assetCache = AssetCacheEntry();
    CString statement;
    try {
        // Older schemas lack the address columns (before 5.00) and the audit date (before 5.10).
        const int version = GetVer();
        const char* columns = version >= 510
                                  ? "_NAME,_LOCATION,_STATUS,_CAT,_MAKE,_MODEL,_SERIAL,_MACADDR,_IPADDR,_AUDDATE"
                              : version >= 500 ? "_NAME,_LOCATION,_STATUS,_CAT,_MAKE,_MODEL,_SERIAL,_MACADDR,_IPADDR"
                                               : "_NAME,_LOCATION,_STATUS,_CAT,_MAKE,_MODEL,_SERIAL";
        statement = CString::Formatted("select %s from ASSET where _ID=%d", columns, AsInt(asset));
        const bool found = ReadFirstRow(*this, statement, [&](CSqlRecordset& rs) {
            m_assetCache = AssetCacheEntry{rs.TextAt(0),
                                           rs.NumberAt(1),
                                           rs.NumberAt(2),
                                           rs.NumberAt(3),
                                           rs.NumberAt(4),
                                           rs.NumberAt(5),
                                           rs.TextAt(6),
                                           version >= 500 ? rs.TextAt(7) : CString(),
                                           version >= 500 ? rs.TextAt(8) : CString(),
                                           version >= 510 ? rs.TimeAt(9) : CTime()};
        });
        if (!found) return false;
        m_assetCacheId = asset;
        return asset != 0;
    } catch (const CDBException& e) {
        m_assetCache = AssetCacheEntry();
        HandleSqlException(e, statement);
        return false;
    }
}

// ---- Reads ----

ULong CNorvikSql::FindAsset(const char* name, ULong location, int asChild) {
    CString statement = CString::Formatted("select * from ASSET where _NAME=%s", SqlQuote(name).c_str());
    if (asChild && location)
        statement +=
            CString::Formatted(" and _LOCATION=%d and (_STATUS & %d) <> 0", AsInt(location), AsInt(kAssetChild));
    else if (!asChild)
        statement += CString::Formatted(" and (_STATUS & %d = 0)", AsInt(kAssetChild));
    return FirstNumberReported(statement);
}

ULong CNorvikSql::FindMatchingAssets(const char* pattern, CDynaList<ULong>& list, int includeChildren) {
    CString statement = "select _ID,_NAME from ASSET";
    if (!includeChildren) statement += CString::Formatted(" where (_STATUS & %d = 0)", AsInt(kAssetChild));
    statement += " order by _NAME";
    try {
        // The pattern is applied here rather than through LIKE, whose wildcards differ and whose
        // case rules differ between the engines.
        for (CSqlRecordset rs(this, statement); !rs.IsEOF(); rs.MoveNext())
            if (MatchNamePattern(pattern, rs.TextAt(1))) list.Add(rs.NumberAt(0));
    } catch (const CDBException& e) {
        HandleSqlException(e, statement);
    }
    return list.GetCount();
}

bool CNorvikSql::CountAssetsBelow(ULong location, int unfiltered, int quick, const CDynaList<ULong>& ancestors,
                                  ULong& total, CString& statement) {
    const CString filter = unfiltered ? CString()
                                      : CString::Formatted(" where (_STATUS & %d) > 0 and (_STATUS & %d) = 0",
                                                           AsInt(kAssetKindMask), AsInt(kAssetUncounted));
    if (!filter.IsEmpty())
        statement =
            CString::Formatted("select count(*) from ASSET %s and _LOCATION=%d", filter.c_str(), AsInt(location));
    else
        statement = CString::Formatted("select count(*) from ASSET where _LOCATION=%d", AsInt(location));
    {
        CSqlRecordset rs(this, statement);
        total += rs.IsEOF() ? 0 : rs.NumberAt(0);
    }
    if (quick && total != 0) return true;
    CDynaList<ULong> children;
    if (!locEnum(location, children, 0)) return false;
    const CDynaList<ULong> path = With(ancestors, location);
    for (ULong child : children) {
        if (Contains(path, child)) continue;  // a cycle written into LOCDATA by hand
        // Each sub-location is counted as CountAssets counts it: from zero, descending only
        // while its own total is 0.
        ULong below = 0;
        if (!CountAssetsBelow(child, unfiltered, quick, path, below, statement)) return false;
        total += below;
        if (quick && total > 1) break;
    }
    return true;
}

ULong CNorvikSql::CountAssets(ULong location, int unfiltered, int quick) {
    CString statement;
    try {
        if (location == 0) {
            statement = "select count(*) from ASSET";
            if (!unfiltered)
                statement += CString::Formatted(" where (_STATUS & %d) > 0 and (_STATUS & %d) = 0",
                                                AsInt(kAssetKindMask), AsInt(kAssetUncounted));
            CSqlRecordset rs(this, statement);
            return rs.IsEOF() ? 0 : rs.NumberAt(0);
        }
        ULong total = 0;
        return CountAssetsBelow(location, unfiltered, quick, CDynaList<ULong>(), total, statement) ? total : 0;
    } catch (const CDBException& e) {
        HandleSqlException(e, statement);
        return 0;
    }
}

CString CNorvikSql::GetAssetName(ULong asset) { return LoadAssetCache(asset) ? m_assetCache.name : CString(); }

ULong CNorvikSql::GetAssetParent(ULong asset, int& isLocation) {
    isLocation = 1;
    if (!LoadAssetCache(asset)) return 0;
    isLocation = (m_assetCache.status & kAssetChild) ? 0 : 1;
    return m_assetCache.location;
}

int CNorvikSql::GetAssetStateFlag(ULong asset, ULong mask) {
    return LoadAssetCache(asset) && (m_assetCache.status & mask) != 0 ? 1 : 0;
}

CTime CNorvikSql::GetLastAuditDate(ULong asset) { return LoadAssetCache(asset) ? m_assetCache.auditDate : CTime(); }

CString CNorvikSql::GetAssetMacAddr(ULong asset) { return LoadAssetCache(asset) ? m_assetCache.macAddr : CString(); }

ULong CNorvikSql::FindMacAddr(const char* mac, ULong exceptAsset) const {
    const CString statement = CString::Formatted("select _ID from ASSET where _MACADDR=%s and _ID<>%d",
                                                 SqlQuote(mac).c_str(), AsInt(exceptAsset));
    // A read changes nothing the caller can see; it only takes the connection's busy flag.
    return const_cast<CNorvikSql*>(this)->FirstNumberReported(statement);
}

CString CNorvikSql::GetAssetIPAddr(ULong asset) { return LoadAssetCache(asset) ? m_assetCache.ipAddr : CString(); }

// ---- Enumerations ----

void CNorvikSql::EnumChildAssets(ULong asset, CDynaList<ULong>& list, int recursive, const CDynaList<ULong>& ancestors,
                                 CString& statement) {
    statement = CString::Formatted("select _ID from ASSET where _LOCATION=%d and (_STATUS & %d) <> 0", AsInt(asset),
                                   AsInt(kAssetChild));
    CDynaList<ULong> children;
    for (CSqlRecordset rs(this, statement); !rs.IsEOF(); rs.MoveNext()) children.Add(rs.NumberAt(0));
    const CDynaList<ULong> path = With(ancestors, asset);
    for (ULong child : children) {
        list.Add(child);
        if (recursive && !Contains(path, child)) EnumChildAssets(child, list, recursive, path, statement);
    }
}

ULong CNorvikSql::assetEnumChildren(ULong asset, CDynaList<ULong>& list, int recursive) {
    CString statement;
    try {
        EnumChildAssets(asset, list, recursive, CDynaList<ULong>(), statement);
    } catch (const CDBException& e) {
        HandleSqlException(e, statement);
    }
    return list.GetCount();
}

ULong CNorvikSql::assetEnum(ULong location, int children, CDynaList<ULong>& list, int recursive) {
    CString statement;
    try {
        if (children) {
            statement =
                CString::Formatted("select _ID from ASSET where _LOCATION=%d and (_STATUS & %d) > 0 order by _NAME",
                                   AsInt(location), AsInt(kAssetChild));
            CDynaList<ULong> entries;
            for (CSqlRecordset rs(this, statement); !rs.IsEOF(); rs.MoveNext()) entries.Add(rs.NumberAt(0));
            for (ULong entry : entries) list.Add(entry);
            // Kept as the callers know it: each entry is enumerated as a location _ID.
            if (recursive)
                for (ULong entry : entries) assetEnum(entry, 0, list, 1);
        } else if (location == 0 && recursive) {
            statement = "select _ID from ASSET order by _NAME";
            for (CSqlRecordset rs(this, statement); !rs.IsEOF(); rs.MoveNext()) list.Add(rs.NumberAt(0));
        } else if (recursive) {
            CDynaList<ULong> locations;
            locations.Add(location);
            if (!locEnum(location, locations, 1)) return list.GetCount();
            const std::unordered_set<ULong> places(locations.begin(), locations.end());
            statement = CString::Formatted("select _ID,_LOCATION from ASSET where (_STATUS & %d) = 0 order by _NAME",
                                           AsInt(kAssetChild));
            CDynaList<ULong> taken;
            for (CSqlRecordset rs(this, statement); !rs.IsEOF(); rs.MoveNext())
                if (places.count(rs.NumberAt(1))) taken.Add(rs.NumberAt(0));
            for (ULong asset : taken) list.Add(asset);
            for (ULong asset : taken) EnumChildAssets(asset, list, 1, CDynaList<ULong>(), statement);
        } else {
            statement =
                CString::Formatted("select _ID from ASSET where _LOCATION=%d and (_STATUS & %d) = 0 order by _NAME",
                                   AsInt(location), AsInt(kAssetChild));
            for (CSqlRecordset rs(this, statement); !rs.IsEOF(); rs.MoveNext()) list.Add(rs.NumberAt(0));
        }
    } catch (const CDBException& e) {
        HandleSqlException(e, statement);
    }
    return list.GetCount();
}

ULong CNorvikSql::EnumAssetNames(CSortList& list) {
    const char* statement = "select _ID,_NAME from ASSET";
    try {
        for (CSqlRecordset rs(this, statement); !rs.IsEOF(); rs.MoveNext()) list.Add(rs.TextAt(1), rs.NumberAt(0));
    } catch (const CDBException& e) {
        HandleSqlException(e, statement);
    }
    return list.GetCount();
}
