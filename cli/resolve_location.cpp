// Resolution of location and location-type names given on the command line.
#include "cli/resolve_location.h"

#include <cstdlib>

#include "sql/sql_recordset.h"

namespace cli {

int Fail(const Resolved& resolved) {
    PrintError(resolved.error);
    return resolved.exitCode;
}

ULong IdFromDigits(const std::string& word) {
    if (word.empty() || word.size() > 9 || word.find_first_not_of("0123456789") != std::string::npos) return 0;
    return static_cast<ULong>(std::strtoul(word.c_str(), nullptr, 10));
}

bool RowExists(CNorvikSql& db, const char* table, ULong id) { return db.SelectNumber(table, "_ID", id) == id; }

namespace {

bool IsSeparator(char c) { return c == ';' || c == '\\'; }

Resolved Found(ULong id) { return Resolved{id, kExitOk, std::string()}; }

Resolved Failure(int exitCode, std::string error) { return Resolved{0, exitCode, std::move(error)}; }

}  // namespace

Resolved ResolveLocation(CNorvikSql& db, const std::string& word, bool allowRoot) {
    if (word == "0") {
        if (allowRoot) return Found(0);
        return Failure(kExitFailed, "the root (location 0) has no record of its own; name a location below it");
    }
    try {
        if (const ULong id = IdFromDigits(word); id != 0 && RowExists(db, "LOCDATA", id)) return Found(id);
    } catch (const CDBException& e) {
        return Failure(kExitFailed, "cannot read the locations: " + e.m_strError.str());
    }
    if (word.empty()) return Failure(kExitUsage, "an empty location path names nothing");
    if (word.size() > kMaxLocationPath) {
        return Failure(kExitUsage, "the location path is " + std::to_string(word.size()) +
                                       " characters long; at most " + std::to_string(kMaxLocationPath) + " are read");
    }
    if (IsSeparator(word[0])) {
        return Failure(kExitUsage, "a location path starts with a top-level name, not with a separator: " + word);
    }
    // locFind reports database failures itself; 0 then means "not found" to this caller too.
    const ULong id = db.locFind(word.c_str());
    if (id == 0) return Failure(kExitFailed, "no location '" + word + "'");
    return Found(id);
}

Resolved ResolveNamedRow(CNorvikSql& db, const char* table, const char* column, const std::string& what,
                         const std::string& word) {
    try {
        if (const ULong id = IdFromDigits(word); id != 0 && RowExists(db, table, id)) return Found(id);
        CDynaList<ULong> named;
        db.EnumIds(table, (std::string(column) + " = " + CNorvikSql::SqlQuote(word.c_str()).str()).c_str(), named);
        if (named.GetCount() == 1) return Found(named[0]);
        if (named.GetCount() > 1) {
            return Failure(kExitFailed, std::to_string(named.GetCount()) + " " + what + "s are named '" + word +
                                            "'; name one by its id");
        }
        return Failure(kExitFailed, "no " + what + " '" + word + "'");
    } catch (const CDBException& e) {
        return Failure(kExitFailed, "cannot read the " + what + "s: " + e.m_strError.str());
    }
}

bool CheckNewName(CNorvikSql& db, const char* table, const char* column, const std::string& what,
                  const std::string& name, ULong except) {
    if (name.empty()) {
        PrintError("a " + what + " name may not be empty");
        return false;
    }
    try {
        CDynaList<ULong> same;
        db.EnumIds(table, (std::string(column) + " = " + CNorvikSql::SqlQuote(name.c_str()).str()).c_str(), same);
        for (ULong id : same) {
            if (id == except) continue;
            PrintError("a " + what + " named '" + name + "' already exists (id " + std::to_string(id) + ")");
            return false;
        }
        return true;
    } catch (const CDBException& e) {
        PrintError("cannot read the " + what + "s: " + e.m_strError.str());
        return false;
    }
}

ULong FindChildLocation(CNorvikSql& db, ULong parent, const std::string& name) {
    const CString statement = CString::Formatted("select _ID from LOCDATA where _PARENT = %d and _NAME = %s",
                                                 static_cast<int>(parent), CNorvikSql::SqlQuote(name.c_str()).c_str());
    CSqlRecordset rs(&db, statement);
    return rs.IsEOF() ? 0 : rs.NumberAt(0);
}

std::string CheckNewLocationPath(const std::string& path) {
    if (path.size() > kMaxLocationPath) {
        return "the location path is " + std::to_string(path.size()) + " characters long; at most " +
               std::to_string(kMaxLocationPath) + " are kept";
    }
    std::size_t start = 0;
    for (std::size_t i = 0; i <= path.size(); ++i) {
        if (i < path.size() && !IsSeparator(path[i])) continue;
        if (i == start)
            return "the location path has an empty name (a separator at its start or end, or two in a row): " + path;
        start = i + 1;
    }
    return std::string();
}

std::string CheckLocationName(const std::string& name) {
    if (name.empty()) return "a location name may not be empty";
    if (name.find_first_of(";\\") != std::string::npos) {
        return "a location name may not hold ';' or '\\' (they separate the names of a path): " + name;
    }
    return std::string();
}

}  // namespace cli
