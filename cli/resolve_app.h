// Naming applications on the command line: by _ID, by display name with its publisher, or by
// name alone when only one application has it. Shared by every verb that takes an application.
#pragma once

#include <string>

#include "cli/resolve_location.h"

namespace cli {

// An application named by its _ID (decimal digits, when such a row exists), by its display
// name "PUBLISHER NAME" (exact), or by its name alone when exactly one row has that name.
// Several rows of one name are refused: they must be named by id. On failure `exitCode` is
// kExitFailed and `error` the one line to print.
Resolved ResolveApp(CNorvikSql& db, const std::string& word);

}  // namespace cli
