// The schema scripts (tables and procedures of each engine and version), compiled into the
// library so that a database can be created anywhere without the source tree.
#pragma once

#include <string>
#include <vector>

#include "platform/types.h"

// The text of the script at `path` relative to the schema folder ("sqlite/usp_clean.sql"),
// or null when the build holds no such script.
NORVIK_API const char* SchemaScript(const char* path);

// Every embedded script's path, in build order.
NORVIK_API std::vector<std::string> SchemaScriptPaths();

// Splits a script into statements. A statement ends with ';' outside quotes, comments and
// dollar-quoted bodies ($$ ... $$, $tag$ ... $tag$); "--" comments are dropped; blank
// statements are skipped.
NORVIK_API std::vector<std::string> SplitSqlScript(const char* script);
