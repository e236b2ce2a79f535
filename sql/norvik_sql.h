// CNorvikSql: the Audit Database over ODBC. This header declares the whole back end; each
// table family's operations live in their own source file (options.cpp, assets.cpp, ...).
//
// Every operation catches database failures at its boundary, reports them through
// HandleSqlException (the caller's message-box callback) and returns its failure value.
#pragma once

#include "interface/norvik.h"
#include "sql/sql_database.h"

class NORVIK_API CNorvikSql : public CNorvik, public CSqlDatabase {
public:
    // The schema version this library works with: 7.14.
    static constexpr unsigned short kRequiredMajor = 7;
    static constexpr unsigned short kRequiredMinor = 14;

    explicit CNorvikSql(CAuditDBSys& kb);
    ~CNorvikSql() override;

    void HandleSqlException(const CDBException& e, const char* statement) const override;

    // ---- Life cycle ----
    int GetDbType() override { return dbSql; }
    int Open(const char* dsn, const char* ignored, ULong flags) override;
    int Save() override { return 1; }
    int CreateBackup(const char* /*path*/) override { return 0; }
    int CloseDB() override;
    void Clean() override;
    int Test() override { return 1; }
    int EnumTableNames(CDynaList<CString>& /*names*/) override { return 0; }
    int ExportTable(const char*, const char*, int, int) override { return 1; }
    int ExportAsset(ULong, const char*) override { return 0; }
    CString GetOption(const char* key) override;
    void SetOption(const char* key, const char* value) override;

    // ---- Samples ----
    void assetDeleteSamples() override;
    void locationDeleteSamples() override;

    // ---- Asset history records ----
    ULong EnumAssetHistoryRecords(ULong asset, CTime date, CDynaList<ULong>& ids, int unused) override;
    int EnumAssetHistoryRecords(CDynaList<CAssetHistoryRecord>& records) override;

    // ---- Location types ----
    ULong EnumLocTypes(CDynaList<ULong>& types) override;
    CString GetLocTypeName(ULong type) override;
    int SetLocTypeName(ULong type, const char* name) override;
    ULong GetLocTypeParent(ULong type) override;
    int DeleteLocType(ULong type) override;
    ULong GetChildLocType(ULong type) override;
    ULong AddLocType(const char* name, ULong parent) override;

    // ---- Locations ----
    CString locGetName(ULong location) override;
    int locSetName(ULong location, const char* name) override;
    ULong locGetParent(ULong location) override;
    ULong locGetType(ULong location) override;
    CString locGetFullName(ULong location, char separator) override;
    ULong locFind(const char* path) override;
    ULong locFindByIP(CIPAddress ip) override;
    ULong locAdd(const char* name, ULong parent, ULong type, CIPAddress from, CIPAddress to) override;
    ULong locAddFull(const char* path) override;
    int locDelete(ULong location) override;
    int locEnum(ULong parent, CDynaList<ULong>& locations, int recursive) override;
    int locExport(const char* file) override;
    int locSetIpAddressRanges(ULong location, CString& from, CString& to) override;
    CString locGetIpRangesFrom(ULong location) override;
    CString locGetIpRangesTo(ULong location) override;
    // 1 when `location` is `ancestor` or lies below it (always for ancestor 0), else 0.
    int IsChildLocation(ULong location, ULong ancestor);

    // ---- Assets ----
    ULong AddAsset(const char* name, ULong location, int addUserFields, int recordHistory, CTime when) override;
    ULong FindAsset(const char* name, ULong location, int asChild) override;
    ULong FindMatchingAssets(const char* pattern, CDynaList<ULong>& list, int includeChildren) override;
    int assetDelete(ULong asset) override;
    ULong CountAssets(ULong location, int unfiltered, int quick) override;
    CString GetAssetName(ULong asset) override;
    int SetAssetName(ULong asset, const char* name, const char* stationFile, int recordHistory, CTime when) override;
    ULong GetAssetParent(ULong asset, int& isLocation) override;
    int SetAssetParent(ULong asset, ULong parent, int parentIsAsset, int recordHistory, CTime when) override;
    ULong assetEnumChildren(ULong asset, CDynaList<ULong>& list, int recursive) override;
    ULong assetEnum(ULong location, int children, CDynaList<ULong>& list, int recursive) override;
    ULong EnumAssetNames(CSortList& list) override;
    int GetAssetStateFlag(ULong asset, ULong mask) override;
    int SetAssetStateFlag(ULong asset, ULong mask, int set) override;
    CTime GetLastAuditDate(ULong asset) override;
    int SetLastAuditDate(ULong asset, CTime when) override;
    CString GetAssetMacAddr(ULong asset) override;
    int SetAssetMacAddr(ULong asset, const char* mac, int recordHistory, CTime when) override;
    ULong FindMacAddr(const char* mac, ULong exceptAsset) const override;
    CString GetAssetIPAddr(ULong asset) override;
    int SetAssetIPAddr(ULong asset, CIPAddress ip, int recordHistory, CTime when) override;

    // ---- User data (the operations assets need) ----
    ULong userDataAdd(ULong group, ULong owner, const char* key, const char* value, ULong flags, int recordHistory,
                      CTime when) override;
    ULong userDataFind(ULong group, ULong owner, const char* key, ULong mask) override;

    // ---- Categories, makes, models ----
    ULong FindCategory(const char* name) override;
    ULong EnumCategories(CSortList& list, int includeKb) override;
    CString GetCategoryName(ULong id) override;
    void SetCategoryName(ULong id, const char* name) override;
    ULong GetCategoryType(ULong id) override;
    ULong AddCategory(const char* name, ULong type) override;
    void DeleteCategory(ULong id) override;
    ULong FindMake(ULong category, const char* name) override;
    ULong EnumMakes(ULong category, CSortList& list, int includeKb) override;
    CString GetMakeName(ULong id) override;
    void SetMakeName(ULong id, const char* name) override;
    ULong GetMakeCategory(ULong id) override;
    ULong AddMake(ULong category, const char* name) override;
    void DeleteMake(ULong id) override;
    ULong FindModel(ULong make, const char* name) override;
    ULong EnumModels(ULong make, CSortList& list, int includeKb) override;
    CString GetModelName(ULong id) override;
    void SetModelName(ULong id, const char* name) override;
    ULong GetModelMake(ULong id) override;
    ULong AddModel(ULong make, const char* name) override;
    void DeleteModel(ULong id) override;

    // ---- History ----
    ULong assetEnumHistoryDates(ULong asset, CDynaList<CTime>& dates) override;
    void historyGetDetails(ULong hist, CString& category, CString& text, CString& user, int* kind) override;
    void historyGetDetails(ULong hist, ULong* asset, int* kind, CString& operation, CString& category, CString& key,
                           CString& user, CString& value1, CString& value2, CString& date) override;
    CTime historyGetDate(ULong hist) override;
    CString historyFormatRecord(ULong hist) override;
    ULong EnumHistoryPurge(CTime before, CDynaList<ULong>& ids) override;
    void historyDelete(ULong hist) override;
    int PurgeAssetHistory(ULong asset, const CTime& date, int keepInitial, int keepAudits) override;
    ULong historyGetAsset(ULong hist) override;
    CTime historyGetLastDate(ULong asset) override;

    // ---- Events ----
    ULong EnumGlobalEvents(const CDynaList<ULong>& assets, CDynaList<ULong>& ids) override;
    ULong AddEvent(const char* event, ULong hist) override;
    ULong FindEvent(const char* event, ULong hist) override;
    void DeleteAllEvents() override;
    ULong GetEventCount() override;
    void GetEventDetails(ULong event, CString& text, ULong* hist) override;
    void DeleteEvent(ULong event) override;

    // (Of the History family; it compares hardware snapshots.)
    void StoreHwHistory(ULong asset, const CHwList& oldList, const CHwList& newList, CTime date) override;

    // ---- Hardware ----
    int hwEnum(ULong asset, ULong parent, CSortList& list, ULong mask) override;
    int hwEnumAll(ULong asset, CHwList& list, int exclude) override;
    int hwEnumByAsset(ULong parent, const char* key, CSortList& list) override;
    CString hwCatAsString(ULong node, char separator) override;
    CString hwValueAsString(ULong node) override;
    ULong hwFlags(ULong node) override;
    int hwIsEmpty(ULong asset, ULong category) override;
    using CNorvik::hwEnumGlobal;
    int hwEnumGlobal(ULong parent, ULong mask, CSortList& list) override;
    int hwEnumGlobal(ULong parent, const char* key, CSortList& list, int withAssetNames) override;
    ULong hwFind(const char* path, char delimiter) override;
    ULong hwFind(ULong parent, ULong asset, const char* key) override;
    ULong hwAdd(const char* path, char delimiter, ULong flags) override;
    ULong hwAdd(ULong parent, ULong asset, ULong flags, const char* key, const char* value) override;
    ULong hwSetVal(ULong node, const char* value, int history, CTime when) override;
    int hwDelete(ULong asset) override;
    // The display text of a stored value under display type flags & kHwDisplayMask (sizes,
    // megabytes, a date, a dotted IPv4 address, MHz; any other type shows the text unchanged).
    // The text is read as a 32-bit integer first (leading blanks, an optional sign and the
    // leading digits, wrapping as unsigned). `value` is replaced by the result, which is returned.
    virtual CString hwValueAsString(ULong flags, CString& value);

    // The schema version as major × 100 + minor, read once and cached.
    int GetVer();

protected:
    ULong historyAdd(ULong asset, CTime date, ULong operation, int kind, const char* key, const char* value1,
                     const char* value2, const char* user) override;

    int GetVer(unsigned short& major, unsigned short& minor);
    int SetVer(unsigned short major, unsigned short minor);

    // ---- Schema upgrades ----
    // [upgrades-family]
    // Called by Open on an open connection when the user accepted the offer; each reports its
    // start through CallUser(1, text), converts the data in place and writes version 7.14.
    // Update710to711 and Update712to714 stop without a change and without writing the version
    // when HW has no "Hardware" category with a "CPU" child. A failing statement throws
    // CDBException and the version is not written (upgrades.cpp). Open runs each in one
    // transaction, committed only when it wrote 7.14: a failure or an interruption changes nothing.
    void Update708to709();
    void Update710to711();
    void Update712to714();

    // Set by deletions that leave orphaned rows; Clean runs usp_Clean only while it is set.
    int m_bCleanNeeded = 0;

private:
    // Asks whether to upgrade to `target` and runs `upgrade` on Yes; false when the user declined.
    // The upgrade's CDBException passes through to Open.
    bool OfferUpgrade(const char* target, void (CNorvikSql::*upgrade)());
    void ClearCaches();

    // The row of asset m_assetCacheId, the one-entry asset cache (empty while the marker is 0).
    struct AssetCacheEntry {
        CString name;
        ULong location = 0;
        ULong status = 0;
        ULong category = 0;
        ULong make = 0;
        ULong model = 0;
        CString serial;
        CString macAddr;
        CString ipAddr;
        CTime auditDate;
    };
    AssetCacheEntry m_assetCache;

protected:
    // Makes the cache hold `asset` (the columns its schema version has): true when it does, false
    // for a missing asset or a failed read (reported), the cache then empty.
    bool LoadAssetCache(ULong asset);

private:
    // Steps of the asset operations. The first two throw CDBException, the failing statement left
    // in `statement`; `ancestors` holds what is above the row walked, so a cycle written by hand
    // ends the walk. CountAssetsBelow returns false when a location enumeration failed (reported).
    void EnumChildAssets(ULong asset, CDynaList<ULong>& list, int recursive, const CDynaList<ULong>& ancestors,
                         CString& statement);
    bool CountAssetsBelow(ULong location, int unfiltered, int quick, const CDynaList<ULong>& ancestors, ULong& total,
                          CString& statement);
    // The place a move record names: a location's full name with "|", or "child of NAME".
    CString DescribePlace(ULong parent, bool parentIsAsset);
    // SetAssetMacAddr and SetAssetIPAddr: `column` of ASSET, cached in `field`.
    int SetAddressColumn(ULong asset, const char* column, CString AssetCacheEntry::*field, const char* historyKey,
                         const CString& value, int recordHistory, CTime when);
    // userDataAdd of a built-in name: writes the ASSET column that the name stands for.
    ULong SetBuiltInField(ULong asset, const char* key, const char* value, int recordHistory, CTime when);
    // The category named `key` directly below `parent`; 0 when there is none. Throws
    // CDBException, the statement sent left in `statement`.
    ULong FindChildCategory(ULong parent, const CString& key, CString& statement);
    // Field 0 of the first row of `statement` as a number; 0 when there is no row, and on a
    // failure, which is reported with the statement.
    ULong FirstNumberReported(const char* statement);
    // SelectText and SelectNumber for the operations that answer one field: a failure is
    // reported with the statement sent and gives the empty text or 0.
    CString SelectTextReported(const char* table, const char* column, ULong id);
    ULong SelectNumberReported(const char* table, const char* column, ULong id);
    // Runs an update or delete; false after a failure, which is reported with the statement.
    bool ExecuteReported(const char* statement);
    // Runs `work` in one transaction (or the caller's), committed only when nothing reported a
    // failure through HandleSqlException meanwhile; else rolled back, so the work is all or nothing.
    template <typename Work>
    void RunAllOrNothing(Work work);
    // The walks of locEnum and locDelete. `ancestors` holds the locations above the one walked,
    // so a cycle written into LOCDATA by hand ends the walk instead of recursing for ever.
    // Both throw CDBException, the failing statement left in `statement`.
    void EnumLocationsBelow(ULong parent, CDynaList<ULong>& locations, int recursive, const CDynaList<ULong>& ancestors,
                            CString& statement);
    void DeleteLocationTree(ULong location, const CDynaList<ULong>& ancestors, CString& statement);

    int m_nVersion = 0;
    ULong m_assetCacheId = 0;
    ULong m_appInstCacheId = 0;
    ULong m_swFileCacheId = 0;
    // How many failures HandleSqlException has reported: RunAllOrNothing compares it.
    mutable ULong m_nReportedFailures = 0;
};
