// norvik init: creates a new Audit Database from the schema compiled into the tool.
#include <filesystem>
#include <iostream>

#include "cli/cli_context.h"
#include "sql/schema_installer.h"

namespace cli {

namespace {

const char kHelp[] =
    "usage: norvik [--db FILE | --dsn CONNECTION] init [--schema-version V]\n"
    "Creates the tables, seed rows and procedures of a new audit database.\n"
    "With --db (default audit.db) the SQLite file must not exist yet; with --dsn the\n"
    "database must exist and be empty (on PostgreSQL, create it with encoding SQL_ASCII).\n"
    "V is 7.14 (the current schema) or an older 7.12, 7.10 or 7.08, for upgrade tests.\n"
    "The new database keeps only salted hashes of user passwords (option PasswordHashing 1).\n";

}  // namespace

int RunInit(Context& context) {
    if (context.PrintHelpIfAsked(kHelp)) return kExitOk;
    std::string version = "7.14";
    for (std::size_t i = 0; i < context.args.size(); ++i) {
        if (context.args[i] == "--schema-version" && i + 1 < context.args.size()) {
            version = context.args[++i];
        } else {
            std::cerr << kHelp;
            return kExitUsage;
        }
    }
    bool known = false;
    for (const auto& v : CreatableSchemaVersions()) known = known || v == version;
    if (!known) {
        PrintError("unknown schema version " + version + " (use 7.14, 7.12, 7.10 or 7.08)");
        return kExitUsage;
    }
    const bool sqliteFile = context.options.dsn.empty();
    if (sqliteFile && std::filesystem::exists(context.options.dbFile)) {
        PrintError(context.options.dbFile + " already exists; choose another file or remove it first");
        return kExitFailed;
    }
    if (sqliteFile && context.options.dbFile.find_first_of(";{}") != std::string::npos) {
        PrintError("the database file name may not contain ';', '{' or '}': " + context.options.dbFile);
        return kExitUsage;
    }
    CDatabase db;
    try {
        db.OpenEx(context.ConnectionString().c_str(), CDatabase::noOdbcDialog);
        InstallSchema(db, version.c_str());
        // New sites keep only salted hashes of their users' passwords.
        db.ExecuteSQL(
            CString::Formatted("insert into OPTIONS (_KEY,_VAL) values ('%s','1')", CNorvik::kOptionPasswordHashing));
    } catch (const CException& e) {
        PrintError("cannot create the audit database in " + context.DatabaseName() + ": " + e.GetErrorMessage().str());
        db.Close();
        if (sqliteFile) std::filesystem::remove(context.options.dbFile);
        return kExitFailed;
    }
    std::cout << "Created audit database " << context.DatabaseName() << " (schema " << version << ", "
              << db.GetDbmsName().c_str() << ")\n";
    return kExitOk;
}

}  // namespace cli
