// The field values of one asset on the command line: listing them and setting one, with the
// checks the editing control of the field makes.
#pragma once

#include <string>
#include <utility>
#include <vector>

#include "sql/norvik_sql.h"

namespace cli {

// (name, value) of the built-in names Category, Make, Model and Serial Number, then of every
// asset-level field in the order of the definitions (groups depth first).
std::vector<std::pair<std::string, std::string>> AssetFieldValues(CNorvikSql& db, ULong asset);

// Validates `value` for field `field` as its editing control would (messages through the
// message box) and stores it with a history record. Returns the tool's exit code.
int SetAssetField(CNorvikSql& db, ULong asset, const std::string& field, const std::string& value);

}  // namespace cli
