// Connection life cycle of the Audit Database: open with the schema-version check and the
// upgrade offers, close, clean-up, and the version row.
#include "sql/norvik_sql.h"

#include <string>

#include "common/trace.h"
#include "platform/ui_hooks.h"
#include "sql/sql_recordset.h"

CNorvikSql::CNorvikSql(CAuditDBSys& kb) : CNorvik(kb) {}

CNorvikSql::~CNorvikSql() { Close(); }

void CNorvikSql::HandleSqlException(const CDBException& e, const char* statement) const {
    ++m_nReportedFailures;
    HandleException(e, statement);
}

COdbcPrepared& CNorvikSql::StagingTable(const char* name, const char* columns, CString& statement) {
    statement = CString::Formatted("create temp table if not exists %s (%s)", name, columns);
    ExecuteStatement(statement);
    statement = CString::Formatted("delete from %s", name);
    ExecuteStatement(statement);
    // One "?" per column: the columns are named with their types, separated by commas.
    std::string marks = "?";
    for (const char* c = columns; *c; ++c)
        if (*c == ',') marks += ", ?";
    statement = CString::Formatted("insert into %s values (%s)", name, marks.c_str());
    return Prepared(statement);
}

void CNorvikSql::ClearCaches() {
    m_assetCacheId = 0;
    m_appInstCacheId = 0;
    m_swFileCacheId = 0;
    InvalidateAssetFields();
}

bool CNorvikSql::OfferUpgrade(const char* target, void (CNorvikSql::*upgrade)()) {
    const CString question = CString::Formatted(
        "Yor database will now be upgraded to v%s\nThis may take some time.\n\nDo you wish to continue?", target);
    if (MsgBox(question, platform::kMbIconQuestion | platform::kMbYesNo) != platform::kIdYes) return false;
    // One transaction per upgrade: a step that stops early (without writing the new version) or
    // is interrupted leaves the database as it was, never half converted.
    TransactionScope transaction(*this);
    (this->*upgrade)();
    unsigned short major = 0;
    unsigned short minor = 0;
    GetVer(major, minor);
    if (major * 100 + minor == kRequiredMajor * 100 + kRequiredMinor) {
        CString statement;
        UpdateIndexes(statement);
        transaction.Commit();
    } else {
        m_nVersion = 0;
    }
    return true;
}

int CNorvikSql::Open(const char* dsn, const char* /*ignored*/, ULong flags) {
    ULong options = 0;
    if (flags & 0x1) options |= CDatabase::openReadOnly;
    if (flags & 0x4) options |= CDatabase::noOdbcDialog;
    TracePrintf("CNorvikSql::Open DSN=%s ,Flags=%d\n", dsn ? dsn : "", static_cast<int>(options));
    try {
        m_bOpen = OpenEx(dsn, options) ? 1 : 0;
        if (!m_bOpen) return 0;
        SetQueryTimeout(60);
        unsigned short major = 0;
        unsigned short minor = 0;
        GetVer(major, minor);
        struct Offer {
            unsigned short minor;
            const char* target;
            void (CNorvikSql::*upgrade)();
        };
        const Offer offers[] = {{8, "7.0.9", &CNorvikSql::Update708to709},
                                {10, "7.1.1", &CNorvikSql::Update710to711},
                                {12, "7.1.4", &CNorvikSql::Update712to714}};
        // Each upgrade writes 7.14 when it completes, so at most one runs; one that stopped early
        // leaves the version as it was and the database ends with the "needs upgrading" message.
        for (const Offer& offer : offers) {
            if (major != 7) break;
            if (minor != offer.minor) continue;
            if (!OfferUpgrade(offer.target, offer.upgrade)) return 0;
            GetVer(major, minor);
        }
        const int version = major * 100 + minor;
        m_nVersion = version;
        if (version == kRequiredMajor * 100 + kRequiredMinor) {
            ClearCaches();
            return m_bOpen;
        }
        if (version > kRequiredMajor * 100 + kRequiredMinor) {
            MsgBox("The client software needs upgrading\nto match the current SQL Server database Installation",
                   platform::kMbIconStop);
            return 0;
        }
        MsgBox(CString::Formatted("The Audit Database needs upgrading from v%d.%2.2d to v%d.%2.2d.\n\nPlease "
                                  "consult your System Administrator",
                                  major, minor, kRequiredMajor, kRequiredMinor),
               platform::kMbIconStop);
        return 0;
    } catch (const CDBException& e) {
        HandleException(e, nullptr);
        m_bOpen = 0;
        m_nVersion = 0;  // an upgrade that failed may have cached a version it did not keep
        return 0;
    }
}

int CNorvikSql::CloseDB() {
    Save();
    Close();
    m_bOpen = 0;
    return 1;
}

void CNorvikSql::Clean() {
    if (!m_bCleanNeeded) return;
    platform::CWaitCursor wait;
    try {
        CallProcedure("usp_Clean", "");
    } catch (const CDBException& e) {
        HandleSqlException(e, "{?=call usp_Clean}");
    }
    m_bCleanNeeded = 0;
}

int CNorvikSql::GetVer(unsigned short& major, unsigned short& minor) {
    CSqlRecordset rs(this, "select _MAJOR,_MINOR from VERSION");
    major = static_cast<unsigned short>(rs.NumberAt(0));
    minor = static_cast<unsigned short>(rs.NumberAt(1));
    return 1;
}

int CNorvikSql::GetVer() {
    if (m_nVersion == 0) {
        unsigned short major = 0;
        unsigned short minor = 0;
        GetVer(major, minor);
        if (minor > 99) minor = 0;
        m_nVersion = major * 100 + minor;
    }
    return m_nVersion;
}

int CNorvikSql::SetVer(unsigned short major, unsigned short minor) {
    ExecuteStatement(CString::Formatted("update VERSION set _MAJOR=%d,_MINOR=%d", major, minor));
    m_nVersion = major * 100 + minor;
    return 1;
}
