// Parsing of the literal argument lists the library writes into procedure calls
// ("'ASSET','_NAME,_PARENT','''pc'',3'"), for the engines whose procedures run in the library.
#pragma once

#include <vector>

#include "platform/cstring.h"

// Splits `text` at the commas outside quotes. A quoted argument is unquoted ('' becomes ');
// anything else is kept trimmed as written. Returns false for an unterminated quote.
bool ParseSqlArguments(const char* text, std::vector<CString>* arguments);

// A whole decimal integer argument within the 32-bit signed range; false for anything else.
bool IntegerArgument(const CString& text, long* value);
