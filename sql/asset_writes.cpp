// Assets: adding, deleting, renaming, moving and the column writes of table ASSET, each change
// recorded through historyAdd. The reads and the asset cache are in assets.cpp.
#include "platform/ui_hooks.h"
#include "sql/find_or_insert_lock.h"
#include "sql/norvik_sql.h"
#include "sql/sql_recordset.h"
#include "sql/station_file.h"

namespace {

int AsInt(ULong value) { return static_cast<int>(value); }

// The tables whose rows carry the deleted asset in _ASSET, in the order they are emptied.
const char* const kAssetTables[] = {"APPINST", "HISTORY", "HW", "IECOOKIE", "IEHIST", "SWCAPTURE", "SWLINK"};

// History kinds (icon codes) of the records written here.
constexpr int kKindPlace = 2;
constexpr int kKindAsset = 3;
constexpr int kKindAddress = 15;

}  // namespace

ULong CNorvikSql::AddAsset(const char* name, ULong location, int addUserFields, int recordHistory, CTime when) {
    // FindAsset's lookup of any asset of the name, done here so that a failed read ends the call
    // instead of reading as "not found" and inserting a second asset of the name. Only _ID is
    // fetched: every added asset pays for this read, and a whole row costs several times more.
    // On SQLite the field step needs the database's data_version: read in the same statement,
    // since every statement costs a compile there.
    const bool fieldsVersion = addUserFields && GetEngine() == SqlEngine::Sqlite;
    CString statement =
        CString::Formatted(fieldsVersion ? "select (select _ID from ASSET where _NAME=%s), data_version from "
                                           "pragma_data_version"
                                         : "select _ID from ASSET where _NAME=%s",
                           SqlQuote(name).c_str());
    if (!InTransaction()) m_assetFieldsUnsettled = false;  // any definition write has ended by now
    try {
        // An existing asset is found without the lock, whose statement writes on SQLite: finding
        // works on a read-only database. Inside a caller's transaction the lock stays first, as a
        // read before it could keep SQLite's writer lock from being taken later.
        if (!addUserFields && !InTransaction()) {
            CSqlRecordset rs(this, statement);
            if (!rs.IsEOF() && rs.NumberAt(0) != 0) return rs.NumberAt(0);
        }
        // The find and the insert hold the name's lock together: of concurrent adds of one name
        // the first inserts, the others wait and find its asset.
        FindOrInsertLock lock(*this, "ASSET", name);
        ULong asset = 0;
        long version = 0;
        {
            CSqlRecordset rs(this, statement);
            if (!rs.IsEOF()) asset = rs.NumberAt(0);
            if (!rs.IsEOF() && fieldsVersion) version = static_cast<long>(rs.NumberAt(1));
        }
        const bool added = asset == 0;
        if (added) {
            const CString values =
                CString::Formatted("%s,%d,%d", SqlQuote(name).c_str(), AsInt(location), AsInt(kAssetNew));
            statement = CString::Formatted("{?=call usp_Insert('ASSET','_NAME,_LOCATION,_STATUS',%s,?)}",
                                           SqlQuote(values).c_str());
            // The asset and its initial-audit record go in together: one commit instead of
            // two, and no asset without the record when the second insert fails.
            TransactionScope transaction(*this);
            asset = InsertRecord("ASSET", "_NAME,_LOCATION,_STATUS", values);
            m_assetCacheId = 0;
            if (recordHistory && !historyAdd(asset, when, kHistAdded, kKindAsset, name, nullptr, nullptr, nullptr))
                return 0;  // historyAdd has reported the failure; the scope takes the asset back
            transaction.Commit();
        }
        // The value rows commit with the asset (or with the lock of a found one): one commit per
        // call, and no new asset without its rows when their insert fails.
        if (addUserFields) AddAssetUserFields(asset, added, version, statement);
        lock.Commit();
        return asset;
    } catch (const CDBException& e) {
        HandleSqlException(e, statement);
        return 0;
    }
}

int CNorvikSql::assetDelete(ULong asset) {
    // Rows with _ASSET 0 belong to no asset (the hardware skeleton among them): never cascade.
    if (asset == 0) return 0;
    platform::CWaitCursor wait;
    CString statement = CString::Formatted("select _NAME from ASSET where _ID = %d", AsInt(asset));
    try {
        // Every row goes in one transaction: a failure or an interruption deletes nothing.
        TransactionScope transaction(*this);
        bool found = false;
        CString name;
        {
            CSqlRecordset rs(this, statement);
            found = !rs.IsEOF();
            if (found) name = rs.TextAt(0);
        }
        statement = CString::Formatted("delete from ASSET where _ID = %d", AsInt(asset));
        ExecuteStatement(statement);
        m_assetCacheId = 0;
        for (const char* table : kAssetTables) {
            statement = CString::Formatted("delete from %s where _ASSET=%d", table, AsInt(asset));
            ExecuteStatement(statement);
        }
        statement =
            "delete from EVENTLOG where EVENTLOG._ID not in (select EVENTLOG._ID from EVENTLOG JOIN HISTORY ON "
            "EVENTLOG._HISTID = HISTORY._ID)";
        ExecuteStatement(statement);
        statement = CString::Formatted("delete from USERDATA where _OWNER = %d and _FLAGS = %d", AsInt(asset),
                                       AsInt(kUserDataAsset));
        ExecuteStatement(statement);
        // LIKE, not "=", as sites know it: wildcards in the name take other discovered entries
        // along. Without the row (a deletion run again after a failure) the name is unknown, and
        // an empty pattern would take the unnamed entries.
        if (found) {
            statement = CString::Formatted("delete from DISCOVER where _ASSET like %s", SqlQuote(name).c_str());
            ExecuteStatement(statement);
        }
        transaction.Commit();
        m_bCleanNeeded = 1;
        return 1;
    } catch (const CDBException& e) {
        m_assetCacheId = 0;
        HandleSqlException(e, statement);
        return 0;
    }
}

void CNorvikSql::assetDeleteSamples() {
    const CString condition = CString::Formatted("(_FLAGS & %d) > 0", AsInt(kAssetSampleFlag));
    CDynaList<ULong> samples;
    try {
        EnumIds("ASSET", condition, samples);
    } catch (const CDBException& e) {
        HandleSqlException(e, "select _ID from ASSET where " + condition);
        return;
    }
    for (ULong asset : samples)
        if (!assetDelete(asset)) return;
}

int CNorvikSql::SetAssetName(ULong asset, const char* name, const char* stationFile, int recordHistory, CTime when) {
    if (!LoadAssetCache(asset)) return 0;
    const CString oldName = m_assetCache.name;
    const CString statement =
        CString::Formatted("update ASSET set _NAME = %s where _ID = %d", SqlQuote(name).c_str(), AsInt(asset));
    try {
        // The new name, its history record and the station file change together: the file is
        // written (replaced whole) before the commit, and a file that cannot be written takes
        // the database change back.
        TransactionScope transaction(*this);
        ExecuteStatement(statement);
        if (recordHistory && !historyAdd(asset, when, kHistChanged, kKindAsset, "Name", oldName, name, nullptr)) {
            m_assetCacheId = 0;
            return 0;  // historyAdd has reported the failure; the scope takes the name back
        }
        if (stationFile && *stationFile) {
            try {
                WriteStationValue(stationFile, "Asset", "Name", name);
            } catch (const CFileException& e) {
                m_assetCacheId = 0;
                HandleException(e, e.GetErrorMessage());
                return 0;
            }
        }
        transaction.Commit();
    } catch (const CDBException& e) {
        m_assetCacheId = 0;
        HandleSqlException(e, statement);
        return 0;
    }
    if (m_assetCacheId == asset) m_assetCache.name = name ? name : "";
    return 1;
}

CString CNorvikSql::DescribePlace(ULong parent, bool parentIsAsset) {
    if (parentIsAsset) return CString::Formatted("child of %s", GetAssetName(parent).c_str());
    // "|" separates levels in history values; they are shown with ">".
    return locGetFullName(parent, '|');
}

int CNorvikSql::SetAssetParent(ULong asset, ULong parent, int parentIsAsset, int recordHistory, CTime when) {
    if (!LoadAssetCache(asset)) return 0;
    const ULong oldParent = m_assetCache.location;
    const bool wasChild = (m_assetCache.status & kAssetChild) != 0;
    const bool toAsset = parentIsAsset != 0;
    if (oldParent == parent && wasChild == toAsset) return 1;
    if (toAsset) {
        // An asset may not end up below itself: GetAssetLocation would never reach a location.
        for (ULong above = parent; above != 0;) {
            if (above == asset) return 0;
            int isLocation = 1;
            const ULong next = GetAssetParent(above, isLocation);
            if (isLocation) break;
            above = next;
        }
        if (!LoadAssetCache(parent)) return 0;
    }
    CString oldPlace;
    CString newPlace;
    if (recordHistory) {
        oldPlace = DescribePlace(oldParent, wasChild);
        newPlace = DescribePlace(parent, toAsset);
    }
    const CString statement =
        CString::Formatted("update ASSET set _LOCATION=%d where _ID=%d", AsInt(parent), AsInt(asset));
    try {
        ExecuteStatement(statement);
    } catch (const CDBException& e) {
        HandleSqlException(e, statement);
        return 0;
    }
    if (m_assetCacheId == asset) m_assetCache.location = parent;
    SetAssetStateFlag(asset, kAssetChild, toAsset ? 1 : 0);
    if (recordHistory) historyAdd(asset, when, kHistChanged, kKindPlace, m_szLocation, oldPlace, newPlace, nullptr);
    return 1;
}

int CNorvikSql::SetAssetStateFlag(ULong asset, ULong mask, int set) {
    if (!LoadAssetCache(asset)) return 0;
    const int previous = (m_assetCache.status & mask) != 0 ? 1 : 0;
    if (set == previous) return previous;
    const ULong status = set ? (m_assetCache.status | mask) : (m_assetCache.status & ~mask);
    const CString statement =
        CString::Formatted("update ASSET set _STATUS = %d where _ID = %d", AsInt(status), AsInt(asset));
    try {
        ExecuteStatement(statement);
        m_assetCache.status = status;
    } catch (const CDBException& e) {
        HandleSqlException(e, statement);
    }
    return previous;
}

int CNorvikSql::SetLastAuditDate(ULong asset, CTime when) {
    // The time 0 means "never": stored as null, so that it reads back as 0.
    const CString date = when.IsNever() ? CString("null") : SqlTime(when);
    const CString statement =
        CString::Formatted("update ASSET set _AUDDATE=%s where _ID=%d", date.c_str(), AsInt(asset));
    try {
        ExecuteStatement(statement);
        m_assetCacheId = 0;
        return 1;
    } catch (const CDBException& e) {
        HandleSqlException(e, statement);
        return 0;
    }
}

int CNorvikSql::SetAddressColumn(ULong asset, const char* column, CString AssetCacheEntry::*field,
                                 const char* historyKey, const CString& value, int recordHistory, CTime when) {
    if (!LoadAssetCache(asset)) return 0;
    const CString oldValue = m_assetCache.*field;
    if (oldValue == value) return 1;
    const CString statement =
        CString::Formatted("update ASSET set %s=%s where _ID=%d", column, SqlQuote(value).c_str(), AsInt(asset));
    try {
        ExecuteStatement(statement);
    } catch (const CDBException& e) {
        HandleSqlException(e, statement);
        return 0;
    }
    m_assetCache.*field = value;
    if (recordHistory) historyAdd(asset, when, kHistChanged, kKindAddress, historyKey, oldValue, value, nullptr);
    return 1;
}

int CNorvikSql::SetAssetMacAddr(ULong asset, const char* mac, int recordHistory, CTime when) {
    return SetAddressColumn(asset, "_MACADDR", &AssetCacheEntry::macAddr, "Primary MAC Address", CString(mac),
                            recordHistory, when);
}

int CNorvikSql::SetAssetIPAddr(ULong asset, CIPAddress ip, int recordHistory, CTime when) {
    return SetAddressColumn(asset, "_IPADDR", &AssetCacheEntry::ipAddr, "Primary IP Address", ip.GetAsText(),
                            recordHistory, when);
}
