// CNorvikSql: the Audit Database over ODBC. This header declares the whole back end; each
// table family's operations live in their own source file (options.cpp, assets.cpp, ...).
//
// Every operation catches database failures at its boundary, reports them through
// HandleSqlException (the caller's message-box callback) and returns its failure value.
#pragma once

#include <functional>
#include <unordered_map>
#include <vector>

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

    // ---- Callbacks and samples ----
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
    // Finds without a lock first (outside a transaction, without addUserFields); else finds and
    // inserts under FindOrInsertLock(ASSET, name), the asset, its record and its value rows
    // committed with the lock, so a failed value row takes the new asset back.
    ULong AddAsset(const char* name, ULong location, int addUserFields, int recordHistory, CTime when) override;
    ULong FindAsset(const char* name, ULong location, int asChild) override;
    ULong FindMatchingAssets(const char* pattern, CDynaList<ULong>& list, int includeChildren) override;
    int assetDelete(ULong asset) override;
    ULong CountAssets(ULong location, int unfiltered, int quick) override;
    CString GetAssetName(ULong asset) override;
    // One transaction: update, history record, station file, commit.
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

    // ---- Pick lists ----
    ULong EnumPicklists(CDynaList<ULong>& lists) const override;
    CString GetPicklistName(ULong list) override;
    void SetPicklistName(ULong list, const char* name) override;
    ULong FindPicklist(const char* name) const override;
    ULong AddPicklist(const char* name) override;
    void DeletePicklist(ULong list) override;
    ULong EnumPickItems(ULong list, CDynaList<ULong>& items) const override;
    ULong AddPickItem(ULong list, const char* text) override;
    void DeletePickItem(ULong item) override;
    CString GetPickItemValue(ULong item) const override;
    void SetPickItemValue(ULong item, const char* text) override;

    // ---- User-defined fields ----
    ULong userDefEnum(ULong group, CSortList& list, ULong mask, int recursive) override;
    ULong userDefFind(const char* key, ULong mask) override;
    ULong userDefGetParent(ULong def) override;
    int userDefSetParent(ULong def, ULong group) override;
    CString userDefGetKey(ULong def) override;
    int userDefSetKey(ULong def, const char* key, int renameValues) override;
    ULong userDefGetFlags(ULong def) override;
    int userDefSetFlags(ULong def, ULong flags) override;
    int userDefGetParams(ULong def, CString& first, CString& second) override;
    int userDefSetParams(ULong def, const char* first, const char* second) override;
    ULong userDefAdd(ULong flags) override;
    int userDefDelete(ULong def, int deleteValues) override;

    // ---- User data ----
    ULong userDataEnum(ULong group, ULong owner, CSortList& list, ULong mask, int wholeTree) override;
    ULong userDataEnumFieldNames(ULong group, ULong owner, CStringTable& names, ULong mask) override;
    ULong userDataEnumFieldValues(ULong group, const char* key, CSortList& list, ULong mask) override;
    ULong userDataEnumGlobal(ULong group, const char* key, CSortList& list, char separator) override;
    ULong userDataAdd(ULong group, ULong owner, const char* key, const char* value, ULong flags, int recordHistory,
                      CTime when) override;
    int userDataDelete(ULong value, int deleteGroup, CTime when) override;
    ULong userDataFind(ULong group, ULong owner, const char* key, ULong mask) override;
    CString userDataGetKey(ULong value, int withGroup, char separator) override;
    int userDataSetKey(ULong value, const char* key) override;
    using CNorvik::userdataGetValue;
    CString userdataGetValue(ULong value) override;
    using CNorvik::userDataSetVal;
    int userDataSetVal(ULong value, const char* text, int recordHistory, CTime when) override;
    int userDataSetFlags(ULong value, ULong flags) override;
    ULong userdataEnumFieldValues(const char* key, CStringTable& values) override;
    CString userdataGetApplicationFieldValue(ULong app, const char* key) override;
    ULong userdataSetAppFieldValue(ULong app, const char* key, const char* value) override;

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

    // ---- Software links, folders, files, captured files ----
    ULong AddLink(ULong asset, ULong folder, ULong file, ULong fileDate) override;
    ULong EnumLinksByApp(ULong asset, ULong app, CDynaList<ULong>& list) override;
    ULong EnumLinksByAsset(ULong asset, CDynaList<ULong>& list) override;
    ULong EnumLinksByFile(ULong file, CDynaList<ULong>& list) override;
    ULong EnumAssetsByFile(ULong file, CDynaList<ULong>& list) override;
    ULong GetLinkedAsset(ULong link) override;
    ULong GetLinkedFolder(ULong link) override;
    ULong GetLinkedFile(ULong link) override;
    ULong GetLinkedFileDate(ULong link) override;
    ULong folderEnum(ULong asset, ULong parent, CSortList& list, int dropEmpty, int unassignedOnly) override;
    CString GetFolderName(ULong folder) override;
    CString GetFolderPath(ULong folder) override;
    ULong GetFolderParent(ULong folder) override;
    int IsFolderEmpty(ULong folder, ULong asset, int unassignedOnly) override;
    ULong MergeFolder(ULong asset, const char* name, ULong parent) override;
    int filesEnum(ULong asset, ULong folder, CTable& table) override;
    int EnumFiles(ULong app, CSortList& list) override;
    CString GetFileName(ULong file) override;
    ULong GetFileSize(ULong file) const override;
    ULong GetFileCRC(ULong file) const override;
    CString GetFileMfr(ULong file) override;
    CString GetFileApp(ULong file) override;
    CString GetFileVer(ULong file) override;
    ULong GetFileAppID(ULong file) const override;
    void MergeFile(ULong asset, ULong folder, ULong crc, const char* name, ULong size, ULong date, const char* mfr,
                   const char* product, const char* version, ULong app) override;
    void MergeFile(ULong asset, CRecSet& row, ULong app) override;
    int AssignFile(ULong file, ULong app) override;
    int UnAssignFile(ULong file) override;
    int UnAssignAllFiles(ULong app) override;
    int EnumCapFiles(ULong asset, CSortList& list) override;
    CString GetCapFileContent(ULong capture) override;
    ULong AddCapFile(ULong asset, const char* fileName, const char* content) override;
    // One statement: all of the asset's captures or none.
    void DeleteCapFiles(ULong asset) override;

    // ---- Application instances and applications ----
    ULong EnumApplicationInstances(ULong asset, int withVersion, CSortList& list, ULong mask, int unused) override;
    ULong newEnumAppInstByApp(ULong app, CSortList& list, const char* label) override;
    ULong applicationFindInst(ULong asset, ULong app) override;
    CString newGetAppInstSerial(ULong instance) override;
    ULong newGetAppInstFlags(ULong instance) override;
    ULong newGetAppInstFiles(ULong instance) override;
    ULong newGetAppInstAppID(ULong instance) override;
    ULong applicationAddInstance(ULong asset, ULong app, const char* serial, const char* version, ULong flags) override;
    int applicationIsInstalled(ULong asset, ULong app) override;
    int applicationRemove(ULong asset, ULong app) override;
    int applicationDelete(ULong app) override;
    ULong applicationFind(const char* name) override;
    CString applicationGetName(ULong app, unsigned int aliasDepth, int withPublisher) override;
    CString applicationGetVersion(ULong instance) override;
    ULong applicationEnumLicenceCounts(CSortList& list) override;

    // ---- Licences ----
    int GetAppLicenceStats(ULong scope, ULong app, ULong& type, ULong& flags, int& instances, int& difference) override;
    ULong GetAppLicenceCount(ULong app) override;
    ULong GetAppLicenceType(ULong app) override;
    ULong GetLicenceDetails(ULong type, CString& name, ULong* flags) override;
    CString GetLicenceName(ULong type) override;
    ULong EnumLicenceTypes(CSortList& list) override;
    int GetLicenceTypeFlag(ULong type, ULong mask) override;
    int SetLicenceTypeFlag(ULong type, ULong mask, int set) override;
    void SetLicenceTypeName(ULong type, const char* name) override;
    int DeleteLicenceType(ULong type) override;
    ULong AddLicenceType(const char* name) override;
    void SetAppLicence(ULong app, int type, int count) override;

    // ---- Application flags, aliases, recognition ----
    int applicationGetFlag(ULong app, ULong mask) override;
    int applicationSetFlag(ULong app, ULong mask, int set) override;
    ULong applicationGetFlags(ULong app) override;
    ULong applicationAdd(const char* publisher, const char* name, ULong flags) override;
    int applicationSetAlias(ULong app, ULong alias) override;
    ULong applicationGetAlias(ULong app) override;
    ULong newEnumAppAliases(ULong app, CDynaList<ULong>& list) override;
    // Both deletes in one transaction (or the caller's).
    int DeleteSw(ULong asset) override;
    ULong ReRecognise(ULong asset) override;
    ULong GetApplicationLicenseDetails(ULong scope, ULong app, ULong* type, CString& description, ULong* flags,
                                       int* instances, int* declared, int* difference) override;

    // ---- History ----
    void StoreHwHistory(ULong asset, const CHwList& oldList, const CHwList& newList, CTime date) override;
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

protected:
    ULong historyAdd(ULong asset, CTime date, ULong operation, int kind, const char* key, const char* value1,
                     const char* value2, const char* user) override;

public:
    CTime historyGetLastDate(ULong asset) override;

    // ---- Security switch ----
    int IsSecurityEnabled() override;
    int EnableSecurity(int enable) override;

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
    // Each missing piece is looked for again and inserted under FindOrInsertLock(HW, parent and
    // key), committed piece by piece.
    ULong hwAdd(const char* path, char delimiter, ULong flags) override;
    ULong hwAdd(ULong parent, ULong asset, ULong flags, const char* key, const char* value) override;
    ULong hwSetVal(ULong node, const char* value, int history, CTime when) override;
    int hwDelete(ULong asset) override;

    // ---- Internet history and cookies ----
    ULong ieHistAdd(ULong asset, CTime date, const char* site, ULong pageCount) override;
    ULong ieHistGetCount(ULong asset) override;
    ULong ieHistEnumDates(ULong asset, CDynaList<CTime>& dates) override;
    ULong ieHistEnumSites(ULong asset, CTime day, CDynaList<ULong>& rows) override;
    ULong ieHistSearch(const char* pattern, ULong asset, CDynaList<ULong>& rows) override;
    CTime ieHistGetDate(ULong row) override;
    CString ieHistGetSite(ULong row) override;
    ULong ieHistGetPageCount(ULong row) override;
    int ieHistDeleteAll(ULong asset) override;
    int ieHistDelete(ULong row) override;
    ULong ieEnumPurge(CTime before, CDynaList<ULong>& histRows, CDynaList<ULong>& cookieRows) override;
    ULong ieCookieAdd(ULong asset, CTime date, const char* name) override;
    ULong ieCookieGetCount(ULong asset) override;
    ULong ieCookieEnum(ULong asset, CDynaList<ULong>& rows) override;
    ULong ieCookieSearch(const char* pattern, ULong asset, CDynaList<ULong>& rows) override;
    CString ieCookieGetName(ULong row) override;
    CTime ieCookieGetDate(ULong row) override;
    int ieCookieDeleteAll(ULong asset) override;
    int ieCookieDelete(ULong row) override;

    // ---- Serial-number scan records ----
    ULong EnumSSRecs(CDynaList<ULong>& ids, int unused) override;
    ULong AddSSRec(const char* appName, const char* regKey, const char* regItem) override;
    void DeleteSSRec(ULong record) override;
    CString GetSSAppName(ULong record) override;
    CString GetSSRegKey(ULong record) override;
    CString GetSSRegItem(ULong record) override;
    void SetSSAppName(ULong record, const char* text) override;
    void SetSSRegKey(ULong record, const char* text) override;
    void SetSSRegItem(ULong record, const char* text) override;

    // ---- Users ----
    ULong EnumUsers(CDynaList<ULong>& users, int level) override;
    ULong userFind(const char* name) override;
    int ValidatePassword(ULong user, const char* password) override;
    CString userGetName(ULong user) override;
    CString userGetPassword(ULong user) override;
    int userGetLevel(ULong user) override;
    ULong userGetLocation(ULong user) override;
    CString userGetProfile(ULong user) override;
    CString userGetFirstName(ULong user) override;
    CString userGetLastName(ULong user) override;
    ULong userAdd(const char* name, int level) override;
    int userDelete(ULong user) override;
    int userSetName(ULong user, const char* name) override;
    int userSetLevel(ULong user, int level) override;
    int userSetLocation(ULong user, ULong location) override;
    int userSetProfile(ULong user, const char* profile) override;
    int userSetPassword(ULong user, const char* password) override;
    int userSetFirstName(ULong user, const char* name) override;
    int userSetLastName(ULong user, const char* name) override;

    // ---- Global (site-wide) enumerations ----
    ULong enumApplications(CSortList& list, int withPublisher) override;
    using CNorvik::EnumGlobalSwApplications;
    ULong EnumGlobalSwApplications(const CDynaList<ULong>& assets, CSortList& list, ULong mask, int withPublisher,
                                   unsigned int aliasDepth, int installedOnly, const char* publisher,
                                   ULong excludeMask) override;
    ULong EnumGlobalSwAssets(ULong scope, ULong app, int withVersion, CSortList& list, int withAliases) override;
    ULong EnumGlobalFile(ULong scope, const char* name, int withVersion, CSortList& list) override;
    ULong EnumGlobalFileAssets(ULong scope, ULong file, CSortList& list) override;
    ULong EnumGlobalEvents(const CDynaList<ULong>& assets, CDynaList<ULong>& ids) override;

    // ---- Events ----
    ULong AddEvent(const char* event, ULong hist) override;
    ULong FindEvent(const char* event, ULong hist) override;
    void DeleteAllEvents() override;
    ULong GetEventCount() override;
    void GetEventDetails(ULong event, CString& text, ULong* hist) override;
    void DeleteEvent(ULong event) override;

    // ---- Licence alerts ----
    ULong EnumLicenseAlerts(CDynaList<ULong>& ids) override;
    ULong licensealertAdd(int type, ULong app, const CTime& date, int declared, int instances) override;
    ULong licensealertFind(int type, ULong app) override;
    void licensealertDeleteAll() override;
    ULong licensealertGetCount() override;
    ULong licensealertGetDetails(ULong alert, int* type, int* app, CTime* date, int* declared, int* instances) override;
    void licensealertDelete(ULong alert) override;

    // ---- Discovered assets ----
    ULong daEnum(CDynaList<ULong>& entries, int unauditedOnly) override;
    CString daGetName(ULong entry) override;
    CString daGetDomain(ULong entry) override;
    CIPAddress daGetIPAddress(ULong entry) override;
    ULong daAdd(const char* name, const char* domain, CIPAddress ip) override;
    int daDelete(ULong entry) override;

    // ---- Publishers ----
    ULong EnumGlobalSwAppPublishers(ULong scope, CSortList& list, ULong mask) override;
    ULong EnumAppPublishers(ULong asset, CSortList& list, ULong mask) override;
    CString GetAppPublisher(ULong app, unsigned int aliasDepth) override;
    ULong EnumAppsByPublisher(ULong asset, const char* publisher, int withVersion, CSortList& list,
                              ULong mask) override;
    ULong UpdateAppPublisher(ULong app, const char* oldPublisher, const char* newPublisher, int all) override;

    // ---- Scheduling and notes ----
    ULong EnumScheduledAssets(CDynaList<ULong>& assets, CTime now) override;
    ULong notesAdd(int type, int table, ULong record, int data, const char* text) override;
    int notesDelete(ULong note) override;
    ULong enumNotes(const int* type, const int* table, const ULong* record, CDynaList<ULong>& notes) override;
    ULong notesGetDetails(ULong note, int* data, CString* text) override;

    // ---- Housekeeping of applications ----
    ULong enumUnreferencedApps(CSortList& list) override;
    ULong enumDuplicateApps(CSortList& list) override;
    ULong enumOrphans(CSortList& list) override;
    // Every update and delete in one transaction (or the caller's).
    ULong FixupDuplicateApps(ULong app) override;
    ULong enumDuplicateAppInstances(CSortList& list) override;

    // ---- Licence compliance ----
    ULong licenceEnumInstallations(ULong scope, CSortList& list) override;

    // ---- Bulk writes and set reads ----
    int applicationAddInstances(ULong asset, const CDynaList<AppInstanceEntry>& entries) override;
    // One statement over the location subtree and the child assets below it (cycles end it).
    ULong EnumScopeAssets(ULong location, CDynaList<ULong>& assets) override;
    // The interface's find-or-add under the name's FindOrInsertLock.
    ULong FindOrAddCatalogueEntry(int level, ULong parent, const char* name) override;

    // ---- Built-in asset fields ----
    CString GetBuiltInFieldValue(ULong asset, const char* name) override;
    int SetBuiltInFieldValue(ULong asset, const char* name, const char* text, int recordHistory, CTime when) override;

    // ---- Paged listings ----
    ULong assetEnumPage(const AssetPageQuery& query, CDynaList<AssetPageRow>& rows) override;
    ULong locEnumTree(CDynaList<LocationTreeRow>& rows) override;
    ULong applicationEnumPage(const char* text, ULong asset, ULong offset, ULong limit,
                              CDynaList<ApplicationPageRow>& rows) override;
    ULong applicationEnumVersions(ULong app, CSortList& list) override;
    ULong historyEnumPage(ULong asset, CTime since, int kind, ULong offset, ULong limit,
                          CDynaList<HistoryPageRow>& rows) override;

    // ---- Hardware values in bulk ----
    // PostgreSQL: one statement over arrays of the values (one round trip); SQLite: the values
    // staged in a temporary table, then two statements. Both in one transaction.
    int hwAddValues(ULong asset, const CHwList& values) override;
    // One statement, on the (_KEY, _VAL) index of HW.
    int hwFindAssetsByValue(ULong parent, const char* key, const char* value, CDynaList<ULong>& assets) override;

    // ---- Software files by page ----
    ULong swFileEnumPage(ULong asset, ULong offset, ULong limit, CDynaList<SoftwareFilePageRow>& rows) override;

    // ---- Asset record in one step ----
    int SetAssetRecord(ULong asset, const AssetRecordUpdate& update, int recordHistory, CTime when) override;

    // ---- Application rows in bulk ----
    ULong applicationGetRows(const CDynaList<ULong>& apps, CDynaList<ApplicationPageRow>& rows) override;

    // ---- Purges in batches ----
    // Each batch is one _ID range of the table walked by its primary key, so a batch reads
    // only its own rows, and the walk needs no index on _DATE (history_purge.cpp).
    ULong historyPurgeInBatches(const CTime& date, int keepInitial, int keepAudits, ULong batch) override;
    ULong iePurgeInBatches(CTime before, ULong batch, ULong* histRows, ULong* cookieRows) override;

    // ---- Licence totals by application text (SWLIC; not virtual) ----
    // SWLIC keeps, per (type, application text), a total and an authorised value whose meaning
    // is the caller's.
    // Stores the row of (type, app): an existing one is updated in place. Its _ID, 0 on failure.
    ULong AddSwLicence(const char* app, int type, int total, int authorized);
    // The row's total; 0 when there is none.
    ULong GetLicenceDetails(CString& app, int type);
    // The row's authorised value; 0 when there is none.
    int GetAuthorizedState(CString& app, int type);
    // Appends every row of the type to three parallel lists. Returns the count of `apps`.
    ULong EnumAppLicence(int type, CDynaList<CString>& apps, CDynaList<ULong>& totals, CDynaList<ULong>& authorized);

    // The display text of a stored value under display type flags & kHwDisplayMask (sizes,
    // megabytes, a date, a dotted IPv4 address, MHz; any other type shows the text unchanged).
    // The text is read as a 32-bit integer first (leading blanks, an optional sign and the
    // leading digits, wrapping as unsigned). `value` is replaced by the result, which is returned.
    virtual CString hwValueAsString(ULong flags, CString& value);
    // Days between two audits of an asset: the site option kOptionAuditInterval read as a
    // whole number from 1 to 3650; kDefaultAuditInterval when it is unset or anything else.
    static constexpr const char* kOptionAuditInterval = "AuditInterval";
    static constexpr int kDefaultAuditInterval = 30;
    virtual int GetAuditInterval();

    // The schema version as major × 100 + minor, read once and cached.
    int GetVer();
    // Gives a database at 7.14 the indexes, table settings and (SQLite) planner statistics a new
    // one is created with (UpdateIndexes), in one transaction, announcing each through CallUser(1,
    // text). Returns how many changes it made; -1 on failure (reported; nothing changed).
    int UpgradeIndexes();

protected:
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
    // Creates every index of the engine's tables.sql that the database lacks, drops the ones it
    // replaced, sets table options and writes missing SQLite planner statistics, each announced
    // through CallUser(1, text); a second run changes nothing. OfferUpgrade runs it after an
    // upgrade that reached 7.14, in its transaction. Returns the changes made; throws CDBException,
    // the failing statement left in `statement`.
    int UpdateIndexes(CString& statement);

    // Makes the one-entry file cache hold `file` with one query, unless it holds it already. The
    // key is set even when no row was found (the fields then keep what they held); a failure is
    // reported and leaves the cache as it was.
    void LoadSwFileCache(ULong file);

    // Set by deletions that leave orphaned rows; Clean runs usp_Clean only while it is set.
    int m_bCleanNeeded = 0;

private:
    // Asks whether to upgrade to `target` and runs `upgrade` on Yes; false when the user declined.
    // The upgrade's CDBException passes through to Open.
    bool OfferUpgrade(const char* target, void (CNorvikSql::*upgrade)());
    void ClearCaches();
    // The steps of the purges in batches (history_purge.cpp). PurgeIdRanges runs `purge` over
    // the _IDs first..last in ranges of `batch`, each range in a transaction of its own followed
    // by a ProgCheck; false when the caller cancelled. `removed` adds up what the ranges answer.
    // Both throw CDBException, leaving the failing statement in `statement` for DeleteCounted.
    bool PurgeIdRanges(ULong first, ULong last, ULong batch, const std::function<ULong(ULong, ULong)>& purge,
                       ULong& removed);
    // Deletes the rows of `table` matching `condition` and answers how many went.
    ULong DeleteCounted(const char* table, const CString& condition, CString& statement);

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
    // Makes the instance cache hold `instance` unless it already does; a missing instance leaves
    // the cache as it was. Throws CDBException.
    void LoadAppInstCache(ULong instance);

private:
    // hwAddValues on an engine in process (SQLite): set-based statements over staged rows.
    int StoreHwValuesInProcess(ULong asset, const CHwList& values);
    // The connection's own temporary table `name` (created with `columns` when missing), emptied,
    // and the prepared insert of one row into it. Throws CDBException, the failing statement left
    // in `statement`.
    COdbcPrepared& StagingTable(const char* name, const char* columns, CString& statement);
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
    // userDataAdd and userDataSetVal of a built-in name: writes the ASSET column that the name
    // stands for (an empty value only with clearEmpty). 0 on failure or refusal (reported).
    ULong SetBuiltInField(ULong asset, const char* key, const char* value, bool clearEmpty, int recordHistory,
                          CTime when);
    // The ASSET column that a built-in name stands for, as text; empty for a missing asset.
    CString GetBuiltInField(ULong asset, const char* key);
    // userDataEnumGlobal of a built-in name (`which` its field, `column` its ASSET column or
    // columns): every asset's text, or the assets whose text is `wanted`, each name looked up once
    // per call. Throws CDBException, the statement sent left in `statement`.
    void EnumBuiltInGlobal(int which, const char* column, bool byValue, const CString& wanted, CSortList& list,
                           CString& statement);
    // The user-defined-field step of AddAsset: every asset-level field (built-in names and groups
    // aside) gets an empty value row for `asset` unless it has one; no history. A just `added`
    // asset has none (ids are never reused); `version` is SQLite's data_version, read with the
    // asset's lookup. Throws CDBException, the statement sent left in `statement`.
    void AddAssetUserFields(ULong asset, bool added, long version, CString& statement);
    // The asset-level fields AddAsset fills in on SQLite, kept per connection: reloaded after a
    // definition write of this connection (InvalidateAssetFields) or another connection's commit.
    // A write inside a transaction leaves them unsettled (reloaded on every use) until AddAsset
    // next starts outside any transaction, since a rollback would take the write back unseen.
    struct AssetField {
        ULong group;
        CString key;
        ULong flags;
    };
    void InvalidateAssetFields() {
        m_assetFieldsLoaded = false;
        m_assetFieldsUnsettled = m_assetFieldsUnsettled || InTransaction();
    }
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
    // The rows of `statement` (fields _ID and a text) whose text matches `pattern` as the
    // internet searches match, into `rows`, emptied first. Returns the count.
    ULong SearchIdsByPattern(const char* statement, const char* pattern, CDynaList<ULong>& rows);
    // "update USERS set <column>=<quoted value> where _ID=%d", reported.
    int SetUserText(ULong user, const char* column, const char* value);
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

    // The reading loop of filesEnum; throws CDBException.
    void AppendFileRows(const CString& statement, CTable& table);

    // The SWFILE row of m_swFileCacheId, the one-entry file cache.
    struct SwFileCacheEntry {
        CString name;
        ULong size = 0;
        ULong crc = 0;
        CString mfr;
        CString product;
        CString version;
        ULong app = 0;
    };
    SwFileCacheEntry m_swFileCache;

    int m_nVersion = 0;
    ULong m_assetCacheId = 0;
    ULong m_appInstCacheId = 0;
    // The row of instance m_appInstCacheId (the one-entry instance cache).
    struct AppInstCacheEntry {
        ULong asset = 0;
        ULong app = 0;
        CString serial;
        ULong files = 0;
        ULong flags = 0;
    };
    AppInstCacheEntry m_appInstCache;
    // The APPS rows that applicationGetName answers from while EnumApplicationInstances runs
    // (null otherwise): read once per call, so an asset's names cost one statement, not two per
    // instance. An application not held is read as usual.
    struct AppNameRow {
        CString publisher;
        CString name;
        ULong alias = 0;
    };
    using AppNames = std::unordered_map<ULong, AppNameRow>;
    const AppNames* m_appNames = nullptr;
    // Points m_appNames at `names` for its lifetime.
    class AppNameScope {
    public:
        AppNameScope(const AppNames*& slot, const AppNames& names) : m_slot(slot) { m_slot = &names; }
        ~AppNameScope() { m_slot = nullptr; }
        AppNameScope(const AppNameScope&) = delete;
        AppNameScope& operator=(const AppNameScope&) = delete;

    private:
        const AppNames*& m_slot;
    };
    ULong m_swFileCacheId = 0;
    std::vector<AssetField> m_assetFields;
    bool m_assetFieldsLoaded = false;
    bool m_assetFieldsUnsettled = false;
    long m_assetFieldsVersion = 0;  // the SQLite data_version they were read at
    // How many failures HandleSqlException has reported: RunAllOrNothing compares it.
    mutable ULong m_nReportedFailures = 0;
};
