// CNorvik: the abstract interface through which every caller reaches the Audit Database.
// It holds what every back end shares (the Knowledge Base reference, the caller's three
// callbacks, the logon user, the open flag, the progress counter) and implements the few
// operations that need no database of their own. CNorvikSql is the one implementation.
//
// Used from one thread at a time. No operation throws: failures are reported through the
// message-box callback and the operation returns 0, an empty text or an empty list.
#pragma once

#include "common/dynalist.h"
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

    // ---- Assets (the read the interface frame needs) ----
    // The parent of an asset; isLocation = 1 when the parent is a location, 0 when an asset.
    virtual ULong GetAssetParent(ULong asset, int& isLocation) = 0;

    // ---- Users ----
    virtual void SetLogonUser(const char* name) { m_strLogonUser = name ? name : ""; }

    // ---- Not virtual ----
    void ProgSetCallback(NorvikCallback fn, CallbackValue context);
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
