// CRecordset: a forward-only cursor over the rows of one directly executed statement,
// and CDBVariant, one field value tagged with the kind of value the driver gave.
#pragma once

#include <cstdint>
#include <vector>

#include "platform/ctime.h"
#include "platform/odbc_database.h"

// One field value. Date-time columns are fetched as text and parsed here, because some
// drivers do not convert the database's literals into timestamps reliably; a text that is
// not a date stays a text.
struct NORVIK_API CDBVariant {
    enum Type {
        DBVT_NULL,
        DBVT_BOOL,
        DBVT_SHORT,
        DBVT_LONG,
        DBVT_SINGLE,
        DBVT_DOUBLE,
        DBVT_DATE,
        DBVT_STRING,
        DBVT_BINARY
    };

    Type m_dwType = DBVT_NULL;
    bool m_boolVal = false;
    short m_iVal = 0;
    std::int32_t m_lVal = 0;
    float m_fltVal = 0;
    double m_dblVal = 0;
    DateTimeParts m_date;
    CString m_strVal;
};

class NORVIK_API CRecordset {
public:
    enum OpenType { forwardOnly = 3 };
    static constexpr ULong none = 0;
    static constexpr ULong executeDirect = 0x0800;
    static constexpr ULong noDirtyFieldCheck = 0x0100;

    // The recordset reads through `db`, which must stay open while the recordset is.
    explicit CRecordset(CDatabase* db);
    virtual ~CRecordset();
    CRecordset(const CRecordset&) = delete;
    CRecordset& operator=(const CRecordset&) = delete;

    // Executes `sql` and positions on the first row (IsEOF() when there is none).
    // Throws CDBException on failure.
    virtual bool Open(int openType, const char* sql, ULong options);
    virtual void Close();
    bool IsOpen() const { return m_hstmt != nullptr; }
    bool IsEOF() const { return m_eof; }
    // Moves to the next row; throws CDBException when the driver fails.
    void MoveNext();

    short GetODBCFieldCount() const { return static_cast<short>(m_columns.size()); }
    // The value of field `index` (from 0) of the current row; DBVT_NULL beyond the last field.
    void GetFieldValue(short index, CDBVariant& value) const;
    const CDBVariant& Field(short index) const;

protected:
    CDatabase* m_pDatabase;

private:
    enum class Fetch { Bit, Short, Long, Single, Double, DateText, Text, Other };
    void FetchRow();
    void ReadField(std::size_t index, CDBVariant& value);

    void* m_hstmt = nullptr;
    bool m_eof = true;
    std::vector<Fetch> m_columns;
    std::vector<CDBVariant> m_row;
};
