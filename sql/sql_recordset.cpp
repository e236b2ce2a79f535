// The busy-flag discipline of reads.
#include "sql/sql_recordset.h"

#include "sql/field_conversion.h"

CSqlRecordset::CSqlRecordset(CSqlDatabase* db, const char* statement) : CRecordset(db), m_db(db) {
    if (statement) Open(statement);
}

CSqlRecordset::~CSqlRecordset() { CSqlRecordset::Close(); }

bool CSqlRecordset::Open(const char* statement) {
    Close();
    m_db->AcquireBusy();
    m_holdsBusy = true;
    try {
        return CRecordset::Open(forwardOnly, statement, executeDirect | noDirtyFieldCheck);
    } catch (...) {
        Close();
        throw;
    }
}

void CSqlRecordset::Close() {
    CRecordset::Close();
    if (m_holdsBusy) m_db->ReleaseBusy();
    m_holdsBusy = false;
}

ULong CSqlRecordset::NumberAt(short field) const { return FieldAsNumber(Field(field)); }
CString CSqlRecordset::TextAt(short field) const { return FieldAsText(Field(field)); }
CTime CSqlRecordset::TimeAt(short field) const { return FieldAsTime(Field(field)); }
