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
#include "common/stringtable.h"
#include "interface/asset_history_record.h"
#include "platform/cstring.h"
#include "platform/ctime.h"
#include "platform/exceptions.h"
#include "platform/types.h"

class CAuditDBSys;
class CRecSet;
class CTable;

// (code, value, context) -> answer. Code 1 of the user callback carries a status text
// (a const char* in `value`). Progress codes: 1 caption, 2 start with a range, 7 step, 4 end;
// answering 2 to a step asks to cancel.
using NorvikCallback = int (*)(int code, CallbackValue value, CallbackValue context);
// (text, Windows message-box style, context) -> Windows answer (6 = Yes).
using NorvikMsgBoxCallback = int (*)(const char* text, unsigned int style, CallbackValue context);

class NORVIK_API CNorvik {
public:
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

    // Enumerations shared with the back end and callers: the kind of back end (GetDbType), and
    // the kind of a note and the table whose record it is attached to (notesAdd, enumNotes).
    enum eDbType { dbNone = 0, dbSql = 1 };
    enum NOTETYPE { noteComment = 0, noteWarning = 1, noteReminder = 2 };
    enum TABLEIDX {
        tableLocation = 1,
        tableAsset = 2,
        tableApplication = 3,
        tableAppInstance = 4,
        tableHardware = 5,
        tableHistory = 6,
        tableLicenceType = 7,
        tableUser = 8,
        tableDiscovered = 9,
        tableCategory = 10,
        tableMake = 11,
        tableModel = 12
    };

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

    // ---- Callbacks and samples ----
    // A null function switches a callback off; the context is handed back unchanged.
    virtual void SetCallback(NorvikCallback fn, CallbackValue context);
    virtual void SetMsgBoxCallback(NorvikMsgBoxCallback fn, CallbackValue context);
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
    // The kind bits, one per asset: what kind of machine an audit found.
    static constexpr ULong kAssetKindComputer = 0x10;  // a desktop, or a computer of no known build
    static constexpr ULong kAssetKindLaptop = 0x20;    // a portable computer
    static constexpr ULong kAssetKindServer = 0x40;    // a server
    static constexpr ULong kAssetKindVirtual = 0x80;   // a virtual machine
    // "computer", "laptop", "server" or "virtual machine" for the lowest kind bit of `status`;
    // null when it has none.
    static const char* AssetKindName(ULong status) {
        if (status & kAssetKindComputer) return "computer";
        if (status & kAssetKindLaptop) return "laptop";
        if (status & kAssetKindServer) return "server";
        if (status & kAssetKindVirtual) return "virtual machine";
        return nullptr;
    }

    // Finds the asset named `name` anywhere (child assets too) or inserts it at `location` with
    // status kAssetNew, writing the "Initial Audit" record dated `when` when recordHistory is set.
    // With addUserFields, every asset-level field (USERDEF rows with flag 0x2) then gets a value row
    // for the asset if it has none (userDataAdd with an empty value), for a found asset too.
    // The find and the insert are one step across connections and processes: they hold the name's
    // find-or-insert lock (FindOrInsertLock on ASSET; on SQLite the database's write lock), so of
    // concurrent adds of one name the first inserts and the others wait and find its asset. The
    // asset, its record and its value rows commit together (or with the caller's transaction):
    // when the value rows fail, the new asset is rolled back too. Without addUserFields and
    // outside a transaction an existing name is found before any lock is taken, so finding works
    // on a read-only database. Returns the _ID; 0 on failure (reported).
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
    // %s to %s" dated `when`. In this order, in one transaction: the update of ASSET, the history
    // record, the station file (replaced whole), then the commit; so a record or a file that
    // cannot be written takes the new name back. 1 when done; 0 when the database or the file
    // failed (reported), the name then unchanged.
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

    // ---- Pick lists ----
    // PICKTYPE names a list, PICKDATA holds its items (_LISTID = the list's _ID). Identifiers are
    // the plain _IDs. Texts are stored as given (quoted, never cut).
    // Empties `lists`, then fills it with every list's _ID. Returns the count.
    virtual ULong EnumPicklists(CDynaList<ULong>& lists) const = 0;
    // The list's name; empty for a missing list.
    virtual CString GetPicklistName(ULong list) = 0;
    virtual void SetPicklistName(ULong list, const char* name) = 0;
    // The list named exactly `name` (as the database compares text); 0 when none.
    virtual ULong FindPicklist(const char* name) const = 0;
    // Returns the new list's _ID, 0 on failure.
    virtual ULong AddPicklist(const char* name) = 0;
    // Deletes the list row, then its items; fields naming the list are left as they are.
    virtual void DeletePicklist(ULong list) = 0;
    // Empties `items`, then fills it with the list's item _IDs in the database's order.
    virtual ULong EnumPickItems(ULong list, CDynaList<ULong>& items) const = 0;
    // Returns the new item's _ID, 0 on failure. The list is not checked.
    virtual ULong AddPickItem(ULong list, const char* text) = 0;
    virtual void DeletePickItem(ULong item) = 0;
    // The item's text; empty for a missing item.
    virtual CString GetPickItemValue(ULong item) const = 0;
    virtual void SetPickItemValue(ULong item, const char* text) = 0;

    // ---- User-defined fields ----
    // USERDEF holds field definitions and the groups that arrange them (_FLAGS kUserDefGroup).
    // A field's _FLAGS carry its owner bits (kUserDataAsset, 0x4, 0x8) and the type, case-rule
    // and mandatory bits of CAssetFieldDef; _VAL1 and _VAL2 its two parameters.
    static constexpr ULong kUserDefGroup = 0x1;
    static constexpr ULong kUserDefTypeMask = 0xF0;
    // Appends the fields directly in `group` (0 = the top) whose flags share a bit with `mask`
    // as (key, _ID, _FLAGS); groups are never listed. With `recursive`, then the fields of each
    // group found there, depth first. Returns the list's count.
    virtual ULong userDefEnum(ULong group, CSortList& list, ULong mask, int recursive) = 0;
    // The first definition named exactly `key` whose flags share a bit with `mask`; 0 when none.
    virtual ULong userDefFind(const char* key, ULong mask) = 0;
    // The group holding the definition; 0 at the top and for a missing definition.
    virtual ULong userDefGetParent(ULong def) = 0;
    // 1 when the statement ran, 0 on failure (also for the setters below).
    virtual int userDefSetParent(ULong def, ULong group) = 0;
    virtual CString userDefGetKey(ULong def) = 0;
    // Renames the definition. With renameValues, and a new key that differs exactly from the old,
    // the values stored under the old key in the definition's group follow it.
    virtual int userDefSetKey(ULong def, const char* key, int renameValues) = 0;
    virtual ULong userDefGetFlags(ULong def) = 0;
    virtual int userDefSetFlags(ULong def, ULong flags) = 0;
    // first = _VAL1, second = _VAL2; 1 when the row exists, else 0 with both left as they were.
    virtual int userDefGetParams(ULong def, CString& first, CString& second) = 0;
    virtual int userDefSetParams(ULong def, const char* first, const char* second) = 0;
    // The definition described for people: withType 0 gives CAssetFieldDef's description
    // ("Range 1 to 10, Mandatory"); otherwise the type name first, the description (when there
    // is one) after it in parentheses: "Integer (Range 1 to 10)". Empty for a missing definition.
    virtual CString userDefAsString(ULong def, int withType);
    // "Text", "Integer", "Picklist", "Boolean", "EnvVar", "RegKey", "Date" for the type bits of
    // `flags`; empty for any other type.
    static CString userDefTypeToString(ULong flags);
    // Adds a definition named "New Field Type" with `flags` at the top; its _ID, 0 on failure.
    virtual ULong userDefAdd(ULong flags) = 0;
    // Deletes the definition; with deleteValues first every value stored under its key in its
    // group with one of its owner bits. Values left behind belong to no field any more.
    virtual int userDefDelete(ULong def, int deleteValues) = 0;

    // ---- User data ----
    // USERDATA holds one value per (group, owner, key); _FLAGS carries the owner bits of the
    // field: 0x2 asset-level (owner = an ASSET._ID), 0x4 application-level, 0x8 the third kind.
    // Values are tied to definitions by group and key, not by USERDEF._ID.
    static constexpr ULong kUserDataAsset = 0x2;
    static constexpr ULong kUserDataApplication = 0x4;
    static constexpr ULong kUserDataOwnerMask = 0xE;
    // "<blank>" stands for an empty value in lists of distinct values; "<NULL>" is the stored
    // text of "no value".
    static const char* const m_szBlank;
    static const char* const m_szNull;
    // The built-in names that stand for ASSET columns wherever a field name is accepted, and
    // are read and written as text:
    //   "Category", "Make", "Model": the catalogue name (FindCategory; FindMake under the asset's
    //     category; the first of EnumModels under its make named exactly so); unknown names are
    //     refused;
    //   "Serial Number", "MAC Address": the text; "IP Address": dotted, empty for none;
    //   "Audit Date": YYYY-MM-DD[ hh:mm:ss], empty for never;
    //   "Location": the full name with "\" between levels (locGetFullName, locFind), empty for
    //     the root; a child asset reads "child of NAME"; writing places the asset in a location.
    // A built-in value is addressed by the asset's _ID with the name as key, and read and written
    // by GetBuiltInFieldValue and SetBuiltInFieldValue (after the published slots).
    static bool IsBuiltInField(const char* key);
    // Appends the values that `owner` holds directly in `group` (wholeTree: in `group` and in any
    // group with a larger _ID too) whose flags share a bit with `mask`, as (key, _ID, _FLAGS).
    // In group 0 with an asset-level mask, "Category", "Make", "Model" and "Serial Number" come
    // first, as (name, owner, 0). Returns the list's count.
    virtual ULong userDataEnum(ULong group, ULong owner, CSortList& list, ULong mask, int wholeTree) = 0;
    // Adds each field name holding a value in `group` with one of the `mask` bits to `names`
    // once (owner 0: of any owner, else of that owner only). Returns the number of names added.
    virtual ULong userDataEnumFieldNames(ULong group, ULong owner, CStringTable& names, ULong mask) = 0;
    // Appends every stored value of field `key` in `group` with one of the `mask` bits as
    // (value, owner, _FLAGS); a built-in name lists every asset's column as (text, asset, 0).
    // Returns the list's count.
    virtual ULong userDataEnumFieldValues(ULong group, const char* key, CSortList& list, ULong mask) = 0;
    // The field across all assets (owner bit kUserDataAsset). With `key` empty or null: every
    // field name holding a value in `group`, once each, as (name, 0). With a key and `separator`
    // 0: one item per asset holding the field, (value or "<blank>", asset). With a key of the
    // form FIELD<separator>VALUE: the assets holding exactly that value, as (asset name, asset),
    // "<blank>" asking for the empty value. Returns the list's count.
    virtual ULong userDataEnumGlobal(ULong group, const char* key, CSortList& list, char separator) = 0;
    // Sets the value of field `key` of `group` for `owner`, adding the row when the owner has
    // none, and returns its _ID (a built-in name: writes the column and returns the owner).
    //  - Only the owner bits of `flags` are stored; flags without one add nothing and give 0.
    //  - A new row takes `value`, "<NULL>" for a null value; with recordHistory an asset-level
    //    row is recorded as added.
    //  - An existing row (or a built-in column) takes a non-empty `value` when it differs,
    //    recorded as changed with recordHistory; an empty or null value never overwrites what
    //    is there (AddAsset gives new fields empty values this way). userDataSetVal clears.
    // 0 on failure or for a value a built-in column cannot take (reported, nothing written).
    virtual ULong userDataAdd(ULong group, ULong owner, const char* key, const char* value, ULong flags,
                              int recordHistory, CTime when) = 0;
    // Deletes value row `value`; an asset-level value is recorded as deleted when `when` is not 0.
    // With deleteGroup, `value` is a USERDEF group instead: the values and definitions it holds
    // move up to its parent, then the group row goes. 1 when done (also for a missing row), 0 on
    // failure.
    virtual int userDataDelete(ULong value, int deleteGroup, CTime when) = 0;
    // The value row of field `key` of `group` for `owner` whose flags share a bit with `mask`; 0
    // when none. A built-in name gives the owner when the asset exists.
    virtual ULong userDataFind(ULong group, ULong owner, const char* key, ULong mask) = 0;
    // The row's key; withGroup: the group's key (USERDEF), `separator`, the key ("%s%c%s");
    // a top-level row (or withGroup 0) gives the key alone. Empty for a missing row.
    virtual CString userDataGetKey(ULong value, int withGroup, char separator) = 0;
    virtual int userDataSetKey(ULong value, const char* key) = 0;
    // The value of field `key` of `group` for `owner` (userDataFind, then the overload below; a
    // built-in name: GetBuiltInFieldValue of asset `owner`); empty when there is none.
    virtual CString userdataGetValue(ULong group, ULong owner, const char* key, ULong mask);
    // The stored _VAL of row `value`; empty for a missing row. Built-in names have no row: they
    // are read with GetBuiltInFieldValue.
    virtual CString userdataGetValue(ULong value) = 0;
    // Sets the value of field `key` of `group` for `owner` whatever it held (empty clears it),
    // adding the row when missing (a built-in name: SetBuiltInFieldValue of asset `owner`).
    // Returns the row's _ID (the owner for a built-in), 0 on failure.
    virtual ULong userDataSetVal(ULong group, ULong owner, const char* key, const char* text, ULong flags,
                                 int recordHistory, CTime when);
    // Replaces the stored value of row `value` ("<NULL>" for a null text). With recordHistory an
    // asset-level change is recorded (key, old, new) dated `when`; an equal value writes nothing.
    // 1 when done, 0 for a missing row or on failure (reported). Built-in names have no row: they
    // are written with SetBuiltInFieldValue.
    virtual int userDataSetVal(ULong value, const char* text, int recordHistory, CTime when) = 0;
    virtual int userDataSetFlags(ULong value, ULong flags) = 0;
    // Adds every value stored under `key` with an asset-level flag to `values` (once each).
    // Returns the number of values added.
    virtual ULong userdataEnumFieldValues(const char* key, CStringTable& values) = 0;
    // The value of application-level field `key` (group 0) for application `app`; empty when none.
    virtual CString userdataGetApplicationFieldValue(ULong app, const char* key) = 0;
    // Sets it (adding the row when missing); the row's _ID, 0 on failure.
    virtual ULong userdataSetAppFieldValue(ULong app, const char* key, const char* value) = 0;

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

    // ---- Software links, folders, files, captured files ----
    // SWFOLDER and SWFILE rows are shared by the whole site; SWLINK ties them to assets: a
    // folder link (_FILE 0) says the folder exists on the asset, a file link that the file lies
    // in _FOLDER there. Sizes, CRCs and dates are 32-bit values kept bit for bit. Enumerations
    // append and return the list's count; name lists carry (text, _ID, 0).
    // Inserts a link row; its new _ID, 0 on failure.
    virtual ULong AddLink(ULong asset, ULong folder, ULong file, ULong fileDate) = 0;
    // The asset's file links whose file is assigned to `app`.
    virtual ULong EnumLinksByApp(ULong asset, ULong app, CDynaList<ULong>& list) = 0;
    // Every link of the asset, folder links included (the list is emptied first).
    virtual ULong EnumLinksByAsset(ULong asset, CDynaList<ULong>& list) = 0;
    virtual ULong EnumLinksByFile(ULong file, CDynaList<ULong>& list) = 0;
    // The assets holding the file, one entry per link (twice for a file in two folders).
    virtual ULong EnumAssetsByFile(ULong file, CDynaList<ULong>& list) = 0;
    // A link's columns; 0 for a missing link.
    virtual ULong GetLinkedAsset(ULong link) = 0;
    virtual ULong GetLinkedFolder(ULong link) = 0;
    virtual ULong GetLinkedFile(ULong link) = 0;
    virtual ULong GetLinkedFileDate(ULong link) = 0;
    // The folders directly below `parent` (0: the top) that the asset has. With dropEmpty,
    // those empty by IsFolderEmpty are removed (progress "Collating Folders...") and the list sorted.
    virtual ULong folderEnum(ULong asset, ULong parent, CSortList& list, int dropEmpty, int unassignedOnly) = 0;
    virtual CString GetFolderName(ULong folder) = 0;
    // "Top\Sub\" from the top-level folder down, with a trailing backslash; empty for 0.
    virtual CString GetFolderPath(ULong folder) = 0;
    virtual ULong GetFolderParent(ULong folder) = 0;
    // 1 when no file of the asset lies in the folder or below it (with unassignedOnly, no file
    // without an application), else 0.
    virtual int IsFolderEmpty(ULong folder, ULong asset, int unassignedOnly) = 0;
    // The folder `name` below `parent` (0: top level), created when missing, with a folder link
    // for `asset` (usp_MergeFolder). Its _ID; 0 on failure.
    virtual ULong MergeFolder(ULong asset, const char* name, ULong parent) = 0;
    // Fills `table` with the files of the folder on the asset: columns LINKID, NAME, SIZE, CRC,
    // DATE, RESMFR, RESAPP, RESVER, APPID (defined once; old rows cleared). 0 only when the
    // progress callback cancels the closing step; a cancel inside the loop keeps what was read, 1.
    virtual int filesEnum(ULong asset, ULong folder, CTable& table) = 0;
    // The files assigned to `app`, each (name, _ID) once. Returns 1.
    virtual int EnumFiles(ULong app, CSortList& list) = 0;
    // A file's columns, read through a one-entry cache of the last file (one query per file).
    virtual CString GetFileName(ULong file) = 0;
    virtual ULong GetFileSize(ULong file) const = 0;
    virtual ULong GetFileCRC(ULong file) const = 0;
    virtual CString GetFileMfr(ULong file) = 0;
    virtual CString GetFileApp(ULong file) = 0;
    virtual CString GetFileVer(ULong file) = 0;
    virtual ULong GetFileAppID(ULong file) const = 0;
    // Finds or creates the SWFILE row matching name, size, CRC and the three version texts
    // (a new row takes `app`, as does a found one without an application) and links it to the
    // asset in `folder` dated `date` (an existing link of that file in that folder takes the date).
    virtual void MergeFile(ULong asset, ULong folder, ULong crc, const char* name, ULong size, ULong date,
                           const char* mfr, const char* product, const char* version, ULong app) = 0;
    // The same from the current row of an audit's file table: folder = column 2, CRC 4, name 1,
    // size 3, date 5, the version texts 7, 8, 9.
    virtual void MergeFile(ULong asset, CRecSet& row, ULong app) = 0;
    // Assigns an unassigned file to `app` and, for each link of the file, counts it into that
    // asset's instance (applicationAddInstance(asset, app, "", "", 2)). 1 when done; 0 and no
    // change for an assigned or missing file, and on failure (all or nothing).
    virtual int AssignFile(ULong file, ULong app) = 0;
    // Unassigns the file and, per link of the file, deletes the asset's instance of the old
    // application when it holds at most one file, else takes one from its _FILES. Returns 1.
    virtual int UnAssignFile(ULong file) = 0;
    // Unassigns every file of `app`, leaving APPINST as it is. 1 when done, 0 on failure.
    virtual int UnAssignAllFiles(ULong app) = 0;
    virtual int EnumCapFiles(ULong asset, CSortList& list) = 0;
    virtual CString GetCapFileContent(ULong capture) = 0;
    // Stores `content` as the asset's captured file `fileName`, replacing the content of an
    // earlier capture of that name in place. The capture's _ID; 0 on failure.
    virtual ULong AddCapFile(ULong asset, const char* fileName, const char* content) = 0;
    // Deletes every captured file of the asset in one statement (its own transaction, or part of
    // the caller's): all of them go, or none. A failure is reported.
    virtual void DeleteCapFiles(ULong asset) = 0;

    // ---- Application instances and applications ----
    // APPS is the site's application catalogue (publisher _MFR, name _APP, _FLAGS, _ALIAS: the row
    // it is shown as); APPINST holds one instance per application per asset. Display names are
    // "PUBLISHER NAME", or NAME alone for an empty publisher or without the publisher.
    // Bit of APPS._FLAGS (and APPINST._FLAGS) that hides a row from the publisher listings.
    static constexpr ULong kAppHidden = 0x8;
    // Appends the asset's instances whose application _FLAGS hold every bit of `mask` (0 = all), as
    // (name through one alias level [+ " [VERSION]" with withVersion], instance _ID, 0), in the
    // database's order. `unused` is ignored. Returns the list's count.
    virtual ULong EnumApplicationInstances(ULong asset, int withVersion, CSortList& list, ULong mask, int unused) = 0;
    // Appends the instances of `app` and of every row aliased to it (at any depth; aliased rows
    // first): (serial, or "LABEL [SERIAL]" / "LABEL" with a label; asset _ID; instance _ID).
    virtual ULong newEnumAppInstByApp(ULong app, CSortList& list, const char* label) = 0;
    // Loads the asset's instance of `app` into the instance cache when there is one. Returns 0
    // whether found or not: read the instance through the cache (newGetAppInst*).
    virtual ULong applicationFindInst(ULong asset, ULong app) = 0;
    // The instance's serial, flags, file count and application, read through the one-entry cache
    // (a missing instance gives what the cache last held).
    virtual CString newGetAppInstSerial(ULong instance) = 0;
    virtual ULong newGetAppInstFlags(ULong instance) = 0;
    virtual ULong newGetAppInstFiles(ULong instance) = 0;
    virtual ULong newGetAppInstAppID(ULong instance) = 0;
    // usp_AddAppInst: the asset's instance of `app`, created with this serial, version and flags
    // (_FILES 1 when flags hold 0x2, else 0) or, when it exists, unchanged but for one more in
    // _FILES. Returns the instance _ID; 0 on failure.
    virtual ULong applicationAddInstance(ULong asset, ULong app, const char* serial, const char* version,
                                         ULong flags) = 0;
    // 1 when the asset has an instance of `app`, else 0.
    virtual int applicationIsInstalled(ULong asset, ULong app) = 0;
    // Deletes the asset's instances of `app` and empties the instance cache. 1; 0 on failure.
    virtual int applicationRemove(ULong asset, ULong app) = 0;
    // Deletes the catalogue row and every instance of it, in one transaction. 1; 0 on failure.
    virtual int applicationDelete(ULong app) = 0;
    // The first application, in sorted display-name order, whose name with publisher (through one
    // alias level) is exactly `name`, among those installed somewhere with _FLAGS bit 0x1 or 0x2.
    virtual ULong applicationFind(const char* name) = 0;
    // The display name; with aliasDepth > 0 an aliased row gives its alias's name (aliasDepth - 1
    // levels further). Empty for a missing row.
    virtual CString applicationGetName(ULong app, unsigned int aliasDepth, int withPublisher) = 0;
    // The instance's version text.
    virtual CString applicationGetVersion(ULong instance) = 0;
    // Appends (empty, _ID, _LICCOUNT) for every application whose licence type has bit 0x1.
    virtual ULong applicationEnumLicenceCounts(CSortList& list) = 0;

    // ---- Licences ----
    // LICTYPE holds the licence types; each application (APPS) carries one (_LICTYPE) and a
    // declared count of licences (_LICCOUNT). Type 1 stands for "no licence specified": it is
    // never looked up and is described as "Not Specified".
    static constexpr ULong kLicenceNotSpecified = 1;
    static constexpr ULong kLicencePerPc = 0x1;   // the declared count is compared with installations
    static constexpr ULong kLicenceHidden = 0x2;  // kept out of the caller's lists
    static constexpr const char* kLicenceNotSpecifiedName = "Not Specified";
    // The application's licence as shown: "NAME [COUNT]" for a per-PC type, the type's name
    // otherwise, "Not Specified" for type 1 (empty for a type that has no row).
    virtual CString GetAppLicenceDesc(ULong app);
    // The licence statistics of `app` within `scope` (0: the whole site; a location _ID: the
    // assets of that location and every location below it, child assets included). instances =
    // the scope's assets holding the app or a row aliased to it (EnumGlobalSwAssets); for a
    // per-PC type difference = declared count - instances (negative when over-used), else 0.
    // Returns 0 with type 1 (not specified) and difference 0, else 1.
    virtual int GetAppLicenceStats(ULong scope, ULong app, ULong& type, ULong& flags, int& instances,
                                   int& difference) = 0;
    virtual ULong GetAppLicenceCount(ULong app) = 0;
    // The application's licence type; 0 for a missing application.
    virtual ULong GetAppLicenceType(ULong app) = 0;
    // name and *flags (flags may be null) of the type; 1 when it exists, else 0 and both unchanged.
    virtual ULong GetLicenceDetails(ULong type, CString& name, ULong* flags) = 0;
    virtual CString GetLicenceName(ULong type) = 0;
    // Appends every type as (name, _ID, _FLAGS), type 1 included. Returns the list's count.
    virtual ULong EnumLicenceTypes(CSortList& list) = 0;
    // 1 when the type's flags share a bit with `mask`, else 0.
    virtual int GetLicenceTypeFlag(ULong type, ULong mask) = 0;
    // Sets (set != 0) or clears `mask` and returns the previous GetLicenceTypeFlag; the row is
    // written only when the state changes.
    virtual int SetLicenceTypeFlag(ULong type, ULong mask, int set) = 0;
    // Renames the type and clears its flags: a renamed type is a new kind of licence.
    virtual void SetLicenceTypeName(ULong type, const char* name) = 0;
    // Deletes the type unless an application uses it: 1 when deleted, 0 when in use or on failure.
    virtual int DeleteLicenceType(ULong type) = 0;
    // Adds a type without flags; the new _ID, 0 on failure.
    virtual ULong AddLicenceType(const char* name) = 0;
    // Sets the application's licence type and declared count; -1 leaves either as it is.
    virtual void SetAppLicence(ULong app, int type, int count) = 0;
    // "Per PC", "Hidden", "Per PC, Hidden" or empty for the bits kLicencePerPc and kLicenceHidden.
    static CString FormatLicenseFlags(int flags);

    // ---- Application flags, aliases, recognition ----
    // 1 when the application's _FLAGS share a bit with `mask`, else 0.
    virtual int applicationGetFlag(ULong app, ULong mask) = 0;
    // Sets (set != 0) or clears the bits of `mask`. 1 when written, 0 on failure.
    virtual int applicationSetFlag(ULong app, ULong mask, int set) = 0;
    virtual ULong applicationGetFlags(ULong app) = 0;
    // usp_AddApp: the _ID of the first row with exactly this publisher and name, created with
    // `flags` when there is none. 0 on failure.
    virtual ULong applicationAdd(const char* publisher, const char* name, ULong flags) = 0;
    // Rewrites `ids` in place: values of 0xFFFF or more are Knowledge Base references (application
    // number << 16) and become catalogue rows "PUBLISHER NAME" (applicationAdd with flags 1) named
    // from the application's parent and grandparent; smaller values stay.
    virtual void newMergeKBApps(ULong* ids, int count);
    // `app` is shown as `alias` (0 = itself). Never create a cycle of aliases. 1; 0 on failure.
    virtual int applicationSetAlias(ULong app, ULong alias) = 0;
    virtual ULong applicationGetAlias(ULong app) = 0;
    // Appends the rows aliased to `app` at any depth (direct ones without duplicates first, then
    // those found below every listed item). Returns the list's count.
    virtual ULong newEnumAppAliases(ULong app, CDynaList<ULong>& list) = 0;
    // Deletes all the asset's instances, then its folder and file links, in one transaction (or
    // the caller's): a failure deletes nothing. 1; 0 on failure (reported).
    virtual int DeleteSw(ULong asset) = 0;
    // Runs recognition again over the asset's stored files (its SWLINK file links with their
    // SWFILE rows and link dates) against the open Knowledge Base: key files first, then the
    // other files of applications whose key file was found. Each recognised file that is not
    // assigned yet is assigned to the catalogue row of its application (newMergeKBApps), and
    // every asset linking that file gets its instance created or its file count raised
    // (applicationAddInstance with flags 2), all in one transaction. Files already assigned
    // stay as they are. Returns the number of files assigned; 0 also on failure (reported).
    virtual ULong ReRecognise(ULong asset) = 0;
    // (Of the licences.) The licence of `app` within `scope` (as GetAppLicenceStats): each output
    // is written only when its pointer is given; instances are counted only when asked for.
    // description as GetAppLicenceDesc; a missing app gives type 0 and declared 0. Returns 0.
    virtual ULong GetApplicationLicenseDetails(ULong scope, ULong app, ULong* type, CString& description, ULong* flags,
                                               int* instances, int* declared, int* difference) = 0;

    // ---- History ----
    // History codes: operation << 16 | (kind & 0xFFFF). Operations: 1 added, 2 deleted,
    // 4 changed, 5 and 6 alerts. Kinds are icon codes: 3 the asset itself, 2 its place,
    // 13 an application, 14 and 15 hardware. 0x10003 (the initial audit) survives date purges.
    static constexpr ULong kHistAdded = 1;
    static constexpr ULong kHistDeleted = 2;
    static constexpr ULong kHistChanged = 4;
    static constexpr ULong kHistInitialAudit = 0x10003;

    // Records the hardware changes between two hwEnumAll snapshots, items matched by path.key
    // (exact): added (value1 new), changed (value1 old, value2 new), deleted (value1 old), dated
    // `date`, keyed "path|key", as the logon user, kind hwIconFromFlags; additions and changes
    // in newList's order, then deletions in oldList's. A failed write is reported, the rest run.
    virtual void StoreHwHistory(ULong asset, const CHwList& oldList, const CHwList& newList, CTime date) = 0;
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
    // Kept protected: callers record history through the operations that change data.
protected:
    // Writes one history row with code operation << 16 | (kind & 0xFFFF) and returns its _ID
    // (0 on failure, which is reported). Key, values and a given user are cut to 256 characters;
    // a null key or value is stored empty, a null user as the logon user (uncut).
    virtual ULong historyAdd(ULong asset, CTime date, ULong operation, int kind, const char* key, const char* value1,
                             const char* value2, const char* user) = 0;

public:
    // Deletes (applicationDelete) every application enumUnreferencedApps lists, in name order.
    // Returns how many were listed.
    virtual ULong PurgeUnreferencedApplications();
    // The latest date in the asset's history; 0 when it has none.
    virtual CTime historyGetLastDate(ULong asset) = 0;
    // "Added", "Deleted", "Changed", "Alert: Internet Activity", "Alert: Folder/File Changes"
    // for operations 1, 2, 4, 5, 6; "Unknown Operation" for any other. Not virtual.
    static CString GetHistoryOperation(ULong operation);
    // Writes the "Re-Audit" record of an asset audited again (operation 4, kind 3, empty key)
    // dated `when`, as the logon user. Returns the row's _ID; 0 on failure (reported).
    ULong historyAddReAudit(ULong asset, CTime when) {
        return historyAdd(asset, when, kHistChanged, kIconAsset, "", nullptr, nullptr, nullptr);
    }
    // Writes a note on how an audit was matched to the asset ("KEY changed : TEXT": operation 4,
    // kind kIconPC) dated `when`, as the logon user. Returns the row's _ID; 0 on failure (reported).
    ULong historyAddIdentityNote(ULong asset, CTime when, const char* key, const char* text) {
        return historyAdd(asset, when, kHistChanged, kIconPC, key, text, nullptr, nullptr);
    }

    // ---- Security switch ----
    // 1 when console log-on is switched on for the site, else 0 (also on failure).
    virtual int IsSecurityEnabled() = 0;
    // Switches log-on on (any non-zero `enable`, stored as 1) or off. 1 when stored, 0 on failure.
    virtual int EnableSecurity(int enable) = 0;

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
    // (which should hold kHwCategory) under the node reached so far. A missing piece is looked for
    // again and inserted under its find-or-insert lock (FindOrInsertLock on HW, keyed by parent
    // and key; on SQLite the write lock), committed piece by piece: of two writers creating one
    // path, the second waits and takes the first one's node. Returns the last node's _ID; 0 on
    // failure (the pieces created stay).
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

    // ---- Internet history and cookies ----
    // IEHIST holds one row per asset, site and local calendar day with the pages seen; IECOOKIE
    // one row per cookie found. Sites are cut to kIeSiteLength characters before they are stored
    // or compared. Enumerations append, except ieHistSearch and ieCookieSearch, which empty the
    // list first.
    static constexpr int kIeSiteLength = 1024;
    // pageCount 0 counts one page: the row of the asset, site and local day of `date` gets one
    // more page, or a row with 1 page is inserted (dated `date`). Returns that row's _ID.
    // pageCount > 0 inserts a row with that total as it stands, naming a column "_DATA" that the
    // table lacks: that statement fails, is reported, and gives 0. 0 on failure.
    virtual ULong ieHistAdd(ULong asset, CTime date, const char* site, ULong pageCount) = 0;
    // The number of IEHIST rows of the asset.
    virtual ULong ieHistGetCount(ULong asset) = 0;
    // Appends the asset's distinct row dates, oldest first. Returns the list's count.
    virtual ULong ieHistEnumDates(ULong asset, CDynaList<CTime>& dates) = 0;
    // Appends the rows of the asset dated on the local calendar day of `day` (a `day` of 0: the
    // undated rows). Returns the list's count.
    virtual ULong ieHistEnumSites(ULong asset, CTime day, CDynaList<ULong>& rows) = 0;
    // Empties `rows`, then fills it with the rows of `asset` (0: of every asset) whose whole site
    // matches `pattern`: "?" one character, "*" any run (also none), every other byte itself,
    // case-sensitively. Returns the list's count.
    virtual ULong ieHistSearch(const char* pattern, ULong asset, CDynaList<ULong>& rows) = 0;
    virtual CTime ieHistGetDate(ULong row) = 0;
    virtual CString ieHistGetSite(ULong row) = 0;
    virtual ULong ieHistGetPageCount(ULong row) = 0;
    // Deletes every IEHIST row of the asset. 1 when done, 0 on failure.
    virtual int ieHistDeleteAll(ULong asset) = 0;
    virtual int ieHistDelete(ULong row) = 0;
    // Appends the IEHIST rows dated before `before` to histRows and the IECOOKIE rows dated
    // before it to cookieRows; rows dated exactly `before` stay out. Returns both counts added up.
    virtual ULong ieEnumPurge(CTime before, CDynaList<ULong>& histRows, CDynaList<ULong>& cookieRows) = 0;
    // Inserts a cookie row (no test for a duplicate). Returns its _ID, 0 on failure.
    virtual ULong ieCookieAdd(ULong asset, CTime date, const char* name) = 0;
    virtual ULong ieCookieGetCount(ULong asset) = 0;
    // Empties `rows`, then fills it with the asset's cookie rows. Returns the count.
    virtual ULong ieCookieEnum(ULong asset, CDynaList<ULong>& rows) = 0;
    // As ieHistSearch, over the cookie names.
    virtual ULong ieCookieSearch(const char* pattern, ULong asset, CDynaList<ULong>& rows) = 0;
    virtual CString ieCookieGetName(ULong row) = 0;
    virtual CTime ieCookieGetDate(ULong row) = 0;
    virtual int ieCookieDeleteAll(ULong asset) = 0;
    virtual int ieCookieDelete(ULong row) = 0;

    // ---- Serial-number scan records ----
    // SWSERIAL: where the auditor reads an application's serial number (a registry key and the
    // value name within it).
    // Empties `ids`, then fills it with every record's _ID; `unused` is ignored. Returns the count.
    virtual ULong EnumSSRecs(CDynaList<ULong>& ids, int unused) = 0;
    // The new record's _ID, 0 on failure.
    virtual ULong AddSSRec(const char* appName, const char* regKey, const char* regItem) = 0;
    virtual void DeleteSSRec(ULong record) = 0;
    // The record's texts; empty for a missing record.
    virtual CString GetSSAppName(ULong record) = 0;
    virtual CString GetSSRegKey(ULong record) = 0;
    virtual CString GetSSRegItem(ULong record) = 0;
    virtual void SetSSAppName(ULong record, const char* text) = 0;
    virtual void SetSSRegKey(ULong record, const char* text) = 0;
    virtual void SetSSRegItem(ULong record, const char* text) = 0;

    // ---- Users ----
    // Console users with their level, the location they are restricted to and their profile.
    // With the site option kOptionPasswordHashing set to "1", userSetPassword stores a salted
    // Argon2id hash (text beginning kPasswordHashPrefix) instead of the password itself.
    static constexpr const char* kOptionPasswordHashing = "PasswordHashing";
    static constexpr const char* kPasswordHashPrefix = "$argon2id$";
    // Empties `users`, then fills it with the users of `level` (-1: every user). Returns the count.
    virtual ULong EnumUsers(CDynaList<ULong>& users, int level) = 0;
    // The first user whose log-on name is exactly `name`; 0 when none.
    virtual ULong userFind(const char* name) = 0;
    // 1 when `user` exists and `password` is its password: a stored hash must verify, a stored
    // clear text must be equal byte for byte (letter case counts). 0 otherwise.
    virtual int ValidatePassword(ULong user, const char* password) = 0;
    virtual CString userGetName(ULong user) = 0;
    // The stored password: the clear text, or the hash when one was stored.
    virtual CString userGetPassword(ULong user) = 0;
    virtual int userGetLevel(ULong user) = 0;
    // The LOCDATA _ID the user is restricted to; 0 for none.
    virtual ULong userGetLocation(ULong user) = 0;
    virtual CString userGetProfile(ULong user) = 0;
    virtual CString userGetFirstName(ULong user) = 0;
    virtual CString userGetLastName(ULong user) = 0;
    // Inserts a user (names are not checked for duplicates). Returns the new _ID, 0 on failure.
    virtual ULong userAdd(const char* name, int level) = 0;
    // The setters and userDelete return 1 when the statement ran (a missing user changes
    // nothing), 0 on failure.
    virtual int userDelete(ULong user) = 0;
    virtual int userSetName(ULong user, const char* name) = 0;
    virtual int userSetLevel(ULong user, int level) = 0;
    virtual int userSetLocation(ULong user, ULong location) = 0;
    virtual int userSetProfile(ULong user, const char* profile) = 0;
    // Stores a hash or the clear text (see above). Refused (0, reported): a clear text that
    // begins with kPasswordHashPrefix, which would read as a hash.
    virtual int userSetPassword(ULong user, const char* password) = 0;
    virtual int userSetFirstName(ULong user, const char* name) = 0;
    virtual int userSetLastName(ULong user, const char* name) = 0;
    virtual void SetLogonUser(const char* name) { m_strLogonUser = name ? name : ""; }

    // ---- Global (site-wide) enumerations ----
    // A scope is 0 for the whole site, or a location _ID: the assets of that location and of every
    // location below it, with their child assets at any depth (assetEnum(scope, 0, list, 1)).
    // An asset set is a list of asset _IDs; an empty set stands for the whole site.
    // Appends every catalogue row as (display name, _ID, _FLAGS). Returns the list's count.
    virtual ULong enumApplications(CSortList& list, int withPublisher) = 0;
    // The applications of the scope's assets: the asset set of `scope`, then the overload below.
    // A location holding no asset gives nothing.
    virtual ULong EnumGlobalSwApplications(ULong scope, CSortList& list, ULong mask, int withPublisher,
                                           unsigned int aliasDepth, int installedOnly, const char* publisher,
                                           ULong excludeMask);
    // Appends each application once as (display name through aliasDepth alias levels, with the
    // publisher when withPublisher; _ID; number of its instances on the assets) for applications
    // whose _FLAGS share a bit with `mask` (0 = any) and none with `excludeMask`. `publisher`
    // null or "All Publishers" = any, "Unknown" = the empty one, else exactly that text. With a
    // non-empty asset set or installedOnly, only applications installed on the set's assets;
    // otherwise every catalogue row. Returns the list's count.
    virtual ULong EnumGlobalSwApplications(const CDynaList<ULong>& assets, CSortList& list, ULong mask,
                                           int withPublisher, unsigned int aliasDepth, int installedOnly,
                                           const char* publisher, ULong excludeMask) = 0;
    // Appends the scope's assets holding an instance of `app` (with withAliases, also of the rows
    // aliased to it at any depth): (asset name [+ " [VERSION]" with withVersion], asset _ID,
    // instance _ID), ordered by asset name. Returns the list's count.
    virtual ULong EnumGlobalSwAssets(ULong scope, ULong app, int withVersion, CSortList& list, int withAliases) = 0;

    // The distinct files the scope's assets hold, named `name` (null or empty: any name), as
    // (name [+ " [VERSION]" with withVersion and a version text], SWFILE _ID, _APPID). Items
    // already in the list are not added again. Returns the list's count.
    virtual ULong EnumGlobalFile(ULong scope, const char* name, int withVersion, CSortList& list) = 0;
    // The scope's assets holding `file`: (asset name, asset _ID, folder _ID), one item per folder
    // the asset holds it in; items already in the list are not added again. Returns the count.
    virtual ULong EnumGlobalFileAssets(ULong scope, ULong file, CSortList& list) = 0;
    // With an empty `assets`, empties `ids` and fills it with every event; otherwise appends the
    // events whose history row belongs to one of `assets`. Returns the count of `ids`.
    virtual ULong EnumGlobalEvents(const CDynaList<ULong>& assets, CDynaList<ULong>& ids) = 0;

    // ---- Events ----
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

    // ---- Licence alerts ----
    // LICALERTS: one row per alert raised about an application's installations; the type is
    // the caller's (kLicenceAlertOverUse is the one this library raises).
    // Empties `ids`, then fills it with every alert's _ID. Returns the count.
    virtual ULong EnumLicenseAlerts(CDynaList<ULong>& ids) = 0;
    // Records an alert; the new _ID, 0 on failure.
    virtual ULong licensealertAdd(int type, ULong app, const CTime& date, int declared, int instances) = 0;
    // The first alert of this type about `app`; 0 when none.
    virtual ULong licensealertFind(int type, ULong app) = 0;
    // Sends "delete * from LICALERTS", which the supported engines refuse: the failure is
    // reported and nothing is deleted. Kept as it is; delete alerts one by one instead.
    virtual void licensealertDeleteAll() = 0;
    virtual ULong licensealertGetCount() = 0;
    // The alert's stored values through the pointers given (each may be null); 1 when the
    // alert exists, else 0 and nothing written.
    virtual ULong licensealertGetDetails(ULong alert, int* type, int* app, CTime* date, int* declared,
                                         int* instances) = 0;
    virtual void licensealertDelete(ULong alert) = 0;

    // ---- Discovered assets ----
    // Computers found on the network (DISCOVER): name, domain or workgroup, dotted address. An
    // entry is "unaudited" while no asset bears its name.
    // Empties `entries`, then fills it with every entry once (unauditedOnly: those without an
    // asset of the same name). Returns the count.
    virtual ULong daEnum(CDynaList<ULong>& entries, int unauditedOnly) = 0;
    virtual CString daGetName(ULong entry) = 0;
    virtual CString daGetDomain(ULong entry) = 0;
    // 0.0.0.0 when the entry has no address.
    virtual CIPAddress daGetIPAddress(ULong entry) = 0;
    // The entry of `name` whose domain and address match, else a new entry; returns its _ID (0
    // on failure). Domains match when equal (exactly) or when either is empty; addresses when
    // equal or when either is 0.0.0.0. The unknown matches anything, so seeing a computer again
    // with less information adds nothing.
    virtual ULong daAdd(const char* name, const char* domain, CIPAddress ip) = 0;
    // Deletes one entry; 0 deletes every entry. 1 when done, 0 on failure.
    virtual int daDelete(ULong entry) = 0;
    // The top-level location under which daMerge files computers by domain.
    static constexpr const char* kDiscoveredLocation = "Discovered Assets";
    // Makes an asset of every unaudited entry, placed in the first location whose address
    // ranges hold its address (locFindByIP), else in the location named after its domain
    // below the top-level location kDiscoveredLocation (directly in it for an empty domain);
    // both are created when missing. The asset gets the entry's address and its creation
    // record. Returns the number of assets made; a second run makes none. A failure is reported
    // and ends the run, the assets made staying.
    ULong daMerge();

    // ---- Publishers ----
    // Appends each publisher of the applications installed on the scope's assets once, as (text, 0,
    // number of instances), for applications without kAppHidden whose _FLAGS hold every bit of
    // `mask`; an empty publisher is listed as "Unknown". Returns the list's count.
    virtual ULong EnumGlobalSwAppPublishers(ULong scope, CSortList& list, ULong mask) = 0;
    // Appends each non-empty publisher of the asset's instances (asset 0: of every instance) once,
    // as (text, 0, 0), for applications without kAppHidden whose _FLAGS hold every bit of `mask`.
    virtual ULong EnumAppPublishers(ULong asset, CSortList& list, ULong mask) = 0;
    // The application's own publisher, whatever aliasDepth (an alias is never followed here).
    virtual CString GetAppPublisher(ULong app, unsigned int aliasDepth) = 0;
    // Appends (name [+ " [VERSION]"], instance _ID, instance _FLAGS) for the asset's instances
    // without kAppHidden (asset 0: every instance of applications without kAppHidden) whose
    // application _FLAGS share a bit with `mask`, of `publisher` ("Unknown" = the empty one, "All
    // Publishers" = any), skipping items already in the list. Returns the list's count.
    virtual ULong EnumAppsByPublisher(ULong asset, const char* publisher, int withVersion, CSortList& list,
                                      ULong mask) = 0;
    // all != 0: every row of publisher `oldPublisher` gets `newPublisher`; else only `app` does.
    // Returns 0 (a failure is reported).
    virtual ULong UpdateAppPublisher(ULong app, const char* oldPublisher, const char* newPublisher, int all) = 0;

    // ---- Scheduling and notes ----
    // Appends the assets due for audit at `now` (0: the current time), never-audited ones too;
    // child assets and assets with a bit of kAssetUncounted are never due. The interval is the
    // back end's (GetAuditInterval of CNorvikSql). Returns the list's count.
    virtual ULong EnumScheduledAssets(CDynaList<ULong>& assets, CTime now) = 0;
    // The note of (type, table, record) gets `data` and `text`, or one is inserted. Returns its
    // _ID, 0 on failure.
    virtual ULong notesAdd(int type, int table, ULong record, int data, const char* text) = 0;
    // 1 when the statement ran, 0 on failure.
    virtual int notesDelete(ULong note) = 0;
    // Appends the notes matching every given (non-null) criterion. With no criterion at all the
    // statement is left without a condition, fails and is reported: give at least one. Returns
    // the list's count.
    virtual ULong enumNotes(const int* type, const int* table, const ULong* record, CDynaList<ULong>& notes) = 0;
    // *data and *text (either may be null) of the note; returns `note`, or 0 for a missing note.
    virtual ULong notesGetDetails(ULong note, int* data, CString* text) = 0;

    // ---- Housekeeping of applications ----
    // Appends (name, _ID, 0) for each application with licence type 0 or 1 that no instance and no
    // file refers to. Returns the list's count.
    virtual ULong enumUnreferencedApps(CSortList& list) = 0;
    // Appends (display name, lowest _ID, number of rows) for each publisher and name held by more
    // than one row, most rows first. Returns the list's count.
    virtual ULong enumDuplicateApps(CSortList& list) = 0;
    // Appends rows that point nowhere: ("APPINST", instance _ID, its asset) for instances whose
    // asset or application is missing, then ("SWLINK", link _ID, its asset) for links whose asset
    // is missing, each in _ID order. Returns the list's count.
    virtual ULong enumOrphans(CSortList& list) = 0;
    // Deletes the later rows (higher _ID) of app's publisher and name. Kept as callers have always
    // had it: app's instances are first re-pointed to each later row in turn before that row is
    // deleted, and the later rows' own instances are left pointing at deleted rows. Every update
    // and delete runs in one transaction (or the caller's): a failure changes nothing. 0 (also
    // after a reported failure); 0xFFFFFFFF when `app` is missing.
    virtual ULong FixupDuplicateApps(ULong app) = 0;
    // Appends ("NAME on ASSET", lowest instance _ID, number of instances) for each asset holding
    // more than one instance of one application, in asset and application order. Returns the count.
    virtual ULong enumDuplicateAppInstances(CSortList& list) = 0;

    // ---- Licence compliance (beyond the published slots) ----
    // The LICALERTS._TYPE of an alert raised because an application is installed on more assets
    // than its per-PC licence count declares.
    static constexpr int kLicenceAlertOverUse = 1;
    // Appends (empty, application _ID, installations) for every application whose licence type is
    // above 1 (one that is specified), installations counted within `scope` as GetAppLicenceStats
    // counts them, for all applications in one pass. Returns the list's count.
    virtual ULong licenceEnumInstallations(ULong scope, CSortList& list) = 0;
    // The over-use check: for every per-PC application (applicationEnumLicenceCounts) installed on
    // more assets of the site than declared, adds an alert kLicenceAlertOverUse dated `date` with
    // the declared and installed counts, unless one of that type exists for the application; the
    // new alerts' _IDs are appended to `added` when given. Changes nothing else. Returns the
    // number of over-used applications, alerted before or now.
    virtual ULong licensealertCheckOverUse(const CTime& date, CDynaList<ULong>* added);

    // ---- Bulk writes and set reads (beyond the published slots) ----
    // One installed application of an asset, for applicationAddInstances.
    struct AppInstanceEntry {
        CString publisher;
        CString name;
        CString version;
    };
    // For each entry, in a few set-based statements: applicationAdd(publisher, name, 1), then
    // applicationAddInstance(asset, that app, "", version, 0). 1; 0 on failure (all or nothing).
    virtual int applicationAddInstances(ULong asset, const CDynaList<AppInstanceEntry>& entries) = 0;
    // Appends the assets of location scope `location` (as the global enumerations scope it, each once, in no set order)
    // to `assets`; the default asks assetEnum. Returns the list's count.
    virtual ULong EnumScopeAssets(ULong location, CDynaList<ULong>& assets);
    // The catalogue entry named exactly `name` at `level` (a make under category `parent`, a model
    // under make `parent`): the Knowledge Base's, else the site's, else a new site row (a category
    // of type 0). Find and add are one step across connections. Its identifier; 0 on failure.
    static constexpr int kCatalogueCategory = 0;
    static constexpr int kCatalogueMake = 1;
    static constexpr int kCatalogueModel = 2;
    virtual ULong FindOrAddCatalogueEntry(int level, ULong parent, const char* name);
    // The find of FindOrAddCatalogueEntry alone: the entry's identifier, 0 when there is none.
    ULong FindCatalogueEntry(int level, ULong parent, const char* name);

    // ---- Built-in asset fields (beyond the published slots) ----
    // The published userdataGetValue(value) and userDataSetVal(value, ...) address USERDATA rows
    // only; the built-in names (IsBuiltInField), which stand for ASSET columns, are reached here.
    // The column of asset `asset` that built-in `name` stands for, as text (see IsBuiltInField);
    // empty for a missing asset or a name that is not built in.
    virtual CString GetBuiltInFieldValue(ULong asset, const char* name) = 0;
    // Writes that column from its text form; an empty or null text clears it. With recordHistory a
    // change is recorded (name, old, new) dated `when`; an equal value writes nothing. 1 when done;
    // 0, nothing written, for a missing asset, and for a name that is not built in, a text the
    // column cannot take or a failure (these three reported).
    virtual int SetBuiltInFieldValue(ULong asset, const char* name, const char* text, int recordHistory,
                                     CTime when) = 0;

    // ---- Paged listings (beyond the published slots) ----
    // Each answers one page of a site-wide listing in a few set-based statements (never one per
    // row) and returns the number of rows the whole selection holds; rows of the page are appended
    // to `rows`. An offset past the end gives an empty page with the true total. 0 on failure.

    // The selection of the asset listing. Texts are matched as given, letter case ignored.
    static constexpr int kAssetSortName = 0;
    static constexpr int kAssetSortLocation = 1;
    static constexpr int kAssetSortOs = 2;
    static constexpr int kAssetSortIp = 3;
    static constexpr int kAssetSortAudit = 4;
    struct AssetPageQuery {
        CString text;         // part of the name, serial, MAC or IP address; empty: any
        ULong location = 0;   // 0: the whole site; else that location's scope (EnumScopeAssets)
        ULong category = 0;   // a category _ID; 0: any
        CString os;           // the operating system's "Name" exactly (case ignored); empty: any
        CTime auditedBefore;  // never set: any; else assets never audited or last audited before it
        ULong app = 0;        // 0: any; else only assets holding this application row
        ULong asset = 0;      // 0: any; else that asset alone
        int sort = kAssetSortName;
        bool descending = false;
        ULong offset = 0;
        ULong limit = 50;  // 0: no row, the total only
    };
    struct AssetPageRow {
        ULong id = 0;
        CString name;
        CString place;       // the location's name; a child asset's parent asset's name
        ULong category = 0;  // the asset's category identifier (GetCategoryName); 0 when none
        CString os;          // the "Name" under "Operating System"; empty when none
        CString serial;
        CString mac;
        CString ip;
        CString version;   // the application's version when the query names one
        CTime lastAudit;   // never set: never audited
        ULong status = 0;  // _STATUS (kAssetChild, kAssetUncounted ...)
    };
    // Assets of the selection ordered by the sort column (never-audited first in ascending audit
    // order), ties by _ID.
    virtual ULong assetEnumPage(const AssetPageQuery& query, CDynaList<AssetPageRow>& rows) = 0;

    // One location with its own figures, for the location tree.
    struct LocationTreeRow {
        ULong id = 0;
        ULong parent = 0;
        CString name;
        CString ipFrom;  // the stored address ranges, as locGetIpRangesFrom / To give them
        CString ipTo;
        ULong assets = 0;  // assets placed directly at the location (child assets not counted)
    };
    // Every location, parents before children, siblings by name. Returns the count.
    virtual ULong locEnumTree(CDynaList<LocationTreeRow>& rows) = 0;

    // One catalogue row with its installation count, for the application listing.
    struct ApplicationPageRow {
        ULong id = 0;
        CString publisher;
        CString name;
        ULong installations = 0;  // assets holding this very row
        ULong licenceType = 1;
        ULong licenceCount = 0;
        CString version;  // the asset's version, when one asset is asked about
    };
    // Applications not flagged hidden (kAppHidden) whose name or publisher holds `text` (empty:
    // any) and, when `asset` is not 0, that the asset holds (the row's version then its instance's),
    // ordered by publisher then name (case ignored), ties by _ID.
    virtual ULong applicationEnumPage(const char* text, ULong asset, ULong offset, ULong limit,
                                      CDynaList<ApplicationPageRow>& rows) = 0;
    // Appends (version, 0, assets holding the application at that version) for the row `app`,
    // versions in text order ("" for none). Returns the list's count.
    virtual ULong applicationEnumVersions(ULong app, CSortList& list) = 0;

    // One history row with its display parts, for history listings.
    struct HistoryPageRow {
        ULong id = 0;
        ULong asset = 0;
        CString assetName;  // empty when the asset is gone
        CTime date;
        int kind = 0;      // the code's lowest byte, as historyGetDetails gives it
        CString category;  // the kind's group name
        CString text;      // as historyFormatRecord gives it
        CString user;
    };
    // History rows of `asset` (0: every asset) dated at or after `since` (never set: any date),
    // of kind `kind` (-1: any), newest first, ties by _ID descending.
    virtual ULong historyEnumPage(ULong asset, CTime since, int kind, ULong offset, ULong limit,
                                  CDynaList<HistoryPageRow>& rows) = 0;

    // ---- Hardware values in bulk (beyond the published slots) ----
    // hwAdd(item.parent, asset, item.flags, item.key, item.value) for each item of `values` (its
    // path is not used), in as few statements as the back end can: a value whose category and key
    // the asset already holds replaces that node's value (the last one wins when `values` names
    // one twice). 1; 0 on failure. A back end with transactions writes all or nothing; the default
    // calls hwAdd item by item and stops at the first failure.
    virtual int hwAddValues(ULong asset, const CHwList& values);
    // Appends each asset (never 0) whose value item `key` under category `parent` holds exactly
    // `value`, compared as stored; returns the list's count. A database back end answers with one
    // indexed read, whatever the number of assets.
    virtual int hwFindAssetsByValue(ULong parent, const char* key, const char* value, CDynaList<ULong>& assets);

    // ---- Software files by page (beyond the published slots) ----
    // One file an asset holds, with its folder's path and the application it is assigned to.
    struct SoftwareFilePageRow {
        ULong link = 0;
        ULong folder = 0;
        CString folderPath;  // as GetFolderPath gives it: "Top\Sub\"
        CString name;
        ULong size = 0;
        ULong date = 0;       // packed as the links keep it
        ULong app = 0;        // 0: not assigned
        CString application;  // "Publisher Name" of the catalogue row; empty when not assigned
    };
    // One page of the files asset `asset` holds (its file links), ordered by folder then name, ties
    // by link; appends them to `rows` and returns how many files the asset holds, 0 on failure.
    // Three statements whatever the page holds: the count, the page, its folders' paths.
    virtual ULong swFileEnumPage(ULong asset, ULong offset, ULong limit, CDynaList<SoftwareFilePageRow>& rows) = 0;

    // ---- Asset record in one step (beyond the published slots) ----
    // The columns of an asset's record an audit sets. A field whose `set...` is false is left as
    // it is; a catalogue id of 0 leaves that column too.
    struct AssetRecordUpdate {
        bool setMacAddr = false;
        CString macAddr;
        bool setIpAddr = false;
        CString ipAddr;  // as CIPAddress::GetAsText writes it
        bool setSerial = false;
        CString serial;
        bool setAuditDate = false;
        CTime auditDate;     // the time 0 stores "never"
        ULong kindMask = 0;  // the status bits under the mask become those of `kind`
        ULong kind = 0;
        ULong category = 0, make = 0, model = 0;  // catalogue rows; their names for the history:
        CString categoryName, makeName, modelName;
    };
    // What SetAssetMacAddr, SetAssetIPAddr, the built-in fields "Serial Number", "Category",
    // "Make" and "Model", SetLastAuditDate and SetAssetStateFlag would each do, with the same
    // history records in that order when `recordHistory`, in one read of the asset and one update
    // of the columns that change, all in one transaction (joining the caller's). 1; 0 on failure.
    virtual int SetAssetRecord(ULong asset, const AssetRecordUpdate& update, int recordHistory, CTime when) = 0;

    // ---- Application rows in bulk (beyond the published slots) ----
    // Appends the catalogue row of each id of `apps` that exists (publisher, name, licence type and
    // count; installations and version left 0 and empty), in _ID order, in one statement however
    // many: a report over hundreds of applications would otherwise read them four columns at a time.
    // Returns the list's count.
    virtual ULong applicationGetRows(const CDynaList<ULong>& apps, CDynaList<ApplicationPageRow>& rows) = 0;

    // ---- Purges in batches (beyond the published slots) ----
    // The purges of a long-running site, cut into batches of at most `batch` consecutive _IDs
    // (0: kPurgeBatch), each deleted and committed in a transaction of its own (inside a caller's
    // transaction they join it), so that the agents' writes wait for one batch at most. Progress: ProgStart with the
    // number of batches, ProgCheck after each committed batch; a cancel stops there, keeping the batches done. A
    // failure is reported and stops the purge; the batches committed before it stay purged.
    static constexpr ULong kPurgeBatch = 5000;
    // Deletes what PurgeAssetHistory(0, date, keepInitial, keepAudits) deletes, with the events
    // of the deleted rows: the rows an asset keeps by keepAudits stay kept, whatever the order
    // of the batches. Returns the number of HISTORY rows deleted.
    virtual ULong historyPurgeInBatches(const CTime& date, int keepInitial, int keepAudits, ULong batch) = 0;
    // Deletes what ieEnumPurge(before, ...) lists: IEHIST then IECOOKIE rows dated before
    // `before`. *histRows and *cookieRows (either may be null) receive how many went of each.
    // Returns both counts added up.
    virtual ULong iePurgeInBatches(CTime before, ULong batch, ULong* histRows, ULong* cookieRows) = 0;

    // Not virtual.
    void ProgSetCallback(NorvikCallback fn, CallbackValue context);
    // The message-box callback installed now and its context (null when none), so that a caller
    // who borrows the callback can put it back.
    NorvikMsgBoxCallback GetMsgBoxCallback(CallbackValue* context) const {
        if (context) *context = m_msgBoxContext;
        return m_pfnMsgBox;
    }
    // The location that holds an asset, following asset parents upward.
    ULong GetAssetLocation(ULong asset);
    CAuditDBSys& kb() { return m_kb; }
    const CString& GetLogonUser() const { return m_strLogonUser; }

protected:
    // 1 when no user callback is installed, else the callback's answer.
    int CallUser(int code, CallbackValue value);
    // The callback's answer, or the platform message box's when none is installed.
    int MsgBox(const char* text, unsigned int style) const;
    // Shows a failure with style 48: the ODBC form for database exceptions (with the failed
    // statement `context` when given), "An Error has occurred" with `context` otherwise.
    void HandleException(const CException& e, const char* context) const;
    // "NAME [DECLARED]" for flags with kLicencePerPc, else the name: an application's licence
    // as GetAppLicenceDesc and GetApplicationLicenseDetails describe it.
    static CString LicenceDescription(const CString& name, ULong flags, int declared);
    void ProgStart(ULong total, const char* title, ULong step);
    // 0 when the caller asked to cancel at this step, else 1.
    int ProgCheck();
    void ProgComplete();
    // The asset set of a scope (see the global enumerations) into `assets`: false for a location
    // holding no asset; true with an empty set for the whole site.
    bool ScopeAssets(ULong scope, CDynaList<ULong>& assets);

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
