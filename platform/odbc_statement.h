// COdbcStatement: an owned ODBC statement handle for direct execution with bound output
// parameters, as stored-procedure calls need. Freed when the object goes.
#pragma once

#include <cstdint>

#include "platform/odbc_database.h"

class NORVIK_API COdbcStatement {
public:
    // Allocates a statement on an open connection and applies its query time-out.
    // Throws CDBException when the connection cannot give one.
    explicit COdbcStatement(CDatabase& db);
    ~COdbcStatement();
    COdbcStatement(const COdbcStatement&) = delete;
    COdbcStatement& operator=(const COdbcStatement&) = delete;

    // Binds parameter `number` (from 1) as an output 32-bit integer; *value must outlive execution.
    void BindOutputLong(int number, std::int32_t* value);

    // Executes directly and returns the ODBC return code; never throws.
    int ExecDirect(const char* statement);
    // Executes directly; throws the statement's diagnostic on failure.
    void ExecDirectChecked(const char* statement);
    // Fetches and discards every pending result set.
    void DiscardResults();

    // The statement's first diagnostic as an exception carrying `rc`.
    CDBException Failure(int rc) const;
    // The first diagnostic's message and native code (empty / 0 when there is none).
    void FirstDiagnostic(CString* message, int* native) const;

    static bool Succeeded(int rc) { return rc == 0 || rc == 1; }
    static constexpr int kError = -1;
    static constexpr int kNoData = 100;

    void* GetHandle() const { return m_hstmt; }
    CDatabase& Database() const { return m_db; }

private:
    CDatabase& m_db;
    void* m_hstmt = nullptr;
};
