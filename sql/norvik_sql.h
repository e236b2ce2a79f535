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

    // ---- Assets ----
    ULong GetAssetParent(ULong asset, int& isLocation) override;

    // The schema version as major × 100 + minor, read once and cached.
    int GetVer();

protected:
    int GetVer(unsigned short& major, unsigned short& minor);
    int SetVer(unsigned short major, unsigned short minor);

    // Set by deletions that leave orphaned rows; Clean runs usp_Clean only while it is set.
    int m_bCleanNeeded = 0;

private:
    // Offers one upgrade; returns false when the caller declined or it could not run.
    bool OfferUpgrade(const char* target);
    void ClearCaches();

    int m_nVersion = 0;
    ULong m_assetCacheId = 0;
    ULong m_appInstCacheId = 0;
    ULong m_swFileCacheId = 0;
};
