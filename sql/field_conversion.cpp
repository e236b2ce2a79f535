// Field value conversions shared by every read.
#include "sql/field_conversion.h"

#include <cmath>
#include <cstdlib>

namespace {

// Truncation toward zero, kept to 32 bits; values outside the 64-bit range become 0
// instead of undefined behaviour.
ULong TruncateToULong(double value) {
    if (!std::isfinite(value) || value >= 9.2e18 || value <= -9.2e18) return 0;
    return static_cast<ULong>(static_cast<long long>(value));
}

// The standard atoi's reading (blanks, sign, digits), kept to 32 bits without overflow.
ULong LeadingNumber(const char* text) { return static_cast<ULong>(std::strtoll(text, nullptr, 10)); }

}  // namespace

ULong FieldAsNumber(const CDBVariant& value) {
    switch (value.m_dwType) {
        case CDBVariant::DBVT_BOOL: return value.m_boolVal ? 1 : 0;
        case CDBVariant::DBVT_SHORT: return static_cast<ULong>(static_cast<std::int32_t>(value.m_iVal));
        case CDBVariant::DBVT_LONG: return static_cast<ULong>(value.m_lVal);
        case CDBVariant::DBVT_SINGLE: return TruncateToULong(value.m_fltVal);
        case CDBVariant::DBVT_DOUBLE: return TruncateToULong(value.m_dblVal);
        case CDBVariant::DBVT_STRING: return LeadingNumber(value.m_strVal.c_str());
        default: return 0;
    }
}

CString FieldAsText(const CDBVariant& value) {
    switch (value.m_dwType) {
        case CDBVariant::DBVT_BOOL: return CString(value.m_boolVal ? "TRUE" : "FALSE");
        case CDBVariant::DBVT_SHORT: return CString::Formatted("%d", static_cast<int>(value.m_iVal));
        case CDBVariant::DBVT_LONG: return CString::Formatted("%d", static_cast<int>(value.m_lVal));
        case CDBVariant::DBVT_SINGLE: return CString::Formatted("%10.2f", static_cast<double>(value.m_fltVal));
        case CDBVariant::DBVT_DOUBLE: return CString::Formatted("%10.2f", value.m_dblVal);
        case CDBVariant::DBVT_DATE:
            return CString::Formatted("%d/%d/%d", value.m_date.day, value.m_date.month, value.m_date.year);
        case CDBVariant::DBVT_STRING: return value.m_strVal;
        default: return CString();
    }
}

CTime FieldAsTime(const CDBVariant& value) {
    DateTimeParts parts;
    if (value.m_dwType == CDBVariant::DBVT_DATE) {
        parts = value.m_date;
    } else if (value.m_dwType != CDBVariant::DBVT_STRING || value.m_strVal.GetLength() < 17 ||
               !DateTimeParts::Parse(value.m_strVal.c_str(), &parts)) {
        return CTime();
    }
    if (parts.year == 1900) return CTime();
    return CTime(parts);
}
