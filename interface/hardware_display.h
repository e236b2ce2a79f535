// How hardware values read: the stored text as a number, address items, and the text a value is
// shown as by its display type. Pure functions, for every layer that lists values.
#pragma once

#include "platform/cstring.h"
#include "platform/types.h"

// The stored text read as an integer the way values are stored: leading blanks, an optional
// sign and the leading digits, kept to the low 32 bits (so "3232235777" and "-1062731519" are
// the same address). 0 for a null or non-numeric text.
NORVIK_API ULong HwTextAsInteger(const char* text);
// True for an item whose value is an IPv4 number: flags with any bit of the IPv4 display
// type, under a key whose last 10 characters are exactly "IP Address".
NORVIK_API bool HwIsAddressItem(ULong flags, const CString& key);
// The value as the site-wide lists show it: dotted for address items, else unchanged.
NORVIK_API CString HwShownValue(ULong flags, const CString& key, const CString& value);
// The stored text as its display type (flags & kHwDisplayMask) shows it: bytes, megabytes, a
// date, a dotted address or megahertz; other types unchanged.
NORVIK_API CString HwDisplayValue(ULong flags, const CString& stored);
