// Making a Knowledge Base from plain CSV files (the layout is written down in kb/README.md), and
// the field readers that the norvik tool's file lists share with it.
#pragma once

#include <string>
#include <vector>

#include "kb/tabledb.h"
#include "platform/cstring.h"
#include "platform/types.h"

// Cuts one CSV line into fields: commas separate, a field in double quotes may hold commas and
// doubled quotes. A trailing carriage return is dropped. False (reason in `error`) for a quote
// that is not closed or text after a closing quote.
NORVIK_API bool SplitCsvLine(const std::string& line, std::vector<std::string>& fields, std::string& error);
// A 32-bit number written in decimal or with a 0x prefix (hexadecimal); blanks around it are
// ignored, an empty field is 0. False for anything else or a value above 0xFFFFFFFF.
NORVIK_API bool ParseKbNumber(const std::string& text, ULong& value);
// A file date: a number as ParseKbNumber reads it (the packed form itself), "YYYY-MM-DD" (date
// only, time of day 0 = any) or "YYYY-MM-DD hh:mm:ss"; empty is 0 (any date).
NORVIK_API bool ParseKbDate(const std::string& text, ULong& value);

// Replaces the tables of `db` with a version 4.0 Knowledge Base made from the CSV files of
// `folder`: categories.csv, makes.csv, models.csv, applications.csv, files.csv, serials.csv.
// A missing file gives an empty table; a folder without any of them is an error. Every error
// names the file and line: false with `error` set, `db` then unspecified.
NORVIK_API bool BuildKbFromCsv(const char* folder, CTableDatabase& db, std::string& error);
