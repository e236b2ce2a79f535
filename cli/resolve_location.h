// Naming locations and location types on the command line: a location by its id or by its
// path, a type by its id or by its name. Shared by every verb that takes a place.
#pragma once

#include <string>

#include "cli/cli_context.h"

namespace cli {

// The longest path the library reads whole (its buffer holds 1,024 characters with the
// terminator). A longer path would be cut, so the tool refuses it instead.
constexpr std::size_t kMaxLocationPath = 1023;

// What a word of the command line named. On failure `exitCode` is kExitUsage (the word can
// never name anything) or kExitFailed (nothing by that name, or the database failed), and
// `error` is the one line to print.
struct Resolved {
    ULong id = 0;
    int exitCode = kExitOk;
    std::string error;
    bool ok() const { return exitCode == kExitOk; }
};

// Prints the error of a failed resolution and returns its exit code.
int Fail(const Resolved& resolved);

// The value of a word of decimal digits that could be an _ID (the statements write ids with
// "%d"); 0 for anything else.
ULong IdFromDigits(const std::string& word);
// Whether `table` has the row `id`. Throws CDBException.
bool RowExists(CNorvikSql& db, const char* table, ULong id);

// A row of `table` named by its _ID or by its exact `column` text (refused when several rows
// share it); `what` names such a row in the messages ("location type").
Resolved ResolveNamedRow(CNorvikSql& db, const char* table, const char* column, const std::string& what,
                         const std::string& word);
// Whether `name` may name a row of `table` other than `except`: not empty and no other row's
// `column` text. When it may not, prints why (naming the row as `what`).
bool CheckNewName(CNorvikSql& db, const char* table, const char* column, const std::string& what,
                  const std::string& name, ULong except);

// A location named by its _ID (decimal digits) or by its path of names separated by ';' or
// '\', from the top level down. Digits name an _ID when that location exists and are taken
// as a path otherwise; a trailing separator ("2024;") always makes a path. "0" names the
// root (which has no row) only when `allowRoot` is set.
Resolved ResolveLocation(CNorvikSql& db, const std::string& word, bool allowRoot = false);

// A location type named by its _ID or by its exact name (refused when several types share it).
inline Resolved ResolveLocType(CNorvikSql& db, const std::string& word) {
    return ResolveNamedRow(db, "LOCTYPE", "_LABEL", "location type", word);
}

// The child of `parent` named exactly `name`; 0 when none. Throws CDBException.
ULong FindChildLocation(CNorvikSql& db, ULong parent, const std::string& name);

// Why `path` cannot be added as a location path (empty names, too long), or empty when it can.
std::string CheckNewLocationPath(const std::string& path);

// Why `name` cannot be a location's own name (empty, holding a path separator), or empty.
std::string CheckLocationName(const std::string& name);

}  // namespace cli
