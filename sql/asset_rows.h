// The ASSET rows of many assets at once, for listings that show every asset: a few statements
// instead of one per asset and field.
#pragma once

#include <map>

#include "common/dynalist.h"
#include "platform/ctime.h"
#include "sql/norvik_sql.h"

// What the asset cache holds of one asset, as GetAssetName, GetAssetParent, GetAssetMacAddr,
// GetAssetIPAddr and GetLastAuditDate give it.
struct AssetRowFacts {
    CString name;
    ULong location = 0;  // the location, or the parent asset when status has kAssetChild
    ULong status = 0;
    CString mac;  // empty before schema 5.00
    CString ip;
    CTime audited;  // never before schema 5.10
};

// The rows of `ids` that exist, by _ID, read in bounded "in" lists. Throws CDBException.
NORVIK_API std::map<ULong, AssetRowFacts> ReadAssetRows(CNorvikSql& db, const CDynaList<ULong>& ids);
