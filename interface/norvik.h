// CNorvik: the abstract interface through which every caller reaches the Audit Database.
// It holds what every back end shares (the Knowledge Base reference, the caller's three
// callbacks, the logon user, the open flag, the progress counter) and implements the few
// operations that need no database of their own. CNorvikSql is the one implementation.
//
// Used from one thread at a time. No operation throws: failures are reported through the
// message-box callback and the operation returns 0, an empty text or an empty list.
#pragma once

#include "common/dynalist.h"
#include "common/hw_list.h"
#include "common/ipaddress.h"
#include "common/sortlist.h"
#include "interface/asset_history_record.h"
#include "platform/cstring.h"
#include "platform/ctime.h"
#include "platform/exceptions.h"
#include "platform/types.h"

class CAuditDBSys;

// (code, value, context) -> answer. Code 1 of the user callback carries a status text
// (a const char* in `value`). Progress codes: 1 caption, 2 start with a range, 7 step, 4 end;
// answering 2 to a step asks to cancel.
using NorvikCallback = int (*)(int code, CallbackValue value, CallbackValue context);
// (text, Windows message-box style, context) -> Windows answer (6 = Yes).
using NorvikMsgBoxCallback = int (*)(const char* text, unsigned int style, CallbackValue context);

class NORVIK_API CNorvik {
public:
    // The kinds of back end.
    enum eDbType { dbNone = 0, dbSql = 1 };

    // Progress callback codes and the answer that cancels a step.
    static constexpr int kProgCaption = 1;
    static constexpr int kProgRange = 2;
    static constexpr int kProgEnd = 4;
    static constexpr int kProgStep = 7;
    static constexpr int kProgCancel = 2;

    // Data-group names under which the caller's tree and history show data.
    static const char* const m_szAlert;
    static const char* const m_szAsset;
    static const char* const m_szLocation;
    static const char* const m_szParent;
    static const char* const m_szAssetData;
    static const char* const m_szAssetCat;
    static const char* const m_szAssetMake;
    static const char* const m_szAssetModel;
    static const char* const m_szAssetSerial;
    static const char* const m_szHardware;
    static const char* const m_szOS;
    static const char* const m_szApps;
    static const char* const m_szLicence;
    static const char* const m_szInternet;
    static const char* const m_szIHist;
    static const char* const m_szICache;
    static const char* const m_szICookies;
    static const char* const m_szHistory;
    static const char* const m_szCapture;
    static const char* const m_szGlobalAsset;
    static const char* const m_szFolder;
    static const char* const m_szDA;
    static const char* const m_szSystem;
    static const char* const REG_KEY_UNINSTALL;

    // Keeps a reference to `kb`, which must outlive this object.
    explicit CNorvik(CAuditDBSys& kb);
    CNorvik(const CNorvik&) = default;
    CNorvik& operator=(const CNorvik&) = delete;

    // ---- Life cycle ----
    virtual ~CNorvik();
    virtual int IsDbOpen() { return m_bOpen; }
    // The option "CompanyName"; when empty, the registry's RegCompany value, stored back.
    virtual CString GetCompanyName();
    virtual void SetCompanyName(const char* name);
    // The data-group name of an icon code; empty for codes without a group.
    virtual CString GetIconName(int icon);
    virtual int GetDbType() = 0;
    // Opens the database named by the complete ODBC connection string `dsn`.
    // flags: 0x1 read-only, 0x4 never prompt. Non-zero when open at the required version.
    virtual int Open(const char* dsn, const char* ignored, ULong flags) = 0;
    virtual int Save() = 0;
    virtual int CreateBackup(const char* path) = 0;
    virtual int CloseDB() = 0;
    virtual void Clean() = 0;
    virtual int Test() = 0;
    virtual int EnumTableNames(CDynaList<CString>& names) = 0;
    virtual int ExportTable(const char* table, const char* path, int format, int flags) = 0;
    virtual int ExportAsset(ULong asset, const char* path) = 0;
    // The value stored under `key`, or an empty text.
    virtual CString GetOption(const char* key) = 0;
    // Stores `value` under `key`, replacing an earlier value.
    virtual void SetOption(const char* key, const char* value) = 0;

    // ---- Callbacks ----
    // A null function switches a callback off; the context is handed back unchanged.
    virtual void SetCallback(NorvikCallback fn, CallbackValue context);
    virtual void SetMsgBoxCallback(NorvikMsgBoxCallback fn, CallbackValue context);

    // ---- Samples (with the callbacks above) ----
    // The _FLAGS bit of ASSET that marks the sample assets shipped with a new database.
    static constexpr ULong kAssetSampleFlag = 0x1;
    // Deletes (assetDelete) every asset whose _FLAGS carry kAssetSampleFlag. A failure is
    // reported and ends the run; the assets already deleted stay deleted.
    virtual void assetDeleteSamples() = 0;
    // Deletes every location whose name begins "Sample " (with what lies below), last found first.
    virtual void locationDeleteSamples() = 0;

    // ---- Asset history records ----
    // Appends the _IDs of the asset's history rows stamped with exactly `date` (one audit's
    // changes share a date). `unused` is accepted for callers and ignored. Returns the count.
    virtual ULong EnumAssetHistoryRecords(ULong asset, CTime date, CDynaList<ULong>& ids, int unused) = 0;
    // Appends one record per HISTORY row of every asset, in no particular order. Returns the count.
    virtual int EnumAssetHistoryRecords(CDynaList<CAssetHistoryRecord>& records) = 0;

    // ---- Location types ----
    // Types form a chain of levels: each names the one above it (0 for the top level) and has at
    // most one child type.
    // Empties `types`, then fills it with every type's _ID; returns the count.
    virtual ULong EnumLocTypes(CDynaList<ULong>& types) = 0;
    // The type's name; empty for a missing type.
    virtual CString GetLocTypeName(ULong type) = 0;
    // 1 when the statement ran (a missing type changes nothing), 0 on failure.
    virtual int SetLocTypeName(ULong type, const char* name) = 0;
    // The type above; 0 for the top level and for a missing type.
    virtual ULong GetLocTypeParent(ULong type) = 0;
    // Removes a level: the child type moves up to the type's parent, and every location of this
    // type goes, its assets and child locations moving to its parent, in one transaction. 1 when
    // done; 0 on failure, nothing changed (an improvement: a failure once left the steps done).
    virtual int DeleteLocType(ULong type) = 0;
    // The first type whose parent is `type` (0 asks for a top-level type); 0 when none.
    virtual ULong GetChildLocType(ULong type) = 0;
    // Inserts a type directly below `parent` (0 = at the top): the parent's former child types
    // move below the new one. Returns the new _ID, 0 on failure.
    virtual ULong AddLocType(const char* name, ULong parent) = 0;

    // ---- Locations ----
    // Location 0 is the root: it has no row and is named after the company. Names are unique
    // among siblings by convention only; nothing here enforces it.
    // The name; for 0 the company name (GetCompanyName); empty for a missing location.
    virtual CString locGetName(ULong location) = 0;
    // 1 when the statement ran, 0 on failure.
    virtual int locSetName(ULong location, const char* name) = 0;
    // The parent location; 0 for a top-level or missing location.
    virtual ULong locGetParent(ULong location) = 0;
    // The LOCTYPE _ID of the location; 0 when missing.
    virtual ULong locGetType(ULong location) = 0;
    // The names from the top level down to `location` joined by `separator`; the company name
    // is never part of it. "(None)" for 0, for a missing location and on failure.
    virtual CString locGetFullName(ULong location, char separator) = 0;
    // The location at `path`, names separated by ';' or '\' and walked from the root. Only the
    // first 1,023 characters count. The walk ends at the first empty name, so a leading
    // separator finds nothing and a trailing one is ignored. 0 when a name is not found, for an
    // empty path and on failure. Names compare as the database compares them.
    virtual ULong locFind(const char* path) = 0;
    // The first location, in the database's row order, with a range (taken in stored order)
    // that holds `ip`; 0 when none does.
    virtual ULong locFindByIP(CIPAddress ip) = 0;
    // Adds one location with one address range (0.0.0.0 stores an empty text). Returns the new
    // _ID, 0 on failure. Neither the parent nor the type is checked.
    virtual ULong locAdd(const char* name, ULong parent, ULong type, CIPAddress from, CIPAddress to) = 0;
    // Finds or adds every level of `path` (separators as locFind; empty names are skipped; only
    // the first 1,023 characters count). New levels take the child type of their parent's type,
    // a type "New Location Type" being added where the chain of types ends. Returns the deepest
    // location's _ID; 0 for an empty path or when a step failed (levels added stay).
    virtual ULong locAddFull(const char* path) = 0;
    // Deletes a location and every location below it; all their assets move to the location's
    // parent, in one transaction. 1 when done; 0 on failure, nothing deleted (an improvement: a
    // failure once left the part already deleted so). Deleting 0 deletes the whole tree.
    virtual int locDelete(ULong location) = 0;
    // Appends the children of `parent` ordered by name; with `recursive`, then the subtrees of
    // those children, each in the same form. The list is not emptied. Returns 1, 0 on failure.
    virtual int locEnum(ULong parent, CDynaList<ULong>& locations, int recursive) = 0;
    // Writes the tree and its assets as comma-separated text (fields are not escaped); an existing
    // file is replaced. 1 when written; 0 when the file cannot be written or a read failed.
    virtual int locExport(const char* file) = 0;
    // 1 when `location` is `ancestor` or lies below it (always for ancestor 0), else 0.
    virtual int locIsChildOf(ULong location, ULong ancestor);
    // Appends the location's ranges, the n-th low end to `from` and the n-th high end to `to`;
    // entries beyond the shorter of the two stored lists are ignored. Returns from's count.
    virtual ULong locEnumIpAddressRanges(ULong location, CDynaList<CIPAddress>& from, CDynaList<CIPAddress>& to);
    // Stores the ";"-joined texts as they are (each at most 255 characters). 1 when stored, 0 on
    // failure (the old ranges stay).
    virtual int locSetIpAddressRanges(ULong location, CString& from, CString& to) = 0;
    // The stored ";"-joined low ends and high ends of the ranges.
    virtual CString locGetIpRangesFrom(ULong location) = 0;
    virtual CString locGetIpRangesTo(ULong location) = 0;

    // ---- Assets ----
    // An asset sits in a location (ASSET._LOCATION is a LOCDATA._ID, 0 = the root) or, as a child
    // asset (status bit kAssetChild), under another asset (_LOCATION is that asset's _ID).
    // Reads of one asset come from a one-entry cache of its row, refreshed when another asset is
    // asked for; writes through this interface keep it current, writes made past it do not.
    static constexpr ULong kAssetNew = 2;              // the status every new asset starts with
    static constexpr ULong kAssetKindMask = 0xF0;      // filtered counts need one of these bits
    static constexpr ULong kAssetChild = 0x1000;       // _LOCATION names the parent asset
    static constexpr ULong kAssetUncounted = 0x1400C;  // any of these keeps a row out of filtered counts

    // Finds the asset named `name` anywhere (child assets too) or inserts it at `location` with
    // status kAssetNew, writing the "Initial Audit" record dated `when` when recordHistory is set.
    // With addUserFields, every asset-level field (USERDEF rows with flag 0x2) then gets a value row
    // for the asset if it has none (userDataAdd with an empty value), for a found asset too.
    // Returns the _ID; 0 on failure.
    virtual ULong AddAsset(const char* name, ULong location, int addUserFields, int recordHistory, CTime when) = 0;
    // The first asset named exactly `name`: with asChild and a location, a child asset of that
    // parent asset; with asChild and location 0, any asset; without asChild, assets that are not
    // children (location ignored). 0 when none.
    virtual ULong FindAsset(const char* name, ULong location, int asChild) = 0;
    // Appends, in name order, the assets whose name matches `pattern`: "*" stands for any run of
    // characters (also none), "?" for exactly one; every other character, "%" and "_" included,
    // stands for itself, ASCII letters in either case. Child assets take part only with
    // includeChildren. Returns the list's count.
    virtual ULong FindMatchingAssets(const char* pattern, CDynaList<ULong>& list, int includeChildren) = 0;
    // Deletes the asset with its application instances, history, hardware values, internet
    // history and cookies, captured files, software links, asset-level user data, the events of
    // vanished history rows and every DISCOVER row whose _ASSET is LIKE the name (so wildcards in
    // the name remove other entries too), and asks for the next Clean. Child assets stay: delete
    // them first. One transaction: 1 when done; 0 on failure, nothing deleted (an improvement:
    // a failure once left the rows already deleted so).
    virtual int assetDelete(ULong asset) = 0;
    // The assets of `location` and of every location below it; with location 0, of the whole
    // table (children included). Unless `unfiltered`, only rows with a kind bit and none of
    // kAssetUncounted count. With `quick` the answer is only good for 0, 1 or "more than 1":
    // sub-locations are visited only while the total is 0 and the visit stops above 1.
    virtual ULong CountAssets(ULong location, int unfiltered, int quick) = 0;
    // The name; empty for a missing asset.
    virtual CString GetAssetName(ULong asset) = 0;
    // Renames; with a station file (may be null), its value "Name" of section "Asset" becomes the
    // new name (the file is created when missing). With recordHistory, writes "Name changed from
    // %s to %s" dated `when`. All in one transaction: 1 when done; 0 when the database or the
    // file failed (reported), the name then unchanged.
    virtual int SetAssetName(ULong asset, const char* name, const char* stationFile, int recordHistory, CTime when) = 0;
    // The parent of an asset; isLocation = 1 when the parent is a location, 0 when an asset.
    // 0 (with isLocation 1) for a missing asset.
    virtual ULong GetAssetParent(ULong asset, int& isLocation) = 0;
    // Moves the asset to `parent`, a location or, with parentIsAsset, an asset; the child bit
    // follows. With recordHistory, a move record dated `when` names the old and the new place (a
    // location by its full name with "|" between levels, an asset parent as "child of NAME").
    // Moving to where the asset already is writes nothing. 1 when done, 0 on failure.
    virtual int SetAssetParent(ULong asset, ULong parent, int parentIsAsset, int recordHistory, CTime when) = 0;
    // Appends the child assets of `asset`; with `recursive`, each one followed by its own children.
    // Returns the list's count.
    virtual ULong assetEnumChildren(ULong asset, CDynaList<ULong>& list, int recursive) = 0;
    // Appends assets in name order and returns the list's count:
    // - children: the child assets of `location` taken as an asset; with `recursive`, each entry
    //   is then enumerated again as assetEnum(entry, 0, list, 1) does, i.e. as a location _ID;
    // - location 0 with `recursive`: every asset;
    // - a location with `recursive`: the assets of the location and of every location below it,
    //   then the child assets (recursively) of every asset taken;
    // - otherwise: the assets placed directly in `location`.
    virtual ULong assetEnum(ULong location, int children, CDynaList<ULong>& list, int recursive) = 0;
    // Appends every asset as (name, _ID), in no particular order. Returns the list's count.
    virtual ULong EnumAssetNames(CSortList& list) = 0;
    // Icon codes of assets (group "Asset" and "All Assets" of GetIconName).
    static constexpr int kIconAsset = 3;        // an asset not classified yet (no kind bit)
    static constexpr int kIconPC = 34;          // an audited computer
    static constexpr int kIconPCOpen = 35;      // ... shown selected
    static constexpr int kIconPeripheral = 36;  // a child asset attached to another asset
    static constexpr int kIconPeripheralOpen = 37;
    // The asset's icon and selected icon, from its state bits: a child asset is a peripheral, an
    // asset with a kind bit a computer, anything else (a missing asset too) kIconAsset for both.
    // Either pointer may be null.
    virtual void GetAssetIcon(ULong asset, int* icon, int* selectedIcon);
    static bool IsIconPC(int icon) { return icon == kIconPC || icon == kIconPCOpen; }
    static bool IsIconPeripheral(int icon) { return icon == kIconPeripheral || icon == kIconPeripheralOpen; }
    // Assets that peripherals may be attached to: computers and assets not classified yet.
    static bool IsIconParentable(int icon) { return IsIconPC(icon) || icon == kIconAsset; }
    static bool IsIconAsset(int icon) { return icon == kIconAsset || IsIconPC(icon) || IsIconPeripheral(icon); }
    // 1 when the asset's status has any bit of `mask`, else 0 (also for a missing asset).
    virtual int GetAssetStateFlag(ULong asset, ULong mask) = 0;
    // Sets (set != 0) or clears the bits of `mask` and returns the previous GetAssetStateFlag. The
    // row is written only when `set` differs from that previous answer; any `set` other than 0 or
    // 1 always counts as different. A missing asset gives 0 and writes nothing.
    virtual int SetAssetStateFlag(ULong asset, ULong mask, int set) = 0;
    // The last audit; 0 (never) when none is recorded or the asset is missing.
    virtual CTime GetLastAuditDate(ULong asset) = 0;
    // 1 when written, 0 on failure.
    virtual int SetLastAuditDate(ULong asset, CTime when) = 0;
    virtual CString GetAssetMacAddr(ULong asset) = 0;
    // Stores the primary MAC address when it differs (exactly) from the current one, with a
    // "Primary MAC Address" change record dated `when` when recordHistory is set; an equal value
    // writes nothing. 1 when done, 0 on failure.
    virtual int SetAssetMacAddr(ULong asset, const char* mac, int recordHistory, CTime when) = 0;
    // Another asset (not exceptAsset) with exactly this MAC address; 0 when none.
    virtual ULong FindMacAddr(const char* mac, ULong exceptAsset) const = 0;
    // The primary IP address as dotted text; empty when none.
    virtual CString GetAssetIPAddr(ULong asset) = 0;
    // As SetAssetMacAddr, for the dotted text of `ip` (0.0.0.0 is the empty text) and the key
    // "Primary IP Address".
    virtual int SetAssetIPAddr(ULong asset, CIPAddress ip, int recordHistory, CTime when) = 0;

    // ---- User data (the operations assets need) ----
    // USERDATA holds one value per (group, owner, key); _FLAGS carries the owner bits of the
    // field: 0x2 asset-level (owner = an ASSET._ID), 0x4 and 0x8 the other owner kinds.
    static constexpr ULong kUserDataAsset = 0x2;
    static constexpr ULong kUserDataOwnerMask = 0xE;
    // Adds the value of field `key` of `group` for `owner` unless the owner has one already, and
    // returns its _ID (the existing row is returned untouched). A null `value` is stored as
    // "<NULL>" (no value). Only the owner bits of `flags` are stored; flags without one add
    // nothing and give 0. With recordHistory, a new value is recorded as added, dated `when`.
    // The built-in names "Category", "Make", "Model" (a decimal identifier), "Serial Number",
    // "MAC Address", "IP Address", "Audit Date" (YYYY-MM-DD[ hh:mm:ss], empty for none) and
    // "Location" (a path as locFind takes it) write the ASSET column of the owner instead and
    // return the owner. 0 on failure or for a value the column cannot take (reported).
    virtual ULong userDataAdd(ULong group, ULong owner, const char* key, const char* value, ULong flags,
                              int recordHistory, CTime when) = 0;
    // The value row of field `key` of `group` for `owner` whose flags share a bit with `mask`; 0
    // when none.
    virtual ULong userDataFind(ULong group, ULong owner, const char* key, ULong mask) = 0;

    // ---- Categories, makes, models ----
    // One identifier space over two sources: a value below 0xFFFF is a Knowledge Base ID; 0xFFFF
    // or more is a site row of CAT, MAKE or MODEL whose _ID is the value >> 16 (0xFFFF itself is
    // _ID 0); 0 is none. Site rows are handed out as _ID << 16. MAKE._CAT and MODEL._MAKE hold the
    // parent's combined identifier as passed, so site entries may hang under Knowledge Base ones.
    // Enumerations append (Knowledge Base items first when asked for) and return the list's count.
    // The Knowledge Base's answer; else the site category named exactly `name`; else 0.
    virtual ULong FindCategory(const char* name) = 0;
    virtual ULong EnumCategories(CSortList& list, int includeKb) = 0;
    virtual CString GetCategoryName(ULong id) = 0;
    // Renames a site entry; a Knowledge Base identifier (_ID 0 once shifted) changes nothing.
    virtual void SetCategoryName(ULong id, const char* name) = 0;
    // The type as stored by AddCategory or the Knowledge Base; 0 when absent.
    virtual ULong GetCategoryType(ULong id) = 0;
    // Adds a site row; its combined identifier, 0 on failure.
    virtual ULong AddCategory(const char* name, ULong type) = 0;
    // Deletes a site category, then (through DeleteMake) its site makes and their models, in one
    // transaction: a reported failure deletes nothing. Site makes hung under a Knowledge Base
    // category and assets referring to the deleted rows stay.
    virtual void DeleteCategory(ULong id) = 0;
    // For a category below 0xFFFF (0 too) the Knowledge Base's make first; else the site make
    // whose _CAT is `category` as passed.
    virtual ULong FindMake(ULong category, const char* name) = 0;
    // `category` 0: every make. A site category never lists Knowledge Base makes.
    virtual ULong EnumMakes(ULong category, CSortList& list, int includeKb) = 0;
    virtual CString GetMakeName(ULong id) = 0;
    virtual void SetMakeName(ULong id, const char* name) = 0;
    virtual ULong GetMakeCategory(ULong id) = 0;
    virtual ULong AddMake(ULong category, const char* name) = 0;
    // Deletes a site make and its models in one transaction (a reported failure deletes nothing).
    virtual void DeleteMake(ULong id) = 0;
    // The Knowledge Base model of `make` named `name`; else the site model's _ID shifted RIGHT by
    // 16, kept as the product has always had it: a site model with _ID below 65536 reads as 0.
    virtual ULong FindModel(ULong make, const char* name) = 0;
    virtual ULong EnumModels(ULong make, CSortList& list, int includeKb) = 0;
    virtual CString GetModelName(ULong id) = 0;
    virtual void SetModelName(ULong id, const char* name) = 0;
    virtual ULong GetModelMake(ULong id) = 0;
    virtual ULong AddModel(ULong make, const char* name) = 0;
    virtual void DeleteModel(ULong id) = 0;

    // ---- History ----
    // History codes: operation << 16 | (kind & 0xFFFF). Operations: 1 added, 2 deleted,
    // 4 changed, 5 and 6 alerts. Kinds are icon codes: 3 the asset itself, 2 its place,
    // 13 an application, 14 and 15 hardware. 0x10003 (the initial audit) survives date purges.
    static constexpr ULong kHistAdded = 1;
    static constexpr ULong kHistDeleted = 2;
    static constexpr ULong kHistChanged = 4;
    static constexpr ULong kHistInitialAudit = 0x10003;

    // (StoreHwHistory stands first here; it is declared with the hardware operations.)
    // Records the applications found in `newList` but not in `oldList` ("Added %s") and those
    // gone ("Deleted %s"), names compared exactly, as the logon user. Sorts unsorted lists.
    virtual void StoreAppHistory(ULong asset, CSortList& oldList, CSortList& newList, CTime date);
    // Appends the date of every history row of the asset, oldest first (one per row, so an
    // audit that changed several things appears several times). Returns the count.
    virtual ULong assetEnumHistoryDates(ULong asset, CDynaList<CTime>& dates) = 0;
    // A row as display parts: category = the group name of the code's lowest byte, text = the
    // record's text with every "|" of key and values shown as ">", user, and *kind (when not
    // null) = the code's lowest byte. An unknown row leaves every output as it was.
    virtual void historyGetDetails(ULong hist, CString& category, CString& text, CString& user, int* kind) = 0;
    // A row's stored parts: *asset, *kind (code & 0xFFFF), the operation's and the category's
    // names, the texts unchanged and the date as display text. For an unknown row *asset
    // becomes 0xFFFFFFFF, a trace line is written and the texts are left as they were.
    // `asset` and `kind` may be null.
    virtual void historyGetDetails(ULong hist, ULong* asset, int* kind, CString& operation, CString& category,
                                   CString& key, CString& user, CString& value1, CString& value2, CString& date) = 0;
    // The row's date; 0 for an unknown row.
    virtual CTime historyGetDate(ULong hist) = 0;
    // The row's display text ("Initial Audit", "Added Editor", "Moved  from A to B" ...), the
    // values' "|" shown as ">"; empty for an unknown row.
    virtual CString historyFormatRecord(ULong hist) = 0;
    // Appends the _IDs of every row dated before `before` except initial audits. Returns the count.
    virtual ULong EnumHistoryPurge(CTime before, CDynaList<ULong>& ids) = 0;
    virtual void historyDelete(ULong hist) = 0;
    // Deletes the history of `asset` (0: of every asset) dated before `date`, and the events that
    // refer to the deleted rows. keepInitial != 0 keeps initial audits whatever their date;
    // keepAudits > 0 keeps the rows of the asset's keepAudits latest history dates even when
    // older. Returns the number of HISTORY rows deleted (0 on failure, which is reported).
    virtual int PurgeAssetHistory(ULong asset, const CTime& date, int keepInitial, int keepAudits) = 0;
    // The asset of a row; 0 for an unknown row.
    virtual ULong historyGetAsset(ULong hist) = 0;
    // (historyAdd is protected, below; PurgeUnreferencedApplications, of the applications
    // family, stands here.)
    // The latest date in the asset's history; 0 when it has none.
    virtual CTime historyGetLastDate(ULong asset) = 0;
    // "Added", "Deleted", "Changed", "Alert: Internet Activity", "Alert: Folder/File Changes"
    // for operations 1, 2, 4, 5, 6; "Unknown Operation" for any other. Not virtual.
    static CString GetHistoryOperation(ULong operation);

    // ---- Events ----
    // (Of the global enumerations.) With an empty `assets`, empties `ids` and fills it with
    // every event; otherwise appends the events whose history row belongs to one of `assets`.
    // Returns the count of `ids`.
    virtual ULong EnumGlobalEvents(const CDynaList<ULong>& assets, CDynaList<ULong>& ids) = 0;
    // Ties the event text to a history row; returns the new event's _ID (0 on failure).
    virtual ULong AddEvent(const char* event, ULong hist) = 0;
    // The event with exactly this text on this history row, or 0.
    virtual ULong FindEvent(const char* event, ULong hist) = 0;
    // Sends "delete * from EVENTLOG", which the supported engines refuse: the failure is
    // reported and nothing is deleted. Kept as it is; delete events one by one instead.
    virtual void DeleteAllEvents() = 0;
    virtual ULong GetEventCount() = 0;
    // text = the event's text, *hist (when not null) = its history row; an unknown event
    // leaves both as they were.
    virtual void GetEventDetails(ULong event, CString& text, ULong* hist) = 0;
    virtual void DeleteEvent(ULong event) = 0;

    // (Of the History family, declared beside the hardware operations it serves.)
    // Records what an audit changed in an asset's hardware, comparing the snapshot `oldList`
    // with `newList` (both as hwEnumAll gives them) item by item, items matched by their
    // path.key name (exact comparison). An item only in newList is "added" (operation 1,
    // value1 = the new value); one in both with another value (exact comparison) "changed"
    // (operation 4, value1 old, value2 new); one only in oldList "deleted" (operation 2,
    // value1 = the old value). Each record is dated `date`, keyed "path|key" as hwSetVal keys
    // its records, written as the logon user, and of the kind hwIconFromFlags gives for the
    // item's flags (the new item's for a change). Additions and changes come in newList's
    // order, then deletions in oldList's. A failed write is reported and the rest still run.
    virtual void StoreHwHistory(ULong asset, const CHwList& oldList, const CHwList& newList, CTime date) = 0;

    // ---- Hardware ----
    // HW is one tree: category nodes (kHwCategory, _ASSET 0) form the skeleton every asset
    // shares; value nodes (one asset's items: a key and a value text) hang below them. Paths
    // name categories from the root down, joined by a delimiter the caller chooses.
    static constexpr ULong kHwCategory = 0x0001;       // skeleton node; path walks match only these
    static constexpr ULong kHwExcluded = 0x0004;       // left out of hwEnumAll on request
    static constexpr ULong kHwIconMask = 0x0FF0;       // (flags >> 4) & 0xFF: hardware icon table index
    static constexpr ULong kHwDisplayMask = 0xF000;    // how hwValueAsString shows the value
    static constexpr ULong kHwShowBytes = 0x2000;      // FormatBytes
    static constexpr ULong kHwShowMegabytes = 0x3000;  // FormatMegabytes
    static constexpr ULong kHwShowDate = 0x4000;       // a time value, FormatDate with '/'
    static constexpr ULong kHwShowIPv4 = 0x5000;       // a 32-bit address, dotted
    static constexpr ULong kHwShowMHz = 0x7000;        // FormatMHz
    // The icon of a hardware node: entry (flags >> 4) & 0xFF of the hardware icon table (34
    // entries). Writers keep that index below 34; a larger one gives the first entry (15).
    static int hwIconFromFlags(ULong flags);

    // Appends the children of `parent` (0 = the roots) that `asset` can see, as (key, _ID,
    // _FLAGS): categories and the asset's values (asset 0: the skeleton's own values), in no
    // defined order; only nodes with a non-empty key whose flags share a bit with `mask` (a
    // value with flags 0 is never listed). Categories holding no value of the asset at any
    // depth (hwIsEmpty) are left out. Items already in the list are kept as
    // they are. Returns 1, also after a failure (reported), with what was read so far.
    virtual int hwEnum(ULong asset, ULong parent, CSortList& list, ULong mask) = 0;
    // Appends every value node of `asset` (with `exclude`, those without kHwExcluded) in the
    // database's row order: its parent, category path joined by "|", key, stored value and
    // flags. Returns the list's count.
    virtual int hwEnumAll(ULong asset, CHwList& list, int exclude) = 0;
    // Appends one item per asset holding item `key` under `parent`: (value, asset, the value
    // read as an integer). A value whose flags have any bit of 0x5000 under a key ending in
    // "IP Address" is shown dotted. Returns the list's count.
    virtual int hwEnumByAsset(ULong parent, const char* key, CSortList& list) = 0;
    // The category names from the root down to `node` joined by `separator` (value nodes add
    // nothing of their own: a value's path is its category's). Empty for 0 and on failure.
    virtual CString hwCatAsString(ULong node, char separator) = 0;
    // The node's value as shown to people (the formatting overload of CNorvikSql); empty for a
    // missing node.
    virtual CString hwValueAsString(ULong node) = 0;
    // The node's _FLAGS; 0 for a missing node.
    virtual ULong hwFlags(ULong node) = 0;
    // 1 when no value node (of `asset`, or a skeleton value) lies anywhere below `category`,
    // also when it has no children; 0 otherwise and on failure.
    virtual int hwIsEmpty(ULong asset, ULong category) = 0;
    // Site-wide views of the tree, across every asset. Each appends and returns the list's count.
    // 1. The nodes one level below `parent`: first its child categories whose flags share a bit
    //    with `mask`, as (key, _ID, _FLAGS); then each item key that any asset holds there, once,
    //    as (key, 0, _FLAGS of its first row).
    virtual int hwEnumGlobal(ULong parent, ULong mask, CSortList& list) = 0;
    // 2. Form 3 for the item `path` names: its last piece (after the last `delimiter`) is the
    //    key, the rest the category path as hwFind walks it (no delimiter: a key at the roots).
    virtual int hwEnumGlobal(const char* path, char delimiter, CSortList& list, int withAssetNames);
    // 3. What the assets hold under `key` below `parent`. When `key` names a category there,
    //    form 1 of that category (mask: every bit). Otherwise one item per asset's value:
    //    without names (value, asset, the value read as an integer); with names ("NAME	VALUE",
    //    asset, the value read as an integer), in the database's order. Values follow the
    //    "IP Address" rule of hwEnumByAsset.
    virtual int hwEnumGlobal(ULong parent, const char* key, CSortList& list, int withAssetNames) = 0;
    // The deepest category reached walking `path` (pieces cut at `delimiter`) from the roots; a
    // piece that matches no category is skipped, so "A|Missing|B" finds B directly under A.
    // 0 when no piece matched or on failure.
    virtual ULong hwFind(const char* path, char delimiter) = 0;
    // The node keyed `key` that `asset` has under `parent`; 0 when absent or on failure.
    virtual ULong hwFind(ULong parent, ULong asset, const char* key) = 0;
    // Walks `path` as hwFind does, creating each missing piece as a skeleton node with `flags`
    // (which should hold kHwCategory) under the node reached so far. Returns the last node's
    // _ID; 0 on failure (the pieces created stay).
    virtual ULong hwAdd(const char* path, char delimiter, ULong flags) = 0;
    // Stores `value` as `asset`'s item `key` under `parent`: an existing node gets the new value
    // (flags unchanged), else a node is inserted with `flags` (key and value cut to 255
    // characters). Returns the node's _ID; 0 on failure.
    virtual ULong hwAdd(ULong parent, ULong asset, ULong flags, const char* key, const char* value) = 0;
    // Replaces the node's value. With `history`, writes a "changed" record dated `when` for the
    // node's asset: key "path|key", old and new value, kind hwIconFromFlags of the node's
    // flags; returns that record's _ID. Without history returns 0. 0 on failure.
    virtual ULong hwSetVal(ULong node, const char* value, int history, CTime when) = 0;
    // Deletes every value node of `asset`; the skeleton stays. 1 when done, 0 on failure.
    virtual int hwDelete(ULong asset) = 0;
    // The display value of the asset's item `key` directly under the category "Operating
    // System"; empty when the category or the item is absent.
    virtual CString osFindValue(ULong asset, const char* key);
    // Appends the asset's items directly under "Operating System" as (key, _ID, _FLAGS).
    // Returns the list's count.
    virtual int osEnumValues(ULong asset, CSortList& list);

    // ---- Users ----
    virtual void SetLogonUser(const char* name) { m_strLogonUser = name ? name : ""; }

    // ---- Not virtual ----
    void ProgSetCallback(NorvikCallback fn, CallbackValue context);
    // The location that holds an asset, following asset parents upward.
    ULong GetAssetLocation(ULong asset);
    CAuditDBSys& kb() { return m_kb; }
    const CString& GetLogonUser() const { return m_strLogonUser; }

protected:
    // Writes one history row with code operation << 16 | (kind & 0xFFFF) and returns its _ID
    // (0 on failure, which is reported). Key, values and a given user are cut to 256 characters;
    // a null key or value is stored empty, a null user as the logon user (uncut).
    virtual ULong historyAdd(ULong asset, CTime date, ULong operation, int kind, const char* key, const char* value1,
                             const char* value2, const char* user) = 0;

    // 1 when no user callback is installed, else the callback's answer.
    int CallUser(int code, CallbackValue value);
    // The callback's answer, or the platform message box's when none is installed.
    int MsgBox(const char* text, unsigned int style) const;
    // Shows a failure with style 48: the ODBC form for database exceptions (with the failed
    // statement `context` when given), "An Error has occurred" with `context` otherwise.
    void HandleException(const CException& e, const char* context) const;
    void ProgStart(ULong total, const char* title, ULong step);
    // 0 when the caller asked to cancel at this step, else 1.
    int ProgCheck();
    void ProgComplete();

    int m_bOpen = 0;
    int m_nReserved = 0;

private:
    NorvikCallback m_pfnProgress = nullptr;
    CallbackValue m_progressContext = 0;
    ULong m_progressCounter = 0;
    ULong m_progressStep = 1;  // never 0, so ProgCheck works before the first ProgStart
    CString m_strLogonUser;
    CAuditDBSys& m_kb;
    NorvikCallback m_pfnUser = nullptr;
    CallbackValue m_userContext = 0;
    NorvikMsgBoxCallback m_pfnMsgBox = nullptr;
    CallbackValue m_msgBoxContext = 0;
};
