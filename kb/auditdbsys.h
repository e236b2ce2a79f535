// CAuditDBSys: the Knowledge Base object. Opens one Knowledge Base file into memory, upgrades old
// contents in place (after a backup and the user's consent), keeps the record sets that lookups
// and recognition use, and writes the file back when something changed.
#pragma once

#include <memory>

#include "common/dynalist.h"
#include "common/sortlist.h"
#include "kb/audbase.h"
#include "kb/index_recset.h"
#include "kb/recset.h"
#include "kb/tabledb.h"
#include "platform/cstring.h"
#include "platform/types.h"

// The tables the system relies on (column 0 is always ID):
//   CAT      1 name, 2 TYPE (1 for computer categories)     MAKE   1 name, 2 category ID
//   MODEL    1 name, 2 make ID                               SWAPP  1 NAME, 2 PARENT (0: publisher)
//   SYSFILE  known files (kb/recognition.cpp)                SWSERIAL 1 APPNAME, 2 REGKEY, 3 REGITEM
//   REGAPP   1 NAME, 2 SWREF                                 SWFILE column 8: SWAPP ID << 16
// Content version v = major * 100 + minor; this system reads and writes 4.0 and upgrades older.
//
// Every message (the newer-version refusal, the upgrade question, the upgrade notices) goes to
// the user through platform::ShowMessageBox. The accessors take identifiers from the Knowledge
// Base itself: an identifier no row has reads as 0 or "". One thread at a time; the record sets
// point into the table list, so nothing but this object may add or remove tables while it is open.
class NORVIK_API CAuditDBSys : public CTableDatabase {
public:
    static constexpr int kCurrentVersion = 400;

    CAuditDBSys();
    // Closes (and so saves when changed).
    ~CAuditDBSys() override;

    // Closes, reads `path`, refuses a newer content version, upgrades an older one when the user
    // agrees (backup first), and opens the record sets. 1 when open; 0 when the file cannot be
    // read (GetLastError says why), is newer, or the upgrade was declined (file untouched).
    int Open(const char* path);
    // Writes the file when anything changed since it was read or written, replacing it whole
    // (platform/atomic_file.h); 1. A failed write leaves the file as it was and the reason in
    // GetLastError.
    int Save();
    // Closes and recreates the eight record sets; a set whose table is missing stays closed and
    // reads as empty. 1.
    int Reset();
    // When open: Save, then drops the record sets. 1.
    int Close();
    bool IsOpen() const { return m_bOpen; }
    const CString& GetPath() const { return m_strPath; }
    // The reason of the last failed read or write; empty after a success.
    const CString& GetLastError() const { return m_strLastError; }

    // ---- Categories, makes and models ----
    CString GetCategoryName(ULong id);
    ULong GetCategoryType(ULong id);
    CString GetMakeName(ULong id);
    ULong GetMakeCategory(ULong id);
    CString GetModelName(ULong id);
    ULong GetModelMake(ULong id);
    // Appends every category as (name, ID, 0); returns the list's count.
    ULong EnumCategories(CSortList& list);
    // The first category one of whose "|"-separated name parts equals `name` exactly, or 0.
    ULong FindCategory(const char* name);
    // Appends the makes of `category` (0: every make) as (name, ID, 0); returns the list's count.
    ULong EnumMakes(ULong category, CSortList& list);
    // The first make of `category` (0: of any category) named exactly `name`, or 0.
    ULong FindMake(ULong category, const char* name);
    // Appends the models of `make` (0: every model) as (name, ID, 0); returns the list's count.
    ULong EnumModels(ULong make, CSortList& list);

    // ---- Serial-number places ----
    // Appends the ID of every serial-scan record; returns the list's count.
    ULong EnumSSRecs(CDynaList<ULong>& ids);
    // A new record with the three texts; its ID (0 when the table is missing).
    ULong AddSSRec(const char* appName, const char* regKey, const char* regItem);
    void DeleteSSRec(ULong id);
    CString GetSSAppName(ULong id);
    CString GetSSRegKey(ULong id);
    CString GetSSRegItem(ULong id);
    void SetSSAppName(ULong id, const char* text);
    void SetSSRegKey(ULong id, const char* text);
    void SetSSRegItem(ULong id, const char* text);

    // ---- Applications ----
    // The SWAPP NAME of `id`; with `withParents`, the names of its ancestors first, each followed
    // by one blank ("Publisher Application Version"). "" for 0 and for an unknown ID.
    CString GetAppName(ULong id, int withParents);
    // The SWAPP PARENT of `id`; 0 for an unknown ID.
    ULong GetAppParent(ULong id);

    // ---- Recognition (kb/recognition.cpp) ----
    // A known file matches a file of size s and date d when its size range holds s (lowest 0:
    // any size; highest 0: exactly the lowest) and each nonzero half of its date equals d's.
    // `results` has one slot per live SWFILE row of `audit`, in row order, all 0 on entry: a
    // recognised file's slot receives its application's ID << 16. Key files are matched first
    // over the whole list, so another file is credited whenever a key file of its application
    // is anywhere in the list. Pumps the application's messages before every row. 1.
    int RecogniseAsset(CAudBase& audit, unsigned long* results);
    // The application of the first matching key file: by CRC (crc > 0), then by exact name. 0.
    ULong KeyRecognise(const char* name, ULong size, ULong crc, ULong date);
    // The same over the other files, counting only rows whose application is in `found`.
    ULong NonKeyRecognise(const char* name, ULong size, ULong crc, ULong date, CDynaList<ULong>& found);
    // Sets bit 0x01 of FLAGS on every other SYSFILE row with the same CRC or name whose size
    // range and date could match the same file as row `id`, and on `id` too when any did.
    // Returns how many other rows were marked (0 for an unknown ID).
    int CheckCommonFile(ULong id);
    // 1 when the ranges [lowA, highA] and [lowB, highB] (a high of 0: the low) overlap, or when
    // either low is 0.
    static int IsSizeCommon(ULong lowA, ULong highA, ULong lowB, ULong highB);
    // 0 when both dates have a high half and those differ; else 1 when a low half is 0 or the
    // low halves are equal.
    static int IsDateCommon(ULong dateA, ULong dateB);

protected:
    // The content upgrades, run by Open in this order on an older file; each ends with its own
    // message where it has one. Tables they need but the file lacks are passed over.
    void Update105to106();
    void Update313();
    void Update400();

private:
    // Reads the whole file into the table list; false (reason in m_strLastError) on failure.
    bool ReadFile(const char* path);
    // Asks, backs up, reads again and upgrades a file of content version `major`.`minor`.
    bool Upgrade(std::uint16_t major, std::uint16_t minor);
    void DropRecordSets();
    // The cell of row `id` of `rs` (FindID); 0 or "" when the set is missing or has no such row.
    static ULong ValueOf(CRecSet* rs, ULong id, std::uint16_t column);
    static CString TextOf(CRecSet* rs, ULong id, std::uint16_t column);
    static void SetTextOf(CRecSet* rs, ULong id, std::uint16_t column, const char* text);
    // Appends the rows whose column 2 equals `parent` (every row for 0).
    static ULong EnumChildren(CRecSet* rs, ULong parent, CSortList& list);

    CString m_strPath;
    CString m_strLastError;
    bool m_bOpen = false;

protected:
    // The eight record sets of Reset; null while closed. The index sets serve recognition.
    std::unique_ptr<CIndexRecSet> m_pKeyByCrc;
    std::unique_ptr<CIndexRecSet> m_pKeyByName;
    std::unique_ptr<CIndexRecSet> m_pOtherByCrc;
    std::unique_ptr<CIndexRecSet> m_pOtherByName;
    std::unique_ptr<CRecSet> m_pCategories;
    std::unique_ptr<CRecSet> m_pMakes;
    std::unique_ptr<CRecSet> m_pModels;
    std::unique_ptr<CRecSet> m_pSerials;
};
