// CSqlRecordset: the read cursor of the SQL back end. It holds the connection's busy flag
// from its opening until it is closed or destroyed, so no other statement may run on the
// connection meanwhile: read what is needed, close, then write.
#pragma once

#include "platform/odbc_recordset.h"
#include "sql/sql_database.h"

class NORVIK_API CSqlRecordset : public CRecordset {
public:
    // Opens `statement` at once when it is not null. Throws CDBException on failure.
    explicit CSqlRecordset(CSqlDatabase* db, const char* statement = nullptr);
    ~CSqlRecordset() override;

    // Opens forward-only, executed directly; waits for and takes the busy flag.
    bool Open(const char* statement);
    void Close() override;

    ULong NumberAt(short field) const;
    CString TextAt(short field) const;
    CTime TimeAt(short field) const;

private:
    CSqlDatabase* m_db;
    bool m_holdsBusy = false;
};
