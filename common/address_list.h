// Address lists as the location table stores them: dotted IPv4 texts joined by ";".
#pragma once

#include "common/dynalist.h"
#include "common/ipaddress.h"
#include "platform/cstring.h"

// Appends the address of every ";"-separated entry of `text` to `list` and returns how many
// were appended: none for an empty text, and 0.0.0.0 for an empty entry. A trailing ";" ends
// the list without adding an entry. Each entry converts exactly as CIPAddress(CString) does,
// and the text is split exactly as ExtractToken splits it.
NORVIK_API ULong AppendAddressList(const CString& text, CDynaList<CIPAddress>& list);
