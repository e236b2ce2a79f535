// Naming assets on the command line: by _ID or by exact name. Shared by every verb that takes
// an asset.
#pragma once

#include <string>

#include "cli/resolve_location.h"

namespace cli {

// An asset named by its _ID (decimal digits, when such an asset exists) or by its exact name
// (child assets included). Several assets of one name are refused: they must be named by id.
// On failure `exitCode` is kExitFailed and `error` the one line to print.
Resolved ResolveAsset(CNorvikSql& db, const std::string& word);

}  // namespace cli
