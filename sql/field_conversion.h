// The conversions every read of the SQL back end applies to a field value, by the kind of
// value the driver returned: as a number, as a text and as a time.
#pragma once

#include "platform/ctime.h"
#include "platform/odbc_recordset.h"

// null 0; boolean its value; short sign-extended; long as is; floats truncated toward zero;
// date 0; text its leading decimal digits (as atoi); anything else 0.
ULong FieldAsNumber(const CDBVariant& value);

// null empty; boolean "TRUE"/"FALSE"; integers "%d"; floats "%10.2f"; date "day/month/year";
// text as is; anything else empty.
CString FieldAsText(const CDBVariant& value);

// A date whose year is not 1900 as local time; anything else 0 ("never"). A text that holds
// a complete date-time literal counts as a date: engines without a date type return them so.
CTime FieldAsTime(const CDBVariant& value);
